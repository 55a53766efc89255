#include "utils/int_list.h"

#include <algorithm>
#include <functional>
#include <string_view>

#include "utils/file_layer.h"
#include "utils/text_util.h"

namespace velor_01 {

bool TIntList::SetCapacity(int n) noexcept {
  return n < 1 || n < count || PlainList::SetCapacity(n);
}

bool TIntList::SetCount(int n) noexcept {
  if (n < 0 || !Reserve(n)) return false;
  if (n > count) std::fill(items + count, items + n, 0);
  count = n;
  return true;
}

int TIntList::IndexOf(std::int32_t value) const noexcept {
  const auto all = Items();
  const auto hit = std::ranges::find(all, value);
  return hit == all.end() ? -1 : static_cast<int>(hit - all.begin());
}

bool TIntList::Find(std::int32_t value, int* index, TSortType type) const noexcept {
  *index = -1;
  if (items == nullptr || !IsSortType(type)) return false;
  const std::int32_t* end = items + count;
  const std::int32_t* place = type == TSortType::up
                                  ? std::lower_bound(items, items + count, value)
                                  : std::lower_bound(items, items + count, value, std::greater{});
  *index = static_cast<int>(place - items);
  return place != end && *place == value;
}

void TIntList::Sort(TSortType type) noexcept {
  if (type == TSortType::up) std::sort(items, items + count);
  if (type == TSortType::down) std::sort(items, items + count, std::greater{});
}

bool TIntList::Parse(const char* text, std::int64_t length) noexcept {
  Clear();
  if (text == nullptr || length <= 0) return true;

  constexpr std::string_view kLineEnds("\r\n\0",
                                       3);  // CR LF ends a line and an empty one, which is no number
  std::string_view rest(text, static_cast<std::size_t>(length));
  while (!rest.empty()) {
    const std::string_view line = rest.substr(0, rest.find_first_of(kLineEnds));
    rest.remove_prefix(std::min(rest.size(), line.size() + 1));
    constexpr std::size_t kLongestNumber = 4096;  // zeros may stand in front; a longer line is no number
    int value = 0;
    if (line.size() > kLongestNumber) continue;
    if (!utils::TextUtil::Int32ParseFast(line.data(), static_cast<int>(line.size()), &value)) continue;
    if (!Add(value)) return false;
  }
  return true;
}

bool TIntList::LoadFromFile(const char* path) noexcept {
  Clear();
  std::int64_t size = 0;
  char* text = backup::OpenTerm_x(path, &size);
  if (text == nullptr) return false;
  const int mark = utils::TextUtil::CheckUTF8Bom(text, static_cast<std::size_t>(size));
  const bool parsed = Parse(text + mark, size - mark);
  backup::CloseTerm_x(text);
  return parsed;
}

}  // namespace velor_01
