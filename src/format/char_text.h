#pragma once

#include <cstddef>
#include <string>
#include <string_view>

/// Texts counted in characters. A text is UTF-8; one that is not is read as cp1251.
namespace xpft {

/// The text as well-formed UTF-8: itself, or its conversion, which `converted` then holds.
[[nodiscard]] std::string_view AsUtf8(std::string_view text, std::string& converted);

/// Parts of a well-formed text. Counts below 1 give an empty part.
[[nodiscard]] std::string_view LeftChars(std::string_view text, int count);
[[nodiscard]] std::string_view RightChars(std::string_view text, int count);
/// `start` counts from 1; below 1 it counts as 1.
[[nodiscard]] std::string_view MidChars(std::string_view text, int start, int count);

/// The text without the characters that occur in `characters`, at the chosen ends. Both well-formed.
[[nodiscard]] std::string_view TrimChars(std::string_view text, std::string_view characters, bool left,
                                         bool right);

}  // namespace xpft
