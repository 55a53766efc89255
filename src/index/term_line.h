#pragma once

#include <cstdint>
#include <string>
#include <string_view>

#include "utils/posting_list.h"

/// The lines of the term files of a bulk build: `.ln1` as recorded, `.lk1` sorted. Both are UTF-8, one
/// posting a line, lines end with CR LF:
///
///   catalogue          mfn tag occ pos term
///   full-text database mfn tag occ pos wordsInPiece reserved page pageWord term
///
/// The numbers are decimal, those of a catalogue without a sign, with a blank behind each; the term is the
/// rest of the line and may hold blanks. Which of the two forms a file has is not written in it: it is that
/// of the database.
namespace velora {

constexpr int kCatalogNumbers = 4;
constexpr int kFullTextNumbers = 8;

/// Numbers in a line of a database of this kind.
[[nodiscard]] constexpr int NumbersInLine(bool isFullText) {
  return isFullText ? kFullTextNumbers : kCatalogNumbers;
}

enum class LineFault {
  kNone,
  kFieldCount,  // fewer parts than the form has
  kNumber,      // not decimal, or beyond 32 bits
  kTerm,        // longer than a dictionary can hold
};

struct TermLine {
  velor_01::TifpItemPosting posting;
  std::string_view term;  // in the line
};

/// Takes a line, without its end, apart. An empty term is a missing part.
[[nodiscard]] LineFault ParseTermLine(std::string_view line, int numbers, TermLine* parsed);

/// Appends a line with its end. Line breaks in the term, which no line can hold, become blanks.
void AppendTermLine(const velor_01::TifpItemPosting& posting, int numbers, std::string_view term,
                    std::string* out);

/// Order of two lines of one term, by the texts of their numbers: of two digit strings the shorter is the
/// smaller, then the digits decide; a sign does not count. `a` and `b` lead to sound lines.
[[nodiscard]] int CompareLineNumbers(const char* a, const char* b, int numbers);

}  // namespace velora
