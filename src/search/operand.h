#pragma once

#include <string>
#include <string_view>
#include <vector>

namespace Tmthrd_32 {

/// An operand of a search taken apart; tmthrd_32.h tells the forms.
struct Operand {
  std::string term;  // or the beginning of the terms, or the first of a range; at most 255 bytes
  std::string last;  // of a range, that far
  bool isTruncated = false;
  bool isRange = false;
  bool isLastTruncated = false;  // terms that begin with `last` still belong to the range
  std::vector<int> tags;         // of the qualification, above 0; without any every tag counts

  /// Whether it stands for one term of the dictionary only.
  [[nodiscard]] bool isExact() const { return !isTruncated && !isRange; }
};

/// Takes the text of an operand apart. Any text is an operand: what is not closed stands for itself.
[[nodiscard]] Operand ParseOperand(std::string_view text);

/// The operand for every term that begins with `text`, in which no character has a meaning.
[[nodiscard]] Operand BeginningOf(std::string_view text);

/// Takes the quotes off a term: `"TERM"/(200)` becomes `TERM`, and `qualification` receives `200`. A text
/// without an opening quote stays, and has no qualification.
[[nodiscard]] std::string FindEndQuote(std::string_view text, std::string* qualification);

/// The numbers above 0 of a comma list.
[[nodiscard]] std::vector<int> ParseQualification(std::string_view text);

}  // namespace Tmthrd_32
