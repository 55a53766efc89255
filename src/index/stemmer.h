#pragma once

#include <string>
#include <string_view>

/// Endings of Russian words.
///
/// The ending is told by the last one to four letters, tested from the longest down: short lists of endings
/// say how many letters go. Two tables (stemmer_tables.h) hold what the rule would cut wrongly: word forms
/// whose last letters belong to the stem, and longer endings.
namespace backup {

/// How many letters are to be cut off the end of a word, in any case. 0 for a word of less than four letters
/// or one with a character that is neither "-" nor one of the 32 letters from А to Я; Ё is none of them.
[[nodiscard]] int FLEXMN(const std::wstring& word);

/// The same for a word in upper case; no allocation.
[[nodiscard]] int CountEndingLetters(std::u16string_view word);

}  // namespace backup
