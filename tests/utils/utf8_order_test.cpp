#include "utils/utf8_order.h"

#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "utils/case_table.h"
#include "utils/text_util.h"

namespace {

int Sign(int value) {
  return (value > 0) - (value < 0);
}

int Compare(std::string_view a, std::string_view b) {
  return backup::keycmpUtf8(a.data(), b.data(), static_cast<int>(a.size()), static_cast<int>(b.size()));
}

int CompareNoCase(std::string_view a, std::string_view b) {
  return backup::Utf8CompareNoCase(a.data(), b.data(), static_cast<int>(a.size()),
                                   static_cast<int>(b.size()));
}

/// The definition: all code points of a key, one after the other.
std::vector<int> Codes(std::string_view text, bool fold) {
  std::vector<int> codes;
  while (!text.empty()) {
    int used;
    const int code = utils::TextUtil::ReadCharUTF8(text.data(), static_cast<int>(text.size()), &used);
    codes.push_back(fold ? utils::toupperUnicode(code) : code);
    text.remove_prefix(static_cast<std::size_t>(used));
  }
  return codes;
}

template <typename T>
int Order(const T& a, const T& b) {
  return a < b ? -1 : b < a ? 1 : 0;
}

TEST(Utf8Order, AllPairsOfShortKeysFollowTheDefinition) {
  const std::string pieces[] = {"a", "A",    "z",    "ж",    "Ж",        "é",   "—",
                                "😀", "\x80", "\xD0", "\xE9", "\xE2\x80", "\xFF"};
  std::vector<std::string> keys = {""};
  for (const std::string& first : pieces) {
    keys.push_back(first);
    for (const std::string& second : pieces) {
      keys.push_back(first + second);
      keys.push_back("long prefix " + first + second);
      keys.push_back("Жж\x90 " + second + first + "tail");
    }
  }
  for (const std::string& a : keys) {
    for (const std::string& b : keys) {
      ASSERT_EQ(Sign(Compare(a, b)), Order(Codes(a, false), Codes(b, false))) << a << " " << b;
      ASSERT_EQ(Sign(CompareNoCase(a, b)), Order(Codes(a, true), Codes(b, true))) << a << " " << b;
    }
  }
}

TEST(Utf8Order, KnownOrders) {
  EXPECT_LT(Compare("abc", "abcd"), 0);
  EXPECT_LT(Compare("Z", "a"), 0);
  EXPECT_GT(CompareNoCase("Z", "a"), 0);
  EXPECT_EQ(CompareNoCase("КНИГА oryx", "книга ORYX"), 0);
  EXPECT_EQ(Compare("\xE9", "é"), 0) << "a byte outside UTF-8 stands for itself";
  EXPECT_GT(Compare("\xE9", "\xC3\x28"), 0);
}

TEST(Utf8Order, NullAndNegativeLengthsAreEmptyKeys) {
  EXPECT_EQ(backup::keycmpUtf8(nullptr, "a", 5, 0), 0);
  EXPECT_LT(backup::keycmpUtf8(nullptr, "a", 5, 1), 0);
  EXPECT_GT(backup::Utf8CompareNoCase("a", "a", 1, -1), 0);
}

}  // namespace
