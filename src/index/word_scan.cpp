#include "index/word_scan.h"

#include <algorithm>
#include <cstring>
#include <cwctype>

#include "index/stemmer.h"
#include "utils/text_util.h"

namespace indexing {

namespace {

bool IsSeparator(const Alphabet& alphabet, char c) {
  const auto byte = static_cast<unsigned char>(c);
  return byte < 0x80 && alphabet.words[byte] == 0;
}

char ToUpperAscii(int code) {
  return static_cast<char>(utils::toupperUnicode(code));
}

/// Turns a word of the letters from А to Я and "-" into 16-bit letters. False for any other word.
bool DecodeRussian(std::string_view word, std::u16string& letters) {
  letters.clear();
  for (std::size_t i = 0; i < word.size(); ++i) {
    if (word[i] == '-') {
      letters.push_back(u'-');
      continue;
    }
    if (word[i] != '\xD0' || i + 1 == word.size()) return false;  // the lead byte of U+0400 to U+043F
    const auto second = static_cast<unsigned char>(word[++i]);
    letters.push_back(static_cast<char16_t>(0x400 | (second & 0x3F)));
  }
  return true;
}

}  // namespace

const CharClasses& CharClasses::Get() {
  static const CharClasses classes;
  return classes;
}

CharClasses::CharClasses() {
  for (char32_t code = 0; code < classes_.size(); ++code) classes_[code] = AskLocale(code);
}

std::uint8_t CharClasses::AskLocale(char32_t code) {
  const auto c = static_cast<std::wint_t>(code);
  return static_cast<std::uint8_t>((std::iswalpha(c) ? kLetter : 0) | (std::iswdigit(c) ? kDigit : 0));
}

Alphabet::Alphabet(const unsigned char* actab) {
  const CharClasses& classes = CharClasses::Get();
  for (int code = 1; code < 0x80; ++code) {
    const bool isInAlphabet = actab[code - 1] == 1;
    if (isInAlphabet) words[code] = ToUpperAscii(code);
    if (isInAlphabet || classes.IsLetterOrDigit(static_cast<char32_t>(code)))
      pages[code] = ToUpperAscii(code);
  }
}

void WordBuffer::SetPrefix(std::string_view prefix) {
  prefix_ = 0;
  if (prefix.size() > size_) Grow(prefix.size());
  std::ranges::copy(prefix, bytes_.get());
  prefix_ = prefix.size();
}

char* WordBuffer::Reserve(std::size_t textBytes) {
  // Upper case makes three bytes of two at most, a stray byte becomes a character of two.
  const std::size_t wanted = prefix_ + 2 * textBytes + utils::kMaxUtf8Char;
  if (wanted > size_) Grow(wanted);
  return bytes_.get() + prefix_;
}

void WordBuffer::Grow(std::size_t size) {
  std::unique_ptr<char[]> grown(new char[size]);
  std::copy_n(bytes_.get(), prefix_, grown.get());
  bytes_ = std::move(grown);
  size_ = size;
}

bool NextStretch(const Alphabet& alphabet, std::string_view& rest, std::string_view& stretch) {
  const auto separates = [&](char c) { return IsSeparator(alphabet, c); };
  const auto first = std::ranges::find_if_not(rest, separates);
  const auto last = std::find_if(first, rest.end(), separates);
  stretch = {first, last};
  rest = {last, rest.end()};
  return !stretch.empty();
}

bool IsUtf8(std::string_view text) {
  return utils::TextUtil::CheckUTF8(text);
}

std::string_view CutEnding(std::string_view word, std::u16string& letters) {
  if (!DecodeRussian(word, letters)) return word;
  for (int cut = backup::CountEndingLetters(letters); cut > 0; --cut) {
    while (utils::IsUtf8Continuation(word.back())) word.remove_suffix(1);
    word.remove_suffix(1);
  }
  return word;
}

}  // namespace indexing
