#include "format/extended_number.h"

#include <gtest/gtest.h>

#include <cmath>
#include <limits>
#include <string>

namespace {

long double Parse(std::string_view text) {
  long double value = -77;
  EXPECT_TRUE(xpft::ParseExtended(text, value)) << text;
  return value;
}

TEST(ExtendedNumber, RoundsToTheNearest) {
  const struct {
    const char* text;
    long double value;
  } cases[] = {
      {"0", 0.0L},
      {"-12.5", -12.5L},
      {"+7", 7.0L},
      {".5", 0.5L},
      {"12.", 12.0L},
      {"0.1", 0.1L},
      {"3.14159265358979323846", 3.14159265358979323846L},
      {"1e27", 1e27L},
      {"1E-27", 1e-27L},
      {"1e28", 1e28L},
      {"9223372036854775807", 9223372036854775807.0L},
      {"18446744073709551615", 18446744073709551615.0L},
      {"18446744073709551617", 18446744073709551617.0L},
      {"000000000000000000000000000001.50", 1.5L},
      {"1.7976931348623157e308", 1.7976931348623157e308L},
      {"2.5e-4000", 2.5e-4000L},
      {"123456789012345678901234567890e-10", 123456789012345678901234567890e-10L},
  };
  for (const auto& c : cases) EXPECT_EQ(Parse(c.text), c.value) << c.text;
}

TEST(ExtendedNumber, BeyondTheRange) {
  EXPECT_EQ(Parse("1e5000"), std::numeric_limits<long double>::infinity());
  EXPECT_EQ(Parse("-1e99999999999999999999"), -std::numeric_limits<long double>::infinity());
  EXPECT_EQ(Parse("1e-5000"), 0);
  EXPECT_EQ(Parse("0e99999999"), 0);
  EXPECT_EQ(Parse(std::string(6000, '9')), std::numeric_limits<long double>::infinity());
  EXPECT_EQ(Parse("0." + std::string(100, '0') + "1e-99999"), 0);
}

TEST(ExtendedNumber, RefusesWhatIsNoNumberAsAWhole) {
  for (const char* text : {"", "-", ".", "+.", "e5", ".e5", "1e", "1e+", "1 ", " 1", "1x", "0x10", "inf",
                           "nan", "--1", "1.2.3", "1e5.0", "1e5x"}) {
    long double value = -77;
    EXPECT_FALSE(xpft::ParseExtended(text, value)) << text;
    EXPECT_EQ(value, 0) << text;
  }
}

}  // namespace
