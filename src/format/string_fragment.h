#pragma once

#include <string>
#include <string_view>
#include <vector>

/// Parts of a field's text: subfields, and fragments by characters.
namespace xpft::ast {
class FieldFragment;
}

namespace xpft {

/// The value of a subfield: the first whose code is `code` in either case. "*" is the part before the first
/// "^", or the first subfield where the text begins with one; a blank is the whole text.
/// Result: whether the subfield is there; `value` points into `text`.
bool GetFirstSubElement(std::string_view text, char code, std::string_view& value);
/// The same for the n-th one, from 0; "*" has only one.
bool GetSubElement(std::string_view text, char code, int index, std::string_view& value);
/// The n-th subfield of that code, from 0.
bool GetSubField(std::string_view text, char code, int index, std::string_view& value);
/// The subfields of that code from the n-th to the m-th, as far as they are there.
[[nodiscard]] std::vector<std::string_view> SubFieldRange(std::string_view text, char code, int first,
                                                          int last);
/// Subfields of that code.
[[nodiscard]] int CountSubfields(std::string_view text, char code);

/// The fragment of a text, in characters; replaces `result`, which must not hold `text`.
void GetStringFragment(std::string_view text, const ast::FieldFragment& fragment, std::string& result);

/// The same as a view into `text`. False, with `part` untouched, when the text is no UTF-8: then it is read
/// as cp1251, and the fragment must be converted.
bool FindStringFragment(std::string_view text, const ast::FieldFragment& fragment, std::string_view& part);

/// Bytes that the first `count` characters of a well-formed text take.
[[nodiscard]] std::size_t PrefixBytes(std::string_view text, std::size_t count);

}  // namespace xpft
