#include "utils/text_util.h"

#include <sys/stat.h>

#include <algorithm>
#include <cstring>
#include <new>
#include <stdexcept>

#include "utils/code_page.h"
#include "utils/file_layer.h"
#include "utils/utf8_char.h"

namespace {

using utils::IsIllFormed;
using utils::ReadUtf8Char;

/// The check without its end at a zero byte.
bool IsUtf8Throughout(std::string_view text) {
  for (std::size_t zero; (zero = text.find('\0')) != std::string_view::npos; text.remove_prefix(zero + 1)) {
    if (!utils::TextUtil::CheckUTF8(text.substr(0, zero))) return false;
  }
  return utils::TextUtil::CheckUTF8(text);
}

/// The first character as told at `ReadCharUTF8`, and whether it was well-formed.
int ReadFirst(const char* text, int len, int* used, bool* isIllFormed) {
  *used = 0;
  *isIllFormed = false;
  if (text == nullptr || len < 1) return 0;
  const char32_t code = ReadUtf8Char(text, static_cast<std::size_t>(len), used);
  *isIllFormed = IsIllFormed(code, *used);
  return static_cast<int>(code);
}

std::size_t Utf8LengthOf(wchar_t c) {
  char buffer[utils::kMaxUtf8Char];
  return static_cast<std::size_t>(utils::WriteUtf8Char(buffer, static_cast<char32_t>(c)) - buffer);
}

/// Strict decoding into `wide`. False leaves `wide` empty.
bool DecodeUtf8(std::string_view text, std::wstring& wide) {
  wide.resize(utils::CountUtf8Chars(text));  // any ill-formed text is given up before it passes this
  wchar_t* to = wide.data();
  for (std::size_t i = 0; i < text.size();) {
    std::uint64_t word;
    if (i + sizeof word <= text.size() && utils::LoadAscii8(text.data() + i, &word)) {
      for (std::size_t k = 0; k < sizeof word; ++k) *to++ = static_cast<unsigned char>(text[i + k]);
      i += sizeof word;
      continue;
    }
    int used;
    const char32_t code = ReadUtf8Char(text.data() + i, text.size() - i, &used);
    if (IsIllFormed(code, used)) {
      wide.clear();
      return false;
    }
    *to++ = static_cast<wchar_t>(code);
    i += static_cast<std::size_t>(used);
  }
  return true;
}

void DecodeCp1251(std::string_view text, std::wstring& wide) {
  wide.resize(text.size());
  std::transform(text.begin(), text.end(), wide.begin(), [](char c) {
    return static_cast<wchar_t>(utils::Cp1251ToUnicode(static_cast<unsigned char>(c)));
  });
}

/// Size of a plain file in bytes, or -1 for anything else.
std::int64_t PlainFileSize(int handle) {
  struct stat status;
  if (fstat(handle, &status) != 0 || !S_ISREG(status.st_mode)) return -1;
  return status.st_size;
}

/// Reads on until the file ends, wherever that is by now: a log may have grown, and files of /proc tell no
/// size.
bool ReadToEnd(int handle, std::string& out) {
  constexpr std::int64_t kLeastStep = 4096;
  const std::int64_t size = PlainFileSize(handle);
  if (size < 0) return false;

  std::int64_t total = 0;
  std::int64_t step = size + 1;  // the byte too many shows the end without a further read
  for (;;) {
    out.resize(static_cast<std::size_t>(total + step));
    const std::int64_t got = backup::_lread64(handle, out.data() + total, step);
    if (got < 0) return false;
    total += got;
    if (got < step) break;
    step = std::max(kLeastStep, total);
  }
  out.resize(static_cast<std::size_t>(total));
  return true;
}

}  // namespace

namespace utils {

int TextUtil::CheckUTF8Bom(const char* text, std::size_t len) {
  if (text == nullptr || len < sizeof _utf8Preamble) return 0;
  return std::memcmp(text, _utf8Preamble, sizeof _utf8Preamble) == 0 ? sizeof _utf8Preamble : 0;
}

std::size_t TextUtil::GetUTF8Length(std::wstring_view wide) {
  std::size_t length = 0;
  for (const wchar_t c : wide) length += Utf8LengthOf(c);
  return length;
}

std::size_t TextUtil::GetUTF16Length(std::string_view utf8) {
  std::size_t length = 0;
  for (std::size_t i = 0; i < utf8.size();) {
    int used;
    length += ReadUtf8Char(utf8.data() + i, utf8.size() - i, &used) < 0x10000 ? 1 : 2;
    i += static_cast<std::size_t>(used);
  }
  return length;
}

int TextUtil::ReadCharUTF8(const char* text, int len, int* used) {
  bool isIllFormed;
  return ReadFirst(text, len, used, &isIllFormed);
}

int TextUtil::ReadCharUTF8CP1251(const char* text, int len, int* used) {
  bool isIllFormed;
  const int code = ReadFirst(text, len, used, &isIllFormed);
  return isIllFormed ? static_cast<int>(Cp1251ToUnicode(static_cast<unsigned char>(*text))) : code;
}

int TextUtil::ReadCharCP1251(const char* text, int len, int* used) {
  *used = text != nullptr && len > 0 ? 1 : 0;
  return *used == 0 ? 0 : static_cast<int>(Cp1251ToUnicode(static_cast<unsigned char>(*text)));
}

std::wstring TextUtil::ReadUTF8(std::string_view text) {
  std::wstring wide;
  DecodeUtf8(text, wide);
  return wide;
}

std::wstring TextUtil::ReadCP1251(std::string_view text) {
  std::wstring wide;
  DecodeCp1251(text, wide);
  return wide;
}

void TextUtil::ReadAllText(const char* text, int len, std::wstring& wide) {
  wide = text == nullptr || len < 1 ? std::wstring()
                                    : ReadAllText(std::string_view(text, static_cast<std::size_t>(len)));
}

std::wstring TextUtil::ReadAllText(std::string_view text) {
  std::wstring wide;
  if (!DecodeUtf8(text, wide)) DecodeCp1251(text, wide);
  return wide;
}

std::string TextUtil::ReadAllTextUtf8(std::string_view text) {
  return IsUtf8Throughout(text) ? std::string(text) : backup::AnsiToUtf8(text);
}

std::string TextUtil::ConvertToUTF8(std::wstring_view wide) {
  std::string utf8;
  utf8.resize(GetUTF8Length(wide));
  char* to = utf8.data();
  for (const wchar_t c : wide) to = WriteUtf8Char(to, static_cast<char32_t>(c));
  return utf8;
}

int TextUtil::ConvertCharToUTF8(wchar_t c, char* to) {
  return static_cast<int>(WriteUtf8Char(to, static_cast<char32_t>(c)) - to);
}

char TextUtil::WideCharToCP1251(wchar_t c) {
  const int byte = UnicodeToCp1251(static_cast<char32_t>(c));
  return byte < 0 ? '?' : static_cast<char>(byte);
}

std::string TextUtil::FilterUTF8(std::string_view text, char replacement) {
  std::string filtered(text);
  for (std::size_t i = 0; i < text.size();) {
    int used;
    const char32_t code = ReadUtf8Char(text.data() + i, text.size() - i, &used);
    if (IsIllFormed(code, used)) filtered[i] = replacement;
    i += static_cast<std::size_t>(used);
  }
  return filtered;
}

bool TextUtil::FileReadAllBytes(const std::string& path, std::string& out) {
  out.clear();
  const int handle = backup::_lopen(path.c_str(), 64);
  if (handle < 0) return false;

  bool done = false;
  try {
    done = ReadToEnd(handle, out);
  } catch (const std::bad_alloc&) {
    // a file larger than memory is a file that cannot be read
  } catch (const std::length_error&) {
  }
  backup::_lclose(handle);
  if (!done) out.clear();
  return done;
}

bool TextUtil::FileWriteAllBytes(const std::string& path, std::string_view data) {
  const int handle = backup::_lcreat(path.c_str(), 0);
  if (handle < 0) return false;
  const auto length = static_cast<std::int64_t>(data.size());
  const bool isWritten = backup::_lwrite64(handle, data.data(), length) == length;
  const bool isClosed = backup::_lclose(handle) == 0;
  return isWritten && isClosed;
}

std::ptrdiff_t TextUtil::ASCIIIndexOf(std::string_view text, std::string_view ascii) {
  const std::size_t at = text.find(ascii);
  return at == std::string_view::npos ? -1 : static_cast<std::ptrdiff_t>(at);
}

}  // namespace utils
