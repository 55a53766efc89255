#pragma once

#include <cstddef>
#include <string_view>

/// Classes of bytes, and looks ahead in the text of a format that need no tokens.
namespace xpft {

[[nodiscard]] constexpr bool IsDigit(char c) {
  return c >= '0' && c <= '9';
}
[[nodiscard]] constexpr bool IsLetter(char c) {
  return (c >= 'a' && c <= 'z') || (c >= 'A' && c <= 'Z');
}
[[nodiscard]] constexpr bool IsLineEnd(char c) {
  return c == '\r' || c == '\n';
}
[[nodiscard]] constexpr bool IsSpace(char c) {
  return c == ' ' || c == '\t' || IsLineEnd(c);
}
/// A byte of an external name. In the name of a format "!" is one too.
[[nodiscard]] constexpr bool IsNameByte(char c) {
  return IsLetter(c) || IsDigit(c) || c == '$' || c == '-' || c == '_';
}

/// `at` is the offset behind "<". The offset of the "</text>" that ends the block "<text>...</text>", both in
/// any letter case; npos when there is no such block.
[[nodiscard]] std::size_t FindTextBlockEnd(std::string_view text, std::size_t at);

/// Whether a ";" stands at or behind `at`, outside literals, comments and further parentheses, before the ")"
/// that closes the parenthesis around.
[[nodiscard]] bool HasSemicolonInParentheses(std::string_view text, std::size_t at);

/// The first and the last `count` characters of a text. Sequences of UTF-8 are kept whole, an ill-formed byte
/// is a character.
[[nodiscard]] std::string_view FirstCharacters(std::string_view text, int count);
[[nodiscard]] std::string_view LastCharacters(std::string_view text, int count);

}  // namespace xpft
