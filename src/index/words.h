#pragma once

#include <cstddef>
#include <string>
#include <string_view>

#include "storage/velor_space.h"
#include "utils/string_list.h"

/// Words of a text, as terms are made of them; the splitting of search texts uses the same rules.
///
/// `actab` is the alphabet of the application: the ASCII character with code c belongs to words when
/// actab[c - 1] is 1. Characters outside ASCII belong to words when the process locale calls them letters.
/// The `uctab` arguments stand for the upper-case table that callers carry along; upper case is that of
/// Unicode, and the table is not looked at.
namespace backup {

/// Appends the words of a text, upper case UTF-8, each numbered by its place in the text from 1. A word of
/// the stop list is left out and keeps its number.
///   stop       sorted, upper case; may be null
///   deflex     words of more than four characters lose their ending (stemmer.h)
///   checkUtf8  a stretch between ASCII separators that is no UTF-8 counts as one word and is left out; else
///              a stray byte reads as the character of that code
void StringToWords_new2(const char* text, const unsigned char* uctab, const velor_01::TStringList* stop,
                        velor_01::TStringList* out, const unsigned char* actab, bool deflex, bool checkUtf8);

/// Replaces `out` by the words of a page, upper case UTF-8, numbered from 1. Digits belong to words too. A
/// word broken by "-" at a line end is put together. Stop words of the space take no number, the first end of
/// a sentence behind a word does. No word is stemmed. What goes beyond 100,000 words is not read.
void TextToWords2014(velor_01::TVelorSpace* space, const std::string& text, const unsigned char* actab,
                     velor_01::TStringList* out);

/// Puts a text in upper case; a byte that belongs to no UTF-8 character stays. The first form works in a
/// buffer of `size` bytes with a zero-terminated text, where a character whose other case is longer stays as
/// it is when there is no room.
void Translate(char* text, std::size_t size, const unsigned char* uctab);
void Translate(std::string& text, const unsigned char* uctab);

/// Upper case of one byte, which stands for the character of that code. 0 when that is no byte.
[[nodiscard]] char TranslateChar(char c, const unsigned char* uctab);

/// Cuts whole characters off the end until at most `limit` bytes are left.
void concatUtf8(std::string& text, std::size_t limit);
[[nodiscard]] std::string_view CutUtf8(std::string_view text, std::size_t limit);

}  // namespace backup
