#include "utils/bit_list.h"

#include <algorithm>
#include <cstdlib>
#include <cstring>
#include <limits>

namespace Bitarr {

namespace {
constexpr int kDefaultBytes = 5001;
constexpr std::int64_t kMaxBits = std::numeric_limits<std::int32_t>::max();
}  // namespace

TBitList::TBitList(int n) noexcept {
  const int byteCount = n < 1 ? kDefaultBytes : (n >> 3) + 1;
  // The largest n would make a portion one bit too large for its type.
  portion = static_cast<std::int32_t>(std::min<std::int64_t>(std::int64_t{byteCount} * 8, kMaxBits & ~7));
  Grow(static_cast<std::size_t>(portion) / 8);
}

TBitList::~TBitList() {
  std::free(bits);
}

// Gives the list `bytes` bytes, the new ones zero. A jump to more than twice the size takes fresh pages,
// which stay untouched until a bit is set in them: one large number must not make a gigabyte resident.
bool TBitList::Grow(std::size_t bytes) noexcept {
  const std::size_t oldBytes = static_cast<std::size_t>(capacity) / 8;
  std::uint8_t* grown = nullptr;
  if (bytes / 2 > oldBytes) {
    grown = static_cast<std::uint8_t*>(std::calloc(bytes, 1));
    if (grown == nullptr) return false;
    if (bits != nullptr) std::memcpy(grown, bits, ByteCount(count));
    std::free(bits);
  } else {
    grown = static_cast<std::uint8_t*>(std::realloc(bits, bytes));
    if (grown == nullptr) return false;
    if (bytes > oldBytes) std::memset(grown + oldBytes, 0, bytes - oldBytes);
  }
  bits = grown;
  capacity = static_cast<std::int32_t>(bytes * 8);
  return true;
}

bool TBitList::SetCapacity(int n) noexcept {
  if (n < 1 || n < count) return false;
  if (n == capacity) return true;
  const std::int64_t rounded = (std::int64_t{n} / portion + 1) * portion;
  if (rounded > kMaxBits) return false;
  return rounded == capacity || Grow(static_cast<std::size_t>(rounded / 8));
}

bool TBitList::SetCount(int n) noexcept {
  if (n < 0) return false;
  if (n > capacity && !SetCapacity(n)) return false;
  if (n < count) {
    const std::size_t used = ByteCount(count);
    const std::size_t kept = ByteCount(n);
    std::memset(bits + kept, 0, used - kept);
    if ((n & 7) != 0) bits[kept - 1] &= static_cast<std::uint8_t>(0xFF00 >> (n & 7));
  }
  count = n;
  return true;
}

void TBitList::Store(int i, bool value) noexcept {
  std::uint8_t& byte = bits[i >> 3];
  byte = static_cast<std::uint8_t>(value ? byte | MaskOf(i) : byte & ~MaskOf(i));
}

bool TBitList::Put(int i, bool value) noexcept {
  if (i < 0 || i == kMaxBits) return false;
  if (i >= count && !SetCount(i + 1)) return false;
  Store(i, value);
  return true;
}

bool TBitList::Insert(int i, bool value) noexcept {
  if (i < 0 || i > count || count == kMaxBits || !SetCount(count + 1)) return false;
  for (int k = count - 1; k > i; --k) Store(k, Get(k - 1));
  Store(i, value);
  return true;
}

bool TBitList::Delete(int i) noexcept {
  if (i < 0 || i >= count) return false;
  for (int k = i; k + 1 < count; ++k) Store(k, Get(k + 1));
  return SetCount(count - 1);
}

int TBitList::IndexOf(bool value) const noexcept {
  const std::uint8_t without = value ? 0x00 : 0xFF;  // a byte in which there is no such bit
  const auto bytes = Bytes();
  const auto hit = std::ranges::find_if(bytes, [&](std::uint8_t byte) { return byte != without; });
  for (int i = static_cast<int>(hit - bytes.begin()) * 8; i < count; ++i) {
    if (Get(i) == value) return i;
  }
  return -1;
}

bool TBitList::Assign(const TBitList& other) noexcept {
  if (this == &other) return true;
  if (other.count > capacity && !SetCapacity(other.count)) return false;
  SetCount(0);
  if (other.count > 0) std::memcpy(bits, other.bits, ByteCount(other.count));
  count = other.count;
  return true;
}

}  // namespace Bitarr
