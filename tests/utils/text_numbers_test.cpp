#include <gtest/gtest.h>

#include <climits>
#include <cstring>

#include "utils/text_util.h"

namespace {

using utils::TextUtil;

constexpr int kDef = 5;

TEST(TextNumbers, Int32) {
  const struct {
    const char* text;
    int exact;
    int fast;             // no white space
    std::int64_t prefix;  // Int64Parse
  } cases[] = {
      {"12", 12, 12, 12},
      {"-12", -12, -12, -12},
      {"+5", 5, 5, 5},
      {"007", 7, 7, 7},
      {"12x", kDef, kDef, 12},
      {"12 ", kDef, kDef, 12},
      {" 6", 6, kDef, 6},
      {"\t\n6", 6, kDef, 6},
      {"", kDef, kDef, kDef},
      {" ", kDef, kDef, kDef},
      {"-", kDef, kDef, kDef},
      {"+", kDef, kDef, kDef},
      {"+-5", kDef, kDef, kDef},
      {"--5", kDef, kDef, kDef},
      {"- 5", kDef, kDef, kDef},
      {"x", kDef, kDef, kDef},
      {"0x10", kDef, kDef, 0},
      {"1.5", kDef, kDef, 1},
      {"2147483647", INT_MAX, INT_MAX, INT_MAX},
      {"-2147483648", INT_MIN, INT_MIN, INT_MIN},
      {"2147483648", kDef, kDef, 2147483648},
      {"-2147483649", kDef, kDef, -2147483649},
      {"4294967297", kDef, kDef, 4294967297},
      {"99999999999999999999", kDef, kDef, kDef},
      {"0000000000000000000000000000012", 12, 12, 12},
  };
  for (const auto& c : cases) {
    SCOPED_TRACE(c.text);
    EXPECT_EQ(TextUtil::Int32ParseExact(c.text, kDef), c.exact);
    EXPECT_EQ(TextUtil::Int32ParseFast(c.text, static_cast<int>(std::strlen(c.text)), kDef), c.fast);
    EXPECT_EQ(TextUtil::Int64Parse(c.text, kDef), c.prefix);
  }
  EXPECT_EQ(TextUtil::Int32ParseExact(nullptr, kDef), kDef);
  EXPECT_EQ(TextUtil::Int32ParseExact(std::string("1\0", 2), kDef), kDef) << "the zero is a byte of the text";
}

TEST(TextNumbers, ReportingForms) {
  bool success = false;
  EXPECT_EQ(TextUtil::Int32ParseExact("-7", success), -7);
  EXPECT_TRUE(success);
  EXPECT_EQ(TextUtil::Int32ParseExact("7a", success), 0);
  EXPECT_FALSE(success);

  int value = 9;
  EXPECT_FALSE(TextUtil::Int32ParseExact("", &value));
  EXPECT_FALSE(TextUtil::Int32ParseFast("1a", 2, &value));
  EXPECT_EQ(value, 9) << "untouched on failure";
  EXPECT_TRUE(TextUtil::Int32ParseFast("1a", 1, &value)) << "no more than the bytes given";
  EXPECT_EQ(value, 1);
}

TEST(TextNumbers, Int32ParseFastRefusesEmptyRuns) {
  EXPECT_EQ(TextUtil::Int32ParseFast(nullptr, 3, kDef), kDef);
  EXPECT_EQ(TextUtil::Int32ParseFast("12", 0, kDef), kDef);
  EXPECT_EQ(TextUtil::Int32ParseFast("12", -1, kDef), kDef);
}

TEST(TextNumbers, OtherIntegers) {
  EXPECT_EQ(TextUtil::Int64ParseExact("-9223372036854775808", 1), INT64_MIN);
  EXPECT_EQ(TextUtil::Int64ParseExact("9223372036854775808", 1), 1);
  EXPECT_EQ(TextUtil::Int64ParseExact("5 ", 1), 1);
  EXPECT_EQ(TextUtil::UInt32ParseExact("4294967295", 1), 4294967295u);
  EXPECT_EQ(TextUtil::UInt32ParseExact("4294967296", 1), 1u);
  EXPECT_EQ(TextUtil::UInt32ParseExact("-2", 1), 1u) << "no wrapping round";
  EXPECT_EQ(TextUtil::Int32ToString(INT_MIN), "-2147483648");
  EXPECT_EQ(TextUtil::UInt32ToString(UINT_MAX), "4294967295");
}

TEST(TextNumbers, Doubles) {
  const struct {
    const char* text;
    double exact;
    double prefix;
  } cases[] = {
      {"1.5", 1.5, 1.5}, {" -2.25", -2.25, -2.25}, {"+.5", 0.5, 0.5}, {"1e3", 1000, 1000},
      {"1.5x", -1, 1.5}, {"1,5", -1, 1},           {"", -1, -1},      {".", -1, -1},
      {"inf", -1, -1},   {"-nan", -1, -1},         {"1e999", -1, -1}, {"5.", 5, 5},
  };
  for (const auto& c : cases) {
    SCOPED_TRACE(c.text);
    EXPECT_EQ(TextUtil::DoubleParseExact(c.text, -1), c.exact);
    EXPECT_EQ(TextUtil::DoubleParse(c.text, -1), c.prefix);
  }
}

TEST(TextNumbers, Base64) {
  const struct {
    const char* text;
    const char* want;  // null: refused
  } cases[] = {
      {"", ""},
      {"Zg==", "f"},
      {"Zm8=", "fo"},
      {"Zm9v", "foo"},
      {"Zm9vYg", "foob"},
      {"Zm9vYmE", "fooba"},
      {"Zm9v\r\nYmFy", "foobar"},
      {" Z m 8 = \n", "fo"},
      {"Z", nullptr},
      {"Zm9vZ", nullptr},
      {"Zg==Zg==", nullptr},
      {"Zm*v", nullptr},
      {"Zg===", nullptr},
      {"Zm9v\xD0", nullptr},
  };
  for (const auto& c : cases) {
    SCOPED_TRACE(c.text);
    std::string out = "old";
    EXPECT_EQ(TextUtil::Base64Decode(c.text, out), c.want != nullptr);
    EXPECT_EQ(out, c.want != nullptr ? c.want : "");
    if (c.want == nullptr) continue;
    EXPECT_EQ(TextUtil::Base64Length(c.text), out.size());
  }
  std::string out;
  ASSERT_TRUE(TextUtil::Base64Decode("AP/+gA==", out));
  EXPECT_EQ(out, std::string_view("\0\xFF\xFE\x80", 4));
}

}  // namespace
