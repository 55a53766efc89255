#include "utils/code_page.h"

#include <gtest/gtest.h>

#include "utils/text_util.h"

namespace {

using backup::AnsiToUtf8;
using backup::Utf8ToAnsi;

std::string AllBytes() {
  std::string bytes;
  for (int i = 0; i < 256; ++i) bytes += static_cast<char>(i);
  return bytes;
}

TEST(CodePage, AllBytesOfCp1251SurviveUtf8) {
  const std::string utf8 = AnsiToUtf8(AllBytes());
  EXPECT_TRUE(utils::TextUtil::CheckUTF8(std::string_view(utf8).substr(1)));  // behind the zero byte
  EXPECT_EQ(Utf8ToAnsi(utf8), AllBytes());
  for (int i = 0; i < 256; ++i) {
    const std::string byte(1, static_cast<char>(i));
    EXPECT_EQ(Utf8ToAnsi(AnsiToUtf8(byte)), byte) << i;
    EXPECT_EQ(utils::UnicodeToCp1251(utils::Cp1251ToUnicode(static_cast<unsigned char>(i))), i);
  }
}

TEST(CodePage, KnownLetters) {
  EXPECT_EQ(AnsiToUtf8("\xC0\xFF\xA8\xB8"), "АяЁё");
  EXPECT_EQ(AnsiToUtf8("\x88\x96\xB9\x99"), "€–№™");
  EXPECT_EQ(AnsiToUtf8("\xB2\xB3\xBF\xAF\xA5\xB4"), "ІіїЇҐґ");
}

TEST(CodePage, RunsOfEveryLengthMeetTheFastPath) {
  for (std::size_t ascii = 0; ascii < 40; ++ascii) {
    for (std::size_t letters = 0; letters < 10; ++letters) {
      std::string ansi;
      std::string utf8;
      for (int turn = 0; turn < 3; ++turn) {
        ansi += std::string(ascii, 'x') + std::string(letters, '\xC6');
        utf8 += std::string(ascii, 'x');
        for (std::size_t i = 0; i < letters; ++i) utf8 += "Ж";
      }
      ASSERT_EQ(AnsiToUtf8(ansi), utf8) << ascii << " " << letters;
      ASSERT_EQ(Utf8ToAnsi(utf8), ansi) << ascii << " " << letters;
    }
  }
}

TEST(CodePage, LongTextsCrossTheChunks) {
  std::string ansi;
  for (int i = 0; i < 20011; ++i)
    ansi += static_cast<char>(i % 3 == 0 ? 0x85 : i % 251);  // three bytes each in UTF-8
  std::string utf8 = "old";
  std::string back = "old";
  AnsiToUtf8(ansi, utf8);
  Utf8ToAnsi(utf8, back);
  EXPECT_TRUE(back == ansi);
}

TEST(CodePage, WhatCp1251LacksBecomesAQuestionMark) {
  EXPECT_EQ(Utf8ToAnsi("a中é😀b"), "a???b");
}

TEST(CodePage, ByteOutsideUtf8StaysAsItIs) {
  EXPECT_EQ(Utf8ToAnsi("\xCA\xED\xE8\xE3\xE0"), "\xCA\xED\xE8\xE3\xE0");
  EXPECT_EQ(Utf8ToAnsi("Ж\xD0"), "\xC6\xD0");
}

TEST(CodePage, DosAndWindows) {
  std::string text = "\x80\x9F\xA0\xAF\xE0\xEF\xF0\xF1 Az";
  backup::doswinp(text.data(), text.size());
  EXPECT_EQ(text, "\xC0\xDF\xE0\xEF\xF0\xFF\xA8\xB8 Az");
  backup::windosp(text.data(), text.size());
  EXPECT_EQ(text, "\x80\x9F\xA0\xAF\xE0\xEF\xF0\xF1 Az");

  std::string lost = "\xB0\xDB\xFB";  // shade, block, square root
  backup::doswinp(lost.data(), lost.size());
  EXPECT_EQ(lost, "???");
  std::string quotes = "\xAB\x85\xFC";
  backup::windosp(quotes.data(), quotes.size());
  EXPECT_EQ(quotes, "??\xEC");
}

TEST(CodePage, ControlCharactersBecomeBlanks) {
  std::string text("a\tb\0c\x7F\x1F!", 8);
  EXPECT_TRUE(backup::ZaboyString(text));
  EXPECT_EQ(text, "a b c  !");
  std::string clean = "чистый text";
  EXPECT_FALSE(backup::ZaboyString(clean));
  EXPECT_EQ(clean, "чистый text");
}

}  // namespace
