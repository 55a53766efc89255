#include "storage/crash_repair.h"

#include <algorithm>
#include <array>
#include <string>
#include <vector>

#include "storage/bulk_writer.h"
#include "storage/codes.h"
#include "storage/master_file.h"
#include "storage/record_image.h"
#include "storage/record_read.h"
#include "storage/term_files.h"
#include "storage/term_journal.h"
#include "utils/file_layer.h"

namespace velor_32 {

using velor_01::Tlider;
using velor_01::TNew_Xrf;

namespace {

constexpr int kBlockEntries = 3200;
constexpr std::int64_t kLargestImage = std::int64_t{1} << 31;  // bytes, and more than any has
constexpr std::int64_t kChunk = std::int64_t{1} << 16;         // bytes read or written at once
constexpr std::int64_t kPageSize = 4096;                       // bytes that a kill never parts

/// One file of the database, as its dead writer left it.
struct File {
  WriteFiles handles;
  int lastMfn = 0;            // highest local number claimed
  std::int64_t claimEnd = 0;  // where the next image would go
};

/// What a pass over the entries finds.
struct Entries {
  std::int64_t highestOffset = 0;  // below the end of the claims; 0 without any
  std::vector<int> empty;          // numbers whose entry was not written, or not to its end
};

/// An entry that lies across two pages is written in two steps, when its writer is killed in between.
bool LiesAcrossPages(int mfn) {
  const std::int64_t offset = velor_01::kXrfEntrySize * (std::int64_t{mfn} - 1);
  return offset / kPageSize != (offset + velor_01::kXrfEntrySize - 1) / kPageSize;
}

/// Entry and image say both whether the dictionary knows the record. Where they differ, one of the two was
/// not written, and the record counts as not known.
void MendMark(const File& file, int mfn, const TNew_Xrf& entry) {
  constexpr std::int32_t kBit = velor_01::kStatusNotActualized;
  const std::int64_t offset = backup::New_XrfToMstOffSet(entry);
  Tlider leader;
  if (!ReadLeaderAt(file.handles.mstFile, offset, &leader) || leader.mfn != mfn) return;
  if (((leader.status ^ entry.flags) & kBit) == 0) return;
  const bool isImage = (leader.status & kBit) == 0;
  if (isImage) {
    (void)WriteWordAt(file.handles.mstFile, offset + velor_01::kStatusWordOffset, leader.status | kBit);
  } else {
    (void)WriteEntryAt(file.handles.xrfFile, mfn, {entry.offsetLow, entry.offsetHigh, entry.flags | kBit});
  }
}

void LookAtEntry(const File& file, int mfn, const TNew_Xrf& entry, Entries* found) {
  if (entry.flags & velor_01::kStatusPhysicallyDeleted) return;
  const std::int64_t offset = backup::New_XrfToMstOffSet(entry);
  if (offset == 0 && ((mfn == file.lastMfn && entry.flags == 0) || LiesAcrossPages(mfn)))
    found->empty.push_back(mfn);
  if (offset < velor_01::kControlSize || offset >= file.claimEnd) return;
  found->highestOffset = std::max(found->highestOffset, offset);
  MendMark(file, mfn, entry);
}

/// Looks at all entries. Images are only appended, so what lies behind the image at the highest offset is
/// reached by nobody.
Entries LookAtEntries(const File& file) {
  Entries found;
  std::array<TNew_Xrf, kBlockEntries> block;
  for (std::int64_t mfn = 1; mfn <= file.lastMfn; mfn += kBlockEntries) {
    const std::int64_t wanted = std::min<std::int64_t>(kBlockEntries, file.lastMfn - mfn + 1);
    const std::int64_t got =
        utils::ReadSomeAt(file.handles.xrfFile, velor_01::kXrfEntrySize * (mfn - 1), block.data(),
                          static_cast<std::size_t>(wanted * velor_01::kXrfEntrySize));
    for (std::int64_t i = 0; i < got / velor_01::kXrfEntrySize; ++i) {
      TNew_Xrf& entry = block[static_cast<std::size_t>(i)];
      backup::ntoh_velor_struct(&entry, backup::kXrfStruct);
      LookAtEntry(file, static_cast<int>(mfn + i), entry, &found);
    }
  }
  return found;
}

/// Where the image behind one that begins at `offset` begins; 0 when that one does not tell.
std::int64_t BehindImage(const File& file, std::int64_t offset) {
  Tlider leader;
  if (!ReadLeaderAt(file.handles.mstFile, offset, &leader) || leader.length < velor_01::kLeaderSize) return 0;
  return offset + leader.length;
}

/// Where the last image of the file begins that no entry leads to, or the space claimed for it; the end of
/// the claims without one. Between it and the last one in use there may be images of physically deleted
/// records.
std::int64_t FindLooseImage(const File& file, std::int64_t highestOffset) {
  std::int64_t at = highestOffset > 0 ? BehindImage(file, highestOffset) : velor_01::kControlSize;
  if (at == 0) return file.claimEnd;
  while (at < file.claimEnd) {
    const std::int64_t next = BehindImage(file, at);
    if (next == 0 || next >= file.claimEnd) return at;
    at = next;
  }
  return file.claimEnd;
}

bool IsZero(int handle, std::int64_t from, std::int64_t to) {
  std::vector<char> block(kChunk);
  for (std::int64_t at = from; at < to;) {
    const std::int64_t length = std::min<std::int64_t>(to - at, kChunk);
    if (!utils::ReadAt(handle, at, block.data(), static_cast<std::size_t>(length))) return false;
    const auto end = block.begin() + length;
    if (std::any_of(block.begin(), end, [](char c) { return c != 0; })) return false;
    at += length;
  }
  return true;
}

bool WriteZeros(int handle, std::int64_t from, std::int64_t to) {
  const std::vector<char> zeros(kChunk);
  for (std::int64_t at = from; at < to;) {
    const std::int64_t length = std::min<std::int64_t>(to - at, kChunk);
    if (!utils::WriteAt(handle, at, zeros.data(), static_cast<std::size_t>(length))) return false;
    at += length;
  }
  return true;
}

/// Whether the space holds no image: nothing but zero bytes behind a leader whose end is missing.
bool IsTornInLeader(const File& file, std::int64_t offset) {
  if (file.claimEnd - offset < velor_01::kLeaderSize || file.claimEnd - offset > kLargestImage) return false;
  Tlider leader;
  if (!ReadLeaderAt(file.handles.mstFile, offset, &leader) || leader.status != 0) return false;
  const bool isCut = leader.version == 0 || leader.nvf == 0;
  return isCut && IsZero(file.handles.mstFile, offset + velor_01::kLeaderSize, file.claimEnd);
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

/// Whether the image ends within its directory: that does not fit the length, and all behind it is zero.
bool IsTornInDirectory(const File& file, std::int64_t offset) {
  Tlider leader;
  if (!ReadLeaderAt(file.handles.mstFile, offset, &leader) || leader.nvf < 1 || leader.nvf > leader.length)
    return false;
  const std::int64_t base = velor_01::kLeaderSize + std::int64_t{velor_01::kEntrySize} * leader.nvf;
  if (leader.base != base || base > leader.length || offset + leader.length != file.claimEnd) return false;
  std::vector<velor_01::TDirEntry> directory(static_cast<std::size_t>(leader.nvf));
  if (!utils::ReadAt(file.handles.mstFile, offset + velor_01::kLeaderSize, directory.data(),
                     directory.size() * sizeof directory[0]))
    return false;
  backup::ntoh_words(directory.data(), directory.size() * sizeof directory[0] / 4);
  std::int64_t end = base;
  for (const velor_01::TDirEntry& entry : directory) end += entry.len;
  const bool fits = directory.back().tag > 0 && (end == leader.length || end + 1 == leader.length);
  return !fits && IsZero(file.handles.mstFile, offset + base, file.claimEnd);
}

/// Takes the image out of use that a dead writer did not come to lead an entry to. False when it is not sure
/// that it is one.
bool TakeBackImage(const File& file, std::int64_t offset, bool isClaimed) {
  if (IsTornInLeader(file, offset) || IsTornInDirectory(file, offset)) return true;
  Tlider image;
  TNew_Xrf entry;
  if (BehindImage(file, offset) != file.claimEnd || !ReadLeaderAt(file.handles.mstFile, offset, &image) ||
      !ReadEntryAt(file.handles.xrfFile, image.mfn, &entry))
    return false;
  if (isClaimed && image.mfn == file.lastMfn) return true;
  return FollowsEntry(file, image, entry) && PromoteOldImage(file, backup::New_XrfToMstOffSet(entry));
}

/// Gives the end of the claimed space back.
void GiveBack(const File& file, std::int64_t offset) {
  velor_01::Tcntmst control;
  if (!WriteZeros(file.handles.mstFile, offset, file.claimEnd)) return;
  if (!ReadControl(file.handles.mstFile, &control)) return;
  backup::MakeFromInt64(offset, &control.nxtLow, &control.nxtHigh);
  (void)WriteControl(file.handles.mstFile, control);
}

/// The lengthening of a file may have been cut off; one that was never padded stays as it is.
void MendPadding(int handle, std::int64_t size, std::int64_t used, std::int64_t step) {
  if (size > used && size % step != 0) (void)PadFile(handle, size, used, step);
}

void MendFile(const File& file) {
  const Entries entries = LookAtEntries(file);
  const bool isClaimed = !entries.empty.empty() && entries.empty.back() == file.lastMfn;
  const std::int64_t loose = FindLooseImage(file, entries.highestOffset);
  if (loose < file.claimEnd && TakeBackImage(file, loose, isClaimed)) GiveBack(file, loose);
  // When this fails the number stays as it was left, which a reader reports as damage.
  for (const int mfn : entries.empty)
    (void)WriteEntryAt(file.handles.xrfFile, mfn, {0, 0, velor_01::kStatusPhysicallyDeleted});
  MendPadding(file.handles.mstFile, file.handles.mstSize, file.claimEnd, velor_01::kMstStep);
  MendPadding(file.handles.xrfFile, file.handles.xrfSize, velor_01::kXrfEntrySize * file.lastMfn,
              velor_01::kXrfStep);
}

void MendRecords(TVelorSpace* space) {
  for (int fragment = 0; fragment <= LastFragment(space); ++fragment) {
    UpdateFiles open;
    velor_01::Tcntmst control;
    if (open.Open(space, fragment) != kOk || !ReadControl(open.files.mstFile, &control)) continue;
    const std::int64_t claimEnd = backup::MakeInt64(control.nxtLow, control.nxtHigh);
    if (control.nxtmfn >= 1) MendFile({open.files, control.nxtmfn - 1, claimEnd});
  }
}

void MendDictionary(const TVelorSpace* space) {
  const std::string& path = space->termPath.empty() ? space->path : space->termPath;
  const SpacePointer own(Velorinit(space->app));
  if (!own || Velorinitterm_write(own.get(), path.c_str()) != kOk) return;
  UndoTermChange(*own->trmMain);
  for (const velor_01::TSpaceTrm* index : own->trmIndex)
    if (index) UndoTermChange(*index);
}

}  // namespace

void MendAfterDeadWriter(TVelorSpace* space) {
  MendRecords(space);
  MendDictionary(space);
  if (space->textSpace) MendAfterDeadWriter(space->textSpace);
}

}  // namespace velor_32
