#pragma once

#include <bit>
#include <cstdint>
#include <cstring>

/// Big-endian words as they stand in the database files.
/// The addresses need no alignment; the caller has checked that four bytes are there.
namespace utils {

static_assert(std::endian::native == std::endian::little, "the swaps below assume a little-endian host");

inline std::uint32_t LoadBe32(const void* from) {
  std::uint32_t word;
  std::memcpy(&word, from, sizeof word);
  return __builtin_bswap32(word);
}

inline void StoreBe32(void* to, std::uint32_t value) {
  const std::uint32_t word = __builtin_bswap32(value);
  std::memcpy(to, &word, sizeof word);
}

}  // namespace utils
