#include "utils/case_table.h"

#include <gtest/gtest.h>

#include "utils/code_page.h"
#include "utils/string_utils.h"

namespace {

TEST(CaseTable, Cp1251AgreesWithUnicode) {
  int letters = 0;
  for (int i = 0; i < 256; ++i) {
    const auto byte = static_cast<unsigned char>(i);
    const auto code = static_cast<wchar_t>(utils::Cp1251ToUnicode(byte));
    // A case that cp1251 has no byte for leaves the byte alone: the micro sign's capital is Greek.
    const int upper = utils::UnicodeToCp1251(static_cast<char32_t>(utils::toupperUnicode(code)));
    const int lower = utils::UnicodeToCp1251(static_cast<char32_t>(utils::tolowerUnicode(code)));
    const auto c = static_cast<char>(byte);
    EXPECT_EQ(static_cast<unsigned char>(utils::toupperCp1251(c)), upper < 0 ? i : upper) << i;
    EXPECT_EQ(static_cast<unsigned char>(utils::tolowerCp1251(c)), lower < 0 ? i : lower) << i;
    if (utils::StringUtils::IsAlphaCP1251(c)) ++letters;
  }
  EXPECT_EQ(letters, 2 * 26 + 2 * 47);
}

TEST(CaseTable, Unicode) {
  const struct {
    const char* why;
    wchar_t lower;
    wchar_t upper;
  } pairs[] = {
      {"ASCII", L'z', L'Z'},           {"Latin-1", L'é', L'É'},
      {"Cyrillic", L'ж', L'Ж'},        {"Cyrillic yo", L'ё', L'Ё'},
      {"Greek", L'ω', L'Ω'},           {"Armenian", L'ա', L'Ա'},
      {"longer in UTF-8", L'ɐ', L'Ɐ'}, {"outside the plane", 0x10428, 0x10400},
  };
  for (const auto& p : pairs) {
    SCOPED_TRACE(p.why);
    EXPECT_EQ(utils::toupperUnicode(p.lower), p.upper);
    EXPECT_EQ(utils::tolowerUnicode(p.upper), p.lower);
    EXPECT_EQ(utils::toupperUnicode(p.upper), p.upper);
    EXPECT_EQ(utils::tolowerUnicode(p.lower), p.lower);
  }
  for (const wchar_t c :
       {L'1', L'中', L'ß', wchar_t{0x1F600}, wchar_t{0x110000}, wchar_t{-1}, wchar_t{0xD800}}) {
    EXPECT_EQ(utils::toupperUnicode(c), c);
    EXPECT_EQ(utils::tolowerUnicode(c), c);
  }
}

}  // namespace
