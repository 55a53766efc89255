#include "format/string_fragment.h"

#include <algorithm>

#include "format/ast_field.h"
#include "utils/code_page.h"
#include "utils/text_util.h"
#include "utils/utf8_char.h"

namespace xpft {

namespace {

bool IsSameCode(char a, char b) {
  const auto fold = [](char c) { return c >= 'A' && c <= 'Z' ? static_cast<char>(c + ('a' - 'A')) : c; };
  return fold(a) == fold(b);
}

/// Calls visit(code, body) for each subfield, until it returns false. A "^" as the last byte opens none.
template <class Visit>
void GetSubFields(std::string_view text, Visit&& visit) {
  std::size_t mark = text.find('^');
  while (mark != std::string_view::npos && mark + 1 < text.size()) {
    const std::size_t end = text.find('^', mark + 2);
    if (!visit(text[mark + 1], text.substr(mark + 2, end == std::string_view::npos ? end : end - mark - 2)))
      return;
    mark = end;
  }
}

/// What stands before the first mark that is not at the very start; a text that begins with one gives its
/// first subfield.
bool GetLeadingElement(std::string_view text, std::string_view& value) {
  value = text.substr(0, text.find('^', 1));
  if (text.empty() || text[0] != '^') return !text.empty();
  value = value.size() < 2 ? std::string_view() : value.substr(2);
  return text.size() > 2;
}

/// The length that a fragment has in a text of `left` characters behind its offset.
std::size_t FragmentLength(const ast::FieldFragment& fragment, std::size_t left) {
  if (fragment.GetLength() < 0) return left;
  return std::min(left, static_cast<std::size_t>(fragment.GetLength()));
}

}  // namespace

bool GetSubField(std::string_view text, char code, int index, std::string_view& value) {
  bool found = false;
  GetSubFields(text, [&](char c, std::string_view body) {
    if (!IsSameCode(c, code) || index-- > 0) return true;
    value = body;
    found = true;
    return false;
  });
  return found;
}

bool GetFirstSubElement(std::string_view text, char code, std::string_view& value) {
  if (code == ' ') {
    value = text;
    return false;
  }
  return code == '*' ? GetLeadingElement(text, value) : GetSubField(text, code, 0, value);
}

bool GetSubElement(std::string_view text, char code, int index, std::string_view& value) {
  value = {};
  if (text.empty()) return false;
  if (code != '*' && index > 0) return GetSubField(text, code, index, value);
  return GetFirstSubElement(text, code, value);
}

std::vector<std::string_view> SubFieldRange(std::string_view text, char code, int first, int last) {
  std::vector<std::string_view> range;
  int index = 0;
  GetSubFields(text, [&](char c, std::string_view body) {
    if (!IsSameCode(c, code)) return true;
    if (index >= first) range.push_back(body);
    return index++ < last;
  });
  return range;
}

int CountSubfields(std::string_view text, char code) {
  int count = 0;
  GetSubFields(text, [&](char c, std::string_view) {
    count += IsSameCode(c, code);
    return true;
  });
  return count;
}

std::size_t PrefixBytes(std::string_view text, std::size_t count) {
  std::size_t i = 0;
  for (; i < text.size(); ++i)
    if (!utils::IsUtf8Continuation(text[i]) && count-- == 0) return i;
  return i;
}

bool FindStringFragment(std::string_view text, const ast::FieldFragment& fragment, std::string_view& part) {
  if (!utils::TextUtil::CheckUTF8(text)) return false;
  part = {};
  if (fragment.GetOffset() < 0) return true;
  const std::size_t begin = PrefixBytes(text, static_cast<std::size_t>(fragment.GetOffset()));
  part = text.substr(begin);
  if (fragment.GetLength() >= 0)
    part = part.substr(0, PrefixBytes(part, static_cast<std::size_t>(fragment.GetLength())));
  return true;
}

void GetStringFragment(std::string_view text, const ast::FieldFragment& fragment, std::string& result) {
  std::string_view part;
  if (FindStringFragment(text, fragment, part)) {
    result.assign(part);
    return;
  }
  result.clear();
  const auto offset = static_cast<std::size_t>(fragment.GetOffset());
  if (fragment.GetOffset() < 0 || offset >= text.size()) return;
  backup::AnsiToUtf8(text.substr(offset, FragmentLength(fragment, text.size() - offset)), result);
}

}  // namespace xpft
