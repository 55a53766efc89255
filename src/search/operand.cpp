#include "search/operand.h"

#include <algorithm>

#include "storage/term_format.h"
#include "utils/string_utils.h"
#include "utils/text_util.h"

namespace Tmthrd_32 {

namespace {

constexpr std::string_view kRangeMark = "[...]";

/// Where the sign of a range stands outside quotes; npos without one. Titles have it, too, for words left
/// out.
std::size_t FindRangeMark(std::string_view text) {
  bool isQuoted = false;
  for (std::size_t i = 0; i < text.size(); ++i) {
    if (text[i] == '"') isQuoted = !isQuoted;
    if (!isQuoted && text.substr(i).starts_with(kRangeMark)) return i;
  }
  return std::string_view::npos;
}

bool TakeTruncation(std::string* term) {
  if (!term->ends_with('$')) return false;
  term->pop_back();
  return true;
}

/// Cuts a term to the length of those in the dictionary. A beginning of terms loses a character that would
/// be cut in two, which no term could continue in its place.
void CutToLongest(std::string* term, bool isBeginning) {
  if (term->size() <= velor_01::kLongestTerm) return;
  std::size_t end = velor_01::kLongestTerm;
  const auto isContinuation = [&](std::size_t i) { return ((*term)[i] & 0xC0) == 0x80; };
  while (isBeginning && end > velor_01::kLongestTerm - 4 && isContinuation(end)) --end;
  term->resize(end);
}

}  // namespace

std::string FindEndQuote(std::string_view text, std::string* qualification) {
  qualification->clear();
  if (text.size() < 2 || text.front() != '"') return std::string(text);
  const std::size_t close = text.rfind('"');
  if (close == 0) return std::string(text.substr(1));

  std::string term(text.substr(1, close - 1));
  const std::string_view behind = text.substr(close + 1);
  if (behind.starts_with("/(") && behind.size() > 2) {
    *qualification = behind.substr(2, behind.size() - 3);
  } else {
    term += behind;
  }
  return term;
}

std::vector<int> ParseQualification(std::string_view text) {
  std::vector<int> tags;
  while (!text.empty()) {
    const std::size_t comma = std::min(text.find(','), text.size());
    const std::string_view number = utils::StringUtils::Trim(text.substr(0, comma));
    const int tag = utils::TextUtil::Int32ParseFast(number.data(), static_cast<int>(number.size()), 0);
    if (tag > 0) tags.push_back(tag);
    text.remove_prefix(std::min(comma + 1, text.size()));
  }
  return tags;
}

Operand BeginningOf(std::string_view text) {
  Operand operand;
  operand.term = text;
  operand.isTruncated = true;
  CutToLongest(&operand.term, true);
  return operand;
}

Operand ParseOperand(std::string_view text) {
  Operand operand;
  std::string qualification;
  if (const std::size_t mark = FindRangeMark(text); mark != std::string_view::npos) {
    operand.isRange = true;
    operand.last = FindEndQuote(text.substr(mark + kRangeMark.size()), &qualification);
    operand.tags = ParseQualification(qualification);
    operand.isLastTruncated = TakeTruncation(&operand.last);
    CutToLongest(&operand.last, operand.isLastTruncated);
    text = text.substr(0, mark);
  }
  operand.term = FindEndQuote(text, &qualification);
  if (operand.tags.empty()) operand.tags = ParseQualification(qualification);
  operand.isTruncated = TakeTruncation(&operand.term) && !operand.isRange;
  CutToLongest(&operand.term, !operand.isExact());
  return operand;
}

}  // namespace Tmthrd_32
