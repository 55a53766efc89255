#include "utils/string_utils.h"

#include <algorithm>
#include <cstdint>
#include <cstring>

#include "utils/case_table.h"
#include "utils/utf8_char.h"
#include "utils/utf8_order.h"

namespace {

/// The two directions of the case mapping, for the loops over UTF-8 text. `kFirstLetter` starts the ASCII
/// letters that change.
struct UpperCase {
  static constexpr std::uint64_t kFirstLetter = 'a';
  static char32_t Of(char32_t code) {
    return static_cast<char32_t>(utils::toupperUnicode(static_cast<wchar_t>(code)));
  }
};

struct LowerCase {
  static constexpr std::uint64_t kFirstLetter = 'A';
  static char32_t Of(char32_t code) {
    return static_cast<char32_t>(utils::tolowerUnicode(static_cast<wchar_t>(code)));
  }
};

constexpr std::uint64_t kEachByte = 0x0101010101010101;

/// Changes the case of eight ASCII bytes in one word. No byte carries into its neighbour: all are below 128.
std::uint64_t FoldAscii(std::uint64_t word, std::uint64_t first) {
  const std::uint64_t atLeastFirst = word + (0x80 - first) * kEachByte;
  const std::uint64_t behindLast = word + (0x80 - first - 26) * kEachByte;
  const std::uint64_t letters = atLeastFirst & ~behindLast & 0x80 * kEachByte;
  return word ^ letters >> 2;  // 0x80 becomes 0x20, the distance of the cases
}

/// Folds what one turn takes from the front of `text`, and gives its bytes. A turn writes 8 bytes at most.
template <typename Case>
std::size_t FoldStep(std::string_view text, char*& to) {
  std::uint64_t word;
  if (text.size() >= sizeof word && utils::LoadAscii8(text.data(), &word)) {
    word = FoldAscii(word, Case::kFirstLetter);
    std::memcpy(to, &word, sizeof word);
    to += sizeof word;
    return sizeof word;
  }
  int used;
  const char32_t code = utils::ReadUtf8Char(text.data(), text.size(), &used);
  if (utils::IsIllFormed(code, used)) {
    *to++ = text[0];
  } else {
    to = utils::WriteUtf8Char(to, Case::Of(code));
  }
  return static_cast<std::size_t>(used);
}

template <typename Case>
void FoldUtf8(std::string_view text, std::string& out) {
  constexpr std::size_t kMaxStep = 8;
  char buffer[1024];
  char* const full = buffer + sizeof buffer - kMaxStep;
  out.clear();
  while (!text.empty()) {
    char* to = buffer;
    while (!text.empty() && to <= full) text.remove_prefix(FoldStep<Case>(text, to));
    out.append(buffer, static_cast<std::size_t>(to - buffer));
  }
}

template <wchar_t (*kFold)(wchar_t)>
std::wstring FoldWide(std::wstring_view text) {
  std::wstring folded(text);
  std::transform(folded.begin(), folded.end(), folded.begin(), kFold);
  return folded;
}

constexpr std::string_view kSpaces = " \t\n\v\f\r";
constexpr std::wstring_view kWideSpaces = L" \t\n\v\f\r";

template <typename View>
View TrimStart(View text, View characters) {
  const std::size_t first = text.find_first_not_of(characters);
  return first == View::npos ? View() : text.substr(first);
}

template <typename View>
View TrimEnd(View text, View characters) {
  return text.substr(0, text.find_last_not_of(characters) + 1);  // npos + 1 is 0: nothing is left
}

template <typename String, typename View>
std::vector<String> SplitAt(View text, View separator) {
  std::vector<String> parts;
  if (text.empty()) return parts;
  if (separator.empty()) return {String(text)};
  for (std::size_t at; (at = text.find(separator)) != View::npos; text.remove_prefix(at + separator.size())) {
    parts.emplace_back(text.substr(0, at));
  }
  parts.emplace_back(text);
  return parts;
}

template <typename String, typename View>
String ReplaceIn(View text, View from, View to, bool all) {
  String result;
  if (from.empty()) return String(text);
  for (std::size_t at; (at = text.find(from)) != View::npos;) {
    result += text.substr(0, at);
    result += to;
    text.remove_prefix(at + from.size());
    if (!all) break;
  }
  return result += text;
}

template <typename String, typename View>
void AppendItem(String& list, View item, View separator) {
  if (!list.empty()) list += separator;
  list += item;
}

}  // namespace

namespace utils {

std::string StringUtils::ToUpper(std::string_view text) {
  std::string out;
  ToUpper(text, out);
  return out;
}

std::string StringUtils::ToLower(std::string_view text) {
  std::string out;
  ToLower(text, out);
  return out;
}

std::wstring StringUtils::ToUpper(std::wstring_view text) {
  return FoldWide<toupperUnicode>(text);
}

std::wstring StringUtils::ToLower(std::wstring_view text) {
  return FoldWide<tolowerUnicode>(text);
}

wchar_t StringUtils::ToUpper(wchar_t c) {
  return toupperUnicode(c);
}

wchar_t StringUtils::ToLower(wchar_t c) {
  return tolowerUnicode(c);
}

void StringUtils::ToUpper(std::string_view text, std::string& out) {
  FoldUtf8<UpperCase>(text, out);
}

void StringUtils::ToLower(std::string_view text, std::string& out) {
  FoldUtf8<LowerCase>(text, out);
}

bool StringUtils::EqualsNoCase(std::string_view a, std::string_view b) {
  return CompareUtf8NoCase(a, b) == 0;
}

bool StringUtils::EqualsNoCase(std::wstring_view a, std::wstring_view b) {
  return a.size() == b.size() && StartsWithNoCase(a, b);
}

int StringUtils::CompareNoCase(std::string_view a, std::string_view b) {
  return CompareUtf8NoCase(a, b);
}

int StringUtils::CompareNoCase(std::wstring_view a, std::wstring_view b) {
  const std::size_t shorter = std::min(a.size(), b.size());
  for (std::size_t i = 0; i < shorter; ++i) {
    const wchar_t x = toupperUnicode(a[i]);
    const wchar_t y = toupperUnicode(b[i]);
    if (x != y) return x < y ? -1 : 1;
  }
  if (a.size() == b.size()) return 0;
  return a.size() < b.size() ? -1 : 1;
}

bool StringUtils::StartsWith(std::string_view text, std::string_view prefix) {
  return text.starts_with(prefix);
}

bool StringUtils::StartsWith(std::wstring_view text, std::wstring_view prefix) {
  return text.starts_with(prefix);
}

bool StringUtils::EndsWith(std::string_view text, std::string_view suffix) {
  return text.ends_with(suffix);
}

bool StringUtils::EndsWith(std::wstring_view text, std::wstring_view suffix) {
  return text.ends_with(suffix);
}

bool StringUtils::StartsWithNoCase(std::string_view text, std::string_view prefix) {
  while (!prefix.empty()) {
    if (text.empty()) return false;
    int usedText;
    int usedPrefix;
    const char32_t x = ReadUtf8Char(text.data(), text.size(), &usedText);
    const char32_t y = ReadUtf8Char(prefix.data(), prefix.size(), &usedPrefix);
    if (x != y && UpperCase::Of(x) != UpperCase::Of(y)) return false;
    text.remove_prefix(static_cast<std::size_t>(usedText));
    prefix.remove_prefix(static_cast<std::size_t>(usedPrefix));
  }
  return true;
}

bool StringUtils::StartsWithNoCase(std::wstring_view text, std::wstring_view prefix) {
  return text.size() >= prefix.size() && CompareNoCase(text.substr(0, prefix.size()), prefix) == 0;
}

std::string_view StringUtils::Trim(std::string_view text) {
  return Trim(text, kSpaces);
}

std::string_view StringUtils::TrimLeft(std::string_view text) {
  return TrimStart(text, kSpaces);
}

std::string_view StringUtils::TrimRight(std::string_view text) {
  return TrimEnd(text, kSpaces);
}

std::string_view StringUtils::Trim(std::string_view text, std::string_view characters) {
  return TrimEnd(TrimStart(text, characters), characters);
}

std::string_view StringUtils::TrimLeft(std::string_view text, std::string_view characters) {
  return TrimStart(text, characters);
}

std::string_view StringUtils::TrimRight(std::string_view text, std::string_view characters) {
  return TrimEnd(text, characters);
}

std::wstring_view StringUtils::Trim(std::wstring_view text) {
  return TrimLeft(TrimRight(text));
}

std::wstring_view StringUtils::TrimLeft(std::wstring_view text) {
  return TrimStart(text, kWideSpaces);
}

std::wstring_view StringUtils::TrimRight(std::wstring_view text) {
  return TrimEnd(text, kWideSpaces);
}

std::vector<std::string> StringUtils::Split(std::string_view text, char separator) {
  return SplitAt<std::string>(text, std::string_view(&separator, 1));
}

std::vector<std::string> StringUtils::Split(std::string_view text, std::string_view separator) {
  return SplitAt<std::string>(text, separator);
}

std::vector<std::wstring> StringUtils::Split(std::wstring_view text, wchar_t separator) {
  return SplitAt<std::wstring>(text, std::wstring_view(&separator, 1));
}

std::vector<std::string_view> StringUtils::SplitLines(std::string_view text) {
  std::vector<std::string_view> lines;
  for (std::string_view line; NextLine(text, line);) lines.push_back(line);
  return lines;
}

bool StringUtils::NextLine(std::string_view& rest, std::string_view& line) {
  if (rest.empty()) return false;
  const std::size_t end = rest.find_first_of("\r\n");
  line = rest.substr(0, end);
  if (end == std::string_view::npos) {
    rest = {};
    return true;
  }
  rest.remove_prefix(end + (rest.substr(end).starts_with("\r\n") ? 2 : 1));
  return true;
}

std::string StringUtils::Replace(std::string_view text, std::string_view from, std::string_view to) {
  return ReplaceIn<std::string>(text, from, to, false);
}

std::wstring StringUtils::Replace(std::wstring_view text, std::wstring_view from, std::wstring_view to) {
  return ReplaceIn<std::wstring>(text, from, to, false);
}

std::string StringUtils::ReplaceAll(std::string_view text, std::string_view from, std::string_view to) {
  return ReplaceIn<std::string>(text, from, to, true);
}

std::wstring StringUtils::ReplaceAll(std::wstring_view text, std::wstring_view from, std::wstring_view to) {
  return ReplaceIn<std::wstring>(text, from, to, true);
}

void StringUtils::AppendList(std::string& list, std::string_view item, std::string_view separator) {
  AppendItem(list, item, separator);
}

void StringUtils::AppendList(std::wstring& list, std::wstring_view item, std::wstring_view separator) {
  AppendItem(list, item, separator);
}

bool StringUtils::IsAlphaCP1251(char c) {
  return tolowerCp1251(c) != c || toupperCp1251(c) != c;
}

}  // namespace utils
