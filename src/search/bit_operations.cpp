#include "search/bit_operations.h"

#include <algorithm>
#include <bit>
#include <cstdint>
#include <cstring>
#include <span>

using Bitarr::TBitList;
using velor_01::TIntList;

namespace {

using Word = std::uint64_t;
constexpr int kWordBits = 64;
constexpr int kLeastRoom = 1000;  // numbers

/// Calls combine(word of a, word of b) for the bytes that both have, and stores its results in a. Bytes keep
/// their places in a word, so that the machine's byte order does not matter.
template <class Combine>
void ForEachWord(std::span<std::uint8_t> a, std::span<const std::uint8_t> b, Combine&& combine) {
  const std::size_t size = std::min(a.size(), b.size());
  for (std::size_t at = 0; at < size; at += sizeof(Word)) {
    const std::size_t part = std::min(sizeof(Word), size - at);
    Word left = 0;
    Word right = 0;
    if (part == sizeof(Word)) {  // of a known length: two loads and a store
      std::memcpy(&left, &a[at], sizeof left);
      std::memcpy(&right, &b[at], sizeof right);
      left = combine(left, right);
      std::memcpy(&a[at], &left, sizeof left);
    } else {
      std::memcpy(&left, &a[at], part);
      std::memcpy(&right, &b[at], part);
      left = combine(left, right);
      std::memcpy(&a[at], &left, part);
    }
  }
}

/// The bytes from `at` on as a word whose most significant bit is the first bit; bytes behind the end are 0.
Word LoadWord(std::span<const std::uint8_t> bytes, std::size_t at) {
  Word word = 0;
  if (bytes.size() - at >= sizeof word) {
    std::memcpy(&word, &bytes[at], sizeof word);
  } else {
    std::memcpy(&word, &bytes[at], bytes.size() - at);
  }
  static_assert(std::endian::native == std::endian::little);
  return __builtin_bswap64(word);
}

/// Appends the numbers of a word whose first bit stands for `first`; `out` has room for all of them.
std::int32_t* AppendNumbers(Word word, std::int32_t first, std::int32_t* out) {
  while (word != 0) {
    const int bit = std::countl_zero(word);
    *out++ = first + bit;
    word ^= Word{1} << (63 - bit);
  }
  return out;
}

}  // namespace

bool MergeList(TBitList* a, const TBitList* b) noexcept {
  if (a->GetCount() == 0) return a->Assign(*b);
  if (a->GetCount() < b->GetCount() && !a->SetCount(b->GetCount())) return false;
  ForEachWord(a->Bytes(), b->Bytes(), [](Word left, Word right) { return left | right; });
  return true;
}

namespace Search18 {

void CrossList(TBitList* a, const TBitList* b) noexcept {
  a->SetCount(std::min(a->GetCount(), b->GetCount()));
  ForEachWord(a->Bytes(), b->Bytes(), [](Word left, Word right) { return left & right; });
}

void NotList(TBitList* a, const TBitList* b) noexcept {
  ForEachWord(a->Bytes(), b->Bytes(), [](Word left, Word right) { return left & ~right; });
}

bool BitToIntList(const TBitList* bits, TIntList* list) noexcept {
  const std::span<const std::uint8_t> bytes = bits->Bytes();
  const std::int64_t most = bits->GetCount();
  list->Clear();
  int count = 0;
  for (std::size_t at = 0; at < bytes.size(); at += sizeof(Word)) {
    const Word word = LoadWord(bytes, at);
    if (word == 0) continue;
    // Room is made ahead in growing steps: to count the bits first would cost more than the numbers do.
    const std::int64_t room = std::int64_t{count} + std::max(count, kLeastRoom);
    if (list->GetCount() - count < kWordBits && !list->SetCount(static_cast<int>(std::min(room, most)))) {
      list->Clear();
      return false;
    }
    std::int32_t* const begin = list->Items().data();
    count =
        static_cast<int>(AppendNumbers(word, static_cast<std::int32_t>(at * 8) + 1, begin + count) - begin);
  }
  return list->SetCount(count);
}

bool IntToBitList(const TIntList* list, TBitList* bits) noexcept {
  const std::span<const std::int32_t> numbers = list->Items();
  const int highest = numbers.empty() ? 0 : std::ranges::max(numbers);
  bits->Clear();
  if (highest < 1) return true;
  if (!bits->SetCount(highest)) return false;
  const std::span<std::uint8_t> bytes = bits->Bytes();
  for (const std::int32_t number : numbers) {
    if (number < 1) continue;
    std::uint8_t& byte = bytes[static_cast<std::size_t>(number - 1) / 8];
    byte = static_cast<std::uint8_t>(byte | (128 >> ((number - 1) & 7)));
  }
  return true;
}

int HighestNumber(const TBitList& bits) noexcept {
  const std::span<const std::uint8_t> bytes = bits.Bytes();
  std::size_t end = bytes.size();
  while (end >= sizeof(Word) && LoadWord(bytes, end - sizeof(Word)) == 0) end -= sizeof(Word);
  while (end > 0 && bytes[end - 1] == 0) --end;
  if (end == 0) return 0;
  return static_cast<int>(end * 8) - std::countr_zero(bytes[end - 1]);
}

}  // namespace Search18
