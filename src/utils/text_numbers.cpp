#include "utils/text_util.h"

#include <array>
#include <charconv>
#include <limits>
#include <system_error>

namespace {

bool IsSpace(char c) {
  return c == ' ' || (c >= '\t' && c <= '\r');
}

bool IsDigit(char c) {
  return c >= '0' && c <= '9';
}

/// Where the number begins that from_chars can read: behind white space and a plus sign, which it does not
/// know.
std::size_t SkipToNumber(std::string_view text) {
  std::size_t i = 0;
  while (i < text.size() && IsSpace(text[i])) ++i;
  if (i + 1 < text.size() && text[i] == '+' && text[i + 1] != '-') ++i;
  return i;
}

/// Words like "inf" and "nan" are no numbers here.
bool StartsLikeNumber(std::string_view text) {
  if (!text.empty() && text.front() == '-') text.remove_prefix(1);
  return !text.empty() && (IsDigit(text.front()) || text.front() == '.');
}

/// Reads the number at the start of `text`. `value` is set and the bytes used are told, or the result is 0.
template <typename Number>
std::size_t ReadNumber(std::string_view text, Number* value) {
  const std::size_t start = SkipToNumber(text);
  if (!StartsLikeNumber(text.substr(start))) return 0;

  Number number{};
  const auto [end, error] = std::from_chars(text.data() + start, text.data() + text.size(), number);
  if (error != std::errc()) return 0;
  *value = number;
  return static_cast<std::size_t>(end - text.data());
}

template <typename Number>
bool ReadExact(std::string_view text, Number* value) {
  Number number{};
  const std::size_t used = ReadNumber(text, &number);
  if (used == 0 || used != text.size()) return false;
  *value = number;
  return true;
}

constexpr unsigned char kForeign = 0xFF;
constexpr unsigned char kSpace = 0xFE;
constexpr unsigned char kPadding = 0xFD;
constexpr unsigned char kDigits = 64;  // values below are six bits of data

constexpr std::array<unsigned char, 256> MakeBase64Values() {
  constexpr std::string_view kAlphabet = "ABCDEFGHIJKLMNOPQRSTUVWXYZabcdefghijklmnopqrstuvwxyz0123456789+/";
  std::array<unsigned char, 256> values{};
  values.fill(kForeign);
  for (std::size_t i = 0; i < kAlphabet.size(); ++i) {
    values[static_cast<unsigned char>(kAlphabet[i])] = static_cast<unsigned char>(i);
  }
  for (const char c : {' ', '\t', '\n', '\v', '\f', '\r'}) values[static_cast<unsigned char>(c)] = kSpace;
  values['='] = kPadding;
  return values;
}

constexpr std::array<unsigned char, 256> kBase64Values = MakeBase64Values();

unsigned char Base64Value(char c) {
  return kBase64Values[static_cast<unsigned char>(c)];
}

/// True when only padding, two characters of it at most, and white space are left.
bool IsBase64End(std::string_view rest) {
  int padding = 0;
  for (const char c : rest) {
    const unsigned char value = Base64Value(c);
    if (value == kPadding) {
      ++padding;
    } else if (value != kSpace) {
      return false;
    }
  }
  return padding <= 2;
}

}  // namespace

namespace utils {

int TextUtil::Int32ParseExact(TextArg text, int def) {
  int value = def;
  ReadExact(text.view, &value);
  return value;
}

std::uint32_t TextUtil::UInt32ParseExact(TextArg text, std::uint32_t def) {
  std::uint32_t value = def;
  ReadExact(text.view, &value);
  return value;
}

std::int64_t TextUtil::Int64ParseExact(TextArg text, std::int64_t def) {
  std::int64_t value = def;
  ReadExact(text.view, &value);
  return value;
}

std::int64_t TextUtil::Int64Parse(TextArg text, std::int64_t def) {
  std::int64_t value = def;
  ReadNumber(text.view, &value);
  return value;
}

double TextUtil::DoubleParseExact(TextArg text, double def) {
  double value = def;
  ReadExact(text.view, &value);
  return value;
}

double TextUtil::DoubleParse(TextArg text, double def) {
  double value = def;
  ReadNumber(text.view, &value);
  return value;
}

int TextUtil::Int32ParseExact(TextArg text, bool& success) {
  int value = 0;
  success = ReadExact(text.view, &value);
  return value;
}

bool TextUtil::Int32ParseExact(TextArg text, int* value) {
  return ReadExact(text.view, value);
}

int TextUtil::Int32ParseFast(const char* text, int len, int def) {
  int value = def;
  return Int32ParseFast(text, len, &value) ? value : def;
}

bool TextUtil::Int32ParseFast(const char* text, int len, int* value) {
  if (text == nullptr || len < 1) return false;
  const bool isNegative = text[0] == '-';
  int i = isNegative || text[0] == '+' ? 1 : 0;
  if (i == len) return false;

  const std::int64_t limit = std::int64_t{std::numeric_limits<int>::max()} + (isNegative ? 1 : 0);
  std::int64_t number = 0;
  for (; i < len; ++i) {
    if (!IsDigit(text[i])) return false;
    number = number * 10 + (text[i] - '0');
    if (number > limit) return false;
  }
  *value = static_cast<int>(isNegative ? -number : number);
  return true;
}

std::string TextUtil::Int32ToString(std::int32_t value) {
  return std::to_string(value);
}

std::string TextUtil::UInt32ToString(std::uint32_t value) {
  return std::to_string(value);
}

std::size_t TextUtil::Base64Length(std::string_view text) {
  std::size_t digits = 0;
  for (const char c : text) digits += Base64Value(c) < kDigits ? 1 : 0;
  return digits / 4 * 3 + digits % 4 * 3 / 4;
}

bool TextUtil::Base64Decode(std::string_view text, std::string& out) {
  std::string decoded;
  decoded.reserve(Base64Length(text));
  std::uint32_t bits = 0;
  int pending = 0;  // digits in `bits` that have not come out as bytes
  std::size_t i = 0;
  for (; i < text.size(); ++i) {
    const unsigned char value = Base64Value(text[i]);
    if (value == kSpace) continue;
    if (value >= kDigits) break;
    bits = bits << 6 | value;
    if (++pending < 4) continue;
    for (const int shift : {16, 8, 0}) decoded += static_cast<char>(bits >> shift);
    pending = 0;
  }
  out.clear();
  if (pending == 1 || !IsBase64End(text.substr(i))) return false;

  if (pending >= 2) decoded += static_cast<char>(bits >> (6 * pending - 8));
  if (pending == 3) decoded += static_cast<char>(bits >> 2);
  out = std::move(decoded);
  return true;
}

}  // namespace utils
