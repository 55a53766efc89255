#include "index/term_line.h"

#include <algorithm>
#include <charconv>
#include <cstring>

#include "storage/term_format.h"

namespace velora {
namespace {

constexpr std::int64_t kLargestWord = UINT32_MAX;
constexpr std::int64_t kSmallestWord = INT32_MIN;
constexpr int kLongestNumber = 11;  // a sign and ten digits

/// Reads a number and the blank behind it. Gives the place behind the blank, null when it is none.
const char* ReadNumber(const char* at, const char* end, std::int32_t* value) {
  const bool isNegative = at < end && *at == '-';
  if (isNegative) ++at;
  const char* const first = at;
  std::int64_t number = 0;
  const char* const limit = std::min(end, at + kLongestNumber);
  while (at < limit && static_cast<unsigned char>(*at - '0') < 10) number = number * 10 + (*at++ - '0');
  if (at == first || at >= end || *at != ' ') return nullptr;
  if (isNegative) number = -number;
  if (number > kLargestWord || number < kSmallestWord) return nullptr;
  *value = static_cast<std::int32_t>(number);
  return at + 1;
}

LineFault FaultOf(std::string_view line, int numbers) {
  const auto blanks = std::count(line.begin(), line.end(), ' ');
  return blanks < numbers || line.back() == ' ' ? LineFault::kFieldCount : LineFault::kNumber;
}

/// Length of the digit string at `at`, whose sign is stepped over.
std::size_t DigitCount(const char*& at) {
  if (*at == '-') ++at;
  std::size_t count = 0;
  while (at[count] != ' ') ++count;
  return count;
}

}  // namespace

LineFault ParseTermLine(std::string_view line, int numbers, TermLine* parsed) {
  static_assert(sizeof(velor_01::TifpItemPosting) == kFullTextNumbers * sizeof(std::int32_t));
  std::int32_t words[kFullTextNumbers] = {};
  const char* at = line.data();
  const char* const end = at + line.size();
  for (int i = 0; i < numbers; ++i) {
    at = ReadNumber(at, end, &words[i]);
    if (at == nullptr) return line.empty() ? LineFault::kFieldCount : FaultOf(line, numbers);
  }
  if (at == end) return LineFault::kFieldCount;
  if (end - at > velor_01::kLongestTerm) return LineFault::kTerm;
  std::memcpy(&parsed->posting, words, sizeof words);
  parsed->term = {at, static_cast<std::size_t>(end - at)};
  return LineFault::kNone;
}

void AppendTermLine(const velor_01::TifpItemPosting& posting, int numbers, std::string_view term,
                    std::string* out) {
  std::int32_t words[kFullTextNumbers];
  std::memcpy(words, &posting, sizeof words);
  char text[kFullTextNumbers * (kLongestNumber + 1)];
  char* at = text;
  for (int i = 0; i < numbers; ++i) {
    at = numbers == kCatalogNumbers
             ? std::to_chars(at, std::end(text), static_cast<std::uint32_t>(words[i])).ptr
             : std::to_chars(at, std::end(text), words[i]).ptr;
    *at++ = ' ';
  }
  out->append(text, static_cast<std::size_t>(at - text));
  const std::size_t start = out->size();
  out->append(term);
  for (std::size_t i = start; i < out->size(); ++i)
    if ((*out)[i] == '\r' || (*out)[i] == '\n') (*out)[i] = ' ';
  out->append("\r\n");
}

int CompareLineNumbers(const char* a, const char* b, int numbers) {
  for (int i = 0; i < numbers; ++i) {
    const std::size_t lengthA = DigitCount(a);
    const std::size_t lengthB = DigitCount(b);
    if (lengthA != lengthB) return lengthA < lengthB ? -1 : 1;
    if (const int rc = std::memcmp(a, b, lengthA); rc != 0) return rc;
    a += lengthA + 1;
    b += lengthB + 1;
  }
  return 0;
}

}  // namespace velora
