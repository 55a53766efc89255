#include "index/shared_tables.h"

#include <utility>

#include "format/format_files.h"
#include "index/inv_context.h"
#include "storage/app_context.h"
#include "storage/codes.h"
#include "storage/master_file.h"
#include "storage/storage_hooks.h"

namespace indexing {

using velor_01::TVelorSpace;

namespace {

/// Exchanges tables and stop words. What was made from them looks into the old space, and is made anew.
void Exchange(TVelorSpace* one, TVelorSpace* other) {
  std::swap(one->fstLines, other->fstLines);
  std::swap(one->fstMethods, other->fstMethods);
  std::swap(one->fstAllLines, other->fstAllLines);
  std::swap(one->fstAllMethods, other->fstAllMethods);
  std::swap(one->fstDependTags, other->fstDependTags);
  std::swap(one->fstDependLines, other->fstDependLines);
  std::swap(one->stopWords, other->stopWords);
  std::swap(one->fstName, other->fstName);
  std::swap(one->stwName, other->stwName);
  for (TVelorSpace* space : {one, other}) {
    space->xpftFst.reset();
    space->termMaker.reset();
  }
}

/// A space with the context of the database of `space`; null without memory.
velor_32::SpacePointer MakeKeeper(const TVelorSpace* space) {
  const auto* hooks = space->app->hooks;
  velor_32::SpacePointer keeper(velor_32::Velorinit(space->app));
  if (!keeper || velor_32::VelorInitSpaceDummy(keeper.get()) != velor_32::kOk) return nullptr;
  const std::string path = xpft::TableDirectory(space->app, space->path) + backup::GetDbNameEK(space);
  if (hooks && hooks->initInvContext) hooks->initInvContext(keeper.get(), path.c_str(), false);
  return keeper;
}

}  // namespace

void SharedTables::LendTo(TVelorSpace* space) {
  if (space->fstLines) return;
  if (!keeper_ || path_ != space->path) {
    keeper_ = MakeKeeper(space);
    path_ = space->path;
  }
  if (!keeper_) return;
  Exchange(keeper_.get(), space);
  isLent_ = true;
}

void SharedTables::TakeBack(TVelorSpace* space) {
  if (isLent_) Exchange(keeper_.get(), space);
  isLent_ = false;
}

}  // namespace indexing
