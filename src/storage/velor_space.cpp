#include "storage/velor_space.h"

#include <cstdlib>
#include <new>

#include "storage/app_context.h"
#include "storage/bulk_writer.h"
#include "storage/codes.h"
#include "storage/edge.h"
#include "storage/master_file.h"
#include "storage/shelf.h"
#include "storage/storage_hooks.h"
#include "storage/term_files.h"
#include "utils/int_list.h"
#include "utils/list.h"
#include "utils/string_list.h"

namespace velor_01 {

TVelorSpace::TVelorSpace() = default;

TVelorSpace::~TVelorSpace() {
  if (fstDependLines)
    for (void* lines : fstDependLines->Items()) delete static_cast<TIntList*>(lines);
  std::free(readBuf);
  std::free(fieldBuf);
  std::free(subfieldBuf);
}

}  // namespace velor_01

namespace velor_32 {

namespace {

/// A buffer of the default capacity with an empty text in it.
bool AllocateBuffer(char** buffer, std::int32_t* capacity) {
  *buffer = static_cast<char*>(std::malloc(velor_01::kDefaultCapacity + 1));
  if (!*buffer) return false;
  **buffer = '\0';
  *capacity = velor_01::kDefaultCapacity;
  return true;
}

bool AllocateParts(TVelorSpace* space) {
  if (!AllocateBuffer(&space->readBuf, &space->readCapacity)) return false;
  if (!AllocateBuffer(&space->fieldBuf, &space->fieldCapacity)) return false;
  if (!AllocateBuffer(&space->subfieldBuf, &space->subfieldCapacity)) return false;
  space->termNames = std::make_unique<velor_01::TStringList>();
  space->termPrefixes = std::make_unique<velor_01::TStringList>();
  space->termIds = std::make_unique<velor_01::TIntList>();
  space->stopWords = std::make_unique<velor_01::TStringList>();
  if (space->app && space->app->ignoreIfs) return true;
  space->fstLines = std::make_unique<velor_01::TStringList>();
  space->fstMethods = std::make_unique<velor_01::TIntList>();
  space->fstAllLines = std::make_unique<velor_01::TStringList>();
  space->fstAllMethods = std::make_unique<velor_01::TIntList>();
  space->fstDependTags = std::make_unique<velor_01::TIntList>();
  space->fstDependLines = std::make_unique<velor_01::TList>();
  return true;
}

}  // namespace

StorageHooks& DefaultStorageHooks() {
  static StorageHooks hooks;
  return hooks;
}

TVelorSpace* Velorinit(app::VelorAppContext* app) {
  SpacePointer space;
  const int rc = AtEdge([&] {
    space.reset(new TVelorSpace);
    space->app = app;
    return AllocateParts(space.get()) ? kOk : kNoMemory;
  });
  return rc == kOk ? space.release() : nullptr;
}

int VelorInitSpaceDummy(TVelorSpace* space) {
  if (!space) return kNoSpace;
  return AtEdge([&] {
    Velorclosemst(space);
    Velorcloseterm(space);
    space->mst = new velor_01::TMstHandle;
    if (int rc = VelorInitAltShelf(space, 1); rc == kOk) return rc;
    Velorclosemst(space);
    return kNoMemory;
  });
}

void Velorclose(TVelorSpace* space) {
  if (!space) return;
  if (space->app && space->app->hooks && space->app->hooks->freeInvContext)
    space->app->hooks->freeInvContext(space);
  space->xpftFst.reset();
  space->formatState.reset();
  Velorclosemst(space);
  Velorcloseterm(space);
  delete space;
}

bool IsRemote(const TVelorSpace* space) {
  return space && space->app && space->app->isClient;
}

bool KeepsGuids(const TVelorSpace* space) {
  return space && (space->isFullText || (space->app && space->app->guidOption == 1));
}

}  // namespace velor_32
