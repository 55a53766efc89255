#pragma once

#include <string>
#include <string_view>
#include <vector>

/// String helpers, for `char` texts in UTF-8 and for wide texts with one code point per element.
///
/// Letter case is that of Unicode's simple mappings, one character to one character, whatever the process
/// locale says. In a `char` text a byte that belongs to no UTF-8 character is left alone: a cp1251 text has
/// only its ASCII letters changed. Upper and lower case of a letter can differ in length, so results may be
/// shorter or longer than the input. White space means blank, tab, line feed, vertical tab, form feed and
/// carriage return.
///
/// Functions that give a `std::string_view` give a part of their argument, which must outlive it.
namespace utils {

class StringUtils {
 public:
  StringUtils() = delete;

  [[nodiscard]] static std::string ToUpper(std::string_view text);
  [[nodiscard]] static std::string ToLower(std::string_view text);
  [[nodiscard]] static std::wstring ToUpper(std::wstring_view text);
  [[nodiscard]] static std::wstring ToLower(std::wstring_view text);
  [[nodiscard]] static wchar_t ToUpper(wchar_t c);
  [[nodiscard]] static wchar_t ToLower(wchar_t c);

  /// The same into an existing text: `out` is replaced and its memory used again. `text` must not lie inside
  /// `out`.
  static void ToUpper(std::string_view text, std::string& out);
  static void ToLower(std::string_view text, std::string& out);

  [[nodiscard]] static bool EqualsNoCase(std::string_view a, std::string_view b);
  [[nodiscard]] static bool EqualsNoCase(std::wstring_view a, std::wstring_view b);

  /// Order of the code points in upper case: negative, 0 or positive.
  [[nodiscard]] static int CompareNoCase(std::string_view a, std::string_view b);
  [[nodiscard]] static int CompareNoCase(std::wstring_view a, std::wstring_view b);

  [[nodiscard]] static bool StartsWith(std::string_view text, std::string_view prefix);
  [[nodiscard]] static bool StartsWith(std::wstring_view text, std::wstring_view prefix);
  [[nodiscard]] static bool EndsWith(std::string_view text, std::string_view suffix);
  [[nodiscard]] static bool EndsWith(std::wstring_view text, std::wstring_view suffix);
  [[nodiscard]] static bool StartsWithNoCase(std::string_view text, std::string_view prefix);
  [[nodiscard]] static bool StartsWithNoCase(std::wstring_view text, std::wstring_view prefix);

  /// The text without white space, or without the given characters, at both ends, the start or the end.
  [[nodiscard]] static std::string_view Trim(std::string_view text);
  [[nodiscard]] static std::string_view TrimLeft(std::string_view text);
  [[nodiscard]] static std::string_view TrimRight(std::string_view text);
  [[nodiscard]] static std::string_view Trim(std::string_view text, std::string_view characters);
  [[nodiscard]] static std::string_view TrimLeft(std::string_view text, std::string_view characters);
  [[nodiscard]] static std::string_view TrimRight(std::string_view text, std::string_view characters);
  [[nodiscard]] static std::wstring_view Trim(std::wstring_view text);
  [[nodiscard]] static std::wstring_view TrimLeft(std::wstring_view text);
  [[nodiscard]] static std::wstring_view TrimRight(std::wstring_view text);

  /// The parts between the separators, empty ones included: n separators give n + 1 parts, an empty text
  /// gives none.
  [[nodiscard]] static std::vector<std::string> Split(std::string_view text, char separator);
  [[nodiscard]] static std::vector<std::string> Split(std::string_view text, std::string_view separator);
  [[nodiscard]] static std::vector<std::wstring> Split(std::wstring_view text, wchar_t separator);

  /// The lines of a text. A line ends with CR LF, CR or LF; the last may lack its end. "a\n" is one line, ""
  /// is none.
  [[nodiscard]] static std::vector<std::string_view> SplitLines(std::string_view text);

  /// Takes the next line off the front of `rest`, with its line end. False when nothing is left.
  [[nodiscard]] static bool NextLine(std::string_view& rest, std::string_view& line);

  /// The text with the first, or every, `from` replaced by `to`. What was put in is not searched again. An
  /// empty `from` changes nothing.
  [[nodiscard]] static std::string Replace(std::string_view text, std::string_view from, std::string_view to);
  [[nodiscard]] static std::wstring Replace(std::wstring_view text, std::wstring_view from,
                                            std::wstring_view to);
  [[nodiscard]] static std::string ReplaceAll(std::string_view text, std::string_view from,
                                              std::string_view to);
  [[nodiscard]] static std::wstring ReplaceAll(std::wstring_view text, std::wstring_view from,
                                               std::wstring_view to);

  /// Adds `item` to a list kept as one text, with the separator before it unless the list is still empty.
  static void AppendList(std::string& list, std::string_view item, std::string_view separator);
  static void AppendList(std::wstring& list, std::wstring_view item, std::wstring_view separator);

  /// True for the ASCII and the Cyrillic letters of cp1251.
  [[nodiscard]] static bool IsAlphaCP1251(char c);
};

}  // namespace utils
