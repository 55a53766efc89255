#include "utils/text_util.h"

#include <gtest/gtest.h>

#include "support/temp_dir.h"

namespace {

using utils::TextUtil;

TEST(TextUtil, BomNeedsThreeBytes) {
  EXPECT_EQ(TextUtil::CheckUTF8Bom("\xEF\xBB\xBFx"), 3);
  EXPECT_EQ(TextUtil::CheckUTF8Bom("\xEF\xBB"), 0);
  EXPECT_EQ(TextUtil::CheckUTF8Bom("abc"), 0);
  EXPECT_EQ(TextUtil::CheckUTF8Bom(nullptr, 3), 0);
}

TEST(TextUtil, ReadsOneCharacter) {
  const struct {
    const char* why;
    std::string_view text;
    int code;
    int used;
    int codeCp1251;  // with ill-formed bytes read as cp1251
  } cases[] = {
      {"nothing", "", 0, 0, 0},
      {"ASCII", "ab", 'a', 1, 'a'},
      {"two bytes", "\xD0\x90z", 0x410, 2, 0x410},
      {"three bytes", "\xE2\x80\x94", 0x2014, 3, 0x2014},
      {"four bytes", "\xF0\x9F\x98\x80", 0x1F600, 4, 0x1F600},
      {"the last code point", "\xF4\x8F\xBF\xBF", 0x10FFFF, 4, 0x10FFFF},
      {"lone continuation", "\x90 ", 0x90, 1, 0x452},
      {"cut at the end", "\xD0", 0xD0, 1, 0x420},
      {"wrong second byte", "\xD0z", 0xD0, 1, 0x420},
      {"wrong third byte", "\xE2\x80z", 0xE2, 1, 0x432},
      {"wrong fourth byte", "\xF0\x9F\x98z", 0xF0, 1, 0x440},
      {"overlong of two", "\xC1\x81", 0xC1, 1, 0x411},
      {"overlong of three: second byte below A0", "\xE0\x9F\xBF", 0xE0, 1, 0x430},
      {"least of three", "\xE0\xA0\x80", 0x800, 3, 0x800},
      {"surrogate: second byte above 9F", "\xED\xA0\x80", 0xED, 1, 0x43D},
      {"last before the surrogates", "\xED\x9F\xBF", 0xD7FF, 3, 0xD7FF},
      {"overlong of four", "\xF0\x8F\xBF\xBF", 0xF0, 1, 0x440},
      {"above the last code point", "\xF4\x90\x80\x80", 0xF4, 1, 0x444},
  };
  for (const auto& c : cases) {
    SCOPED_TRACE(c.why);
    const int length = static_cast<int>(c.text.size());
    int used = -1;
    EXPECT_EQ(TextUtil::ReadCharUTF8(c.text.data(), length, &used), c.code);
    EXPECT_EQ(used, c.used);
    used = -1;
    EXPECT_EQ(TextUtil::ReadCharUTF8CP1251(c.text.data(), length, &used), c.codeCp1251);
    EXPECT_EQ(used, c.used);
  }
  int used = -1;
  EXPECT_EQ(TextUtil::ReadCharUTF8(nullptr, 4, &used), 0);
  EXPECT_EQ(used, 0);
  EXPECT_EQ(TextUtil::ReadCharCP1251("\xC0", 1, &used), 0x410);
  EXPECT_EQ(used, 1);
}

TEST(TextUtil, WideRoundTripOfEveryCharacter) {
  std::wstring all;
  for (wchar_t c = 1; c <= 0x10FFFF; ++c) {
    if (c < 0xD800 || c > 0xDFFF) all += c;
  }
  const std::string utf8 = TextUtil::ConvertToUTF8(all);
  EXPECT_TRUE(TextUtil::CheckUTF8(utf8));
  EXPECT_EQ(utf8.size(), TextUtil::GetUTF8Length(all));
  EXPECT_TRUE(TextUtil::ReadUTF8(utf8) == all);
  EXPECT_EQ(TextUtil::GetUTF16Length(utf8), all.size() + 0x100000);  // all above U+FFFF take two units
}

TEST(TextUtil, WhatIsNoCharacterIsWrittenAsTheReplacementCharacter) {
  for (const wchar_t c : {wchar_t{0xD800}, wchar_t{0x110000}, wchar_t{-1}}) {
    EXPECT_EQ(TextUtil::ConvertToUTF8(std::wstring(1, c)), "\xEF\xBF\xBD");
  }
}

TEST(TextUtil, WholeTextsInEitherEncoding) {
  EXPECT_EQ(TextUtil::ReadUTF8("a\xD0\x90"), L"a\x410");
  EXPECT_EQ(TextUtil::ReadUTF8("a\xD0\x90\xC0"), L"") << "strict";
  EXPECT_EQ(TextUtil::ReadAllText("a\xD0\x90"), L"a\x410");
  EXPECT_EQ(TextUtil::ReadAllText("\xCA\xED\xE8\xE3\xE0"), L"\x41A\x43D\x438\x433\x430");
  EXPECT_EQ(TextUtil::ReadAllTextUtf8("\xCA\xED"), "\xD0\x9A\xD0\xBD");
  EXPECT_EQ(TextUtil::ReadAllTextUtf8("\xD0\x9A"), "\xD0\x9A");
  const std::string_view zeroInside("\xD0\x9A\0\xD0", 4);
  EXPECT_EQ(TextUtil::ReadAllTextUtf8(zeroInside), std::string_view("\xD0\xA0\xD1\x99\0\xD0\xA0", 7))
      << "the text behind a zero byte counts too";

  std::wstring wide = L"old";
  TextUtil::ReadAllText(nullptr, 3, wide);
  EXPECT_EQ(wide, L"");
  TextUtil::ReadAllText("xyz", 2, wide);
  EXPECT_EQ(wide, L"xy");
}

TEST(TextUtil, FilterReplacesOnlyBytesThatBelongToNoCharacter) {
  EXPECT_EQ(TextUtil::FilterUTF8("a\xFF\xD0\x90\xE2\x80z\xD0", ' '), "a \xD0\x90  z ");
  EXPECT_EQ(TextUtil::FilterUTF8("\xED\xA0\x80", '?'), "???");
  EXPECT_EQ(TextUtil::FilterUTF8("", '?'), "");
}

TEST(TextUtil, WideCharToCP1251) {
  EXPECT_EQ(TextUtil::WideCharToCP1251(0x42F), '\xDF');
  EXPECT_EQ(TextUtil::WideCharToCP1251(0x2116), '\xB9');
  EXPECT_EQ(TextUtil::WideCharToCP1251(0x4E2D), '?');
  EXPECT_EQ(TextUtil::WideCharToCP1251(-1), '?');
}

TEST(TextUtil, FilesRoundTrip) {
  const test::TempDir dir;
  std::string data;
  for (int i = 0; i < 100000; ++i) data += static_cast<char>(i * 7);
  std::string back = "old";
  for (const std::size_t size : {std::size_t{0}, std::size_t{1}, std::size_t{4096}, data.size()}) {
    ASSERT_TRUE(TextUtil::FileWriteAllBytes(dir.File("f"), std::string_view(data).substr(0, size)));
    ASSERT_TRUE(TextUtil::FileReadAllBytes(dir.File("f"), back));
    EXPECT_TRUE(back == data.substr(0, size)) << size;
  }
}

TEST(TextUtil, FileOfUnknownSizeIsReadToItsEnd) {
  std::string status;
  ASSERT_TRUE(TextUtil::FileReadAllBytes("/proc/self/status", status));
  EXPECT_NE(status.find("Pid:"), std::string::npos);
}

TEST(TextUtil, UnreadableFilesGiveFalseAndNothing) {
  const test::TempDir dir;
  std::string out = "old";
  EXPECT_FALSE(TextUtil::FileReadAllBytes(dir.File("missing"), out));
  EXPECT_EQ(out, "");
  EXPECT_FALSE(TextUtil::FileReadAllBytes(dir.Path(), out)) << "a directory";
  EXPECT_FALSE(TextUtil::FileWriteAllBytes(dir.File("no/such/dir"), "x"));
  EXPECT_FALSE(TextUtil::FileWriteAllBytes("/dev/full", "x")) << "a full device";
}

TEST(TextUtil, ASCIIIndexOf) {
  EXPECT_EQ(TextUtil::ASCIIIndexOf("\xD0\x90=b", "="), 2);
  EXPECT_EQ(TextUtil::ASCIIIndexOf("abc", "x"), -1);
}

}  // namespace
