#include "storage/term_change.h"

#include "storage/codes.h"
#include "utils/file_layer.h"

namespace velor_32 {

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

}  // namespace velor_32
