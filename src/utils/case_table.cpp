#include "utils/case_table.h"

#include <utf8proc.h>

#include <algorithm>

namespace {

using utils::cp1251_lowers;
using utils::cp1251_uppers;

static_assert(std::ranges::adjacent_find(cp1251_uppers, std::ranges::greater_equal{}) == cp1251_uppers.end());

using ByteTable = std::array<unsigned char, 256>;

/// The mapping of every byte, so that a letter costs one load instead of a search in the pair of arrays.
constexpr ByteTable MakeByteTable(const std::array<unsigned char, 47>& from,
                                  const std::array<unsigned char, 47>& to, unsigned char asciiFrom,
                                  unsigned char asciiTo) {
  ByteTable table{};
  for (std::size_t i = 0; i < table.size(); ++i) table[i] = static_cast<unsigned char>(i);
  for (std::size_t i = 0; i < 26; ++i) table[asciiFrom + i] = static_cast<unsigned char>(asciiTo + i);
  for (std::size_t i = 0; i < from.size(); ++i) table[from[i]] = to[i];
  return table;
}

constexpr ByteTable kUpperCp1251 = MakeByteTable(cp1251_lowers, cp1251_uppers, 'a', 'A');
constexpr ByteTable kLowerCp1251 = MakeByteTable(cp1251_uppers, cp1251_lowers, 'A', 'a');

constexpr utf8proc_int32_t kSharpS = 0xDF;

/// The library prefers the capital sharp s; Unicode's simple mapping leaves the letter as it is.
utf8proc_int32_t Upper(utf8proc_int32_t code) {
  return code == kSharpS ? code : utf8proc_toupper(code);
}

bool IsSupplementary(wchar_t c) {
  return c >= 0x10000 && c <= 0x10FFFF;
}

}  // namespace

namespace utils {

char tolowerCp1251(char c) {
  return static_cast<char>(kLowerCp1251[static_cast<unsigned char>(c)]);
}

char toupperCp1251(char c) {
  return static_cast<char>(kUpperCp1251[static_cast<unsigned char>(c)]);
}

CaseTables::CaseTables() {
  for (std::size_t i = 0; i < upper.size(); ++i) {
    const auto code = static_cast<utf8proc_int32_t>(i);
    upper[i] = static_cast<char16_t>(Upper(code));
    lower[i] = static_cast<char16_t>(utf8proc_tolower(code));
  }
}

wchar_t tolowerSupplementary(wchar_t c) {
  return IsSupplementary(c) ? utf8proc_tolower(c) : c;
}

wchar_t toupperSupplementary(wchar_t c) {
  return IsSupplementary(c) ? utf8proc_toupper(c) : c;
}

}  // namespace utils
