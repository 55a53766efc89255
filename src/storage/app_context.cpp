#include "storage/app_context.h"

#include <cstdlib>
#include <new>

#include "storage/process.h"
#include "storage/storage_hooks.h"
#include "storage/velor_space.h"

namespace app {
namespace {

WorkBuffer MakeWorkBuffer() {
  return {std::make_unique<char[]>(kWorkBufferCapacity + 1), kWorkBufferCapacity};
}

void Allocate(VelorAppContext& ctx) {
  for (WorkBuffer& buffer : ctx.workBuffers) buffer = MakeWorkBuffer();
  for (auto& list : ctx.stringLists) list = std::make_unique<velor_01::TStringList>();
  ctx.stringLists[2]->SetSorted(true);
  ctx.globalVarLists = std::make_unique<velor_01::TStringList>(true);
  ctx.globalVarNames = std::make_unique<velor_01::TStringList>(true);
  ctx.extList = std::make_unique<ExtList::TExtList>();
  ctx.libraryCache = std::make_unique<LibraryCache>(false);
  if (ctx.parts.createFormatCache != nullptr) ctx.formatCache = ctx.parts.createFormatCache();
}

template <typename Object>
void Destroy(void (*destroy)(Object*), Object*& object) {
  if (destroy != nullptr && object != nullptr) destroy(object);
  object = nullptr;
}

void FreeBlocks(velor_01::TStringList* list) {
  if (list == nullptr) return;
  for (int i = 0; i < list->GetCount(); ++i) std::free(list->GetObject(i));
}

void DestroyVariables(VelorAppContext& ctx) {
  velor_01::TStringList* lists = ctx.globalVarLists.get();
  if (lists == nullptr || ctx.parts.destroyVariables == nullptr) return;
  for (int i = 0; i < lists->GetCount(); ++i) {
    if (void* object = lists->GetObject(i); object != nullptr) ctx.parts.destroyVariables(object);
  }
}

// The connection goes first, while the settings still stand. The variable stores go last: the spaces that
// they hold may still be named by the format cache and the scratch record.
void ReleaseAll(VelorAppContext& ctx) {
  Destroy(ctx.parts.closeClient, ctx.client);
  ctx.mainIni.reset();
  ctx.execDir.clear();
  ctx.dataPath.clear();
  ctx.depositPath.clear();
  for (int i : {0, 1, 3}) ctx.stringLists[i].reset();
  for (WorkBuffer& buffer : ctx.workBuffers) buffer = {};
  FreeBlocks(ctx.stringLists[2].get());
  ctx.stringLists[2].reset();
  ctx.libraryCache.reset();
  velor_32::Velorclose(ctx.globalSpace);
  ctx.globalSpace = nullptr;
  velor_32::Velorclose(ctx.morphSpace);
  ctx.morphSpace = nullptr;
  Destroy(ctx.parts.destroyTermCache, ctx.termCache);
  ctx.addMfnTag.reset();
  ctx.mfnPageList.reset();
  ctx.pageFilter.reset();
  ctx.extList.reset();
  Destroy(ctx.parts.destroyFormatCache, ctx.formatCache);
  Destroy(ctx.parts.destroyScratchRecord, ctx.xpftRecord);
  ctx.numericVariables.clear();
  ctx.stringVariables.clear();
  DestroyVariables(ctx);
  ctx.globalVarLists.reset();
  ctx.globalVarNames.reset();
}

}  // namespace

ContextParts& DefaultContextParts() {
  static ContextParts parts;
  return parts;
}

VelorAppContext* velor_app_init() {
  try {
    auto ctx = std::make_unique<VelorAppContext>();
    ctx->parts = DefaultContextParts();
    ctx->hooks = &velor_32::DefaultStorageHooks();
    Allocate(*ctx);
    return ctx.release();
  } catch (const std::bad_alloc&) {
    return nullptr;
  }
}

void velor_app_close(VelorAppContext* ctx) {
  if (ctx == nullptr) return;
  ReleaseAll(*ctx);
  delete ctx;
}

velor_01::TVelorSpace* velor_app_global_space(VelorAppContext* ctx) {
  if (ctx == nullptr) return nullptr;
  if (ctx->globalSpace != nullptr) return ctx->globalSpace;

  velor_32::SpacePointer space(velor_32::Velorinit(ctx));
  if (space == nullptr || velor_32::VelorInitSpaceDummy(space.get()) != 0) return nullptr;
  ctx->globalSpace = space.release();
  return ctx->globalSpace;
}

void velor_app_ignore_ifs(VelorAppContext* ctx, bool ignore) {
  if (ctx != nullptr) ctx->ignoreIfs = ignore;
}

void velor_app_xpft_cachefilecheck(VelorAppContext* ctx, bool check) {
  if (ctx == nullptr || ctx->formatCache == nullptr || ctx->parts.setFormatCacheFileCheck == nullptr) return;
  ctx->parts.setFormatCacheFileCheck(ctx->formatCache, check);
}

void velor_app_xpft_clearcache(VelorAppContext* ctx) {
  if (ctx == nullptr || ctx->formatCache == nullptr || ctx->parts.clearFormatCache == nullptr) return;
  ctx->parts.clearFormatCache(ctx->formatCache);
}

void velor_app_adm_setprogresscallback(VelorAppContext* ctx, void* arg, bool (*callback)(void*, int, int)) {
  if (ctx == nullptr) return;
  ctx->progressArg = arg;
  ctx->progressCallback = callback;
}

std::int32_t velor_app_client_get_reqnum(const VelorAppContext* ctx) {
  if (ctx == nullptr || !ctx->isClient || ctx->client == nullptr) return 0;
  return ctx->parts.getClientRequestNumber != nullptr ? ctx->parts.getClientRequestNumber(ctx->client) : 0;
}

void velor_app_client_set_reqnum(VelorAppContext* ctx, std::int32_t number) {
  if (ctx == nullptr || !ctx->isClient || ctx->client == nullptr) return;
  if (ctx->parts.setClientRequestNumber != nullptr) ctx->parts.setClientRequestNumber(ctx->client, number);
}

bool CheckStopProcess(const VelorAppContext* ctx) {
  if (StopProcess != 0) return true;
  return ctx != nullptr && ctx->stopFlag != nullptr && *ctx->stopFlag != 0;
}

}  // namespace app
