#pragma once

#include <string_view>
#include <unordered_set>

#include "utils/string_list.h"

namespace indexing {

/// The stop words of a space, for quick look-ups. Holds its own copy.
class StopWords {
 public:
  /// `list` may be null.
  explicit StopWords(const velor_01::TStringList* list);
  StopWords(const StopWords&) = delete;
  StopWords& operator=(const StopWords&) = delete;

  [[nodiscard]] bool Contains(std::string_view word) const {
    return word.size() <= longest_ && words_.contains(word);
  }

 private:
  velor_01::TStringList texts_;
  std::unordered_set<std::string_view> words_;
  std::size_t longest_ = 0;  // bytes; spares most words the look-up
};

}  // namespace indexing
