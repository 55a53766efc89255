#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "utils/text_util.h"

namespace {

using utils::TextUtil;

/// The definition taken literally: decode by the lengths that the leads give, then forbid what is not
/// shortest, not a character or too large. Independent of the tables of bounds in the code under test.
bool IsWellFormed(std::string_view text) {
  if (text.starts_with("\xEF\xBB\xBF")) text.remove_prefix(3);
  for (std::size_t i = 0; i < text.size();) {
    const unsigned lead = static_cast<unsigned char>(text[i]);
    if (lead == 0) return true;
    const int length = lead < 0x80 ? 1 : lead >> 5 == 6 ? 2 : lead >> 4 == 14 ? 3 : lead >> 3 == 30 ? 4 : 0;
    if (length == 0 || i + length > text.size()) return false;

    unsigned long code = length == 1 ? lead : lead & (0x7Fu >> length);
    for (int k = 1; k < length; ++k) {
      const unsigned byte = static_cast<unsigned char>(text[i + k]);
      if (byte >> 6 != 2) return false;
      code = code << 6 | (byte & 0x3F);
    }
    const unsigned long least[] = {0, 0, 0x80, 0x800, 0x10000};
    if (code < least[length] || code > 0x10FFFF || (code >= 0xD800 && code <= 0xDFFF)) return false;
    i += length;
  }
  return true;
}

std::string Show(std::string_view text) {
  std::string shown;
  char cell[4];
  for (const char c : text) {
    std::snprintf(cell, sizeof cell, "%02X ", static_cast<unsigned char>(c));
    shown += cell;
  }
  return shown;
}

void ExpectLikeDefinition(std::string_view text) {
  ASSERT_EQ(TextUtil::CheckUTF8(text), IsWellFormed(text)) << Show(text);
}

/// One byte of every class that the rules tell apart, and the neighbours of each limit.
const std::vector<unsigned char> kBoundaryBytes = {
    0x00, 0x01, 0x41, 0x7F, 0x80, 0x81, 0x8F, 0x90, 0x9F, 0xA0, 0xBF, 0xC0, 0xC1, 0xC2, 0xCF, 0xD0,
    0xDF, 0xE0, 0xE1, 0xEC, 0xED, 0xEE, 0xEF, 0xF0, 0xF1, 0xF3, 0xF4, 0xF5, 0xF7, 0xF8, 0xFE, 0xFF};

TEST(CheckUTF8, AllShortSequences) {
  std::string text(2, '\0');
  for (int first = 0; first < 256; ++first) {
    text[0] = static_cast<char>(first);
    ExpectLikeDefinition(text.substr(0, 1));
    for (int second = 0; second < 256; ++second) {
      text[1] = static_cast<char>(second);
      ExpectLikeDefinition(text);
    }
  }
}

TEST(CheckUTF8, SequencesOfThreeAndFourBoundaryBytes) {
  std::string text(4, '\0');
  for (const unsigned char first : kBoundaryBytes) {
    text[0] = static_cast<char>(first);
    for (const unsigned char second : kBoundaryBytes) {
      text[1] = static_cast<char>(second);
      for (const unsigned char third : kBoundaryBytes) {
        text[2] = static_cast<char>(third);
        ExpectLikeDefinition(text.substr(0, 3));
        for (const unsigned char fourth : kBoundaryBytes) {
          text[3] = static_cast<char>(fourth);
          ExpectLikeDefinition(text);
        }
      }
    }
  }
}

TEST(CheckUTF8, EverySequenceAtEveryPlaceOfABlock) {
  const char* const sequences[] = {"\xD0\x90",
                                   "\xC3\xA9",
                                   "\xE2\x80\x94",
                                   "\xE0\xA0\x80",
                                   "\xED\x9F\xBF",
                                   "\xF0\x90\x80\x80",
                                   "\xF4\x8F\xBF\xBF",
                                   "\xC0\x80",
                                   "\xE0\x9F\xBF",
                                   "\xED\xA0\x80",
                                   "\xF0\x8F\xBF\xBF",
                                   "\xF4\x90\x80\x80",
                                   "\xF5\x80\x80\x80",
                                   "\xD0",
                                   "\xE2",
                                   "\xE2\x80",
                                   "\xF0",
                                   "\xF0\x90",
                                   "\xF0\x90\x80",
                                   "\x80",
                                   "\xD0\xD0\x90",
                                   "\xE2\x80\xD0\x90",
                                   "\xFF"};
  for (const char* sequence : sequences) {
    for (const char* filler : {"a", "\xD0\x96", "\xE2\x82\xAC"}) {
      for (std::size_t before = 0; before < 140; ++before) {
        std::string text;
        while (text.size() < before) text += filler;
        text += sequence;
        ExpectLikeDefinition(text);
        if (HasFatalFailure()) return;
        for (int i = 0; i < 40; ++i) text += filler;
        ExpectLikeDefinition(text);
        if (HasFatalFailure()) return;
      }
    }
  }
}

TEST(CheckUTF8, ZeroByteEndsTheCheckAtEveryPlace) {
  for (std::size_t at = 0; at < 200; ++at) {
    std::string text(at, 'x');
    text += '\0';
    text += std::string(150, '\xFF');
    EXPECT_TRUE(TextUtil::CheckUTF8(text)) << at;
    if (at > 0) text[at - 1] = '\xD0';
    EXPECT_EQ(TextUtil::CheckUTF8(text), at == 0) << at << ": the zero cuts a character";
  }
}

TEST(CheckUTF8, PreambleAndEmptyTexts) {
  EXPECT_TRUE(TextUtil::CheckUTF8(nullptr, 5));
  EXPECT_TRUE(TextUtil::CheckUTF8("", 0));
  EXPECT_TRUE(TextUtil::CheckUTF8("\xEF\xBB\xBF"));
  EXPECT_TRUE(
      TextUtil::CheckUTF8("\xEF\xBB\xBF"
                          "abc"));
  EXPECT_FALSE(TextUtil::CheckUTF8("\xEF\xBB\xBF\xBF"));
  EXPECT_FALSE(TextUtil::CheckUTF8("\xEF\xBB", 2));
}

TEST(CheckUTF8, ReadsNoByteBehindTheText) {
  const std::string text = std::string(70, 'a') + "\xD0\x90";
  EXPECT_FALSE(TextUtil::CheckUTF8(text.data(), text.size() - 1));
  EXPECT_TRUE(TextUtil::CheckUTF8(text.data(), text.size() - 2));
}

}  // namespace
