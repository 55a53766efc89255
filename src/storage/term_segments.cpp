#include "storage/term_change.h"

#include <algorithm>
#include <cstring>

#include "storage/app_context.h"
#include "storage/codes.h"
#include "storage/record_format.h"
#include "storage/term_read.h"
#include "utils/file_layer.h"
#include "utils/text_util.h"

namespace velor_32 {

/// A change of several writes is done as a whole, or taken back.
int TermChange::Finish(int rc) {
  if (!journal_.isActive()) return rc;
  if (rc == kOk && journal_.Clear(*index_)) return kOk;
  UndoTermChange(*index_);
  return rc == kOk ? kNoInvertedFile : rc;
}

int TermChange::Find() {
  char key[velor_01::kTermBufferSize] = {};
  std::memcpy(key, term_.data(), term_.size());
  const int rc = Velorfind0(space_, key, false);
  index_ = CurrentIndex(space_);
  return rc;
}

/// A file without a control record keeps no sizes; an empty one gets one.
bool TermChange::ReadControl() {
  if (backup::_llseek(index_->ifp, 0, SEEK_END) == 0) {
    control_ = Tifp_MaxFileSize();
    return backup::WriteIfpControl(index_->ifp, control_);
  }
  if (!backup::ReadIfpControl(index_->ifp, &control_)) control_.marker = 0;
  return true;
}

// ---- segments ----

/// One read brings the head and the slots of a usual segment.
bool TermChange::ReadSegment(std::int64_t offset, Segment* segment) const {
  const auto usual =
      static_cast<std::size_t>(kHeadSize) + std::size_t{kUsualSegment} * static_cast<std::size_t>(size_);
  segment->offset = offset;
  segment->slots.resize(usual);
  const std::int64_t got = utils::ReadSomeAt(index_->ifp, offset, segment->slots.data(), usual);
  if (offset < 1 || got < kHeadSize) return false;
  std::memcpy(&segment->head, segment->slots.data(), kHeadSize);
  if (!backup::ntoh_velor_struct(&segment->head, backup::kSegmentHeadStruct)) return false;
  if (segment->head.nextHigh == velor_01::kSpecialMark) return true;
  const std::int64_t bytes = std::int64_t{segment->head.used} * size_;
  segment->slots.erase(segment->slots.begin(), segment->slots.begin() + kHeadSize);
  if (bytes > got - kHeadSize) {
    if (offset + kHeadSize + bytes > backup::_llseek(index_->ifp, 0, SEEK_END)) return false;
    segment->slots.resize(static_cast<std::size_t>(bytes));
    return utils::ReadAt(index_->ifp, offset + kHeadSize, segment->slots.data(), segment->slots.size());
  }
  segment->slots.resize(static_cast<std::size_t>(bytes));
  return true;
}

std::vector<char> TermChange::Image(const Segment& segment, int capacitySlots) const {
  TifpHeader head = segment.head;
  backup::hton_velor_struct(&head, backup::kSegmentHeadStruct);
  std::vector<char> image(static_cast<std::size_t>(kHeadSize) +
                          static_cast<std::size_t>(capacitySlots) * static_cast<std::size_t>(size_));
  std::memcpy(image.data(), &head, kHeadSize);
  std::memcpy(image.data() + kHeadSize, segment.slots.data(),
              std::min(segment.slots.size(), image.size() - kHeadSize));
  return image;
}

/// Notes a segment of which `slots` slots are to be written, and the head at `countedAt`, unless 0, that
/// counts its postings too. A write within one page happens as a whole and needs no note when it is the only
/// one.
bool TermChange::SaveSegment(const Segment& segment, int slots, std::int64_t countedAt) {
  const std::int64_t length = kHeadSize + std::int64_t{slots} * size_;
  const TermJournal::Range range = {TermJournal::kIfp, segment.offset, length};
  if (countedAt > 0)
    return journal_.Save(*index_, control_, {range, {TermJournal::kIfp, countedAt, kHeadSize}});
  const bool isWhole = segment.offset / kPageSize == (segment.offset + length - 1) / kPageSize;
  return isWhole || journal_.Save(*index_, control_, {range});
}

/// Notes what the division of a block writes.
bool TermChange::SaveDivision(TermJournal::File file, std::int32_t number, std::int32_t newNumber,
                              const TTermBlock& block) {
  if (block.next < 1)
    return journal_.Save(*index_, control_,
                         {kControlRange, BlockRange(file, number), BlockRange(file, newNumber)});
  const TermJournal::Range back = {file, BlockRange(file, block.next).offset + kPrevPlace, 4};
  return journal_.Save(*index_, control_,
                       {kControlRange, BlockRange(file, number), BlockRange(file, newNumber), back});
}

/// Head and slots in one write: a reader sees the segment before or after it. `capacitySlots` says how many
/// slots are written; those behind the used ones are zero.
bool TermChange::WriteSegment(const Segment& segment, int capacitySlots) const {
  const std::vector<char> image = Image(segment, capacitySlots);
  return utils::WriteAt(index_->ifp, segment.offset, image.data(), image.size());
}

/// Puts bytes into free space and counts them, before anything leads to them. Result: their offset, or -1.
std::int64_t TermChange::Append(const std::vector<char>& bytes) {
  const std::int64_t offset = backup::GetIfpMaxFileSize(index_->ifp, control_);
  if (offset < 1 ||
      !backup::_write_ifp(index_->ifp, &control_, bytes.data(), -1, static_cast<int>(bytes.size())))
    return -1;
  if (control_.marker == velor_01::kSizeMarker && !backup::WriteIfpControl(index_->ifp, control_)) return -1;
  return offset;
}

/// Turns the key of the term, at the position that the search found, to another offset.
bool TermChange::SetTermOffset(std::int64_t offset) {
  const int position = index_->trail.Get(index_->trail.GetCount() - 1);
  const std::int32_t leaf = -index_->trail.Get(index_->trail.GetCount() - 2);
  std::uint32_t words[2];
  backup::MakeFromInt64(offset, &words[0], &words[1]);
  index_->leafBlock.item(position).low = static_cast<std::int32_t>(words[0]);
  index_->leafBlock.item(position).high = static_cast<std::int32_t>(words[1]);
  backup::ntoh_words(words, 2);
  const std::int64_t place = (std::int64_t{leaf} - 1) * velor_01::kTermBlockSize + velor_01::kBlockHeadSize +
                             std::int64_t{position - 1} * velor_01::kKeyItemSize + 4;
  return utils::WriteAt(index_->l01, place, words, sizeof words);
}

bool TermChange::PassesLimit(std::int64_t bytes) const {
  constexpr std::int64_t kDefaultLimit = 0x200000000;
  std::int64_t limit = kDefaultLimit;
  if (space_->app && space_->app->mainIni)
    limit = utils::TextUtil::Int64ParseExact(space_->app->mainIni->Get("MAIN", "TRM_BLOCK_MAX_SIZE", ""),
                                             kDefaultLimit);
  return limit > 0 && bytes > limit;
}

/// The slot, from 0, at which the posting is or belongs; -1 for damage.
int TermChange::FindSlot(const Segment& segment, const TifpItemPosting& posting, bool* found) const {
  *found = false;
  int low = 0;
  int high = segment.head.used;
  while (low < high) {
    const int middle = low + (high - low) / 2;
    TifpItemPosting there;
    if (!DecodePosting(
            segment.slots.data() + static_cast<std::size_t>(middle) * static_cast<std::size_t>(size_),
            space_->isFullText, &there))
      return -1;
    const int order = backup::ComparePostings(there, posting);
    if (order == 0) *found = true;
    if (order < 0) {
      low = middle + 1;
    } else {
      high = middle;
    }
  }
  return low;
}

void TermChange::InsertSlot(Segment* segment, int place, const TifpItemPosting& posting) const {
  char slot[velor_01::PostingSize(true)];
  EncodePosting(posting, space_->isFullText, slot);
  segment->slots.insert(segment->slots.begin() + std::ptrdiff_t{place} * size_, slot, slot + size_);
  ++segment->head.used;
}

bool TermChange::AddToTotal(std::int64_t headOffset, int change) {
  TifpHeader head;
  if (!ReadSegmentHead(index_->ifp, headOffset, &head)) return false;
  head.total = static_cast<std::int32_t>(
      std::clamp<std::int64_t>(std::int64_t{head.total} + change, 0, kMostPostings));
  return WriteSegmentHead(index_->ifp, headOffset, head);
}

/// Counts the postings of a term anew. The count is written behind a change of a later segment: who finds
/// that change made already may follow a writer that was cut off in between.
void TermChange::SettleTotal(std::int64_t headOffset) {
  TifpHeader first;
  if (!ReadSegmentHead(index_->ifp, headOffset, &first)) return;
  TifpHeader head = first;
  std::int64_t offset = headOffset;
  if (first.nextHigh == velor_01::kSpecialMark) {
    char slot[velor_01::SpecialSize(true)];
    TifpSpecial entry;
    const auto size = static_cast<std::size_t>(velor_01::SpecialSize(space_->isFullText));
    if (!utils::ReadAt(index_->ifp, headOffset + kHeadSize, slot, size) ||
        !DecodeSpecial(slot, space_->isFullText, &entry) ||
        !ReadSegmentHead(index_->ifp, entry.offset, &head))
      return;
    offset = entry.offset;
  }
  std::int64_t total = head.used;
  for (velor_01::CircleGuard chain; head.nextHigh != velor_01::kLastSegment; total += head.used) {
    if (!chain.Passes(offset)) return;
    offset = NextSegment(head);
    if (!ReadSegmentHead(index_->ifp, offset, &head)) return;
  }
  if (total == first.total || total > kMostPostings) return;
  first.total = static_cast<std::int32_t>(total);
  static_cast<void>(WriteSegmentHead(index_->ifp, headOffset, first));
}

}  // namespace velor_32
