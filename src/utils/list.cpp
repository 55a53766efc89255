#include "utils/list.h"

#include <algorithm>

namespace velor_01 {

int TList::IndexOf(const void* item) const noexcept {
  const auto all = Items();
  const auto hit = std::ranges::find(all, item);
  return hit == all.end() ? -1 : static_cast<int>(hit - all.begin());
}

}  // namespace velor_01
