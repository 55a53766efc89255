// The versions of a record in the master file, and the marks that say which one the dictionary knows.

#include "index/old_version.h"

#include "index/record_index.h"
#include "storage/codes.h"
#include "storage/master_file.h"
#include "storage/record_image.h"
#include "storage/record_read.h"
#include "storage/shelf.h"
#include "utils/file_layer.h"

using velor_01::TVelorSpace;

namespace recif {

namespace {

using velor_01::kStatusNotActualized;
using velor_32::kOk;

void ClearMark(TVelorSpace* space, int shelf) {
  if (velor_01::TRecordShelf* record = velor_32::FindShelf(space, shelf))
    record->leader->status &= ~kStatusNotActualized;
}

}  // namespace

int VersionWalk::Open(TVelorSpace* exclusive, int mfn) {
  if (mfn < 1 || mfn >= velor_32::Velormaxmfn(exclusive)) return velor_32::kMfnRange;
  int fragment = 0;
  localMfn_ = backup::VelorGetMfn(exclusive, mfn, &fragment);
  const velor_32::FilePair files = velor_32::ReadHandles(exclusive, fragment);
  mstFile_ = files.mstFile;
  xrfFile_ = files.xrfFile;
  if (!velor_32::ReadEntryAt(xrfFile_, localMfn_, &entry_)) return velor_32::kNoRecordFiles;
  if (entry_.flags & velor_01::kStatusPhysicallyDeleted) return velor_32::kPhysicallyDeleted;
  offset_ = backup::New_XrfToMstOffSet(entry_);
  currentOffset_ = offset_;
  if (!ReadLeader()) return velor_32::kNoRecordFiles;
  current_ = leader_;
  return kOk;
}

bool VersionWalk::ReadLeader() {
  return velor_32::ReadLeaderAt(mstFile_, offset_, &leader_);
}

int VersionWalk::ClearMarks(TVelorSpace* space, int shelf) {
  if (entry_.flags & kStatusNotActualized) {
    entry_.flags &= ~kStatusNotActualized;
    if (!velor_32::WriteEntryAt(xrfFile_, localMfn_, entry_)) return velor_32::kNoRecordFiles;
  }
  if (velor_01::TRecordShelf* record = velor_32::FindShelf(space, shelf))
    record->xrfStatus = (record->xrfStatus & ~kStatusNotActualized);
  if (current_.status & kStatusNotActualized) {
    current_.status &= ~kStatusNotActualized;
    if (!velor_32::WriteWordAt(mstFile_, currentOffset_ + velor_01::kStatusWordOffset, current_.status))
      return velor_32::kNoRecordFiles;
  }
  ClearMark(space, shelf);
  return kOk;
}

int VersionWalk::StepBack() {
  const std::int64_t back = backup::MakeInt64(leader_.backLow, leader_.backHigh);
  if (back < 1) return velor_32::kNoVersion;
  if (back >= offset_) return velor_32::kDamaged;  // images are only ever appended
  offset_ = back;
  if (!ReadLeader()) return velor_32::kNoRecordFiles;
  return leader_.mfn == localMfn_ ? kOk : velor_32::kDamaged;
}

int VersionWalk::Mark() {
  if (!isActualized()) return kOk;
  leader_.status |= kStatusNotActualized;
  return velor_32::WriteWordAt(mstFile_, offset_ + velor_01::kStatusWordOffset, leader_.status)
             ? kOk
             : velor_32::kNoRecordFiles;
}

bool VersionWalk::isActualized() const {
  return !(leader_.status & kStatusNotActualized);
}

bool VersionWalk::isDeleted() const {
  return leader_.status & velor_01::kStatusDeleted;
}

}  // namespace recif

int CreateOldDump(TVelorSpace* space, int shelf, int oldShelf, TVelorSpace* exclusive, int mfn,
                  bool& noOldVersion) {
  using velor_32::kOk;
  noOldVersion = false;
  recif::VersionWalk walk;
  if (int rc = walk.Open(exclusive, mfn); rc != kOk) return rc;
  if (int rc = walk.ClearMarks(space, shelf); rc != kOk) return rc;
  do {
    if (int rc = walk.StepBack(); rc != kOk) return rc;
  } while (!walk.isActualized());
  if (int rc = walk.Mark(); rc != kOk) return rc;
  noOldVersion = walk.isDeleted();
  return noOldVersion ? kOk : velor_32::VelorRecordAt(space, oldShelf, mfn, walk.offset());
}
