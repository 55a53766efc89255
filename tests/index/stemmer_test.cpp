// Endings of words.

#include "index/stemmer.h"

#include <gtest/gtest.h>

#include "index/stemmer_tables.h"
#include "utils/text_util.h"

namespace {

int Cut(const char* word) {
  return backup::FLEXMN(utils::TextUtil::ReadUTF8(word));
}

TEST(Stemmer, LettersToCut) {
  const struct {
    const char* why;
    const char* word;
    int want;
  } cases[] = {
      {"too short", "МАЯ", 0},
      {"case does not matter", "базами", 3},
      {"a letter of no ending", "КНИГ", 0},
      {"a letter outside the alphabet", "ЕЛКАЁ", 0},
      {"a Latin letter", "КНИГАZ", 0},
      {"a digit", "КНИГА1", 0},
      {"a hyphen is no obstacle", "КИНО-ЗАЛА", 1},
      {"six letters are not tested for four", "ОЛЬЯМИ", 3},
      {"seven are", "КРЫЛЬЯМИ", 4},
      {"six letters are tested for three", "БАЗАМИ", 3},
      {"five are not", "ДОМОГО", 3},
      {"five letters, two", "БАЗОЙ", 2},
      {"four letters, one", "РОЗА", 1},
      {"only the last letter of four", "РОЗУ", 1},
      {"reflexive, and what is left is too short to go on", "МЫЛСЯ", 2},
      {"reflexive, then one", "УЧИЛСЯ", 2},
      {"reflexive, then two", "СОБИРАЮЩИЕСЯ", 4},
      {"soft ending", "ДРУЗЬЯМ", 3},
      {"word form with one letter more", "ЗООТЕХНИЙ", 1},
      {"word form that keeps its ending", "АЛЛАХ", 0},
      {"the same ending of another word", "ЛЕСАХ", 2},
      {"last word of the table", "ЯЧЕЮ", 1},
      {"first word of the table", "АБУЛИЙ", 1},
      {"word form of three letters and ЕМУ", "СУЛЕМУ", 1},
      {"long ending and ЕМУ", "ПОДСХЕМУ", 1},
      {"ЕМУ alone", "СИНЕМУ", 3},
      {"long ending in ИЙ", "ИССЛЕДОВАНИЙ", 1},
      {"ending in ИЙ", "СИНИЙ", 2},
      {"ЕВ of a word form", "НИКОЛАЕВ", 2},
      {"ЕВ", "ПОСЕВ", 2},
      {"Й of a word form of four letters", "ЯЧЕЙ", 0},
      {"Й", "УРАЙ", 1},
      {"longest word that long endings are looked up for", "АААААААААААААААААААААААААОВАНИЙ", 2},
      {"one more than that", "АААААААААААААААААААААААААРОВАНИЙ", 2},
      {"one letter less", "ААААААААААААААААААААААРОВАНИЙ", 1},
  };
  for (const auto& c : cases) {
    SCOPED_TRACE(c.why);
    EXPECT_EQ(Cut(c.word), c.want) << c.word;
  }
}

// The first and the last word of a table are as easily lost as any is not.
TEST(Stemmer, EveryWordFormIsFound) {
  int found = 0;
  for (const std::u16string_view word : flexwin::Diag_Wrd) {
    if (word.size() < 5 || word.size() > 17) continue;
    if (!word.ends_with(u"ИЙ") && !word.ends_with(u"ОЙ")) continue;
    EXPECT_EQ(backup::CountEndingLetters(word), 1) << found;
    ++found;
  }
  EXPECT_GT(found, 500);
}

}  // namespace
