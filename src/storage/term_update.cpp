#include "storage/term_update.h"

#include <algorithm>
#include <cstring>

#include "storage/codes.h"
#include "storage/edge.h"
#include "storage/record_format.h"
#include "storage/term_change.h"
#include "storage/term_read.h"
#include "utils/file_layer.h"

namespace velor_32 {

namespace {

void SetNext(TifpHeader* head, std::int64_t offset) {
  std::uint32_t low = 0;
  std::uint32_t high = 0;
  backup::MakeFromInt64(offset, &low, &high);
  head->nextLow = static_cast<std::int32_t>(low);
  head->nextHigh = static_cast<std::int32_t>(high);
}

}  // namespace

int TermChange::TryInsert(const TifpItemPosting& posting) {
  if (posting.mfn < 0 || term_.empty()) return kOk;
  const int found = Find();
  if (!index_) return kNoInvertedFile;
  if (found != kOk && found != kTermNotFound && found != kBehindLastTerm && found != kBelowFirstTerm)
    return found;
  if (!ReadControl()) return kNoInvertedFile;
  if (found != kOk) return InsertNewTerm(posting, found);

  Segment first;
  if (!ReadSegment(CurrentTermOffset(*index_), &first)) return kNoInvertedFile;
  if (first.head.total == kMostPostings) return kNoInvertedFile;
  if (first.head.nextHigh == velor_01::kSpecialMark)
    return InsertUnderSpecial(first.head, first.offset, posting);
  if (first.head.total > 0 || first.head.capacity < 1) return InsertInChain(&first, posting);
  first.slots.clear();
  first.head.used = 0;
  InsertSlot(&first, 0, posting);
  first.head.total = 1;
  return SaveSegment(first, 1, 0) && WriteSegment(first, 1) ? kOk : kNoInvertedFile;
}

/// The first segment of a chain that does not end below the posting, or else the last one, and the slot at
/// which the posting is or belongs. `other` lends its room to the segments behind the first.
int TermChange::FindInChain(Segment* first, Segment* other, const TifpItemPosting& posting,
                            ChainPlace* place) {
  place->segment = first;
  for (velor_01::CircleGuard chain; chain.Passes(place->segment->offset);) {
    place->slot = FindSlot(*place->segment, posting, &place->isFound);
    if (place->slot < 0) return kNoInvertedFile;
    if (place->isFound || place->slot < place->segment->head.used || place->segment->IsLast()) return kOk;
    const std::int64_t next = NextSegment(place->segment->head);
    place->segment = other;
    if (!ReadSegment(next, other)) return kNoInvertedFile;
  }
  return kNoInvertedFile;
}

int TermChange::InsertInChain(Segment* first, const TifpItemPosting& posting) {
  Segment other;
  ChainPlace place;
  if (int rc = FindInChain(first, &other, posting, &place); rc != kOk) return rc;
  if (!place.isFound) return InsertInSegment(first, place.segment, place.slot, posting);
  if (place.segment != first) SettleTotal(first->offset);
  return kOk;
}

int TermChange::InsertInSegment(Segment* first, Segment* segment, int place, const TifpItemPosting& posting) {
  const bool isFirst = segment == first;
  const std::int64_t countedAt = isFirst ? 0 : first->offset;
  if (segment->head.used < segment->head.capacity) {
    InsertSlot(segment, place, posting);
    segment->head.total = isFirst ? segment->head.total + 1 : segment->head.used;
    if (!SaveSegment(*segment, segment->head.used, countedAt)) return kNoInvertedFile;
    if (!WriteSegment(*segment, segment->head.used)) return kNoInvertedFile;
    return isFirst || AddToTotal(countedAt, 1) ? kOk : kNoInvertedFile;
  }
  if (isFirst && segment->IsLast() && segment->head.used < kUsualSegment)
    return MoveSegment(segment, place, posting);
  if (isFirst) ++segment->head.total;
  const int capacity = segment->head.used + 1;
  if (int rc = SplitSegment(segment, place, posting, capacity, countedAt, nullptr); rc != kOk) return rc;
  return isFirst || AddToTotal(countedAt, 1) ? kOk : kNoInvertedFile;
}

/// The only segment of a term moves to twice the room; the former one stays as dead space.
int TermChange::MoveSegment(Segment* segment, int place, const TifpItemPosting& posting) {
  const std::int64_t slots = 2 * std::int64_t{segment->head.used} + 2;
  if (PassesLimit((slots + 1) * size_)) return kNoMemory;
  InsertSlot(segment, place, posting);
  ++segment->head.total;
  segment->head.capacity = static_cast<std::int32_t>(slots);
  const std::int64_t offset = Append(Image(*segment, segment->head.capacity));
  return offset > 0 && SetTermOffset(offset) ? kOk : kNoInvertedFile;
}

/// The upper half of the postings goes to a new segment behind this one. `entry`, unless null, receives what
/// a special block has to know of it. The head at `countedAt` is to count the new posting too; it is 0 for
/// the first segment of a chain, whose `total` the caller has raised.
int TermChange::SplitSegment(Segment* segment, int place, const TifpItemPosting& posting, int newCapacity,
                             std::int64_t countedAt, TifpSpecial* entry) {
  if (segment->head.used < 1) return kNoInvertedFile;  // no room for any posting: damage
  const std::int32_t total = segment->head.total;
  const bool keepsTotal = total != segment->head.used;  // the first segment of a chain counts the whole term
  InsertSlot(segment, place, posting);
  const int moved = segment->head.used / 2;
  const int kept = segment->head.used - moved;
  if (PassesLimit(std::int64_t{std::max(newCapacity, moved)} * size_)) return kNoMemory;

  Segment upper;
  upper.head = segment->head;
  upper.head.total = upper.head.used = moved;
  upper.head.capacity = std::max(newCapacity, moved);
  upper.slots.assign(segment->slots.begin() + std::ptrdiff_t{kept} * size_, segment->slots.end());
  upper.offset = Append(Image(upper, upper.head.capacity));
  if (upper.offset < 0) return kNoInvertedFile;
  if (entry) {
    entry->offset = upper.offset;
    if (!DecodePosting(upper.slots.data(), space_->isFullText, &entry->posting)) return kNoInvertedFile;
  }
  const int written = segment->head.used - 1;  // slots that held postings before; the freed ones become zero
  segment->slots.resize(static_cast<std::size_t>(kept) * static_cast<std::size_t>(size_));
  segment->head.used = kept;
  segment->head.total = keepsTotal ? total : kept;
  SetNext(&segment->head, upper.offset);
  const int slots = std::max(written, kept);
  return SaveSegment(*segment, slots, countedAt) && WriteSegment(*segment, slots) ? kOk : kNoInvertedFile;
}

// ---- under a special block ----

int TermChange::InsertUnderSpecial(const TifpHeader& head, std::int64_t headOffset,
                                   const TifpItemPosting& posting) {
  if (head.used < 1) return kNoInvertedFile;
  std::int64_t offset = headOffset;
  bool found = false;
  if (findposting_in_special_segment(space_, &offset, posting, &found) < -1) return kNoInvertedFile;
  if (found) {
    SettleTotal(headOffset);
    return kOk;
  }
  Segment segment;
  if (!ReadSegment(offset, &segment)) return kNoInvertedFile;
  const int place = FindSlot(segment, posting, &found);
  if (place < 0) return kNoInvertedFile;
  if (segment.head.used < segment.head.capacity) {
    InsertSlot(&segment, place, posting);
    segment.head.total = segment.head.used;
    const bool ok = SaveSegment(segment, segment.head.used, headOffset) &&
                    WriteSegment(segment, segment.head.used) && AddToTotal(headOffset, 1);
    return ok ? kOk : kNoInvertedFile;
  }
  if (int rc = MakeRoomForEntry(head, &headOffset); rc != kOk) return rc;
  TifpSpecial entry;
  segment.head.total = segment.head.used;
  if (int rc = SplitSegment(&segment, place, posting, segment.head.capacity, headOffset, &entry); rc != kOk)
    return rc;
  if (int rc = insert_special(headOffset, entry); rc != kOk) return rc;
  return AddToTotal(headOffset, 1) ? kOk : kNoInvertedFile;
}

/// A special block that is full moves to free space, with room for more.
int TermChange::MakeRoomForEntry(const TifpHeader& head, std::int64_t* headOffset) {
  if (head.used < head.capacity) return kOk;
  const std::int64_t size = velor_01::SpecialSize(space_->isFullText);
  const std::int64_t capacity = 4 * (std::int64_t{head.used} + 1) + 4;
  const std::int64_t bytes = kHeadSize + head.used * size;
  if (PassesLimit(capacity * size) || capacity * size > std::numeric_limits<std::int32_t>::max() / 2)
    return kNoMemory;
  if (*headOffset + bytes > backup::_llseek(index_->ifp, 0, SEEK_END)) return kNoInvertedFile;
  std::vector<char> image(static_cast<std::size_t>(kHeadSize + capacity * size));
  if (!utils::ReadAt(index_->ifp, *headOffset, image.data(), static_cast<std::size_t>(bytes)))
    return kNoInvertedFile;
  TifpHeader moved = head;
  moved.capacity = static_cast<std::int32_t>(capacity);
  backup::hton_velor_struct(&moved, backup::kSegmentHeadStruct);
  std::memcpy(image.data(), &moved, kHeadSize);
  *headOffset = Append(image);
  return *headOffset > 0 && SetTermOffset(*headOffset) ? kOk : kNoInvertedFile;
}

/// Adds an entry to the special block of the term, which has room for it.
int TermChange::insert_special(std::int64_t headOffset, const TifpSpecial& entry) {
  const int size = velor_01::SpecialSize(space_->isFullText);
  TifpHeader head;
  if (!ReadSegmentHead(index_->ifp, headOffset, &head)) return kNoInvertedFile;
  const std::int64_t bytes = std::int64_t{head.used} * size;
  if (headOffset + kHeadSize + bytes > backup::_llseek(index_->ifp, 0, SEEK_END)) return kNoInvertedFile;
  std::vector<char> image(static_cast<std::size_t>(kHeadSize + bytes));
  if (!utils::ReadAt(index_->ifp, headOffset, image.data(), image.size())) return kNoInvertedFile;

  int low = 0;
  for (int high = head.used; low < high;) {
    const int middle = low + (high - low) / 2;
    TifpSpecial there;
    if (!DecodeSpecial(image.data() + kHeadSize + std::ptrdiff_t{middle} * size, space_->isFullText, &there))
      return kNoInvertedFile;
    if (backup::ComparePostings(there.posting, entry.posting) < 0) {
      low = middle + 1;
    } else {
      high = middle;
    }
  }
  char slot[velor_01::SpecialSize(true)];
  EncodeSpecial(entry, space_->isFullText, slot);
  image.insert(image.begin() + kHeadSize + std::ptrdiff_t{low} * size, slot, slot + size);
  ++head.used;
  TifpHeader fileHead = head;
  backup::hton_velor_struct(&fileHead, backup::kSegmentHeadStruct);
  std::memcpy(image.data(), &fileHead, kHeadSize);
  const bool ok = journal_.Save(*index_, control_,
                                {{TermJournal::kIfp, headOffset, static_cast<std::int64_t>(image.size())}}) &&
                  utils::WriteAt(index_->ifp, headOffset, image.data(), image.size());
  return ok ? kOk : kNoInvertedFile;
}

// ---- removal ----

int TermChange::TryDelete(const TifpItemPosting& posting) {
  const int found = Find();
  if (!index_) return kNoInvertedFile;
  if (found == kTermNotFound || found == kBelowFirstTerm) return kOk;
  if (found != kOk) return found;
  if (!ReadControl()) return kNoInvertedFile;
  Segment first;
  if (!ReadSegment(CurrentTermOffset(*index_), &first)) return kNoInvertedFile;
  if (first.head.nextHigh == velor_01::kSpecialMark)
    return DeleteUnderSpecial(first.head, first.offset, posting);
  return DeleteInChain(&first, posting);
}

int TermChange::DeleteInChain(Segment* first, const TifpItemPosting& posting) {
  Segment other;
  ChainPlace place;
  if (int rc = FindInChain(first, &other, posting, &place); rc != kOk) return rc;
  if (place.isFound) return RemoveFrom(place.segment, place.slot, place.segment == first ? 0 : first->offset);
  if (place.segment != first) SettleTotal(first->offset);
  return kOk;
}

int TermChange::DeleteUnderSpecial(const TifpHeader& head, std::int64_t headOffset,
                                   const TifpItemPosting& posting) {
  if (head.used < 1) return kOk;
  std::int64_t offset = headOffset;
  bool found = false;
  if (findposting_in_special_segment(space_, &offset, posting, &found) < -1) return kNoInvertedFile;
  if (!found) {
    SettleTotal(headOffset);
    return kOk;
  }
  Segment segment;
  if (!ReadSegment(offset, &segment)) return kNoInvertedFile;
  const int place = FindSlot(segment, posting, &found);
  if (place < 0 || !found) return kNoInvertedFile;
  return RemoveFrom(&segment, place, headOffset);
}

/// The slots behind move down, the last one becomes zero. The head at `countedAt` counts the posting too; it
/// is 0 for the first segment of a chain.
int TermChange::RemoveFrom(Segment* segment, int place, std::int64_t countedAt) {
  const int before = segment->head.used;
  const auto begin = segment->slots.begin() + std::ptrdiff_t{place} * size_;
  segment->slots.erase(begin, begin + size_);
  --segment->head.used;
  segment->head.total = countedAt > 0 ? segment->head.used : std::max(segment->head.total - 1, 0);
  if (!SaveSegment(*segment, before, countedAt) || !WriteSegment(*segment, before)) return kNoInvertedFile;
  return countedAt < 1 || AddToTotal(countedAt, -1) ? kOk : kNoInvertedFile;
}

int InsertTerm(TVelorSpace* space, const char* term, const TifpItemPosting& posting) {
  if (!space || !term) return kNoSpace;
  return AtEdge([&] { return TermChange(space, term).Insert(posting); });
}

int DeleteTerm(TVelorSpace* space, const char* term, const TifpItemPosting& posting) {
  if (!space || !term) return kNoSpace;
  return AtEdge([&] { return TermChange(space, term).Delete(posting); });
}

}  // namespace velor_32
