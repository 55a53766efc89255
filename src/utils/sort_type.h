#pragma once

#include <cstdint>

namespace velor_01 {

/// Direction of an ordered list. Sorting calls leave a list as it is when they get any other value.
enum class TSortType : std::int16_t { down = 0, up = 1 };

[[nodiscard]] constexpr bool IsSortType(TSortType type) noexcept {
  return type == TSortType::down || type == TSortType::up;
}

}  // namespace velor_01
