#include "index/posting_writer.h"

#include <unistd.h>

#include <algorithm>
#include <cstring>

#include "storage/record_format.h"
#include "storage/term_files.h"
#include "utils/endian.h"
#include "utils/file_layer.h"

namespace velora {

using velor_01::TifpHeader;
using velor_01::TifpItemPosting;

namespace {

constexpr std::int64_t kBlockPostings = 1000000;
constexpr std::size_t kBlockBytes = 32000000;
constexpr std::int64_t kOneSegment = 255;  // postings at most
constexpr std::int64_t kCopyUnit = 65536;  // postings read back at once
constexpr std::int64_t kHeadSize = sizeof(TifpHeader);

/// How the postings of a term with a special block are laid out.
struct SpecialLayout {
  SpecialLayout(std::int64_t count, std::int64_t size) {
    const std::int64_t bytes = ((count - 1) / 32768 + 1) * 4096;
    segments = count * size / bytes + 1;
    perSegment = (bytes - kHeadSize) / size;
    capacity = segments / 4 * 4 + 4;
  }
  std::int64_t segments;
  std::int64_t perSegment;  // in all but the last, which takes the rest
  std::int64_t capacity;
};

/// The file form, in which the order of the bytes is that of the postings.
void Encode(const TifpItemPosting& posting, int size, char* to) {
  std::int32_t words[sizeof posting / sizeof(std::int32_t)];
  std::memcpy(words, &posting, sizeof words);
  for (int at = 0; at < size; at += 4) utils::StoreBe32(to + at, static_cast<std::uint32_t>(words[at / 4]));
}

bool HasNegative(const char* image, int size) {
  for (int at = 0; at < size; at += 4)
    if (image[at] & 0x80) return true;
  return false;
}

TifpHeader SegmentHead(std::int64_t count, std::int64_t next) {
  TifpHeader head;
  if (next >= 0) {
    std::uint32_t low;
    std::uint32_t high;
    backup::MakeFromInt64(next, &low, &high);
    head.nextLow = static_cast<std::int32_t>(low);
    head.nextHigh = static_cast<std::int32_t>(high);
  }
  head.total = head.used = head.capacity = static_cast<std::int32_t>(count);
  return head;
}

}  // namespace

PostingWriter::PostingWriter(bool isFullText, std::string spillPath)
    : size_(velor_01::PostingSize(isFullText)),
      isFullText_(isFullText),
      spillPath_(std::move(spillPath)),
      block_(std::make_unique_for_overwrite<char[]>(kBlockBytes)) {}

PostingWriter::~PostingWriter() {
  if (spillFile_ < 0) return;
  backup::_lclose(spillFile_);
  ::unlink(spillPath_.c_str());
}

bool PostingWriter::Create(const std::string& ifp) {
  if (!ifp_.Create(ifp)) return false;
  const velor_01::Tifp_MaxFileSize room;
  ifp_.Append(&room, sizeof room);  // its values are not known before the end
  return true;
}

PostingWriter::Added PostingWriter::Add(const TifpItemPosting& posting) {
  if (count_ == kBlockPostings && !Spill()) return Added::kSpillFailed;
  char* const image = slot(count_);
  Encode(posting, size_, image);
  const int order = count_ == 0 ? -1 : std::memcmp(image - size_, image, static_cast<std::size_t>(size_));
  if (order > 0) return PlaceBackwards(image, posting);
  if (order < 0) ++count_;
  return Added::kYes;
}

PostingWriter::Added PostingWriter::PlaceBackwards(const char* image, const TifpItemPosting& posting) {
  const auto size = static_cast<std::size_t>(size_);
  const auto isOfThisRecord = [&](std::int64_t i) { return std::memcmp(slot(i), image, 4) == 0; };
  if (!isOfThisRecord(count_ - 1) || !(HasNegative(image, size_) || HasNegative(image - size_, size_)))
    return Added::kFalling;

  std::int64_t place = count_ - 1;
  while (place > 0 && isOfThisRecord(place - 1) && std::memcmp(slot(place - 1), image, size) >= 0) --place;
  if (std::memcmp(slot(place), image, size) == 0) return Added::kYes;
  std::memmove(slot(place + 1), slot(place), static_cast<std::size_t>(count_ - place) * size);
  Encode(posting, size_, slot(place));
  ++count_;
  return Added::kYes;
}

/// Moves the block to the spill file, but for the postings of the last record: others of that record may
/// belong between them.
bool PostingWriter::Spill() {
  if (spillFile_ < 0) spillFile_ = backup::_lcreat(spillPath_.c_str(), 0);
  std::int64_t moved = count_ - 1;
  while (moved > count_ / 2 && std::memcmp(slot(moved - 1), slot(moved), 4) == 0) --moved;
  const auto bytes = static_cast<std::size_t>(moved * size_);
  if (spillFile_ < 0 || !utils::WriteAt(spillFile_, spilled_ * size_, block_.get(), bytes)) return false;
  std::memmove(slot(0), slot(moved), static_cast<std::size_t>((count_ - moved) * size_));
  spilled_ += moved;
  count_ -= moved;
  return true;
}

bool PostingWriter::ReadPosting(std::int64_t index, char* to) const {
  const auto size = static_cast<std::size_t>(size_);
  if (index < spilled_) return utils::ReadAt(spillFile_, index * size_, to, size);
  std::memcpy(to, slot(index - spilled_), size);
  return true;
}

bool PostingWriter::CopyPostings(std::int64_t from, std::int64_t count) {
  std::unique_ptr<char[]> unit;
  while (count > 0 && from < spilled_) {
    const std::int64_t step = std::min({count, spilled_ - from, kCopyUnit});
    const auto bytes = static_cast<std::size_t>(step * size_);
    if (!unit) unit = std::make_unique_for_overwrite<char[]>(static_cast<std::size_t>(kCopyUnit * size_));
    if (!utils::ReadAt(spillFile_, from * size_, unit.get(), bytes)) return false;
    ifp_.Append(unit.get(), bytes);
    from += step;
    count -= step;
  }
  if (count > 0) ifp_.Append(slot(from - spilled_), static_cast<std::size_t>(count * size_));
  return true;
}

void PostingWriter::WriteHead(const TifpHeader& head) {
  TifpHeader image = head;
  backup::hton_velor_struct(&image, backup::kSegmentHeadStruct);
  ifp_.Append(&image, sizeof image);
}

bool PostingWriter::WriteSegment(std::int64_t from, std::int64_t count, std::int64_t next) {
  WriteHead(SegmentHead(count, next));
  return CopyPostings(from, count);
}

bool PostingWriter::WriteSpecial(std::int64_t count) {
  const SpecialLayout layout(count, size_);
  const std::int64_t entrySize = velor_01::SpecialSize(isFullText_);
  const std::int64_t segmentBytes = kHeadSize + layout.perSegment * size_;
  const std::int64_t start = ifp_.position() + kHeadSize + layout.capacity * entrySize;
  WriteHead({velor_01::kSpecialMark, velor_01::kSpecialMark, static_cast<std::int32_t>(count),
             static_cast<std::int32_t>(layout.segments), static_cast<std::int32_t>(layout.capacity)});
  for (std::int64_t i = 0; i < layout.segments; ++i) {
    char entry[velor_01::SpecialSize(true)];
    if (!ReadPosting(i * layout.perSegment, entry)) return false;
    std::uint32_t low;
    std::uint32_t high;
    backup::MakeFromInt64(start + i * segmentBytes, &low, &high);
    utils::StoreBe32(entry + size_, low);
    utils::StoreBe32(entry + size_ + 4, high);
    ifp_.Append(entry, static_cast<std::size_t>(entrySize));
  }
  ifp_.AppendZeros(static_cast<std::size_t>((layout.capacity - layout.segments) * entrySize));
  for (std::int64_t i = 0; i < layout.segments; ++i) {
    const bool isLast = i == layout.segments - 1;
    const std::int64_t first = i * layout.perSegment;
    const std::int64_t next = isLast ? -1 : ifp_.position() + segmentBytes;
    if (!WriteSegment(first, isLast ? count - first : layout.perSegment, next)) return false;
  }
  return true;
}

std::int64_t PostingWriter::EndTerm() {
  const std::int64_t offset = ifp_.position();
  const std::int64_t total = spilled_ + count_;
  if (total > INT32_MAX) return -1;
  const bool isWritten = total <= kOneSegment ? WriteSegment(0, total, -1) : WriteSpecial(total);
  count_ = 0;
  spilled_ = 0;
  return isWritten ? offset : -1;
}

bool PostingWriter::Finish(std::int32_t nodeCount, std::int32_t leafCount) {
  std::uint32_t words[sizeof(velor_01::Tifp_MaxFileSize) / 4];
  backup::MakeFromInt64(ifp_.position(), &words[0], &words[1]);
  words[2] = static_cast<std::uint32_t>(nodeCount);
  words[3] = static_cast<std::uint32_t>(leafCount);
  words[4] = static_cast<std::uint32_t>(velor_01::kSizeMarker);
  for (std::uint32_t& word : words) utils::StoreBe32(&word, word);
  ifp_.Rewrite(0, words, sizeof words);
  return ifp_.Close();
}

}  // namespace velora
