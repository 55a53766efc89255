#include "storage/term_tree.h"

#include <algorithm>
#include <cstring>
#include <vector>

#include "storage/record_format.h"
#include "utils/endian.h"
#include "utils/file_layer.h"

namespace velor_01 {

void MoveHeaderBlock(const TTermBlock& from, TTermBlock* to) {
  to->number = from.number;
  to->prev = from.prev;
  to->next = from.next;
  to->count = 0;
  to->free = kTermBlockSize;
}

void MoveKey(const TTermBlock& from, int index, TTermBlock* to, int toIndex) {
  const std::string_view key = from.key(index);
  TKeyItem& item = to->item(toIndex);
  item = from.item(index);
  to->free = static_cast<std::uint16_t>(to->free - key.size());
  item.pos = to->free;
  std::memcpy(to->at(to->free), key.data(), key.size());
  to->count = static_cast<std::uint16_t>(std::max<int>(to->count, toIndex));
}

}  // namespace velor_01

namespace velor_32 {

using velor_01::kKeyItemSize;
using velor_01::kLongestTerm;
using velor_01::kTermBlockSize;
using velor_01::TSpaceTrm;
using velor_01::TTermBlock;

namespace {

constexpr int kMostInPart = 2033;  // bytes of items and keys in one half

int ItemBytes(const TTermBlock& block, int index) {
  return block.item(index).len + kKeyItemSize;
}

/// Where a block is divided: items on the left, and their bytes.
struct Split {
  int items = 0;
  int bytes = 0;
};

/// The middle by bytes, moved so that the part which gets the new key keeps room for it.
Split FindSplit(const TTermBlock& block, int keyLength, int index, int total) {
  Split split;
  do {
    ++split.items;
    split.bytes += ItemBytes(block, split.items);
  } while (split.items < block.count && split.bytes <= total / 2);
  while (split.items < index && split.items < block.count &&
         total - split.bytes + keyLength + 13 >= kMostInPart) {
    ++split.items;
    split.bytes += ItemBytes(block, split.items);
  }
  while (split.items >= index && split.items > 1 && split.bytes + keyLength + 13 >= kMostInPart) {
    split.bytes -= ItemBytes(block, split.items);
    --split.items;
  }
  return split;
}

/// Sets the back link of the block that follows a divided one.
bool SetPrev(int file, std::int32_t number, std::int32_t prev) {
  unsigned char word[4];
  utils::StoreBe32(word, static_cast<std::uint32_t>(prev));
  return utils::WriteAt(file, (std::int64_t{number} - 1) * kTermBlockSize + 4, word, sizeof word);
}

void SetKey(TTermBlock* block, std::string_view key, KeyValue value, int index) {
  for (int i = block->count; i >= index; --i) block->item(i + 1) = block->item(i);
  block->free = static_cast<std::uint16_t>(block->free - key.size());
  block->item(index) = {static_cast<std::uint16_t>(key.size()), block->free, value.low, value.high};
  std::memcpy(block->at(block->free), key.data(), key.size());
  ++block->count;
}

bool SetRoot(int file, std::int32_t number) {
  unsigned char word[4];
  utils::StoreBe32(word, static_cast<std::uint32_t>(number));
  return utils::WriteAt(file, 0, word, sizeof word);
}

}  // namespace

bool IsPlace_In_Block(const TTermBlock& block, std::string_view key) {
  return block.free - 15 - kKeyItemSize * block.count > static_cast<int>(key.size()) + kKeyItemSize;
}

bool Insert_Term_In_Block(int file, TTermBlock* block, std::int32_t blockNumber, std::string_view key,
                          KeyValue value, int index, bool write) {
  if (index < 1 || index > block->count + 1) return false;
  SetKey(block, key, value, index);
  return !write || WriteTermBlock(file, blockNumber, *block);
}

bool Divide_Block(int file, TTermBlock* block, TTermBlock* newBlock, std::int32_t blockNumber,
                  std::int32_t newNumber, std::string* key, KeyValue value, int index) {
  if (block->count < 1 || index < 1 || index > block->count + 1) return false;
  const int length = static_cast<int>(key->size());
  const int total = kKeyItemSize * block->count - block->free + length + kTermBlockSize + kKeyItemSize;
  const Split split = FindSplit(*block, length, index, total);

  TTermBlock left;
  MoveHeaderBlock(*block, &left);
  left.next = newNumber;
  for (int i = 1; i <= split.items; ++i) MoveKey(*block, i, &left, i);
  *newBlock = TTermBlock();
  newBlock->number = newNumber;
  newBlock->prev = blockNumber;
  newBlock->next = block->next;
  for (int i = split.items + 1; i <= block->count; ++i) MoveKey(*block, i, newBlock, i - split.items);

  const std::int32_t follower = block->next;
  *block = left;
  const bool goesRight = split.items < index;
  TTermBlock* target = goesRight ? newBlock : block;
  if (!IsPlace_In_Block(*target, *key)) return false;
  SetKey(target, *key, value, goesRight ? index - split.items : index);
  if (newBlock->count < 1) return false;
  key->assign(newBlock->key(1));
  if (key->empty() || key->size() > kLongestTerm) return false;
  if (!WriteTermBlock(file, newNumber, *newBlock) || !WriteTermBlock(file, blockNumber, *block)) return false;
  return follower < 1 || SetPrev(file, follower, newNumber);
}

bool InitN0(int file, TTermBlock* block, std::int32_t number, std::string_view key, std::int32_t child0,
            std::int32_t child1) {
  *block = TTermBlock();
  block->number = number;
  SetKey(block, std::string_view(&velor_01::kLowestKey, 1), {child0, 0}, 1);
  SetKey(block, key, {child1, 0}, 2);
  return WriteTermBlock(file, number, *block) && SetRoot(file, number);
}

bool InitN_Base(TSpaceTrm* trm, int l01, int n01, std::string_view key, std::int64_t offset) {
  std::uint32_t low = 0;
  std::uint32_t high = 0;
  backup::MakeFromInt64(offset, &low, &high);
  trm->leafBlock = TTermBlock();
  trm->leafBlock.number = 1;
  SetKey(&trm->leafBlock, key, {static_cast<std::int32_t>(low), static_cast<std::int32_t>(high)}, 1);
  trm->nodeBlock = TTermBlock();
  trm->nodeBlock.number = 1;
  SetKey(&trm->nodeBlock, std::string_view(&velor_01::kLowestKey, 1), {-1, 0}, 1);
  return WriteTermBlock(l01, 1, trm->leafBlock) && WriteTermBlock(n01, 1, trm->nodeBlock);
}

bool InitN(TSpaceTrm* trm, std::string_view key, std::int64_t offset) {
  return InitN_Base(trm, trm->l01, trm->n01, key, offset);
}

}  // namespace velor_32

namespace backup {

using velor_01::Tifp_MaxFileSize;

namespace {

constexpr std::int64_t kIfpStep = 1000000;  // bytes
constexpr std::int64_t kBlockStep = 1000;   // blocks

bool WriteZeros(int handle, std::int64_t offset, std::int64_t length) {
  const std::vector<char> zeros(static_cast<std::size_t>(length));
  return utils::WriteAt(handle, offset, zeros.data(), zeros.size());
}

bool HasSizes(const Tifp_MaxFileSize& control) {
  return control.marker == velor_01::kSizeMarker;
}

bool AppendIfp(int handle, Tifp_MaxFileSize* control, const void* buffer, int length) {
  const std::int64_t end = MakeInt64(control->sizeLow, control->sizeHigh);
  const std::int64_t size = utils::FileSize(handle);
  if (end < static_cast<std::int64_t>(sizeof *control) || end > size) return false;  // a damaged record
  if (size < end + length) {
    const std::int64_t growth = length >= kIfpStep ? length + kIfpStep : kIfpStep;
    if (!WriteZeros(handle, end, growth)) return false;
  }
  if (!utils::WriteAt(handle, end, buffer, static_cast<std::size_t>(length))) return false;
  MakeFromInt64(end + length, &control->sizeLow, &control->sizeHigh);
  return true;
}

bool ExpandBlocks(int handle, const Tifp_MaxFileSize& control, std::int32_t* used, std::int32_t blocks) {
  constexpr std::int64_t kSize = velor_01::kTermBlockSize;
  if (!HasSizes(control) || *used >= blocks) return true;
  const std::int64_t size = utils::FileSize(handle);
  if (*used < 0 || *used * kSize > size) return false;  // a damaged record
  const std::int64_t end = (std::int64_t{*used} + 1) * kSize;
  if (size <= end + kSize && !WriteZeros(handle, end, kBlockStep * kSize)) return false;
  *used = blocks;
  return true;
}

}  // namespace

std::int64_t GetIfpMaxFileSize(int handle, const Tifp_MaxFileSize& control) {
  return HasSizes(control) ? MakeInt64(control.sizeLow, control.sizeHigh) : utils::FileSize(handle);
}

bool _write_ifp(int handle, Tifp_MaxFileSize* control, const void* buffer, std::int64_t offset, int length) {
  const std::int64_t end = GetIfpMaxFileSize(handle, *control);
  if (end < 0 || length < 0) return false;
  if (offset < 0) offset = end;
  if (!HasSizes(*control)) return utils::WriteAt(handle, offset, buffer, static_cast<std::size_t>(length));
  if (offset == end) return AppendIfp(handle, control, buffer, length);
  if (offset + length > end) return false;
  return utils::WriteAt(handle, offset, buffer, static_cast<std::size_t>(length));
}

bool _expand_l01(int handle, Tifp_MaxFileSize* control, std::int32_t blocks) {
  return ExpandBlocks(handle, *control, &control->l01Blocks, blocks);
}

bool _expand_n01(int handle, Tifp_MaxFileSize* control, std::int32_t blocks) {
  return ExpandBlocks(handle, *control, &control->n01Blocks, blocks);
}

bool ReadIfpControl(int handle, Tifp_MaxFileSize* control) {
  if (!utils::ReadAt(handle, 0, control, sizeof *control)) return false;
  ntoh_words(control, sizeof *control / 4);
  return true;
}

bool WriteIfpControl(int handle, const Tifp_MaxFileSize& control) {
  Tifp_MaxFileSize image = control;
  ntoh_words(&image, sizeof image / 4);
  return utils::WriteAt(handle, 0, &image, sizeof image);
}

}  // namespace backup
