#include "storage/crash_repair.h"

#include <algorithm>
#include <array>
#include <vector>

#include "storage/bulk_writer.h"
#include "storage/codes.h"
#include "storage/record_image.h"
#include "storage/record_read.h"
#include "utils/file_layer.h"

namespace velor_32 {

using velor_01::Tlider;
using velor_01::TNew_Xrf;

namespace {

constexpr int kBlockEntries = 3200;
constexpr std::int64_t kLargestZeroing = std::int64_t{1} << 31;  // no image is larger

/// One file of the database, as its dead writer left it.
struct File {
  WriteFiles handles;
  int lastMfn = 0;            // highest local number claimed
  std::int64_t claimEnd = 0;  // where the next image would go
};

/// The highest offset, below the end of the claims, that an entry names; 0 without any. Images are only
/// appended, so what lies behind that image is reached by nobody.
std::int64_t HighestOffset(const File& file) {
  std::int64_t highest = 0;
  std::array<TNew_Xrf, kBlockEntries> block;
  for (std::int64_t mfn = 1; mfn <= file.lastMfn; mfn += kBlockEntries) {
    const std::int64_t wanted = std::min<std::int64_t>(kBlockEntries, file.lastMfn - mfn + 1);
    const std::int64_t got =
        utils::ReadSomeAt(file.handles.xrfFile, velor_01::kXrfEntrySize * (mfn - 1), block.data(),
                          static_cast<std::size_t>(wanted * velor_01::kXrfEntrySize));
    for (std::int64_t i = 0; i < got / velor_01::kXrfEntrySize; ++i) {
      TNew_Xrf& entry = block[static_cast<std::size_t>(i)];
      backup::ntoh_velor_struct(&entry, backup::kXrfStruct);
      const std::int64_t offset = backup::New_XrfToMstOffSet(entry);
      if (offset < file.claimEnd) highest = std::max(highest, offset);
    }
  }
  return highest;
}

/// Where the image behind one that begins at `offset` begins; 0 when that one does not tell.
std::int64_t BehindImage(const File& file, std::int64_t offset) {
  Tlider leader;
  if (!ReadLeaderAt(file.handles.mstFile, offset, &leader) || leader.length < velor_01::kLeaderSize) return 0;
  return offset + leader.length;
}

/// The last image of the file when no entry leads to it, or 0. Between it and the last one in use there may
/// be images of physically deleted records.
std::int64_t FindLooseImage(const File& file) {
  const std::int64_t highest = HighestOffset(file);
  std::int64_t at = highest > 0 ? BehindImage(file, highest) : velor_01::kControlSize;
  while (at > 0 && at < file.claimEnd) {
    const std::int64_t next = BehindImage(file, at);
    if (next == 0 || next > file.claimEnd) return 0;
    if (next == file.claimEnd) return at;
    at = next;
  }
  return 0;
}

bool WriteZeros(int handle, std::int64_t from, std::int64_t to) {
  if (to - from > kLargestZeroing) return false;
  const std::vector<char> zeros(std::size_t{1} << 16);
  for (std::int64_t at = from; at < to;) {
    const std::int64_t length = std::min<std::int64_t>(to - at, static_cast<std::int64_t>(zeros.size()));
    if (!utils::WriteAt(handle, at, zeros.data(), static_cast<std::size_t>(length))) return false;
    at += length;
  }
  return true;
}

/// Gives the image before an update that is taken back the mark of the last version again.
bool PromoteOldImage(const File& file, std::int64_t offset) {
  Tlider old;
  if (!ReadLeaderAt(file.handles.mstFile, offset, &old)) return false;
  return WriteWordAt(file.handles.mstFile, offset + velor_01::kStatusWordOffset,
                     old.status | velor_01::kStatusLastVersion);
}

/// Whether the image was about to become the next version of the record that `entry` tells of.
bool FollowsEntry(const File& file, const Tlider& image, const TNew_Xrf& entry) {
  Tlider old;
  return entry.offsetLow == image.backLow && entry.offsetHigh == image.backHigh &&
         ReadLeaderAt(file.handles.mstFile, backup::New_XrfToMstOffSet(entry), &old) &&
         old.mfn == image.mfn && image.version == old.version + 1;
}

void MendFile(const File& file) {
  TNew_Xrf last;
  if (!ReadEntryAt(file.handles.xrfFile, file.lastMfn, &last)) return;
  const bool isClaimed = last.offsetLow == 0 && last.offsetHigh == 0 && last.flags == 0;
  const std::int64_t loose = FindLooseImage(file);
  Tlider image;
  TNew_Xrf entry;
  if (loose > 0 && ReadLeaderAt(file.handles.mstFile, loose, &image) &&
      ReadEntryAt(file.handles.xrfFile, image.mfn, &entry)) {
    const bool isNew = isClaimed && image.mfn == file.lastMfn;
    if (!isNew && !FollowsEntry(file, image, entry)) return;
    if (!isNew && !PromoteOldImage(file, backup::New_XrfToMstOffSet(entry))) return;
    if (!WriteZeros(file.handles.mstFile, loose, file.claimEnd)) return;
  }
  // When this fails the number stays as it was left, which a reader reports as damage.
  if (isClaimed)
    (void)WriteEntryAt(file.handles.xrfFile, file.lastMfn, {0, 0, velor_01::kStatusPhysicallyDeleted});
}

}  // namespace

void MendAfterDeadWriter(TVelorSpace* space) {
  for (int fragment = 0; fragment <= LastFragment(space); ++fragment) {
    UpdateFiles open;
    velor_01::Tcntmst control;
    if (open.Open(space, fragment) != kOk || !ReadControl(open.files.mstFile, &control)) continue;
    if (control.nxtmfn < 2) continue;
    MendFile({open.files, control.nxtmfn - 1, backup::MakeInt64(control.nxtLow, control.nxtHigh)});
  }
}

}  // namespace velor_32
