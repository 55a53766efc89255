#pragma once

#include <string_view>

/// The order of terms: code points, the first difference decides, and of two keys of which one continues the
/// other the shorter is the smaller. For valid UTF-8 this is the order of the bytes. A byte outside valid
/// UTF-8 counts as the code point of the same number, so two different invalid keys can compare equal.
namespace backup {

/// Compares two keys of `la` and `lb` bytes. Negative, 0 or positive. A null key or a negative length is an
/// empty key.
[[nodiscard]] int keycmpUtf8(const char* a, const char* b, int la, int lb);

/// The same with every two differing characters compared in upper case.
[[nodiscard]] int Utf8CompareNoCase(const char* a, const char* b, int la, int lb);

}  // namespace backup

namespace utils {

/// The same two orders for texts of any length.
[[nodiscard]] int CompareUtf8(std::string_view a, std::string_view b);
[[nodiscard]] int CompareUtf8NoCase(std::string_view a, std::string_view b);

}  // namespace utils
