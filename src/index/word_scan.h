#pragma once

#include <array>
#include <cstddef>
#include <cstdint>
#include <memory>
#include <string>
#include <string_view>

#include "utils/case_table.h"
#include "utils/utf8_char.h"

/// The scanners behind words.h and rec_terms.h. They read UTF-8 where it lies, write the words in upper case
/// into a buffer that is used again and again, and hand each one on while it lies there.
namespace indexing {

/// Which characters make words.
class CharClasses {
 public:
  /// Asks the process locale about the basic plane, once; the locale must be set before.
  [[nodiscard]] static const CharClasses& Get();

  [[nodiscard]] bool IsLetter(char32_t code) const { return (ClassOf(code) & kLetter) != 0; }
  [[nodiscard]] bool IsLetterOrDigit(char32_t code) const { return ClassOf(code) != 0; }

 private:
  static constexpr std::uint8_t kLetter = 1;
  static constexpr std::uint8_t kDigit = 2;

  CharClasses();
  static std::uint8_t AskLocale(char32_t code);
  [[nodiscard]] std::uint8_t ClassOf(char32_t code) const {
    return code < classes_.size() ? classes_[code] : AskLocale(code);
  }

  std::array<std::uint8_t, 0x10000> classes_;
};

/// What the alphabet of a space makes of ASCII: upper case of a character that belongs to words, 0 for one
/// that separates them.
struct Alphabet {
  /// `actab[c - 1]` is 1 for a character with code c that is of the alphabet.
  explicit Alphabet(const unsigned char* actab);

  std::array<char, 128> words{};  // by the alphabet alone
  std::array<char, 128> pages{};  // with letters and digits
};

/// Room for one word behind a prefix. It grows only.
class WordBuffer {
 public:
  /// Puts `prefix` at the front.
  void SetPrefix(std::string_view prefix);
  [[nodiscard]] std::string_view prefix() const { return {bytes_.get(), prefix_}; }

  /// Where a word is written, with room for any word of a text of that length; good until the next call.
  [[nodiscard]] char* Reserve(std::size_t textBytes);

  /// Prefix and the word of `wordBytes`, as one text.
  [[nodiscard]] std::string_view Term(std::size_t wordBytes) const {
    return {bytes_.get(), prefix_ + wordBytes};
  }

 private:
  void Grow(std::size_t size);

  std::unique_ptr<char[]> bytes_;
  std::size_t size_ = 0;
  std::size_t prefix_ = 0;
};

struct ScannedWord {
  std::string_view text;  // in the buffer, upper case
  int chars;
  int number;  // from 1
};

/// Scans one stretch: calls emit(ScannedWord) for each word, numbered from `number` on. Gives the number of
/// the next. A stray byte reads as the character of that code.
template <class Emit>
int ScanStretch(const Alphabet& alphabet, std::string_view text, char* buffer, int number, Emit&& emit) {
  const CharClasses& classes = CharClasses::Get();
  char* to = buffer;
  int chars = 0;
  const auto close = [&] {
    if (to == buffer) return;
    emit(ScannedWord{{buffer, static_cast<std::size_t>(to - buffer)}, chars, number++});
    to = buffer;
    chars = 0;
  };
  for (const char *at = text.data(), *end = at + text.size(); at != end;) {
    if (const auto byte = static_cast<unsigned char>(*at); byte < 0x80) {
      ++at;
      if (const char upper = alphabet.words[byte]; upper != 0) {
        *to++ = upper;
        ++chars;
        continue;
      }
    } else {
      int used;
      const char32_t code = utils::ReadUtf8Char(at, static_cast<std::size_t>(end - at), &used);
      const auto upper = static_cast<char32_t>(utils::toupperUnicode(static_cast<wchar_t>(code)));
      at += used;
      if (classes.IsLetter(upper)) {
        to = utils::WriteUtf8Char(to, upper);
        ++chars;
        continue;
      }
    }
    close();
  }
  close();
  return number;
}

/// Cuts the next stretch between ASCII separators off the front of `rest`. False when none is left.
[[nodiscard]] bool NextStretch(const Alphabet& alphabet, std::string_view& rest, std::string_view& stretch);

/// True when the text is well-formed UTF-8.
[[nodiscard]] bool IsUtf8(std::string_view text);

/// The words of a text, see backup::StringToWords_new2.
template <class Emit>
void ScanWords(const Alphabet& alphabet, std::string_view text, bool checkUtf8, WordBuffer& buffer,
               Emit&& emit) {
  char* const to = buffer.Reserve(text.size());
  if (!checkUtf8 || IsUtf8(text)) {  // looked at as a whole: stretches part at ASCII, no character is torn
    ScanStretch(alphabet, text, to, 1, emit);
    return;
  }
  int number = 1;
  for (std::string_view stretch; NextStretch(alphabet, text, stretch);)
    number = IsUtf8(stretch) ? ScanStretch(alphabet, stretch, to, number, emit) : number + 1;
}

/// The words of a page, see backup::TextToWords2014. `take(text, number)` says whether the word counts.
template <class Take>
void ScanPage(const Alphabet& alphabet, std::string_view text, WordBuffer& buffer, Take&& take) {
  constexpr int kMostWords = 100'000;
  const CharClasses& classes = CharClasses::Get();
  char* const start = buffer.Reserve(text.size());
  char* to = start;
  int number = 1;
  int taken = 0;
  bool sentenceGap = false;
  bool isUtf8 = true;  // of the word in hand
  const auto close = [&] {
    if (to != start && isUtf8 &&
        take(std::string_view(start, static_cast<std::size_t>(to - start)), number)) {
      sentenceGap = false;
      ++number;
      ++taken;
    }
    to = start;
    isUtf8 = true;
  };
  for (const char *at = text.data(), *end = at + text.size(); at != end && taken < kMostWords;) {
    int used;
    char32_t code = utils::ReadUtf8Char(at, static_cast<std::size_t>(end - at), &used);
    at += used;
    if (code == U'-' && at != end && (*at == '\r' || *at == '\n')) {
      for (; at != end; at += used) {
        code = utils::ReadUtf8Char(at, static_cast<std::size_t>(end - at), &used);
        if (classes.IsLetterOrDigit(code)) break;
      }
    } else if (utils::IsIllFormed(code, used)) {
      *to++ = '?';
      isUtf8 = false;
    } else if (code < 0x80 ? alphabet.pages[code] != 0 : classes.IsLetterOrDigit(code)) {
      to = utils::WriteUtf8Char(to, static_cast<char32_t>(utils::toupperUnicode(static_cast<wchar_t>(code))));
    } else {
      close();
      if (!sentenceGap && (code == U'.' || code == U'!' || code == U'?')) {
        sentenceGap = true;
        ++number;
      }
    }
  }
  close();
}

/// An upper-case UTF-8 word without its ending (stemmer.h). `letters` is scratch.
[[nodiscard]] std::string_view CutEnding(std::string_view word, std::u16string& letters);

}  // namespace indexing
