#include "gbl/mst_global.h"

#include <sys/stat.h>

#include <algorithm>

#include "index/inv_context.h"
#include "storage/app_context.h"
#include "storage/codes.h"
#include "storage/database_open.h"
#include "storage/master_file.h"
#include "storage/shelf.h"
#include "storage/term_files.h"

namespace global {

using velor_01::TVelorSpace;
using velor_32::kOk;

namespace {

/// True when the name still leads to the file that was opened.
bool IsSameFile(int handle, const std::string& path) {
  struct stat opened {};
  struct stat named {};
  return ::fstat(handle, &opened) == 0 && ::stat(path.c_str(), &named) == 0 &&
         opened.st_dev == named.st_dev && opened.st_ino == named.st_ino;
}

bool IsUpToDate(const TVelorSpace* space) {
  return IsSameFile(space->mst->mstFile, space->path + ".mst") &&
         IsSameFile(space->trmMain->ifp, space->termPath + ".ifp");
}

bool IsAwake(const TVelorSpace* space) {
  return velor_32::IsOpen(space) && !space->lazyMst && !space->lazyTerm && space->trmMain != nullptr;
}

}  // namespace

int VelorInitMstGlobal(TVelorSpace* space, const char* path) {
  if (space == nullptr || space->app == nullptr) return velor_32::kNoSpace;
  return velor_32::Velorinitmst(space, path, space->app->xpftEnabled ? 1 : 3);
}

std::shared_ptr<const BlockDatabase> BlockSpaces::Find(const app::VelorAppContext* app,
                                                       const std::string& name, int* result) {
  *result = kOk;
  std::shared_ptr<const BlockDatabase>& known = databases_[name];
  if (known) return known;
  std::string file = name;
  std::vector<std::string> directories;
  *result = backup::OpenDb(app->execDir, app->dataPath, &file, &directories);
  if (*result != kOk) return nullptr;
  known = std::make_shared<BlockDatabase>(BlockDatabase{directories[backup::kRecordDirectory] + file,
                                                        directories[backup::kTermDirectory] + file});
  return known;
}

velor_32::SpacePointer BlockSpaces::TakeIdle(const std::string& path) {
  const auto found = std::ranges::find(idle_, path, [](const auto& space) { return space->path; });
  if (found == idle_.end()) return nullptr;
  velor_32::SpacePointer space = std::move(*found);
  idle_.erase(found);
  return IsUpToDate(space.get()) ? std::move(space) : nullptr;
}

velor_32::SpacePointer BlockSpaces::Open(app::VelorAppContext* app, const BlockDatabase& database,
                                         bool deflex, int* result) {
  *result = kOk;
  velor_32::SpacePointer space = TakeIdle(database.path);
  if (space) {
    velor_32::Velornewrec(space.get(), 0);
    return space;
  }
  space.reset(velor_32::Velorinit(app));
  *result = space ? VelorInitMstGlobal(space.get(), database.path.c_str()) : velor_32::kNoMemory;
  if (*result == kOk) *result = velor_32::Velorinitterm(space.get(), database.termPath.c_str());
  if (*result == kOk)
    *result = velor_32::VelorInitInvContext(space.get(), nullptr, nullptr, nullptr, nullptr, deflex);
  if (*result != kOk) space.reset();
  return space;
}

void BlockSpaces::Close(velor_32::SpacePointer space) {
  if (!IsAwake(space.get())) return;
  if (idle_.size() >= kMaxIdle) idle_.erase(idle_.begin());
  idle_.push_back(std::move(space));
}

}  // namespace global
