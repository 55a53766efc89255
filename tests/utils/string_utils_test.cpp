#include "utils/string_utils.h"

#include <gtest/gtest.h>

#include "utils/text_util.h"

namespace {

using utils::StringUtils;
using utils::TextUtil;
using Parts = std::vector<std::string>;

TEST(StringUtils, CaseOfUtf8Text) {
  const struct {
    const char* text;
    const char* upper;
    const char* lower;
  } cases[] = {
      {"", "", ""},
      {"abcXYZ[]`{|}@09", "ABCXYZ[]`{|}@09", "abcxyz[]`{|}@09"},
      {"aAzZ@[`{ and more", "AAZZ@[`{ AND MORE", "aazz@[`{ and more"},
      {"Книга Ёж, том 2", "КНИГА ЁЖ, ТОМ 2", "книга ёж, том 2"},
      {"ɐ longer above", "Ɐ LONGER ABOVE", "ɐ longer above"},
      {"straße", "STRAßE", "straße"},
      {"ж\xC6\xE6q", "Ж\xC6\xE6Q", "ж\xC6\xE6q"},  // bytes of cp1251 stay
      {"\xD0", "\xD0", "\xD0"},
      {"中文😀", "中文😀", "中文😀"},
  };
  for (const auto& c : cases) {
    SCOPED_TRACE(c.text);
    EXPECT_EQ(StringUtils::ToUpper(c.text), c.upper);
    EXPECT_EQ(StringUtils::ToLower(c.text), c.lower);
  }
}

TEST(StringUtils, EveryByteInAFullWord) {
  for (int i = 0; i < 128; ++i) {
    const std::string text(16, static_cast<char>(i));
    const bool isLower = i >= 'a' && i <= 'z';
    const bool isUpper = i >= 'A' && i <= 'Z';
    EXPECT_EQ(StringUtils::ToUpper(text), std::string(16, static_cast<char>(isLower ? i - 32 : i)));
    EXPECT_EQ(StringUtils::ToLower(text), std::string(16, static_cast<char>(isUpper ? i + 32 : i)));
  }
}

TEST(StringUtils, LongTextsCrossTheBuffer) {
  std::string lower;
  std::string upper;
  for (int i = 0; i < 3000; ++i) {
    lower += i % 5 == 0 ? "ɐж" : "word ";
    upper += i % 5 == 0 ? "ⱯЖ" : "WORD ";
  }
  std::string out = "old";
  StringUtils::ToUpper(lower, out);
  EXPECT_TRUE(out == upper);
  StringUtils::ToLower(upper, out);
  EXPECT_TRUE(out == lower);
  EXPECT_TRUE(StringUtils::ToUpper(TextUtil::ReadUTF8(lower)) == TextUtil::ReadUTF8(upper));
}

TEST(StringUtils, ComparesWithoutCase) {
  EXPECT_TRUE(StringUtils::EqualsNoCase("Ёлка", "ёЛКА"));
  EXPECT_FALSE(StringUtils::EqualsNoCase("ёлк", "ёлка"));
  EXPECT_TRUE(StringUtils::EqualsNoCase(L"Ёлка", L"ёЛКА"));
  EXPECT_FALSE(StringUtils::EqualsNoCase(L"ёлк", L"ёлка"));
  EXPECT_LT(StringUtils::CompareNoCase("a", "B"), 0);
  EXPECT_GT(StringUtils::CompareNoCase(L"b", L"A"), 0);
  EXPECT_LT(StringUtils::CompareNoCase(L"a", L"Ab"), 0);
}

TEST(StringUtils, StartsAndEnds) {
  EXPECT_TRUE(StringUtils::StartsWithNoCase("Главная книга", "ГЛАВ"));
  EXPECT_FALSE(StringUtils::StartsWithNoCase("Глав", "главная"));
  EXPECT_TRUE(StringUtils::StartsWithNoCase("x", ""));
  EXPECT_TRUE(StringUtils::StartsWithNoCase(L"Глав", L"гл"));
  EXPECT_TRUE(StringUtils::StartsWith("abc", "ab"));
  EXPECT_FALSE(StringUtils::StartsWith("abc", "AB"));
  EXPECT_TRUE(StringUtils::EndsWith("abc", "bc"));
  EXPECT_FALSE(StringUtils::EndsWith("c", "bc"));
}

TEST(StringUtils, Trims) {
  EXPECT_EQ(StringUtils::Trim(" \t a b\r\n"), "a b");
  EXPECT_EQ(StringUtils::TrimLeft("  a "), "a ");
  EXPECT_EQ(StringUtils::TrimRight("  a "), "  a");
  EXPECT_EQ(StringUtils::Trim(" \t"), "");
  EXPECT_EQ(StringUtils::Trim(""), "");
  EXPECT_EQ(StringUtils::Trim("[ Main]\t", " \t[]"), "Main");
  EXPECT_EQ(StringUtils::Trim(L" ж "), L"ж");
}

TEST(StringUtils, Splits) {
  EXPECT_EQ(StringUtils::Split("a,,b,", ','), (Parts{"a", "", "b", ""}));
  EXPECT_EQ(StringUtils::Split("", ','), Parts{});
  EXPECT_EQ(StringUtils::Split("a--b-c", "--"), (Parts{"a", "b-c"}));
  EXPECT_EQ(StringUtils::Split("ab", ""), Parts{"ab"});
  EXPECT_EQ(StringUtils::Split(L"ж,б", L',').size(), 2u);
}

TEST(StringUtils, SplitsLinesAtEveryKindOfEnd) {
  using Lines = std::vector<std::string_view>;
  EXPECT_EQ(StringUtils::SplitLines("a\r\nb\rc\nd"), (Lines{"a", "b", "c", "d"}));
  EXPECT_EQ(StringUtils::SplitLines("a\n"), Lines{"a"});
  EXPECT_EQ(StringUtils::SplitLines("\n\r\n\r"), (Lines{"", "", ""}));
  EXPECT_EQ(StringUtils::SplitLines("\n\r"), (Lines{"", ""}));
  EXPECT_EQ(StringUtils::SplitLines(""), Lines{});
}

TEST(StringUtils, Replaces) {
  EXPECT_EQ(StringUtils::Replace("a-a-a", "a", "aa"), "aa-a-a");
  EXPECT_EQ(StringUtils::ReplaceAll("a-a-a", "a", "aa"), "aa-aa-aa");
  EXPECT_EQ(StringUtils::ReplaceAll("aaa", "aa", "b"), "ba");
  EXPECT_EQ(StringUtils::ReplaceAll("abc", "", "x"), "abc");
  EXPECT_EQ(StringUtils::ReplaceAll(L"жжж", L"ж", L""), L"");
}

TEST(StringUtils, AppendsToAListInAText) {
  std::string list;
  StringUtils::AppendList(list, "a", ", ");
  StringUtils::AppendList(list, "b", ", ");
  EXPECT_EQ(list, "a, b");
}

}  // namespace
