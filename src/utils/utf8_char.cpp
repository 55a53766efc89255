#include "utils/utf8_char.h"

namespace {

/// What a lead byte promises. The bounds of the second byte shut out overlong forms, surrogates and what lies
/// above U+10FFFF (Unicode, table of well-formed byte sequences).
struct Lead {
  int length;  // bytes, 0 when the byte leads nothing
  unsigned char secondLow;
  unsigned char secondHigh;
};

constexpr Lead ClassifyLead(unsigned char lead) {
  if (lead < 0xC2 || lead > 0xF4) return {0, 0, 0};
  if (lead < 0xE0) return {2, 0x80, 0xBF};
  if (lead == 0xE0) return {3, 0xA0, 0xBF};
  if (lead == 0xED) return {3, 0x80, 0x9F};
  if (lead < 0xF0) return {3, 0x80, 0xBF};
  if (lead == 0xF0) return {4, 0x90, 0xBF};
  if (lead == 0xF4) return {4, 0x80, 0x8F};
  return {4, 0x80, 0xBF};
}

}  // namespace

namespace utils {

char32_t ReadLongUtf8Char(const char* text, std::size_t left, int* used) {
  const auto first = static_cast<unsigned char>(text[0]);
  *used = 1;

  const Lead lead = ClassifyLead(first);
  if (lead.length == 0 || left < static_cast<std::size_t>(lead.length)) return first;
  const auto second = static_cast<unsigned char>(text[1]);
  if (second < lead.secondLow || second > lead.secondHigh) return first;

  char32_t code = (first & (0x7Fu >> lead.length)) << 6 | (second & 0x3Fu);
  for (int i = 2; i < lead.length; ++i) {
    if (!IsUtf8Continuation(text[i])) return first;
    code = code << 6 | (static_cast<unsigned char>(text[i]) & 0x3Fu);
  }
  *used = lead.length;
  return code;
}

std::size_t CountUtf8Chars(std::string_view text) {
  constexpr std::uint64_t kEachByte = 0x0101010101010101;
  std::size_t count = text.size();
  std::size_t i = 0;
  for (std::uint64_t word; i + sizeof word <= text.size(); i += sizeof word) {
    if (LoadAscii8(text.data() + i, &word)) continue;
    const std::uint64_t continuations = word >> 7 & ~(word >> 6) & kEachByte;
    count -= continuations * kEachByte >> 56;  // the top byte of the product is the sum of all bytes
  }
  for (; i < text.size(); ++i) count -= IsUtf8Continuation(text[i]) ? 1 : 0;
  return count;
}

}  // namespace utils
