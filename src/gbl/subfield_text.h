#pragma once

#include <cstddef>
#include <string>
#include <string_view>

/// Subfields within the text of one field: "^", a code character and a value. Codes are matched without
/// regard to case: in upper case first, then in lower case. The texts are wide, so that positions count
/// characters.
namespace global {

/// Bytes that are no UTF-8 keep their value on the way to wide text and back.
[[nodiscard]] std::wstring Widen(std::string_view text);
[[nodiscard]] std::string Narrow(std::wstring_view text);

/// Place of the first "^" with that code, npos without one.
[[nodiscard]] std::size_t FindSubfield(std::wstring_view text, wchar_t code);

/// Removes the first subfield with that code, up to the next "^" or the end.
void delsubfield(std::wstring& text, wchar_t code);

/// Value of that subfield, empty without one.
[[nodiscard]] std::wstring getsubfield(const std::wstring& text, wchar_t code);

/// The text with `from` replaced by `to`, from left to right, at the first place or at `all`; what was put in
/// is not searched. With `ignoreCase` upper and lower case are the same.
[[nodiscard]] std::wstring WideStringReplace(const std::wstring& text, const std::wstring& from,
                                             const std::wstring& to, bool all, bool ignoreCase);

/// Drops subfields without a value that another "^" follows, and a "^" alone at the end.
void DropEmptySubfields(std::wstring& text);

}  // namespace global
