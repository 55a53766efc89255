#pragma once

#include <cstddef>
#include <cstdint>
#include <string_view>

#include "utils/posting_list.h"

/// The structures of the inverted file, as they stand in the files and, after conversion, in memory. Words
/// are big-endian in the files, in host order here; a file offset takes two words, the low one first.
///
/// `.n01` (inner nodes) and `.l01` (leaves) are arrays of blocks of 2048 bytes; block n, from 1, begins at
/// byte (n - 1) * 2048. In the first block of `.n01` the word `number` holds the number of the root instead,
/// 0 for an empty dictionary. Each level of inner nodes begins with the one-byte key "\x01", which is below
/// every real key, so that a search always finds a child.
///
/// `.ifp` begins with Tifp_MaxFileSize. The postings of a term lie in a chain of segments, each a TifpHeader
/// and `capacity` slots of 16 bytes, or of 32 in a full-text database. A term of very many postings begins
/// with a special block: a head with nextHigh kSpecialMark and a sorted list of the first postings of its
/// segments.
namespace velor_01 {

constexpr int kTermBlockSize = 2048;
constexpr int kBlockHeadSize = 16;
constexpr int kKeyItemSize = 12;
constexpr int kLongestTerm = 255;     // bytes
constexpr int kTermBufferSize = 256;  // of callers that get a term written, with its zero
constexpr std::int32_t kNoBlock = -1;
constexpr std::int32_t kLastSegment = -1;
constexpr std::int32_t kSpecialMark = -1001;
constexpr std::int32_t kSizeMarker = -2;
constexpr char kLowestKey = '\x01';

/// One key. In a leaf low and high are the offset of the term's first segment. In an inner node low is the
/// child: a positive number is a block of `.n01`, -k block k of `.l01`; high is 0.
struct TKeyItem {
  std::uint16_t len = 0;
  std::uint16_t pos = 0;  // of the key's bytes in the block
  std::int32_t low = 0;
  std::int32_t high = 0;
};
static_assert(sizeof(TKeyItem) == kKeyItemSize, "the struct is the file image");

/// A block: head, items in key order, and the bytes of the keys, which grow down from the end.
struct TTermBlock {
  std::int32_t number = 0;
  std::int32_t prev = kNoBlock;
  std::int32_t next = kNoBlock;
  std::uint16_t count = 0;
  std::uint16_t free = kTermBlockSize;  // where the lowest key begins
  unsigned char bytes[kTermBlockSize - kBlockHeadSize] = {};

  /// Item i, from 1.
  [[nodiscard]] TKeyItem& item(int i) { return reinterpret_cast<TKeyItem*>(bytes)[i - 1]; }
  [[nodiscard]] const TKeyItem& item(int i) const { return reinterpret_cast<const TKeyItem*>(bytes)[i - 1]; }
  [[nodiscard]] std::string_view key(int i) const {
    return {reinterpret_cast<const char*>(bytes) + item(i).pos - kBlockHeadSize, item(i).len};
  }
  /// The places in the block where the key's bytes lie.
  [[nodiscard]] char* at(int position) { return reinterpret_cast<char*>(bytes) + position - kBlockHeadSize; }
};
static_assert(sizeof(TTermBlock) == kTermBlockSize, "the struct is the file image");
static_assert(offsetof(TTermBlock, bytes) == kBlockHeadSize);

/// Control record of `.ifp`. With another marker than kSizeMarker the sizes are those of the files.
struct Tifp_MaxFileSize {
  std::uint32_t sizeLow = 20;  // next free offset
  std::uint32_t sizeHigh = 0;
  std::int32_t n01Blocks = 0;  // blocks in use
  std::int32_t l01Blocks = 0;
  std::int32_t marker = kSizeMarker;
};
static_assert(sizeof(Tifp_MaxFileSize) == 20, "the struct is the file image");

/// Head of a segment.
struct TifpHeader {
  std::int32_t nextLow = kLastSegment;
  std::int32_t nextHigh = kLastSegment;
  std::int32_t total = 0;  // in the first segment the postings of the term, in the others the same as used
  std::int32_t used = 0;
  std::int32_t capacity = 0;
};
static_assert(sizeof(TifpHeader) == 20, "the struct is the file image");

/// An entry of a special block: the first posting of a segment, and where the segment lies.
struct TifpSpecial {
  TifpItemPosting posting;
  std::int64_t offset = 0;
};

/// Bytes of a posting and of a special entry.
[[nodiscard]] constexpr int PostingSize(bool isFullText) {
  return isFullText ? 32 : 16;
}
[[nodiscard]] constexpr int SpecialSize(bool isFullText) {
  return PostingSize(isFullText) + 8;
}

}  // namespace velor_01

namespace backup {

/// Structures of the inverted file that ntoh_velor_struct and hton_velor_struct know beside those of
/// record_format.h. Reading gives false when the structure cannot be what it says: a block with `count` at or
/// above 256, a negative number or `free` above 2048; a head with a negative count, or more used than there
/// is room; a posting with a negative record number or position.
enum TermStructType : int {
  kBlockHeadStruct = 6,
  kKeyItemStruct = 7,
  kSegmentHeadStruct = 8,
  kLongPostingStruct = 9,   // of a full-text database
  kLongSpecialStruct = 10,  // the same with an offset
  kBlockStruct = 11,        // head and items
  kPostingStruct = 16,
  kSpecialStruct = 17,
};

}  // namespace backup
