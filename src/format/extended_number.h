#pragma once

#include <string_view>

namespace xpft {

/// Reads a decimal number into extended precision, independent of the locale:
///
///   [+ or -] digits [. digits] [e or E [+ or -] digits]
///
/// At least one digit stands before or behind the point. The text must be a number as a whole; blanks, hex
/// and the words for infinity are no numbers. Whole numbers below 2^64 are exact, all others are rounded to
/// the nearest. A number too large gives an infinity, one too small gives 0. False, with `value` 0, when the
/// text is no number.
[[nodiscard]] bool ParseExtended(std::string_view text, long double& value);

}  // namespace xpft
