#include "storage/record_update.h"

#include <cstring>
#include <limits>

#include "storage/app_context.h"
#include "storage/bulk_writer.h"
#include "storage/codes.h"
#include "storage/database_lock.h"
#include "storage/edge.h"
#include "storage/master_file.h"
#include "storage/record_guid.h"
#include "storage/record_image.h"
#include "storage/record_read.h"
#include "storage/record_status.h"
#include "storage/shelf.h"
#include "storage/xrf_info.h"
#include "utils/file_layer.h"
#include "utils/guid_util.h"

namespace velor_32 {

using velor_01::Tcntmst;
using velor_01::Tlider;
using velor_01::TNew_Xrf;
using velor_01::TRecordShelf;

namespace {

/// How far behind the end of the master file a next offset can lie that a crashed writer left: one image.
constexpr std::int64_t kLargestGap = std::numeric_limits<std::int32_t>::max();
constexpr std::int32_t kStoredStatus = velor_01::kStatusLastVersion | velor_01::kStatusNotActualized;

/// One update on its way.
struct Update {
  TVelorSpace* space;
  TRecordShelf& record;
  bool keepLock;

  std::string guid = {};  // to be stored with the record; empty where none is kept
  bool isInFile = false;  // the record has a number of the database; one out of range is left to TakeNumber
  int maxMfn = 0;         // one above the highest number in use
  bool isNew = false;     // takes the next free number
  int fragment = 0;
  int localMfn = 0;         // number within the file
  std::int64_t offset = 0;  // where the new image goes
  std::int64_t oldOffset = 0;
  TNew_Xrf entry = {};  // to be written last
  UpdateFiles open = {};
};

/// Refuses a record that somebody changed since it was read.
int CheckUnchangedSinceRead(const Update& update) {
  const Tlider& leader = *update.record.leader;
  if (!update.isInFile) return kOk;
  return VelorReadVersion(update.space, leader.mfn) == leader.version ? kOk : kVersionMismatch;
}

/// A number out of range may have an entry all the same: the padding of the file.
bool HasImage(const Update& update) {
  TNew_Xrf entry;
  return update.isInFile && ReadXrfEntry(update.space, update.record.leader->mfn, &entry) == kOk &&
         !(entry.flags & velor_01::kStatusPhysicallyDeleted);
}

/// The GUID to be stored: a record keeps the one it has in the file; otherwise that of the shelf counts, and
/// a record without any gets a new one. A full-text record whose stored GUID is bad is refused.
int ChooseGuid(Update& update) {
  TVelorSpace* space = update.space;
  if (!KeepsGuids(space)) return kOk;
  char stored[velor_01::kGuidLength + 1] = {};
  if (HasImage(update)) {
    ReadStoredGuid(space, update.record.leader->mfn, stored);
    if (!VelorIsGuid(stored) && space->isFullText) return kBadGuid;
  }
  if (VelorIsGuid(stored)) {
    update.guid = stored;
  } else {
    update.guid = VelorIsGuid(update.record.guid) ? update.record.guid : utils::GuidUtil::CreateGuid();
  }
  return kOk;
}

/// A shelf that holds the lock itself goes on.
int CheckRecordLock(const Update& update) {
  if (!update.isInFile || (update.record.xrfStatus & velor_01::kStatusLocked)) return kOk;
  return VelorIsRealyLocked(update.space, update.record.leader->mfn);
}

/// Looks at the lock of the database and at the highest number, with one read where one file has both.
int CheckDatabase(Update& update, bool checkDbLock) {
  TVelorSpace* space = update.space;
  Tcntmst control;
  const bool oneRead = LastFragment(space) == 0 && ReadControl(space->mst->mstFile, &control);
  space->lastError = kOk;
  if (checkDbLock)
    space->lastError = !oneRead ? VelorIsDBLocked(space) : VelorIsDBLocked(&control) ? kLocked : kOk;
  if (space->lastError != kOk && space->lastError != kLockedByCaller) return space->lastError;
  update.maxMfn = oneRead ? control.nxtmfn : Velormaxmfn(space);
  return kOk;
}

/// A bulk run looks for the lowest number from where the last one was found: each number is looked at once.
int FirstPhysicallyDeleted(const Update& update) {
  BulkWriter* bulk = update.space->bulk.get();
  const int found = XrfFindPhysDel(update.space, bulk ? bulk->firstPhysicallyDeleted : 1);
  if (bulk) bulk->firstPhysicallyDeleted = found > 0 ? found : std::numeric_limits<std::int32_t>::max();
  return found;
}

/// Decides under which number the record is stored and in which file.
int TakeNumber(Update& update) {
  TVelorSpace* space = update.space;
  Tlider& leader = *update.record.leader;
  const int maxMfn = update.maxMfn;
  int mfn = leader.mfn;
  if (mfn == 0 && space->app && space->app->reusePhysDel) {
    mfn = FirstPhysicallyDeleted(update);
    if (mfn < 0 || mfn >= maxMfn) return kMfnRange;
    if (mfn > 0) leader.version = 0;  // there is no image to follow
  }
  if (mfn == 0) {
    if (maxMfn < 1) return kMfnRange;
    update.isNew = true;
    update.fragment = LastFragment(space);
    return kOk;
  }
  if (mfn < 0 || maxMfn <= mfn) return kMfnRange;
  update.localMfn = backup::VelorGetMfn(space, mfn, &update.fragment);
  return update.localMfn < 1 ? kNoRecordFiles : kOk;
}

/// Claims the space of the new image, and for a new record its number, in the control record of the file. The
/// files are lengthened first, so that a full disk is known before anything is claimed.
int Claim(Update& update) {
  const WriteFiles& files = update.open.files;
  Tcntmst control;
  if (!ReadControl(files.mstFile, &control)) return kNoRecordFiles;
  if (update.isNew && control.nxtmfn < 1) return kMfnRange;
  if (update.isNew && control.nxtmfn == std::numeric_limits<std::int32_t>::max()) return kMfnRange;
  update.offset = backup::MakeInt64(control.nxtLow, control.nxtHigh);
  if (update.offset < velor_01::kControlSize) return kNoRecordFiles;
  if (update.offset - files.mstSize > kLargestGap) return kNoRecordFiles;  // damage: do not fill the disk
  if (update.isNew) update.localMfn = control.nxtmfn++;

  const std::int64_t end = update.offset + update.record.leader->length;
  const std::int64_t xrfEnd = velor_01::kXrfEntrySize * update.localMfn;
  if (!PadFile(files.mstFile, files.mstSize, end, velor_01::kMstStep)) return kNoRecordFiles;
  if (!PadFile(files.xrfFile, files.xrfSize, xrfEnd, velor_01::kXrfStep)) return kNoRecordFiles;
  backup::MakeFromInt64(end, &control.nxtLow, &control.nxtHigh);
  return WriteControl(files.mstFile, control) ? kOk : kNoRecordFiles;
}

/// Leader and entry of a record that had none before.
void PrepareNew(Update& update) {
  Tlider& leader = *update.record.leader;
  const bool textPending =
      update.space->isFullText && (update.record.xrfStatus & velor_01::kStatusFullTextNotActualized);
  update.entry.flags = velor_01::kStatusNotActualized | (leader.status & velor_01::kStatusDeleted) |
                       (textPending ? velor_01::kStatusFullTextNotActualized : 0);
  leader.version = 1;
  leader.backLow = 0;
  leader.backHigh = 0;
}

/// Leader and entry of a record that gets a further version.
int PrepareNextVersion(Update& update) {
  Tlider& leader = *update.record.leader;
  TNew_Xrf old;
  if (!ReadEntryAt(update.open.files.xrfFile, update.localMfn, &old)) return kNoRecordFiles;
  std::int32_t flags = old.flags;
  if (update.space->isFullText) {
    const std::int32_t bit = velor_01::kStatusFullTextNotActualized;
    flags = (flags & ~bit) | (update.record.xrfStatus & bit);
  }
  flags &= ~(velor_01::kStatusPhysicallyDeleted | velor_01::kStatusLocked | velor_01::kStatusDeleted);
  flags |= velor_01::kStatusNotActualized | (leader.status & velor_01::kStatusDeleted);
  if (update.keepLock) flags |= velor_01::kStatusLocked;
  update.entry.flags = flags;
  update.oldOffset = backup::New_XrfToMstOffSet(old);
  leader.version += 1;
  leader.backLow = old.offsetLow;
  leader.backHigh = old.offsetHigh;
  return kOk;
}

/// The image that was the last version is so no longer.
bool DemoteOldImage(const Update& update) {
  Tlider old;
  if (update.oldOffset < 1 || !ReadLeaderAt(update.open.files.mstFile, update.oldOffset, &old)) return true;
  const bool isOurs = old.mfn == update.localMfn && (old.status & velor_01::kStatusLastVersion);
  if (!isOurs) return true;
  return WriteWordAt(update.open.files.mstFile, update.oldOffset + velor_01::kStatusWordOffset,
                     old.status & ~velor_01::kStatusLastVersion);
}

/// The image first, the entry last: a reader follows the entry only to what is there.
int Write(Update& update) {
  Tlider& leader = *update.record.leader;
  leader.status = (leader.status & ~velor_01::kStatusPhysicallyDeleted) | kStoredStatus;
  backup::MakeFromInt64(update.offset, &update.entry.offsetLow, &update.entry.offsetHigh);
  const WriteFiles& files = update.open.files;
  if (int rc = WriteImage(update.space, update.record, update.localMfn, files.mstFile, update.offset);
      rc != kOk)
    return rc;
  if (!DemoteOldImage(update)) return kNoRecordFiles;
  return WriteEntryAt(files.xrfFile, update.localMfn, update.entry) ? kOk : kNoRecordFiles;
}

/// A record that could not be stored is as it was, and can be stored again.
void RestoreLeader(const Tlider& before, Tlider* leader) {
  leader->version = before.version;
  leader->backLow = before.backLow;
  leader->backHigh = before.backHigh;
  leader->status = before.status;
}

/// The steps that change the files, on a shelf that has its GUID field in place.
int Store(Update& update) {
  if (int rc = PackShelf(update.record); rc != kOk) return rc;
  if (int rc = update.open.Open(update.space, update.fragment); rc != kOk) return rc;
  if (int rc = Claim(update); rc != kOk) return rc;
  if (update.isNew) {
    PrepareNew(update);
  } else if (int rc = PrepareNextVersion(update); rc != kOk) {
    return rc;
  }
  if (int rc = Write(update); rc != kOk) return rc;

  TRecordShelf& record = update.record;
  record.leader->mfn = static_cast<std::int32_t>(GlobalMfn(update.space, update.fragment, update.localMfn));
  record.offset = update.offset;
  record.xrfStatus = update.entry.flags;
  update.space->xrfOffset = update.offset;
  return kOk;
}

}  // namespace

int VelorRecUpdate0(TVelorSpace* space, int shelf, bool keepLock, bool checkDbLock) {
  if (int rc = CheckShelf(space, shelf); rc != kOk) return rc;
  return AtEdge([&] {
    Update update{.space = space, .record = *FindShelf(space, shelf), .keepLock = keepLock};
    const int mfn = update.record.leader->mfn;
    update.isInFile = mfn >= 1 && mfn < Velormaxmfn(space);
    if (int rc = CheckUnchangedSinceRead(update); rc != kOk) return rc;
    if (int rc = ChooseGuid(update); rc != kOk) return rc;
    if (int rc = CheckRecordLock(update); rc != kOk) return rc;
    if (int rc = CheckDatabase(update, checkDbLock); rc != kOk) return rc;
    if (int rc = TakeNumber(update); rc != kOk) return rc;
    if (!update.guid.empty())
      if (int rc = VelorFldAddGUID(space, shelf, update.guid.c_str()); rc != kOk) return rc;
    const Tlider before = *update.record.leader;
    const int rc = Store(update);
    if (rc != kOk) RestoreLeader(before, update.record.leader);
    if (update.guid.empty()) return rc;
    RemoveGuidFields(space, shelf);
    return rc == kOk ? VelorSetGuid(space, shelf, update.guid.c_str()) : rc;
  });
}

}  // namespace velor_32
