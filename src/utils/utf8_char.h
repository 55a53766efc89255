#pragma once

#include <cstddef>
#include <cstdint>
#include <cstring>
#include <string_view>

/// One character of UTF-8, read and written. The hot loops of the text layer stand on these inline functions.
namespace utils {

inline constexpr std::size_t kMaxUtf8Char = 4;  // bytes

/// True for the second and later bytes of a character.
[[nodiscard]] inline bool IsUtf8Continuation(char byte) {
  return (static_cast<unsigned char>(byte) & 0xC0) == 0x80;
}

/// Reads the multi-byte character at `text`, of which `left` bytes (at least 1) may be touched; the first is
/// above 127. Well-formed: its code point, `used` is 2 to 4. Otherwise the first byte stands for itself and
/// `used` is 1.
[[nodiscard]] char32_t ReadLongUtf8Char(const char* text, std::size_t left, int* used);

/// Reads the character at `text`; `left` is at least 1. An ill-formed sequence gives its first byte and
/// `used` 1.
[[nodiscard]] inline char32_t ReadUtf8Char(const char* text, std::size_t left, int* used) {
  const auto lead = static_cast<unsigned char>(text[0]);
  if (lead < 0x80) {
    *used = 1;
    return lead;
  }
  // Two-byte sequences are nearly all of what a Cyrillic text holds beside ASCII.
  if (lead >= 0xC2 && lead < 0xE0 && left > 1 && IsUtf8Continuation(text[1])) {
    *used = 2;
    return (lead & 0x1Fu) << 6 | (static_cast<unsigned char>(text[1]) & 0x3Fu);
  }
  return ReadLongUtf8Char(text, left, used);
}

/// True when what `ReadUtf8Char` gave is no character but a byte that stands for itself.
[[nodiscard]] inline bool IsIllFormed(char32_t code, int used) {
  return used == 1 && code >= 0x80;
}

/// Writes `code` at `to`, which has room for kMaxUtf8Char bytes; gives the place behind it.
/// A surrogate or a value above 0x10FFFF is written as U+FFFD, so that the output is always well-formed.
constexpr char* WriteUtf8Char(char* to, char32_t code) {
  if (code < 0x80) {
    *to++ = static_cast<char>(code);
    return to;
  }
  if (code < 0x800) {
    *to++ = static_cast<char>(0xC0 | code >> 6);
    *to++ = static_cast<char>(0x80 | (code & 0x3F));
    return to;
  }
  if (code > 0x10FFFF || (code >= 0xD800 && code < 0xE000)) code = 0xFFFD;
  if (code < 0x10000) {
    *to++ = static_cast<char>(0xE0 | code >> 12);
  } else {
    *to++ = static_cast<char>(0xF0 | code >> 18);
    *to++ = static_cast<char>(0x80 | (code >> 12 & 0x3F));
  }
  *to++ = static_cast<char>(0x80 | (code >> 6 & 0x3F));
  *to++ = static_cast<char>(0x80 | (code & 0x3F));
  return to;
}

/// True when none of the eight bytes at `text` is above 127; `word` receives them.
[[nodiscard]] inline bool LoadAscii8(const char* text, std::uint64_t* word) {
  std::memcpy(word, text, sizeof *word);
  return (*word & 0x8080808080808080) == 0;
}

/// Characters of a well-formed text: its bytes that are no continuation.
[[nodiscard]] std::size_t CountUtf8Chars(std::string_view text);

}  // namespace utils
