#include "index/stemmer.h"

#include <algorithm>
#include <cstddef>
#include <span>

#include "index/stemmer_tables.h"
#include "utils/case_table.h"

namespace {

using Word = std::u16string_view;

constexpr std::size_t kShortestWord = 4;  // letters
constexpr int kGoOn = -1;                 // the ending is of no list, a shorter one is to be tried

constexpr Word kFour[] = {u"ЬЕГО", u"ЬЯМИ", u"ЬЕМУ", u"ЬИМИ"};

constexpr Word kThree[] = {u"ЫМИ", u"УМЯ", u"ЬМЯ", u"ЬЕЙ", u"ЬЯХ", u"ЬЯМ", u"ЬИМ"};
constexpr Word kThreeOrOne[] = {u"ОГО", u"АМИ", u"ЕГО", u"ЯМИ", u"ИМИ", u"ОМУ", u"ЕМЯ", u"ЕМУ", u"ЕМИ"};
constexpr Word kThreeOrNone[] = {u"ЬЕВ", u"ЬЕМ", u"ЬИХ"};

constexpr Word kTwo[] = {u"ЬЮ", u"ЬЕ", u"ЬЯ", u"ЬИ", u"ЮЮ"};
constexpr Word kTwoOrOne[] = {u"ИЕ", u"ОЙ", u"ЫЕ", u"ИЙ", u"АЯ", u"ЕЙ", u"ОЕ",
                              u"ЫЙ", u"ЕЕ", u"УЮ", u"ЯЯ", u"ОЮ", u"ЕЮ"};
constexpr Word kTwoByEnding[] = {u"ИЕ", u"ИЙ", u"ЕЕ"};
constexpr Word kTwoOrNone[] = {u"ЫХ", u"ОВ", u"ОМ", u"ИХ", u"ЕМ", u"АХ", u"ЫМ", u"ЯХ",
                               u"ИМ", u"АМ", u"ЯМ", u"УХ", u"ЕВ", u"ЕХ", u"УМ"};

constexpr Word kOne = u"ИЯЕАЙОЫЬЮУ";

bool IsIn(std::span<const Word> list, Word ending) {
  return std::ranges::find(list, ending) != list.end();
}

bool IsWordForm(Word word) {
  return std::ranges::binary_search(flexwin::Diag_Wrd, word);
}

/// True when the word ends in one of the longer endings.
bool HasLongEnding(Word word) {
  constexpr std::size_t kLongestWord = 30;
  constexpr std::size_t kLongestEnding = 10;
  constexpr std::size_t kShortestEnding = 3;
  if (word.size() > kLongestWord) return false;
  for (std::size_t length = std::min(word.size(), kLongestEnding); length >= kShortestEnding; --length)
    if (std::ranges::binary_search(flexwin::Diag_Flx, word.substr(word.size() - length))) return true;
  return false;
}

// The four steps give the letters to cut, or kGoOn. Each gets a word that is longer than its ending.

int CutFour(Word word) {
  const Word ending = word.substr(word.size() - 4);
  if (!IsIn(kFour, ending)) return kGoOn;
  return ending == u"ЬЕМУ" && IsWordForm(word) ? 1 : 4;
}

int CutThree(Word word) {
  const Word ending = word.substr(word.size() - 3);
  if (IsIn(kThree, ending)) return 3;
  if (IsIn(kThreeOrOne, ending)) {
    if (IsWordForm(word)) return 1;
    return ending == u"ЕМУ" && HasLongEnding(word) ? 1 : 3;
  }
  if (IsIn(kThreeOrNone, ending)) return IsWordForm(word) ? 0 : 3;
  return kGoOn;
}

int CutTwo(Word word) {
  const Word ending = word.substr(word.size() - 2);
  if (IsIn(kTwo, ending)) return 2;
  if (IsIn(kTwoOrOne, ending)) {
    if (IsWordForm(word)) return 1;
    return IsIn(kTwoByEnding, ending) && HasLongEnding(word) ? 1 : 2;
  }
  if (!IsIn(kTwoOrNone, ending)) return kGoOn;
  if (!IsWordForm(word)) return 2;
  return ending != u"ЕВ" || HasLongEnding(word) ? 0 : 2;
}

int CutOne(Word word) {
  const char16_t ending = word.back();
  if (kOne.find(ending) == Word::npos) return 0;
  return ending == u'Й' && IsWordForm(word) ? 0 : 1;
}

struct Step {
  std::size_t shortestWord;  // for which the step is taken, in letters
  int (*cut)(Word word);
};
constexpr Step kSteps[] = {{7, CutFour}, {6, CutThree}, {5, CutTwo}, {4, CutOne}};

bool IsRussian(char16_t c) {
  return c == u'-' || (c >= u'А' && c <= u'Я');
}

}  // namespace

namespace backup {

int CountEndingLetters(Word word) {
  constexpr Word kReflexive = u"СЯ";
  if (word.size() < kShortestWord || !std::ranges::all_of(word, IsRussian)) return 0;

  int cut = 0;
  if (word.ends_with(kReflexive)) {
    cut = static_cast<int>(kReflexive.size());
    word.remove_suffix(kReflexive.size());
  }
  for (const Step& step : kSteps) {
    if (word.size() < step.shortestWord) continue;
    if (const int letters = step.cut(word); letters != kGoOn) return cut + letters;
  }
  return cut;
}

int FLEXMN(const std::wstring& word) {
  std::u16string upper;
  upper.reserve(word.size());
  for (const wchar_t c : word) {
    const wchar_t letter = utils::toupperUnicode(c);
    if (letter < 0 || letter > 0xFFFF) return 0;
    upper.push_back(static_cast<char16_t>(letter));
  }
  return CountEndingLetters(upper);
}

}  // namespace backup
