#include "storage/term_journal.h"

#include <algorithm>
#include <cstring>
#include <vector>

#include "storage/term_tree.h"
#include "utils/endian.h"
#include "utils/file_layer.h"

namespace velor_32 {

using utils::LoadBe32;
using utils::StoreBe32;
using velor_01::Tifp_MaxFileSize;
using velor_01::TSpaceTrm;

namespace {

constexpr std::uint32_t kMark = 0x556E446FU;  // in the place of the high word of a segment's link
constexpr std::int64_t kHeadSize = 8;
constexpr std::int64_t kEntryHeadSize = 16;
constexpr std::int64_t kLargestNote = 1 << 24;  // bytes
constexpr std::int64_t kFirstOffset = sizeof(Tifp_MaxFileSize);

int Handle(const TSpaceTrm& index, std::uint32_t file) {
  const int handles[] = {index.ifp, index.l01, index.n01};
  return file < std::size(handles) ? handles[file] : -1;
}

/// The entry of a range. What lies behind the end of the file counts as zero.
bool AppendEntry(const TSpaceTrm& index, const TermJournal::Range& range, std::vector<char>* note) {
  const std::size_t at = note->size();
  note->resize(at + static_cast<std::size_t>(kEntryHeadSize + range.length));
  std::uint32_t low = 0;
  std::uint32_t high = 0;
  backup::MakeFromInt64(range.offset, &low, &high);
  const std::uint32_t words[] = {static_cast<std::uint32_t>(range.file),
                                 static_cast<std::uint32_t>(range.length), low, high};
  for (std::size_t i = 0; i < std::size(words); ++i) StoreBe32(note->data() + at + 4 * i, words[i]);
  return utils::ReadSomeAt(Handle(index, static_cast<std::uint32_t>(range.file)), range.offset,
                           note->data() + at + kEntryHeadSize, static_cast<std::size_t>(range.length)) >= 0;
}

/// What one entry puts back.
struct Entry {
  int handle;
  std::int64_t offset;
  const char* bytes;
  std::size_t length;
};

/// Takes a note apart. False unless all of it is sound.
bool Parse(const TSpaceTrm& index, const std::vector<char>& note, std::vector<Entry>* entries) {
  const auto size = static_cast<std::int64_t>(note.size());
  for (std::int64_t at = 0; at < size;) {
    if (size - at < kEntryHeadSize) return false;
    const char* const head = note.data() + at;
    const std::int64_t length = LoadBe32(head + 4);
    const std::int64_t offset = backup::MakeInt64(LoadBe32(head + 8), LoadBe32(head + 12));
    const int handle = Handle(index, LoadBe32(head));
    at += kEntryHeadSize;
    if (handle < 0 || length > size - at || offset < 0) return false;
    // A block that the change was to add may not be there yet.
    if (offset > backup::_llseek(handle, 0, SEEK_END) + velor_01::kTermBlockSize) return false;
    entries->push_back({handle, offset, note.data() + at, static_cast<std::size_t>(length)});
    at += length;
  }
  return true;
}

/// Puts back what a note at `place` holds, the last range first: a range may have been noted twice. False
/// when that fails, and the note has to stay.
bool PutBack(const TSpaceTrm& index, std::int64_t place) {
  unsigned char head[kHeadSize];
  if (!utils::ReadAt(index.ifp, place, head, sizeof head) || LoadBe32(head + 4) != kMark) return true;
  const std::int64_t length = LoadBe32(head);
  if (length < 1 || length > kLargestNote) return true;
  std::vector<char> note(static_cast<std::size_t>(length));
  std::vector<Entry> entries;
  if (!utils::ReadAt(index.ifp, place + kHeadSize, note.data(), note.size()) || !Parse(index, note, &entries))
    return true;
  return std::all_of(entries.rbegin(), entries.rend(), [](const Entry& entry) {
    return utils::WriteAt(entry.handle, entry.offset, entry.bytes, entry.length);
  });
}

/// From the front: the first block holds the length of a note.
void ClearBehind(int file, std::int64_t place) {
  const std::vector<char> zeros(std::size_t{1} << 16);
  std::vector<char> block(zeros.size());
  for (;;) {
    const std::int64_t got = utils::ReadSomeAt(file, place, block.data(), block.size());
    if (got < 1) return;
    const auto length = static_cast<std::size_t>(got);
    if (std::memcmp(block.data(), zeros.data(), length) != 0 &&
        !utils::WriteAt(file, place, zeros.data(), length))
      return;
    place += got;
  }
}

}  // namespace

bool TermJournal::Save(const TSpaceTrm& index, const Tifp_MaxFileSize& control,
                       std::initializer_list<Range> ranges) {
  if (control.marker != velor_01::kSizeMarker) return true;
  place_ = backup::MakeInt64(control.sizeLow, control.sizeHigh);
  if (place_ < kFirstOffset) return false;
  const bool isFirst = length_ == 0;
  std::vector<char> bytes(isFirst ? 4 : 0);
  if (isFirst) StoreBe32(bytes.data(), kMark);
  for (const Range& range : ranges)
    if (!AppendEntry(index, range, &bytes)) return false;
  const std::int64_t at = place_ + (isFirst ? 4 : kHeadSize + length_);
  if (!utils::WriteAt(index.ifp, at, bytes.data(), bytes.size())) return false;
  length_ += static_cast<std::int64_t>(bytes.size()) - (isFirst ? 4 : 0);
  unsigned char word[4];  // makes the entries count
  StoreBe32(word, static_cast<std::uint32_t>(length_));
  return utils::WriteAt(index.ifp, place_, word, sizeof word);
}

bool TermJournal::Clear(const TSpaceTrm& index) {
  const std::vector<char> zeros(static_cast<std::size_t>(kHeadSize + length_));
  length_ = 0;
  return utils::WriteAt(index.ifp, place_, zeros.data(), zeros.size());
}

void UndoTermChange(const TSpaceTrm& index) {
  Tifp_MaxFileSize control;
  if (!backup::ReadIfpControl(index.ifp, &control) || control.marker != velor_01::kSizeMarker) return;
  const std::int64_t place = backup::MakeInt64(control.sizeLow, control.sizeHigh);
  if (place >= kFirstOffset && PutBack(index, place)) ClearBehind(index.ifp, place);
}

}  // namespace velor_32
