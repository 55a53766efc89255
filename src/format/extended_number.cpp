#include "format/extended_number.h"

#include <algorithm>
#include <array>
#include <charconv>
#include <cstddef>
#include <cstdint>
#include <limits>

namespace xpft {
namespace {

// Above this a power of ten or a sum of exponents is out of range whatever the digits are.
constexpr int kExponentLimit = 1'000'000;
constexpr int kMantissaDigits = 19;  // of any size they fit into 64 bits
constexpr int kExactPower = 27;      // 5^27 is the last that fits into the 64 bits of a mantissa

constexpr std::array<long double, kExactPower + 1> kPowers = [] {
  std::array<long double, kExactPower + 1> powers{};
  long double power = 1;
  for (long double& entry : powers) {
    entry = power;
    power *= 10;
  }
  return powers;
}();

bool IsDigit(char c) {
  return c >= '0' && c <= '9';
}

/// The parts of a number without its sign.
struct Decimal {
  std::uint64_t mantissa = 0;  // the significant digits, when there are not more than kMantissaDigits
  int significant = 0;         // digits from the first that is not 0
  int exponent = 0;            // of ten, for the digits read as a whole number
};

class DecimalReader {
 public:
  explicit DecimalReader(std::string_view text) : text_(text) {}

  bool Read(Decimal& number) {
    ReadDigits(number, 0);
    if (Take('.')) ReadDigits(number, -1);
    if (!hasDigits_) return false;
    if (Take('e') || Take('E')) {
      if (!ReadExponent(number)) return false;
    }
    return at_ == text_.size();
  }

 private:
  bool Take(char c) {
    if (at_ == text_.size() || text_[at_] != c) return false;
    ++at_;
    return true;
  }

  void ReadDigits(Decimal& number, int exponentStep) {
    for (; at_ < text_.size() && IsDigit(text_[at_]); ++at_) {
      hasDigits_ = true;
      number.exponent = std::max(number.exponent + exponentStep, -kExponentLimit);
      const bool isLeadingZero = number.significant == 0 && text_[at_] == '0';
      if (isLeadingZero || number.significant == kExponentLimit) continue;
      ++number.significant;
      if (number.significant <= kMantissaDigits) number.mantissa = number.mantissa * 10 + (text_[at_] - '0');
    }
  }

  bool ReadExponent(Decimal& number) {
    const bool isNegative = Take('-');
    if (!isNegative) Take('+');
    if (at_ == text_.size()) return false;
    int exponent = 0;
    for (; at_ < text_.size() && IsDigit(text_[at_]); ++at_) {
      exponent = std::min(exponent * 10 + (text_[at_] - '0'), kExponentLimit);
    }
    number.exponent += isNegative ? -exponent : exponent;
    return true;
  }

  std::string_view text_;
  std::size_t at_ = 0;
  bool hasDigits_ = false;
};

/// The library's own reading, for what one operation cannot round correctly.
long double ParseSlowly(std::string_view text, const Decimal& number) {
  long double value = 0;
  const auto result = std::from_chars(text.data(), text.data() + text.size(), value);
  if (result.ec != std::errc::result_out_of_range) return value;
  // The library does not tell large from small; the place of the first significant digit does.
  return number.significant + number.exponent > 0 ? std::numeric_limits<long double>::infinity() : 0;
}

}  // namespace

bool ParseExtended(std::string_view text, long double& value) {
  value = 0;
  const bool isNegative = text.starts_with('-');
  if (isNegative || text.starts_with('+')) text.remove_prefix(1);

  Decimal number;
  if (!DecimalReader(text).Read(number)) return false;

  const auto mantissa = static_cast<long double>(number.mantissa);
  if (number.significant == 0) {
    value = 0;
  } else if (number.significant > kMantissaDigits || number.exponent < -kExactPower ||
             number.exponent > kExactPower) {
    value = ParseSlowly(text, number);
  } else {
    // Both operands are exact, so the one operation rounds once.
    value = number.exponent < 0 ? mantissa / kPowers[-number.exponent] : mantissa * kPowers[number.exponent];
  }
  if (isNegative) value = -value;
  return true;
}

}  // namespace xpft
