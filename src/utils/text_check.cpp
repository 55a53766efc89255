#include "utils/text_util.h"

#include <emmintrin.h>

#include <bit>
#include <cstring>

// The check goes through the text in blocks of 64 bytes. A block without bytes above 127 is passed at once.
// Any other is turned into bit planes: plane n is a 64-bit word that holds bit n of each byte. Leads,
// continuations and where they must stand are then a few operations on words for all 64 bytes together,
// whatever the script of the text.

namespace {

using Mask = std::uint64_t;  // bit i speaks of byte i of the block

constexpr std::size_t kBlock = 64;
constexpr int kIllFormed = -1;
constexpr int kEnded = 0;

struct Block {
  __m128i part[4];
};

Block Load(const char* from) {
  Block block;
  for (int i = 0; i < 4; ++i) block.part[i] = _mm_loadu_si128(reinterpret_cast<const __m128i*>(from) + i);
  return block;
}

/// True when the block holds neither a byte above 127 nor a zero.
bool IsPlain(const Block& block) {
  const __m128i any =
      _mm_or_si128(_mm_or_si128(block.part[0], block.part[1]), _mm_or_si128(block.part[2], block.part[3]));
  const __m128i least =
      _mm_min_epu8(_mm_min_epu8(block.part[0], block.part[1]), _mm_min_epu8(block.part[2], block.part[3]));
  return _mm_movemask_epi8(_mm_or_si128(any, _mm_cmpeq_epi8(least, _mm_setzero_si128()))) == 0;
}

template <typename PartMask>
Mask Gather(const Block& block, PartMask partMask) {
  Mask mask = 0;
  for (int i = 0; i < 4; ++i) mask |= Mask{static_cast<std::uint16_t>(partMask(block.part[i]))} << (16 * i);
  return mask;
}

template <int kBit>
Mask Plane(const Block& block) {
  // The shift brings the bit to the top of its byte; what crosses from byte to byte stays below the top.
  return Gather(block, [](__m128i part) { return _mm_movemask_epi8(_mm_slli_epi16(part, 7 - kBit)); });
}

Mask ZeroBytes(const Block& block) {
  return Gather(block,
                [](__m128i part) { return _mm_movemask_epi8(_mm_cmpeq_epi8(part, _mm_setzero_si128())); });
}

/// Marks the leads that no character has, and the second bytes out of the bounds that their lead sets:
/// overlong forms, surrogates, and what lies above U+10FFFF.
Mask OutOfBounds(const Block& block, Mask lead, Mask b5, Mask b4) {
  const Mask b3 = Plane<3>(block);
  const Mask b2 = Plane<2>(block);
  const Mask b1 = Plane<1>(block);
  const Mask b0 = Plane<0>(block);
  const Mask lead3 = lead & b5 & ~b4;
  const Mask lead4 = lead & b5 & b4;
  const Mask low = b3 | b2 | b1 | b0;

  const Mask c0c1 = lead & ~(b5 | b4 | b3 | b2 | b1);
  const Mask aboveF4 = lead4 & (b3 | (b2 & (b1 | b0)));
  const Mask afterE0 = (lead3 & ~low) << 1;
  const Mask afterED = (lead3 & b3 & b2 & ~b1 & b0) << 1;
  const Mask afterF0 = (lead4 & ~low) << 1;
  const Mask afterF4 = (lead4 & ~b3 & b2 & ~b1 & ~b0) << 1;
  return c0c1 | aboveF4 | (afterE0 & ~b5) | (afterED & b5) | (afterF0 & ~(b5 | b4)) | (afterF4 & (b5 | b4));
}

/// The bits up to the lowest one set, and that one; all bits when none is set.
Mask UpToLowest(Mask mask) {
  return mask ^ (mask - 1);
}

/// Checks the block at the start of a character. Result: the bytes checked, which end with a whole character
/// (61 to 64); or kEnded when all is well up to a zero byte; or kIllFormed.
int CheckBlock(const Block& block) {
  const Mask b7 = Plane<7>(block);
  const Mask b6 = Plane<6>(block);
  const Mask b5 = Plane<5>(block);
  const Mask b4 = Plane<4>(block);
  const Mask continuation = b7 & ~b6;
  const Mask lead = b7 & b6;
  const Mask longLead = lead & b5;         // of three bytes and more
  const Mask longestLead = longLead & b4;  // of four

  Mask wrong = continuation ^ (lead << 1 | longLead << 2 | longestLead << 3);
  // Leads D0 to DF, all that most Cyrillic text has, need no further look.
  if ((lead & (b5 | ~b4)) != 0) wrong |= OutOfBounds(block, lead, b5, b4);

  // A character that the block's end cuts is left to the next block; only that it begins here, where no
  // continuation is due, is checked with this one.
  const Mask cut = (lead & Mask{1} << 63) | (longLead & Mask{3} << 62) | (longestLead & Mask{7} << 61);
  const Mask checked = UpToLowest(cut);
  const Mask zeros = ZeroBytes(block) & checked;
  if ((wrong & checked & UpToLowest(zeros)) != 0) return kIllFormed;
  return zeros != 0 ? kEnded : std::countr_zero(cut);
}

/// Checks fewer than 64 bytes: the zeros behind them end the check, and cut what the text's end cuts. No next
/// block completes a character that CheckBlock leaves to it.
bool CheckTail(const char* text, std::size_t len) {
  char padded[kBlock] = {};
  std::memcpy(padded, text, len);
  return CheckBlock(Load(padded)) == kEnded;
}

}  // namespace

namespace utils {

bool TextUtil::CheckUTF8(const char* text, std::size_t len) {
  if (text == nullptr) return true;

  std::size_t at = static_cast<std::size_t>(CheckUTF8Bom(text, len));
  while (len - at >= kBlock) {
    const Block block = Load(text + at);
    if (IsPlain(block)) {
      at += kBlock;
      continue;
    }
    const int checked = CheckBlock(block);
    if (checked <= 0) return checked == kEnded;
    at += static_cast<std::size_t>(checked);
  }
  return CheckTail(text + at, len - at);
}

}  // namespace utils
