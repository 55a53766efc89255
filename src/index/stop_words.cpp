#include "index/stop_words.h"

#include <algorithm>

namespace indexing {

StopWords::StopWords(const velor_01::TStringList* list) {
  if (list == nullptr || !texts_.Assign(*list)) return;
  for (const velor_01::TStringItem& item : texts_.Items()) {
    const std::string_view word = item.text;
    words_.insert(word);
    longest_ = std::max(longest_, word.size());
  }
}

}  // namespace indexing
