#include "storage/record_format.h"

#include <bit>
#include <cstring>

#include "storage/term_format.h"
#include "utils/file_layer.h"

namespace backup {
namespace {

static_assert(std::endian::native == std::endian::little, "words are swapped between file and host order");

/// Words of each structure, by type number.
constexpr std::size_t kWords[] = {0, 9, 8, 3, 3, 1};

}  // namespace

void ntoh_words(void* buffer, std::size_t count) {
  auto* bytes = static_cast<unsigned char*>(buffer);
  for (std::size_t i = 0; i < count; ++i, bytes += 4) {
    std::uint32_t word;
    std::memcpy(&word, bytes, 4);
    word = __builtin_bswap32(word);
    std::memcpy(bytes, &word, 4);
  }
}

namespace {

using velor_01::kBlockHeadSize;
using velor_01::TifpHeader;
using velor_01::TKeyItem;
using velor_01::TTermBlock;

void SwapHalf(std::uint16_t& half) {
  half = __builtin_bswap16(half);
}

/// The head of a block: three words and two halves.
void SwapBlockHead(TTermBlock& block) {
  ntoh_words(&block, 3);
  SwapHalf(block.count);
  SwapHalf(block.free);
}

void SwapItem(TKeyItem& item) {
  SwapHalf(item.len);
  SwapHalf(item.pos);
  ntoh_words(&item.low, 2);
}

void SwapItems(TTermBlock& block, int count) {
  constexpr int kMostItems = 254;
  constexpr int kRoom = (velor_01::kTermBlockSize - kBlockHeadSize) / velor_01::kKeyItemSize;
  for (int i = 1; i <= count && i <= kMostItems && i <= kRoom; ++i) SwapItem(block.item(i));
}

bool IsBlockHead(const TTermBlock& block) {
  return block.count < 256 && block.number >= 0 && block.free <= velor_01::kTermBlockSize;
}

bool IsSegmentHead(const TifpHeader& head) {
  return head.total >= 0 && head.used >= 0 && head.capacity >= 0 && head.used <= head.capacity;
}

/// The first word is the record number, the fourth the position.
bool IsPosting(const std::int32_t* words) {
  return words[0] >= 0 && words[3] >= 0;
}

bool SwapPosting(void* buffer, std::size_t words) {
  ntoh_words(buffer, words);
  return IsPosting(static_cast<const std::int32_t*>(buffer));
}

bool SwapTermStruct(void* buffer, int type, bool toHost) {
  switch (type) {
    case kBlockHeadStruct:
      SwapBlockHead(*static_cast<TTermBlock*>(buffer));
      return !toHost || IsBlockHead(*static_cast<TTermBlock*>(buffer));
    case kKeyItemStruct:
      SwapItem(*static_cast<TKeyItem*>(buffer));
      return true;
    case kSegmentHeadStruct:
      ntoh_words(buffer, sizeof(TifpHeader) / 4);
      return !toHost || IsSegmentHead(*static_cast<TifpHeader*>(buffer));
    case kLongPostingStruct:
      return SwapPosting(buffer, 8) || !toHost;
    case kLongSpecialStruct:
      return SwapPosting(buffer, 10) || !toHost;
    case kPostingStruct:
      return SwapPosting(buffer, 4) || !toHost;
    case kSpecialStruct:
      return SwapPosting(buffer, 6) || !toHost;
    case kBlockStruct: {
      auto& block = *static_cast<TTermBlock*>(buffer);
      if (!toHost) SwapItems(block, block.count);
      SwapBlockHead(block);
      if (toHost && !IsBlockHead(block)) return false;
      if (toHost) SwapItems(block, block.count);
      return true;
    }
    default:
      return false;
  }
}

bool SwapStruct(void* buffer, int type, bool toHost) {
  if (type < kControlStruct || type > kWordStruct) return SwapTermStruct(buffer, type, toHost);
  ntoh_words(buffer, kWords[type]);
  return true;
}

}  // namespace

bool ntoh_velor_struct(void* buffer, int type) {
  return SwapStruct(buffer, type, true);
}

bool hton_velor_struct(void* buffer, int type) {
  return SwapStruct(buffer, type, false);
}

std::int64_t New_XrfToMstOffSet(const velor_01::TNew_Xrf& entry) {
  return MakeInt64(entry.offsetLow, entry.offsetHigh);
}

}  // namespace backup
