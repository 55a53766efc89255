#include "storage/term_update.h"

#include <algorithm>
#include <cstring>
#include <limits>
#include <string>
#include <vector>

#include "storage/app_context.h"
#include "storage/codes.h"
#include "storage/edge.h"
#include "storage/record_format.h"
#include "storage/term_journal.h"
#include "storage/term_read.h"
#include "storage/term_tree.h"
#include "utils/file_layer.h"
#include "utils/text_util.h"

namespace velor_32 {

using velor_01::Tifp_MaxFileSize;
using velor_01::TifpHeader;
using velor_01::TifpItemPosting;
using velor_01::TifpSpecial;
using velor_01::TSpaceTrm;
using velor_01::TTermBlock;

namespace {

constexpr int kHeadSize = sizeof(TifpHeader);
constexpr std::int32_t kMostPostings = std::numeric_limits<std::int32_t>::max();  // of a term
constexpr int kUsualSegment = 256;  // postings that one read brings along; a larger segment is divided
constexpr int kPrevPlace = 4;       // of the back link in a block
constexpr std::int64_t kPageSize = 4096;

std::int64_t NextOf(const TifpHeader& head) {
  return backup::MakeInt64(static_cast<std::uint32_t>(head.nextLow),
                           static_cast<std::uint32_t>(head.nextHigh));
}

void SetNext(TifpHeader* head, std::int64_t offset) {
  std::uint32_t low = 0;
  std::uint32_t high = 0;
  backup::MakeFromInt64(offset, &low, &high);
  head->nextLow = static_cast<std::int32_t>(low);
  head->nextHigh = static_cast<std::int32_t>(high);
}

/// A segment in memory: its head in host order, its postings as in the file.
struct Segment {
  std::int64_t offset = 0;
  TifpHeader head;
  std::vector<char> slots;  // used * posting size bytes

  [[nodiscard]] bool IsLast() const { return head.nextHigh == velor_01::kLastSegment; }
};

/// A place in a chain of segments.
struct ChainPlace {
  Segment* segment = nullptr;
  int slot = 0;  // from 0
  bool isFound = false;
};

/// One change of one term.
class TermChange {
 public:
  TermChange(TVelorSpace* space, const char* term)
      : space_(space), size_(velor_01::PostingSize(space->isFullText)), term_(term) {
    if (term_.size() > velor_01::kLongestTerm) term_.resize(velor_01::kLongestTerm);
  }

  int Insert(const TifpItemPosting& posting) { return Finish(TryInsert(posting)); }
  int Delete(const TifpItemPosting& posting) { return Finish(TryDelete(posting)); }

 private:
  int TryInsert(const TifpItemPosting& posting);
  int TryDelete(const TifpItemPosting& posting);
  int Finish(int rc);
  [[nodiscard]] bool SaveSegment(const Segment& segment, int slots, std::int64_t countedAt);
  [[nodiscard]] bool SaveDivision(TermJournal::File file, std::int32_t number, std::int32_t newNumber,
                                  const TTermBlock& block);
  [[nodiscard]] int Find();
  [[nodiscard]] bool ReadControl();
  [[nodiscard]] bool ReadSegment(std::int64_t offset, Segment* segment) const;
  [[nodiscard]] bool WriteSegment(const Segment& segment, int capacitySlots) const;
  [[nodiscard]] std::int64_t Append(const std::vector<char>& bytes);
  [[nodiscard]] bool SetTermOffset(std::int64_t offset);
  [[nodiscard]] bool PassesLimit(std::int64_t bytes) const;
  int FindSlot(const Segment& segment, const TifpItemPosting& posting, bool* found) const;
  void InsertSlot(Segment* segment, int place, const TifpItemPosting& posting) const;
  [[nodiscard]] std::vector<char> Image(const Segment& segment, int capacitySlots) const;

  int InsertNewTerm(const TifpItemPosting& posting, int found);
  int InsertKey(std::int64_t offset, int position);
  int DivideUpwards(std::string key, std::int32_t child);
  int RaiseRoot(const std::string& key, std::int32_t child);
  [[nodiscard]] std::int32_t NextBlockNumber(bool isLeaf) const;
  [[nodiscard]] bool CountBlock(bool isLeaf, std::int32_t number);
  int FindInChain(Segment* first, Segment* other, const TifpItemPosting& posting, ChainPlace* place);
  int InsertInChain(Segment* first, const TifpItemPosting& posting);
  int InsertInSegment(Segment* first, Segment* segment, int place, const TifpItemPosting& posting);
  int MoveSegment(Segment* segment, int place, const TifpItemPosting& posting);
  int SplitSegment(Segment* segment, int place, const TifpItemPosting& posting, int newCapacity,
                   std::int64_t countedAt, TifpSpecial* entry);
  int InsertUnderSpecial(const TifpHeader& head, std::int64_t headOffset, const TifpItemPosting& posting);
  int MakeRoomForEntry(const TifpHeader& head, std::int64_t* headOffset);
  int insert_special(std::int64_t headOffset, const TifpSpecial& entry);
  int RemoveFrom(Segment* segment, int place, std::int64_t countedAt);
  int DeleteInChain(Segment* first, const TifpItemPosting& posting);
  int DeleteUnderSpecial(const TifpHeader& head, std::int64_t headOffset, const TifpItemPosting& posting);
  [[nodiscard]] bool AddToTotal(std::int64_t headOffset, int change);
  void SettleTotal(std::int64_t headOffset);

  TVelorSpace* space_;
  int size_;  // of a posting
  std::string term_;
  TSpaceTrm* index_ = nullptr;
  Tifp_MaxFileSize control_;
  TermJournal journal_;
};

TermJournal::Range BlockRange(TermJournal::File file, std::int32_t number) {
  return {file, (std::int64_t{number} - 1) * velor_01::kTermBlockSize, velor_01::kTermBlockSize};
}

constexpr TermJournal::Range kControlRange = {TermJournal::kIfp, 0, sizeof(Tifp_MaxFileSize)};

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
    offset = NextOf(head);
    if (!ReadSegmentHead(index_->ifp, offset, &head)) return;
  }
  if (total == first.total || total > kMostPostings) return;
  first.total = static_cast<std::int32_t>(total);
  static_cast<void>(WriteSegmentHead(index_->ifp, headOffset, first));
}

// ---- a new term ----

int TermChange::InsertNewTerm(const TifpItemPosting& posting, int found) {
  Segment segment;
  segment.head.total = 1;
  segment.head.capacity = 1;
  InsertSlot(&segment, 0, posting);
  segment.offset = Append(Image(segment, 1));
  if (segment.offset < 0) return kNoInvertedFile;
  if (index_->root == 0) {
    const bool ok =
        journal_.Save(*index_, control_,
                      {kControlRange, BlockRange(TermJournal::kL01, 1), BlockRange(TermJournal::kN01, 1)}) &&
        backup::_expand_l01(index_->l01, &control_, 1) && backup::_expand_n01(index_->n01, &control_, 1) &&
        (control_.marker != velor_01::kSizeMarker || backup::WriteIfpControl(index_->ifp, control_)) &&
        InitN(index_, term_, segment.offset);
    return ok ? kOk : kNoInvertedFile;
  }
  if (index_->trail.GetCount() < 2) return kNoInvertedFile;
  int position = index_->trail.Get(index_->trail.GetCount() - 1);
  if (found == kBehindLastTerm) ++position;
  if (found == kBelowFirstTerm) position = 1;
  return InsertKey(segment.offset, position);
}

int TermChange::InsertKey(std::int64_t offset, int position) {
  const std::int32_t leaf = -index_->trail.Get(index_->trail.GetCount() - 2);
  std::uint32_t low = 0;
  std::uint32_t high = 0;
  backup::MakeFromInt64(offset, &low, &high);
  const KeyValue value{static_cast<std::int32_t>(low), static_cast<std::int32_t>(high)};
  TTermBlock* block = &index_->leafBlock;
  if (IsPlace_In_Block(*block, term_))
    return Insert_Term_In_Block(index_->l01, block, leaf, term_, value, position, true) ? kOk
                                                                                        : kNoInvertedFile;
  const std::int32_t number = NextBlockNumber(true);
  TTermBlock newBlock;
  std::string key = term_;
  if (number < 1 || !SaveDivision(TermJournal::kL01, leaf, number, *block) || !CountBlock(true, number) ||
      !Divide_Block(index_->l01, block, &newBlock, leaf, number, &key, value, position))
    return kNoInvertedFile;
  return DivideUpwards(std::move(key), -number);
}

/// The number of the next block of a file.
std::int32_t TermChange::NextBlockNumber(bool isLeaf) const {
  const int file = isLeaf ? index_->l01 : index_->n01;
  if (control_.marker != velor_01::kSizeMarker)
    return static_cast<std::int32_t>(backup::_llseek(file, 0, SEEK_END) / velor_01::kTermBlockSize + 1);
  const std::int32_t used = isLeaf ? control_.l01Blocks : control_.n01Blocks;
  return used == std::numeric_limits<std::int32_t>::max() ? -1 : used + 1;
}

/// Makes room for a block and counts it in the control record, before it is used.
bool TermChange::CountBlock(bool isLeaf, std::int32_t number) {
  if (control_.marker != velor_01::kSizeMarker) return true;
  const bool hasRoom = isLeaf ? backup::_expand_l01(index_->l01, &control_, number)
                              : backup::_expand_n01(index_->n01, &control_, number);
  return hasRoom && backup::WriteIfpControl(index_->ifp, control_);
}

/// Takes a separator up the trail, dividing full nodes, until one has room; a divided root gets a new one
/// above it. The trail is: root, place, child, place, ..., leaf, position.
int TermChange::DivideUpwards(std::string key, std::int32_t child) {
  for (int at = index_->trail.GetCount() - 4; at >= 0; at -= 2) {
    const std::int32_t number = index_->trail.Get(at);
    const int position = index_->trail.Get(at + 1) + 1;
    TTermBlock node;
    if (!ReadTermBlock(index_->n01, number, true, &node)) return kNoInvertedFile;
    if (IsPlace_In_Block(node, key))
      return journal_.Save(*index_, control_, {BlockRange(TermJournal::kN01, number)}) &&
                     Insert_Term_In_Block(index_->n01, &node, number, key, {child, 0}, position, true)
                 ? kOk
                 : kNoInvertedFile;
    const std::int32_t newNumber = NextBlockNumber(false);
    TTermBlock newNode;
    if (newNumber < 1 || !SaveDivision(TermJournal::kN01, number, newNumber, node) ||
        !CountBlock(false, newNumber) ||
        !Divide_Block(index_->n01, &node, &newNode, number, newNumber, &key, {child, 0}, position))
      return kNoInvertedFile;
    child = newNumber;
  }
  return RaiseRoot(key, child);
}

int TermChange::RaiseRoot(const std::string& key, std::int32_t child) {
  const std::int32_t root = NextBlockNumber(false);
  const bool ok =
      root > 0 &&
      journal_.Save(*index_, control_,
                    {kControlRange, BlockRange(TermJournal::kN01, root), {TermJournal::kN01, 0, 4}}) &&
      CountBlock(false, root) && InitN0(index_->n01, &index_->nodeBlock, root, key, index_->root, child);
  return ok ? kOk : kNoInvertedFile;
}

// ---- postings of a term that exists ----

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
    const std::int64_t next = NextOf(place->segment->head);
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

}  // namespace

int InsertTerm(TVelorSpace* space, const char* term, const TifpItemPosting& posting) {
  if (!space || !term) return kNoSpace;
  return AtEdge([&] { return TermChange(space, term).Insert(posting); });
}

int DeleteTerm(TVelorSpace* space, const char* term, const TifpItemPosting& posting) {
  if (!space || !term) return kNoSpace;
  return AtEdge([&] { return TermChange(space, term).Delete(posting); });
}

}  // namespace velor_32
