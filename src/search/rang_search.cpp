#include "search/rang_search.h"

#include <algorithm>
#include <string_view>

namespace RangSearch {

bool IsSequenceTrue(const char* flags, bool all) {
  std::string_view row = flags == nullptr ? "" : flags;
  if (!row.empty()) row.remove_suffix(1);
  const auto isTrue = [](char flag) { return flag == '1'; };
  return all ? std::ranges::all_of(row, isTrue) : std::ranges::any_of(row, isTrue);
}

}  // namespace RangSearch
