#pragma once

#include <array>

/// Upper and lower case of single characters.
///
/// The basic plane is held in two tables of 64 Ki entries, filled on first use, so that a Cyrillic letter
/// costs one load. Mappings are Unicode's simple ones, one character to one, and do not depend on the process
/// locale.
namespace utils {

/// The cp1251 letters outside ASCII that have two cases; entry i of one array is the other case of entry i in
/// the other. `cp1251_uppers` ascends.
inline constexpr std::array<unsigned char, 47> cp1251_uppers = {
    0x80, 0x81, 0x8A, 0x8C, 0x8D, 0x8E, 0x8F, 0xA1, 0xA3, 0xA5, 0xA8, 0xAA, 0xAF, 0xB2, 0xBD, 0xC0,
    0xC1, 0xC2, 0xC3, 0xC4, 0xC5, 0xC6, 0xC7, 0xC8, 0xC9, 0xCA, 0xCB, 0xCC, 0xCD, 0xCE, 0xCF, 0xD0,
    0xD1, 0xD2, 0xD3, 0xD4, 0xD5, 0xD6, 0xD7, 0xD8, 0xD9, 0xDA, 0xDB, 0xDC, 0xDD, 0xDE, 0xDF};
inline constexpr std::array<unsigned char, 47> cp1251_lowers = {
    0x90, 0x83, 0x9A, 0x9C, 0x9D, 0x9E, 0x9F, 0xA2, 0xBC, 0xB4, 0xB8, 0xBA, 0xBF, 0xB3, 0xBE, 0xE0,
    0xE1, 0xE2, 0xE3, 0xE4, 0xE5, 0xE6, 0xE7, 0xE8, 0xE9, 0xEA, 0xEB, 0xEC, 0xED, 0xEE, 0xEF, 0xF0,
    0xF1, 0xF2, 0xF3, 0xF4, 0xF5, 0xF6, 0xF7, 0xF8, 0xF9, 0xFA, 0xFB, 0xFC, 0xFD, 0xFE, 0xFF};

/// Case of one cp1251 byte. A byte that is no letter stays.
[[nodiscard]] char tolowerCp1251(char c);
[[nodiscard]] char toupperCp1251(char c);

/// The tables of the basic plane.
struct CaseTables {
  CaseTables();

  std::array<char16_t, 0x10000> upper;
  std::array<char16_t, 0x10000> lower;
};

[[nodiscard]] inline const CaseTables& GetCaseTables() {
  static const CaseTables tables;
  return tables;
}

/// Case of a character outside the basic plane. A value above 0x10FFFF stays.
[[nodiscard]] wchar_t tolowerSupplementary(wchar_t c);
[[nodiscard]] wchar_t toupperSupplementary(wchar_t c);

/// Case of one code point. A value that is no Unicode character, a negative one included, stays.
/// ASCII is done without the tables, so that a run without other letters never fills them.
[[nodiscard]] inline wchar_t tolowerUnicode(wchar_t c) {
  const auto code = static_cast<char32_t>(c);
  if (code < 0x80) return code - U'A' < 26 ? c + 0x20 : c;
  return code < 0x10000 ? static_cast<wchar_t>(GetCaseTables().lower[code]) : tolowerSupplementary(c);
}

[[nodiscard]] inline wchar_t toupperUnicode(wchar_t c) {
  const auto code = static_cast<char32_t>(c);
  if (code < 0x80) return code - U'a' < 26 ? c - 0x20 : c;
  return code < 0x10000 ? static_cast<wchar_t>(GetCaseTables().upper[code]) : toupperSupplementary(c);
}

}  // namespace utils
