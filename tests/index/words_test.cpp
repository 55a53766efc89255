// Words of a text, and upper case.

#include "index/words.h"

#include <gtest/gtest.h>

#include "support/index_space.h"
#include "utils/case_table.h"

namespace {

using velor_01::TStringList;

std::string Numbered(const TStringList& list) {
  std::string all;
  for (const auto& item : list.Items()) {
    if (!all.empty()) all += ' ';
    all += std::string(item.text) + ":" + std::to_string(item.numObject);
  }
  return all;
}

/// A split text and its words, with the stop words ДА, THE and БАЗ.
class WordsTest : public testing::Test, public test::IndexSpace {
 protected:
  WordsTest() {
    for (const char* word : {"THE", "БАЗ", "ДА"}) space()->stopWords->Add(word);
  }
  std::string Words(const std::string& text, bool deflex = false, bool checkUtf8 = true) {
    TStringList words;
    backup::StringToWords_new2(text.c_str(), space()->uctab, space()->stopWords.get(), &words, space()->actab,
                               deflex, checkUtf8);
    return Numbered(words);
  }
  std::string PageWords(const std::string& text) {
    TStringList words;
    words.Add("left over");
    backup::TextToWords2014(space(), text, space()->actab, &words);
    return Numbered(words);
  }
};

TEST_F(WordsTest, ByTheAlphabet) {
  const struct {
    const char* why;
    const char* text;
    const char* want;
  } cases[] = {
      {"nothing", "", ""},
      {"separators only", " ,;1 «»—", ""},
      {"two words of one candidate", "Книга-альбом", "КНИГА:1 АЛЬБОМ:2"},
      {"a stop word keeps its number", "да-альбом, the end", "АЛЬБОМ:2 END:4"},
      {"digits are separators", "ABC123def", "ABC:1 DEF:2"},
      {"separators outside ASCII", "«один»два—три", "ОДИН:1 ДВА:2 ТРИ:3"},
      {"letters of other scripts", "Ёж straße ψυχή 日本", "ЁЖ:1 STRAßE:2 ΨΥΧΉ:3 日本:4"},
      {"upper case that is longer", "\u0250\u0250", "\u2C6F\u2C6F:1"},
      {"a character beyond the basic plane", "a\U0001F600b \U00010428", "A:1 B:2 \U00010400:3"},
      {"a broken stretch counts as one word", "one «\xD0» two", "ONE:1 TWO:3"},
      {"and takes its neighbours with it", "one a«b\xFF two", "ONE:1 TWO:3"},
      {"byte-order mark", "\uFEFFword", "WORD:1"},
  };
  for (const auto& c : cases) {
    SCOPED_TRACE(c.why);
    EXPECT_EQ(Words(c.text), c.want);
  }
  EXPECT_EQ(Words("a\xE0 b", false, false), "AÀ:1 B:2") << "a stray byte is the character of its code";
}

TEST_F(WordsTest, OtherAlphabet) {
  space()->actab['-' - 1] = 1;
  space()->actab['1' - 1] = 1;
  space()->actab['z' - 1] = 0;
  EXPECT_EQ(Words("kino-1 zoo"), "KINO-1:1 OO:2");
  EXPECT_EQ(PageWords("kino-1 zoo"), "KINO-1:1 ZOO:2");
}

TEST_F(WordsTest, Stems) {
  EXPECT_EQ(Words("базами база учился", true), "БАЗА:2 УЧИЛ:3") << "the stem is the stop word БАЗ";
  EXPECT_EQ(Words("базами база", false), "БАЗАМИ:1 БАЗА:2");
}

TEST_F(WordsTest, OfAPage) {
  const struct {
    const char* why;
    std::string text;
    const char* want;
  } cases[] = {
      {"nothing", "", ""},
      {"digits belong to words", "ABC123 4", "ABC123:1 4:2"},
      {"a hyphen separates", "книга-альбом", "КНИГА:1 АЛЬБОМ:2"},
      {"a word broken at a line end", "ab-\r\n  cd", "ABCD:1"},
      {"over what is no letter", "ab-\n(.) cd", "ABCD:1"},
      {"broken at the end of the text", "ab-\n ", "AB:1"},
      {"a stop word takes no number", "one the two", "ONE:1 TWO:2"},
      {"the end of a sentence does", "Один. Два! Три", "ОДИН:1 ДВА:3 ТРИ:5"},
      {"once before the next word", "Один... Два", "ОДИН:1 ДВА:3"},
      {"a stop word does not end the gap", "Один. Да. Два", "ОДИН:1 ДВА:3"},
      {"before the first word, too", "Да. Нет", "НЕТ:2"},
      {"a broken word takes none", "one t\xD0wo three", "ONE:1 THREE:2"},
  };
  for (const auto& c : cases) {
    SCOPED_TRACE(c.why);
    EXPECT_EQ(PageWords(c.text), c.want);
  }
}

TEST_F(WordsTest, APageIsReadUpToItsLimit) {
  TStringList words;
  backup::TextToWords2014(space(), test::Repeat("a ", 100'002), space()->actab, &words);
  EXPECT_EQ(words.GetCount(), 100'000);
}

TEST(Translate, InABuffer) {
  const struct {
    const char* why;
    std::string text;
    std::size_t size;
    const char* want;
  } cases[] = {
      {"ASCII and Cyrillic", "abЯя", 10, "ABЯЯ"},
      {"longer, with room", "\u0250b", 8, "\u2C6FB"},
      {"longer, with room to the byte", "\u0250b", 5, "\u2C6FB"},
      {"longer, without room", "\u0250b", 4, "\u0250B"},
      {"shorter", "\u0131b", 4, "IB"},
      {"no UTF-8", "a\xE0\xD0", 4, "A\xE0\xD0"},
  };
  for (const auto& c : cases) {
    SCOPED_TRACE(c.why);
    char buffer[16] = {};
    std::memcpy(buffer, c.text.data(), c.text.size());
    std::memset(buffer + c.size, '#', sizeof buffer - c.size);
    backup::Translate(buffer, c.size, nullptr);
    EXPECT_STREQ(buffer, c.want);
    EXPECT_EQ(buffer[c.size], '#');
  }
}

TEST(Translate, OneByte) {
  EXPECT_EQ(backup::TranslateChar('\0', nullptr), '\0');
  EXPECT_EQ(backup::TranslateChar('z', nullptr), 'Z');
  EXPECT_EQ(backup::TranslateChar('\xE0', nullptr), '\xC0');
  EXPECT_EQ(backup::TranslateChar('\xFF', nullptr), '\0') << "the capital is no byte";
}

// Terms are put in upper case a second time by whoever looks them up.
TEST(Translate, IsDoneAtOnce) {
  for (wchar_t c = 0; c < 0x20000; ++c) {
    const wchar_t upper = utils::toupperUnicode(c);
    ASSERT_EQ(utils::toupperUnicode(upper), upper) << std::hex << static_cast<unsigned>(c);
  }
}

TEST(CutUtf8, AtACharacter) {
  const struct {
    std::string text;
    std::size_t limit;
    const char* want;
  } cases[] = {
      {"abc", 3, "abc"},
      {"abc", 2, "ab"},
      {"жж", 3, "ж"},
      {"жж", 1, ""},
      {"日本", 5, "日"},
      {"aжb", 2, "a"},
      {"a\x80\x80\x80\x80\x80", 5, "a\x80"},
  };
  for (const auto& c : cases) {
    std::string text = c.text;
    backup::concatUtf8(text, c.limit);
    EXPECT_EQ(text, c.want) << c.text;
  }
}

}  // namespace
