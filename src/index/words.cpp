#include "index/words.h"

#include <algorithm>
#include <cstring>

#include "index/word_scan.h"
#include "utils/case_table.h"
#include "utils/string_utils.h"
#include "utils/utf8_char.h"

namespace backup {

using velor_01::TStringList;

namespace {

bool IsStopWord(const TStringList* stop, const std::string& word) {
  int index;
  return stop != nullptr && stop->Find(word.c_str(), &index);
}

/// Writes the upper case of the character at `text` there. `tail` bytes stand behind it, `room` bytes may be
/// used from `text` on. Gives the bytes that the character takes now.
std::size_t TranslateAt(char* text, std::size_t used, std::size_t tail, std::size_t room, char32_t code) {
  char upper[utils::kMaxUtf8Char];
  const wchar_t folded = utils::toupperUnicode(static_cast<wchar_t>(code));
  const auto length =
      static_cast<std::size_t>(utils::WriteUtf8Char(upper, static_cast<char32_t>(folded)) - upper);
  if (length + tail > room) return used;
  if (length != used) std::memmove(text + length, text + used, tail);
  std::memcpy(text, upper, length);
  return length;
}

}  // namespace

void StringToWords_new2(const char* text, const unsigned char*, const TStringList* stop, TStringList* out,
                        const unsigned char* actab, bool deflex, bool checkUtf8) {
  if (text == nullptr) return;
  constexpr int kLongestWhole = 4;  // characters
  indexing::WordBuffer buffer;
  std::u16string letters;
  std::string word;
  indexing::ScanWords(indexing::Alphabet(actab), text, checkUtf8, buffer,
                      [&](const indexing::ScannedWord& scanned) {
                        const bool isStemmed = deflex && scanned.chars > kLongestWhole;
                        word = isStemmed ? indexing::CutEnding(scanned.text, letters) : scanned.text;
                        if (!IsStopWord(stop, word)) out->AddObject(word, scanned.number);
                      });
}

void TextToWords2014(velor_01::TVelorSpace* space, const std::string& text, const unsigned char* actab,
                     TStringList* out) {
  out->Clear();
  indexing::WordBuffer buffer;
  std::string word;
  indexing::ScanPage(indexing::Alphabet(actab), text, buffer, [&](std::string_view scanned, int number) {
    word = scanned;
    return !IsStopWord(space->stopWords.get(), word) && out->AddObject(word, number);
  });
}

void Translate(char* text, std::size_t size, const unsigned char*) {
  if (text == nullptr) return;
  std::size_t length = strnlen(text, size);
  const std::size_t end = length < size ? 1 : 0;  // the closing zero moves with the text
  for (std::size_t at = 0; at < length;) {
    int used;
    const char32_t code = utils::ReadUtf8Char(text + at, length - at, &used);
    auto taken = static_cast<std::size_t>(used);
    if (!utils::IsIllFormed(code, used)) {
      const std::size_t before = taken;
      taken = TranslateAt(text + at, before, length - at - before + end, size - at, code);
      length = length - before + taken;
    }
    at += taken;
  }
}

void Translate(std::string& text, const unsigned char*) {
  text = utils::StringUtils::ToUpper(text);
}

char TranslateChar(char c, const unsigned char*) {
  const wchar_t upper = utils::toupperUnicode(static_cast<unsigned char>(c));
  return upper < 0x100 ? static_cast<char>(upper) : '\0';
}

std::string_view CutUtf8(std::string_view text, std::size_t limit) {
  if (text.size() <= limit) return text;
  std::size_t end = limit;
  // No further back than a character is long, for text that is none.
  while (end > 0 && limit - end < utils::kMaxUtf8Char - 1 && utils::IsUtf8Continuation(text[end])) --end;
  return text.substr(0, end);
}

void concatUtf8(std::string& text, std::size_t limit) {
  text.resize(CutUtf8(text, limit).size());
}

}  // namespace backup
