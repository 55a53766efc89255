#pragma once

#include <string>
#include <vector>

#include "utils/string_list.h"

namespace test {

using Texts = std::vector<std::string>;

/// The texts of a list, in its order.
inline Texts ContentsOf(const velor_01::TStringList& list) {
  Texts texts;
  for (const auto& item : list.Items()) texts.emplace_back(item.text);
  return texts;
}

}  // namespace test
