#pragma once

#include "utils/plain_list.h"

namespace velor_01 {

/// A list of pointers. The list does not own what they point to. Get with a bad index gives null.
class TList : public PlainList<void*> {
 public:
  TList() noexcept = default;

  /// Index of the first item that is this very pointer, -1 when there is none.
  [[nodiscard]] int IndexOf(const void* item) const noexcept;
};

}  // namespace velor_01
