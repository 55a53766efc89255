// Changes of the status of a stored record that write no new image.

#include "storage/app_context.h"
#include "storage/codes.h"
#include "storage/database_lock.h"
#include "storage/database_mutex.h"
#include "storage/record_image.h"
#include "storage/record_lock.h"
#include "storage/record_read.h"
#include "storage/record_update.h"
#include "storage/shelf.h"
#include "utils/file_layer.h"

namespace velor_32 {

using velor_01::Tcntmst;
using velor_01::Tlider;
using velor_01::TNew_Xrf;

namespace {

/// A stored record whose entry is to be changed.
struct Target {
  int fragment = 0;
  int localMfn = 0;
  UpdateFiles open;
  TNew_Xrf entry;
};

/// Whether a lock of the database stands in the way of a change.
enum class DbLock { kRespect, kIgnore };

/// Control record, range check and lock flag. `shortRead` is the code for a control record that cannot be
/// read.
int FindTarget(TVelorSpace* space, int mfn, DbLock lock, int shortRead, Target* target) {
  if (mfn < 1) return kMfnRange;
  target->localMfn = backup::VelorGetMfn(space, mfn, &target->fragment);
  if (target->localMfn < 0) return kNoRecordFiles;
  Tcntmst control;
  if (!ReadControl(ReadHandles(space, target->fragment).mstFile, &control)) return shortRead;
  if (target->localMfn < 1 || target->localMfn >= control.nxtmfn) return kMfnRange;
  if (lock == DbLock::kIgnore) return kOk;
  space->lastError =
      VelorIsDBLocked(space) == kLocked ? kLocked : kOk;  // the flag of the base file counts for all
  return space->lastError;
}

bool ReadTargetEntry(Target* target) {
  return ReadEntryAt(target->open.files.xrfFile, target->localMfn, &target->entry);
}

bool WriteTargetEntry(const Target& target) {
  return WriteEntryAt(target.open.files.xrfFile, target.localMfn, target.entry);
}

/// Sets or clears a bit in the image, which must be that of the record, and then in the entry.
int ChangeStatusBit(TVelorSpace* space, int mfn, std::int32_t bit, bool on) {
  Target target;
  if (int rc = FindTarget(space, mfn, DbLock::kRespect, kNoRecordFiles, &target); rc != kOk) return rc;
  if (int rc = target.open.Open(space, target.fragment); rc != kOk) return rc;
  if (!ReadTargetEntry(&target)) return kDamaged;
  const std::int64_t offset = backup::New_XrfToMstOffSet(target.entry);
  Tlider leader;
  if (!ReadLeaderAt(target.open.files.mstFile, offset, &leader) || leader.mfn != target.localMfn)
    return kDamaged;

  const auto changed = [&](std::int32_t status) { return on ? status | bit : status & ~bit; };
  const bool belongs =
      bit != velor_01::kStatusNotActualized || (leader.status & velor_01::kStatusLastVersion);
  if (belongs && changed(leader.status) != leader.status &&
      !WriteWordAt(target.open.files.mstFile, offset + velor_01::kStatusWordOffset, changed(leader.status)))
    return kNoRecordFiles;
  target.entry.flags = changed(target.entry.flags);
  return WriteTargetEntry(target) ? kOk : kNoRecordFiles;
}

template <class Work>
int UnlessStopped(TVelorSpace* space, int timeoutSeconds, Work&& work) {
  return UnderDatabaseMutex(space, timeoutSeconds,
                            [&]() -> int { return app::CheckStopProcess(space->app) ? kLocked : work(); });
}

}  // namespace

int VelorRecPhysDel0(TVelorSpace* space, int mfn, bool checkDbLock) {
  if (!IsOpen(space)) return kNoSpace;
  return AtEdge([&] {
    Target target;
    const DbLock lock = checkDbLock ? DbLock::kRespect : DbLock::kIgnore;
    if (int rc = FindTarget(space, mfn, lock, kDamaged, &target); rc != kOk) return rc;
    if (int rc = target.open.Open(space, target.fragment); rc != kOk) return rc;
    target.entry = {0, 0, velor_01::kStatusPhysicallyDeleted};
    return WriteTargetEntry(target) ? kOk : kNoRecordFiles;
  });
}

int VelorRecUnactual0(TVelorSpace* space, int mfn) {
  if (!IsOpen(space)) return kNoSpace;
  return AtEdge([&] { return ChangeStatusBit(space, mfn, velor_01::kStatusNotActualized, true); });
}

int VelorSetFullTextActualizedBit(TVelorSpace* space, int mfn, bool on) {
  if (!IsOpen(space)) return kNoSpace;
  return AtEdge([&] { return ChangeStatusBit(space, mfn, velor_01::kStatusFullTextNotActualized, on); });
}

int VelorRecLock0(TVelorSpace* space, int shelf, int mfn) {
  if (int rc = CheckShelf(space, shelf); rc != kOk) return rc;
  return AtEdge([&] {
    Target target;
    if (int rc = FindTarget(space, mfn, DbLock::kRespect, kNoRecordFiles, &target); rc != kOk) return rc;
    if (int rc = target.open.Open(space, target.fragment); rc != kOk) return rc;
    const int read = VelorRecord(space, shelf, mfn, false);
    if (read != kOk && read != kDeleted && read != kPhysicallyDeleted) return read;
    if (!ReadTargetEntry(&target)) return kNoRecordFiles;

    const bool isLocked = target.entry.flags & velor_01::kStatusLocked;
    target.entry.flags |= velor_01::kStatusLocked;
    velor_01::TRecordShelf& record = *FindShelf(space, shelf);
    record.offset = backup::New_XrfToMstOffSet(target.entry);
    record.xrfStatus = target.entry.flags;
    if (isLocked) return kRecordLocked;
    return WriteTargetEntry(target) ? kOk : kNoRecordFiles;
  });
}

int VelorRecUnLock0(TVelorSpace* space, int mfn) {
  if (!IsOpen(space)) return kNoSpace;
  return AtEdge([&] {
    Target target;
    if (int rc = FindTarget(space, mfn, DbLock::kRespect, kNoRecordFiles, &target); rc != kOk) return rc;
    if (int rc = target.open.Open(space, target.fragment); rc != kOk) return rc;
    if (!ReadTargetEntry(&target)) return kNoRecordFiles;
    if (!(target.entry.flags & velor_01::kStatusLocked)) return kOk;
    target.entry.flags &= ~velor_01::kStatusLocked;
    return WriteTargetEntry(target) ? kOk : kNoRecordFiles;
  });
}

int VelorRecPhysDelTime(TVelorSpace* space, int mfn, int timeoutSeconds) {
  // A stop request is no reason to leave a record that is to go, such as one that only fills up to a number.
  return UnderDatabaseMutex(space, timeoutSeconds, [&] { return VelorRecPhysDel0(space, mfn, true); });
}

int VelorRecUnactualTime(TVelorSpace* space, int mfn, int timeoutSeconds) {
  return UnlessStopped(space, timeoutSeconds, [&] { return VelorRecUnactual0(space, mfn); });
}

int VelorSetFullTextActualizedBitTime(TVelorSpace* space, int mfn, bool on, int timeoutSeconds) {
  return UnlessStopped(space, timeoutSeconds, [&] { return VelorSetFullTextActualizedBit(space, mfn, on); });
}

}  // namespace velor_32
