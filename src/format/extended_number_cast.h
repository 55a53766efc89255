#pragma once

#include <cstdint>
#include <limits>

namespace xpft {

/// The whole part of a number, held at the ends of the type. No number of a format is too wild for it:
/// infinities give the ends, a NaN gives 0.
template <class Integer>
[[nodiscard]] constexpr Integer ToInteger(long double value) {
  using Limits = std::numeric_limits<Integer>;
  if (value != value) return 0;
  if (value <= static_cast<long double>(Limits::min())) return Limits::min();
  if (value >= static_cast<long double>(Limits::max())) return Limits::max();
  return static_cast<Integer>(value);
}

[[nodiscard]] constexpr int ToInt32(long double value) {
  return ToInteger<int>(value);
}
[[nodiscard]] constexpr std::int64_t ToInt64(long double value) {
  return ToInteger<std::int64_t>(value);
}
static_assert(std::numeric_limits<long double>::digits >= 63, "the ends of the 64-bit range must be exact");

}  // namespace xpft
