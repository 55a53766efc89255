#include "utils/utf8_order.h"

#include <algorithm>
#include <cstdint>
#include <cstring>
#include <string_view>

#include "utils/case_table.h"
#include "utils/utf8_char.h"

namespace {

std::string_view Key(const char* text, int length) {
  if (text == nullptr || length <= 0) return {};
  return {text, static_cast<std::size_t>(length)};
}

std::size_t CommonPrefix(std::string_view a, std::string_view b) {
  const std::size_t limit = std::min(a.size(), b.size());
  std::size_t i = 0;
  for (std::uint64_t x, y; i + sizeof x <= limit; i += sizeof x) {
    std::memcpy(&x, a.data() + i, sizeof x);
    std::memcpy(&y, b.data() + i, sizeof y);
    if (x != y) return i + static_cast<std::size_t>(__builtin_ctzll(x ^ y)) / 8;
  }
  while (i < limit && a[i] == b[i]) ++i;
  return i;
}

/// A place up to which both keys are the same characters. Decoding never steps over a byte that is no
/// continuation byte, in ill-formed text neither, so every such byte of the common prefix starts a character
/// in both.
std::size_t CommonCharacters(std::string_view a, std::string_view b) {
  std::size_t i = CommonPrefix(a, b);
  const auto isInside = [](std::string_view key, std::size_t at) {
    return at == key.size() || utils::IsUtf8Continuation(key[at]);
  };
  while (i > 0 && (isInside(a, i) || isInside(b, i))) --i;
  return i;
}

template <typename Fold>
int Compare(std::string_view a, std::string_view b, Fold fold) {
  std::size_t i = CommonCharacters(a, b);
  std::size_t j = i;
  while (i < a.size() && j < b.size()) {
    int usedA;
    int usedB;
    const char32_t x = utils::ReadUtf8Char(a.data() + i, a.size() - i, &usedA);
    const char32_t y = utils::ReadUtf8Char(b.data() + j, b.size() - j, &usedB);
    if (x != y) {
      const char32_t foldedX = fold(x);
      const char32_t foldedY = fold(y);
      if (foldedX != foldedY) return foldedX < foldedY ? -1 : 1;
    }
    i += static_cast<std::size_t>(usedA);
    j += static_cast<std::size_t>(usedB);
  }
  if (i < a.size()) return 1;
  return j < b.size() ? -1 : 0;
}

}  // namespace

namespace utils {

int CompareUtf8(std::string_view a, std::string_view b) {
  return Compare(a, b, [](char32_t code) { return code; });
}

int CompareUtf8NoCase(std::string_view a, std::string_view b) {
  return Compare(
      a, b, [](char32_t code) { return static_cast<char32_t>(toupperUnicode(static_cast<wchar_t>(code))); });
}

}  // namespace utils

namespace backup {

int keycmpUtf8(const char* a, const char* b, int la, int lb) {
  return utils::CompareUtf8(Key(a, la), Key(b, lb));
}

int Utf8CompareNoCase(const char* a, const char* b, int la, int lb) {
  return utils::CompareUtf8NoCase(Key(a, la), Key(b, lb));
}

}  // namespace backup
