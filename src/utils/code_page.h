#pragma once

#include <cstddef>
#include <cstdint>
#include <string>
#include <string_view>

/// The single-byte code pages of the system: cp1251 ("Ansi", "win") and cp866 ("dos").
///
/// All 256 bytes of cp1251 survive the way to UTF-8 and back; the byte 0x98, which the code page leaves free,
/// is U+0098. cp866 is only ever converted to and from cp1251, byte for byte; its box-drawing characters have
/// no place there.
namespace backup {

/// cp1251 to UTF-8.
[[nodiscard]] std::string AnsiToUtf8(std::string_view cp1251);

/// UTF-8 to cp1251. A character that cp1251 lacks becomes '?'. A byte that belongs to no UTF-8 character
/// stays as it is: in a database that was once kept in cp1251 such bytes are forgotten cp1251 letters.
[[nodiscard]] std::string Utf8ToAnsi(std::string_view utf8);

/// The same into an existing text: `out` is replaced and its memory is used again. `in` must not lie inside
/// `out`.
void AnsiToUtf8(std::string_view in, std::string& out);
void Utf8ToAnsi(std::string_view in, std::string& out);

/// cp866 to cp1251 and back, in place. A character that the other page lacks becomes '?'.
void doswinp(char* text, std::size_t len);
void windosp(char* text, std::size_t len);

/// Replaces control characters, the bytes below 0x20 and 0x7F, by blanks. True when something changed.
bool ZaboyString(std::string& text);

}  // namespace backup

namespace utils {

/// Code point of a cp1251 byte.
[[nodiscard]] char32_t Cp1251ToUnicode(unsigned char byte);

/// cp1251 byte of a code point, or -1 when cp1251 lacks the character.
[[nodiscard]] int UnicodeToCp1251(char32_t code);

}  // namespace utils
