#include "gbl/subfield_text.h"

#include "utils/string_utils.h"
#include "utils/utf8_char.h"

namespace global {

using utils::StringUtils;

namespace {

constexpr wchar_t kMark = L'^';
/// A byte that belongs to no character stands as a low surrogate, which no well-formed text has.
constexpr char32_t kLooseByte = 0xDC00;

bool IsLooseByte(wchar_t c) {
  const auto code = static_cast<char32_t>(c);
  return code >= kLooseByte + 0x80 && code <= kLooseByte + 0xFF;
}

/// End of the subfield that starts at `begin`.
std::size_t SubfieldEnd(std::wstring_view text, std::size_t begin) {
  const std::size_t next = begin + 2 < text.size() ? text.find(kMark, begin + 2) : std::wstring_view::npos;
  return next == std::wstring_view::npos ? text.size() : next;
}

}  // namespace

std::wstring Widen(std::string_view text) {
  std::wstring wide;
  wide.reserve(text.size());
  while (!text.empty()) {
    int used = 0;
    char32_t code = utils::ReadUtf8Char(text.data(), text.size(), &used);
    if (utils::IsIllFormed(code, used)) code += kLooseByte;
    wide += static_cast<wchar_t>(code);
    text.remove_prefix(static_cast<std::size_t>(used));
  }
  return wide;
}

std::string Narrow(std::wstring_view text) {
  std::string bytes;
  bytes.reserve(text.size());
  for (const wchar_t c : text) {
    if (IsLooseByte(c)) {
      bytes += static_cast<char>(static_cast<char32_t>(c) - kLooseByte);
      continue;
    }
    char buffer[utils::kMaxUtf8Char];
    char* end = utils::WriteUtf8Char(buffer, static_cast<char32_t>(c));
    bytes.append(buffer, end);
  }
  return bytes;
}

std::size_t FindSubfield(std::wstring_view text, wchar_t code) {
  for (const wchar_t form : {StringUtils::ToUpper(code), StringUtils::ToLower(code)}) {
    const wchar_t wanted[] = {kMark, form};
    const std::size_t found = text.find(std::wstring_view(wanted, 2));
    if (found != std::wstring_view::npos) return found;
  }
  return std::wstring_view::npos;
}

void delsubfield(std::wstring& text, wchar_t code) {
  const std::size_t begin = FindSubfield(text, code);
  if (begin != std::wstring::npos) text.erase(begin, SubfieldEnd(text, begin) - begin);
}

std::wstring getsubfield(const std::wstring& text, wchar_t code) {
  const std::size_t begin = FindSubfield(text, code);
  if (begin == std::wstring::npos) return {};
  return text.substr(begin + 2, SubfieldEnd(text, begin) - begin - 2);
}

std::wstring WideStringReplace(const std::wstring& text, const std::wstring& from, const std::wstring& to,
                               bool all, bool ignoreCase) {
  if (from.empty()) return text;
  // Upper case goes character by character, so places in both texts are the same.
  const std::wstring searched = ignoreCase ? StringUtils::ToUpper(text) : text;
  const std::wstring wanted = ignoreCase ? StringUtils::ToUpper(from) : from;
  std::wstring result;
  std::size_t done = 0;
  for (std::size_t at; (at = searched.find(wanted, done)) != std::wstring::npos;) {
    result.append(text, done, at - done).append(to);
    done = at + wanted.size();
    if (!all) break;
  }
  return result.append(text, done);
}

void DropEmptySubfields(std::wstring& text) {
  std::wstring kept;
  for (std::size_t i = 0; i < text.size(); ++i) {
    if (text[i] == kMark && i + 1 == text.size()) break;
    if (text[i] == kMark && i + 2 < text.size() && text[i + 2] == kMark)
      ++i;
    else
      kept += text[i];
  }
  text = std::move(kept);
}

}  // namespace global
