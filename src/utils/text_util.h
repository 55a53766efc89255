#pragma once

#include <cstddef>
#include <cstdint>
#include <string>
#include <string_view>

/// Text as the system meets it: UTF-8 or cp1251 bytes, wide strings of one code point per element, numbers in
/// text.
namespace utils {

/// A text argument that may also be a null pointer, which reads as the empty text.
struct TextArg {
  TextArg(const char* text) : view(text != nullptr ? std::string_view(text) : std::string_view()) {}
  TextArg(const std::string& text) : view(text) {}
  TextArg(std::string_view text) : view(text) {}

  std::string_view view;
};

/// Numbers. "Exact" forms want the whole text to be the number: leading white space and a sign are allowed,
/// as strtol allows them, anything behind the digits is not. The other forms read a number at the start of
/// the text and leave the rest. A number that its type cannot hold is no number. All of them are deaf to the
/// process locale.
///
/// Lengths are in bytes unless a name says otherwise. Returned strings belong to the caller.
class TextUtil {
 public:
  TextUtil() = delete;

  /// The UTF-8 byte-order mark.
  static constexpr unsigned char _utf8Preamble[3] = {0xEF, 0xBB, 0xBF};

  // ---- UTF-8 ----

  /// True when the text is well-formed UTF-8: shortest forms only, no surrogates, nothing above U+10FFFF. A
  /// preamble is skipped, a zero byte ends the check with true, and a null or empty text is true.
  [[nodiscard]] static bool CheckUTF8(const char* text, std::size_t len);
  [[nodiscard]] static bool CheckUTF8(std::string_view text) { return CheckUTF8(text.data(), text.size()); }

  /// Length of the byte-order mark at the start of the text: 3 or 0.
  [[nodiscard]] static int CheckUTF8Bom(const char* text, std::size_t len);
  [[nodiscard]] static int CheckUTF8Bom(std::string_view text) {
    return CheckUTF8Bom(text.data(), text.size());
  }

  /// Bytes that the wide text takes in UTF-8.
  [[nodiscard]] static std::size_t GetUTF8Length(std::wstring_view wide);

  /// 16-bit units that the UTF-8 text takes in UTF-16. A byte outside valid UTF-8 counts as one unit.
  [[nodiscard]] static std::size_t GetUTF16Length(std::string_view utf8);

  /// Code point of the first character; `used` receives its length in bytes.
  /// A null text or a length below 1 gives 0 and `used` 0. An ill-formed sequence gives its first byte as the
  /// code and `used` 1, so that decoding goes on one byte further.
  static int ReadCharUTF8(const char* text, int len, int* used);

  /// The same, but the first byte of an ill-formed sequence is read as cp1251.
  static int ReadCharUTF8CP1251(const char* text, int len, int* used);

  /// Code point of the first byte in cp1251; `used` is 1, or 0 for an empty text, which gives 0.
  static int ReadCharCP1251(const char* text, int len, int* used);

  /// Strict decoding: an ill-formed text gives an empty string. A byte-order mark is a character like any
  /// other.
  [[nodiscard]] static std::wstring ReadUTF8(std::string_view text);

  /// cp1251 to wide; cannot fail.
  [[nodiscard]] static std::wstring ReadCP1251(std::string_view text);

  /// Well-formed UTF-8 is read as such, any other text as cp1251. All texts of the command line come this
  /// way.
  static void ReadAllText(const char* text, int len, std::wstring& wide);
  [[nodiscard]] static std::wstring ReadAllText(std::string_view text);

  /// The same as UTF-8: a well-formed text comes back as it is, any other text is converted from cp1251.
  [[nodiscard]] static std::string ReadAllTextUtf8(std::string_view text);

  /// Wide to UTF-8. An element that is no Unicode character becomes U+FFFD.
  [[nodiscard]] static std::string ConvertToUTF8(std::wstring_view wide);

  /// Writes one character at `to`, which has room for 4 bytes. Result: the bytes written, without a closing
  /// zero.
  static int ConvertCharToUTF8(wchar_t c, char* to);

  /// cp1251 byte of a character, '?' when cp1251 lacks it.
  [[nodiscard]] static char WideCharToCP1251(wchar_t c);

  /// The text with each byte that belongs to no well-formed character put to `replacement`; the length stays.
  [[nodiscard]] static std::string FilterUTF8(std::string_view text, char replacement);

  // ---- files ----

  /// Reads a whole file. False leaves `out` empty: the file is missing, is a directory or cannot be read.
  [[nodiscard]] static bool FileReadAllBytes(const std::string& path, std::string& out);

  /// Writes a whole file, replacing an earlier one. False when it cannot be created or written to the end.
  [[nodiscard]] static bool FileWriteAllBytes(const std::string& path, std::string_view data);

  // ---- search ----

  /// Byte index of the first place where `ascii` stands in `text`, or -1. ASCII bytes are never part of a
  /// longer UTF-8 character, so the index is a character boundary in either encoding.
  [[nodiscard]] static std::ptrdiff_t ASCIIIndexOf(std::string_view text, std::string_view ascii);

  // ---- numbers ----

  [[nodiscard]] static int Int32ParseExact(TextArg text, int def);
  [[nodiscard]] static std::uint32_t UInt32ParseExact(TextArg text, std::uint32_t def);
  [[nodiscard]] static std::int64_t Int64ParseExact(TextArg text, std::int64_t def);
  [[nodiscard]] static std::int64_t Int64Parse(TextArg text, std::int64_t def);
  [[nodiscard]] static double DoubleParseExact(TextArg text, double def);
  [[nodiscard]] static double DoubleParse(TextArg text, double def);

  /// The same with a report instead of a default. The first gives 0 when `success` becomes false; the second
  /// leaves `value` as it was when it returns false.
  static int Int32ParseExact(TextArg text, bool& success);
  [[nodiscard]] static bool Int32ParseExact(TextArg text, int* value);

  /// Reads exactly `len` bytes that need no zero behind them: decimal digits, with one "-" or "+" before them
  /// at most. No white space is allowed. The second form leaves `value` as it was when it returns false.
  [[nodiscard]] static int Int32ParseFast(const char* text, int len, int def);
  [[nodiscard]] static bool Int32ParseFast(const char* text, int len, int* value);

  [[nodiscard]] static std::string Int32ToString(std::int32_t value);
  [[nodiscard]] static std::string UInt32ToString(std::uint32_t value);

  // ---- Base64 (RFC 4648, standard alphabet) ----

  /// Bytes that decoding the text gives. White space and padding do not count.
  [[nodiscard]] static std::size_t Base64Length(std::string_view text);

  /// Decodes into `out`. White space between the characters is skipped, and the padding may be missing.
  /// False, with `out` empty, for a foreign character, text behind the padding or a single left-over
  /// character.
  [[nodiscard]] static bool Base64Decode(std::string_view text, std::string& out);
};

}  // namespace utils
