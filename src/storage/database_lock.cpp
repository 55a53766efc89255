#include "storage/database_lock.h"

#include <unistd.h>

#include <array>
#include <cstddef>

#include "storage/app_context.h"
#include "storage/codes.h"
#include "storage/database_mutex.h"
#include "storage/record_image.h"
#include "storage/term_files.h"
#include "storage/term_swap.h"
#include "utils/file_layer.h"

namespace velor_32 {

using velor_01::Tcntmst;

namespace {

/// A file that is closed at the end of the scope.
class WriteHandle {
 public:
  explicit WriteHandle(const std::string& path) : handle_(backup::_lopen(path.c_str(), kOpenWrite)) {}
  ~WriteHandle() {
    if (handle_ >= 0) backup::_lclose(handle_);
  }
  WriteHandle(const WriteHandle&) = delete;
  WriteHandle& operator=(const WriteHandle&) = delete;
  [[nodiscard]] bool ok() const { return handle_ >= 0; }
  [[nodiscard]] int get() const { return handle_; }

 private:
  int handle_;
};

bool WriteLockFlag(TVelorSpace* space, std::int32_t flag) {
  const WriteHandle file(FragmentPath(space, ".mst", 0));
  if (!file.ok()) return false;
  space->mst->control.lockFlag = flag;
  return WriteWordAt(file.get(), offsetof(Tcntmst, lockFlag), flag);
}

Tcntmst EmptyControl(bool isFullText) {
  Tcntmst control = DefaultControl();
  control.mstType = isFullText ? velor_01::kFullTextType : velor_01::kOrdinaryType;
  return control;
}

/// Takes the additional term indexes away: the file of their separators, and ten sets of files.
void RemoveAdditionalIndexes(TVelorSpace* space, const std::string& terms) {
  const std::string separators = terms + ".inv";
  if (::access(separators.c_str(), F_OK) != 0) return;
  for (velor_01::TSpaceTrm*& index : space->trmIndex) CloseTermIndex(index);
  space->termListOpen = false;
  ::unlink(separators.c_str());
  for (int k = 1; k <= velor_01::kMaxTermIndexes; ++k)
    for (const char* extension : {".n01_", ".l01_", ".ifp_"})
      ::unlink((terms + extension + std::to_string(k)).c_str());
}

/// The new control record goes first: from then on no number is in range, whatever the other files still
/// hold.
int EmptyFiles(TVelorSpace* space) {
  const WriteHandle mst(space->path + ".mst");
  const WriteHandle xrf(space->path + ".xrf");
  if (!mst.ok() || !xrf.ok()) return kNoRecordFiles;
  const std::string terms = space->termPath.empty() ? space->path : space->termPath;
  if (FinishTermSwap(terms) != kOk) return kNoInvertedFile;
  const WriteHandle ifp(terms + ".ifp");
  const WriteHandle l01(terms + ".l01");
  const WriteHandle n01(terms + ".n01");
  if (!ifp.ok() || !l01.ok() || !n01.ok()) return kNoInvertedFile;

  const Tcntmst control = EmptyControl(space->isFullText);
  const int fragments = LastFragment(space);
  if (!WriteControl(mst.get(), control)) return kNoRecordFiles;
  for (int k = 1; k <= fragments; ++k)
    for (const char* extension : {".mst", ".xrf"}) ::unlink(FragmentPath(space, extension, k).c_str());
  space->mst->control = control;
  if (::ftruncate(mst.get(), velor_01::kControlSize) != 0) return kNoRecordFiles;
  for (const int handle : {xrf.get(), ifp.get(), l01.get(), n01.get()})
    if (::ftruncate(handle, 0) != 0) return kNoRecordFiles;
  RemoveAdditionalIndexes(space, terms);
  return kOk;
}

}  // namespace

bool VelorIsDBLocked(const Tcntmst* control) {
  return control->lockFlag > 0;
}

int VelorIsDBLocked(const TVelorSpace* space) {
  if (!IsOpen(space)) return kNoSpace;
  Tcntmst control;
  if (!ReadControl(space->mst->mstFile, &control)) return kNoRecordFiles;
  return VelorIsDBLocked(&control) ? kLocked : kOk;
}

int VelorLockDB(TVelorSpace* space) {
  if (!IsOpen(space)) return kNoSpace;
  return AtEdge([&] {
    if (int rc = VelorIsDBLocked(space); rc != kOk && rc != kLockedByCaller) return rc;
    space->lastError = WriteLockFlag(space, 1) ? kOk : kNoRecordFiles;
    return space->lastError;
  });
}

void VelorUnLockDB(TVelorSpace* space) {
  if (!IsOpen(space)) return;
  AtEdge([&] { return WriteLockFlag(space, 0) ? kOk : kNoRecordFiles; });
}

int VelorLockDBTime(TVelorSpace* space, int timeoutSeconds) {
  return UnderDatabaseMutex(space, timeoutSeconds,
                            [&] { return app::CheckStopProcess(space->app) ? kLocked : VelorLockDB(space); });
}

int VelorUnLockDBTime(TVelorSpace* space, int timeoutSeconds) {
  // A stop request does not keep a database locked.
  return UnderDatabaseMutex(space, timeoutSeconds, [&] {
    VelorUnLockDB(space);
    return VelorIsDBLocked(space) == kLocked ? kNoRecordFiles : kOk;
  });
}

int VelorDBEmpty(TVelorSpace* space) {
  if (!IsOpen(space)) return kNoSpace;
  return AtEdge([&] {
    if (int rc = EmptyFiles(space); rc != kOk) return rc;
    return space->textSpace ? EmptyFiles(space->textSpace) : kOk;
  });
}

int VelorDBEmptyTime(TVelorSpace* space, int timeoutSeconds) {
  return UnderDatabaseMutex(space, timeoutSeconds, [&] {
    return app::CheckStopProcess(space->app) ? kLocked : VelorDBEmpty(space);
  });
}

}  // namespace velor_32
