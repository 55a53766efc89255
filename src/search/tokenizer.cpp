#include "search/tokenizer.h"

#include <algorithm>
#include <charconv>
#include <optional>
#include <unordered_set>
#include <vector>

#include "utils/string_utils.h"

namespace tokenizer {

using velor_01::TStringList;

namespace {

constexpr std::string_view kLineEnd = "\r\n";

/// The levels of binding, loosest first. (F) and (G) are spelled with square brackets while groups are
/// looked for.
struct Level {
  const char* opA;
  const char* opB;
  int count;
};
constexpr Level kLevels[] = {
    {"+", "???", 1}, {"*", "^", 1}, {"[G]", "???", 1}, {"[F]", "???", 1}, {" $ ", " . ", kLongestDistance},
};

std::string_view WithoutBlanks(std::string_view text) {
  const std::size_t first = text.find_first_not_of(' ');
  if (first == std::string_view::npos) return {};
  return text.substr(first, text.find_last_not_of(' ') + 1 - first);
}

/// The operator of fields or occurrences that a text begins with, in its outer spelling.
std::optional<Operator> FieldOperator(std::string_view text) {
  for (const Operator op : {kSameField, kSameOccurrence})
    if (text.starts_with(kOperators[op])) return op;
  return std::nullopt;
}

bool BeginsQualification(std::string_view text) {
  return text.starts_with("/(") && !FieldOperator(text.substr(1));
}

/// Where the quoted text or the qualification that begins at `at` ends; `at` itself when none begins there.
/// One that is not closed takes all the rest.
std::size_t BehindWhole(std::string_view text, std::size_t at) {
  const bool isQuoted = text[at] == '"';
  if (!isQuoted && !BeginsQualification(text.substr(at))) return at;
  const std::size_t end = text.find(isQuoted ? '"' : ')', at + 1);
  return end == std::string_view::npos ? text.size() : end + 1;
}

/// Finds an operator at a place of a text.
class Spelling {
 public:
  Spelling(std::string_view text, int count) : text_(text), count_(count) {}

  /// The operator that `text` has at `at`; "" for none.
  [[nodiscard]] std::string_view FindAt(std::string_view text, std::size_t at) const {
    if (text[at] != text_.front()) return {};
    if (text_.front() == ' ') return FindDistance(text, at);
    const std::string_view found = text.substr(at, text_.size());
    return found == text_ ? found : std::string_view();
  }

 private:
  [[nodiscard]] std::string_view FindDistance(std::string_view text, std::size_t at) const {
    const std::size_t end = text.find_first_not_of(text_[1], at + 1);
    if (end == std::string_view::npos || text[end] != ' ') return {};
    const std::size_t signs = end - at - 1;
    const bool isOne = signs >= 1 && signs <= static_cast<std::size_t>(count_);
    return isOne ? text.substr(at, signs + 2) : std::string_view();
  }

  std::string_view text_;
  int count_;
};

bool IsDigit(char c) {
  return c >= '0' && c <= '9';
}

/// kOperators as a list.
TStringList* OperatorTable() {
  static TStringList table;
  if (table.GetCount() == 0)
    for (const std::string_view op : kOperators) table.Add(op);
  return &table;
}

/// Compiles the expression, group by group.
class Unpacking {
 public:
  Unpacking(TStringList* steps, int firstStep)
      : operators_(OperatorTable()), steps_(steps), firstStep_(firstStep) {}

  void Run(std::string_view expression) {
    std::vector<std::string> groups(1);  // those that are open, the whole expression first
    for (std::size_t i = 0; i < expression.size();) i = TakeNext(expression, i, groups);
    while (groups.size() > 1) CloseGroup(groups);
    AddGroup(groups.front());
  }

 private:
  /// Moves what stands at `at` into the innermost group; gives the place behind it.
  std::size_t TakeNext(std::string_view expression, std::size_t at, std::vector<std::string>& groups) {
    if (const std::size_t end = BehindWhole(expression, at); end != at) {
      groups.back() += expression.substr(at, end - at);
      return end;
    }
    if (const auto op = FieldOperator(expression.substr(at))) {
      groups.back() += op == kSameField ? "[G]" : "[F]";
      return at + kOperators[*op].size();
    }
    if (expression[at] == '(') {
      groups.emplace_back();
    } else if (expression[at] == ')') {
      if (groups.size() > 1) CloseGroup(groups);
      // A digit that follows must not become part of a reference.
      if (at + 1 < expression.size() && IsDigit(expression[at + 1])) groups.back() += ' ';
    } else {
      groups.back() += expression[at];
    }
    return at + 1;
  }

  void CloseGroup(std::vector<std::string>& groups) {
    const std::string reference = AddGroup(groups.back());
    groups.pop_back();
    groups.back() += reference;
  }

  /// Adds the steps of a group; gives the reference to the last, "" for a group without operands.
  std::string AddGroup(std::string_view text) {
    const int before = steps_->GetCount();
    std::string operand = Expand(text, 0);
    if (operand.empty() || steps_->GetCount() > before) return operand;
    return Reference(Add(operand, std::string(kOperators[kOr])));
  }

  /// Adds the steps of a text in which the levels from `level` on may occur. Gives the operand that stands
  /// for it: a reference, the text itself where it has no operator, "" without operands.
  std::string Expand(std::string_view text, std::size_t level) {
    text = WithoutBlanks(text);
    if (text.empty() || level == std::size(kLevels)) return std::string(text);
    const auto& [opA, opB, count] = kLevels[level];
    // Most texts have no operator of a level: they pass without a list.
    if (text.find(opA[0]) == std::string_view::npos && text.find(opB[0]) == std::string_view::npos)
      return Expand(text, level + 1);
    TStringList operators;
    TStringList operands;
    ToTerms(&operators, &operands, std::string(text), opA, opB, count);
    for (int i = 0; i < operands.GetCount(); ++i) operands.Put(i, Expand(operands.Get(i), level + 1));
    return Join(operators, operands);
  }

  /// Adds a step for each run of operands that the same operator joins.
  std::string Join(const TStringList& operators, const TStringList& operands) {
    std::string lines;
    std::string op;  // that joins the lines; "" for a single one
    for (int i = 0; i < operands.GetCount(); ++i) {
      const std::string_view operand = operands.Get(i);
      if (operand.empty()) continue;
      if (!op.empty() && op != operators.Get(i)) {
        lines = Reference(Add(lines, op));
        op.clear();
      }
      if (!lines.empty()) {
        op = operators.Get(i);
        lines += kLineEnd;
      }
      lines += operand;
    }
    return op.empty() ? lines : Reference(Add(lines, op));
  }

  int Add(const std::string& lines, const std::string& op) {
    return AddOp(lines, op, firstStep_, operators_, steps_);
  }
  static std::string Reference(int step) { return "#" + std::to_string(step); }

  TStringList* operators_;
  TStringList* steps_;
  int firstStep_;
};

/// A term without qualification, quotes, and the marks of truncation and word forms.
std::string_view BareTerm(std::string_view operand) {
  if (operand.starts_with('"')) {
    operand.remove_prefix(1);
    operand = operand.substr(0, operand.rfind('"'));
  }
  if (operand.ends_with('$') || operand.ends_with('@')) operand.remove_suffix(1);
  return WithoutBlanks(operand);
}

/// Collects the words of steps, each once.
class WordList {
 public:
  WordList(TStringList* words, std::string& prefix, std::string& text)
      : words_(words), prefix_(prefix), text_(text) {}

  void Add(std::string_view operand) {
    if (operand.find("[...]") != std::string_view::npos) return;
    std::string_view word = BareTerm(operand);
    const std::size_t behindPrefix = word.find('=') + 1;  // 0 without one
    if (isFirst_) prefix_ = word.substr(0, behindPrefix);
    isFirst_ = false;
    word.remove_prefix(behindPrefix);
    if (word.empty() || !seen_.emplace(word).second) return;
    words_->Add(word);
    if (!text_.empty()) text_ += ' ';
    text_ += word;
  }

 private:
  TStringList* words_;
  std::string& prefix_;
  std::string& text_;
  std::unordered_set<std::string> seen_;
  bool isFirst_ = true;
};

/// The operands of step i that the answer has to contain.
std::vector<std::string> WantedOperands(const TStringList& steps, int i) {
  std::vector<std::string> operands = utils::StringUtils::Split(steps.Get(i), kLineEnd);
  if (steps.GetNumObject(i) == kAndNot && operands.size() > 1) operands.resize(1);
  return operands;
}

}  // namespace

void ToTerms(TStringList* operators, TStringList* operands, const std::string& text, const std::string& opA,
             const std::string& opB, int count) {
  const Spelling first(opA, count);
  const Spelling second(opB, count);
  const std::string_view all = text;
  std::string_view op;  // in front of the piece
  std::size_t begin = 0;
  const auto addPiece = [&](std::size_t end) {
    operators->Add(op);
    operands->Add(end > begin ? WithoutBlanks(all.substr(begin, end - begin)) : "");
  };
  for (std::size_t i = 0; i < all.size();) {
    if (const std::size_t end = BehindWhole(all, i); end != i) {
      i = end;
      continue;
    }
    std::string_view found = first.FindAt(all, i);
    if (found.empty() && opB != kNoSpelling) found = second.FindAt(all, i);
    if (found.empty()) {
      ++i;
      continue;
    }
    addPiece(i);
    op = found;
    begin = i + found.size();
    // The blank behind a distance operator may be the one in front of the next.
    i = found.front() == ' ' ? begin - 1 : begin;
  }
  addPiece(all.size());
}

int AddOp(const std::string& text, std::string op, int firstStep, TStringList* operators,
          TStringList* steps) {
  if (op == "[F]") op = kOperators[kSameOccurrence];
  if (op == "[G]") op = kOperators[kSameField];
  steps->AddObject(text, operators->IndexOf(op));
  return steps->GetCount() + firstStep - 1;
}

int ReferredStep(std::string_view operand) {
  if (!IsReference(operand)) return 0;
  int step = 0;
  const char* const end = operand.data() + operand.size();
  const auto [behind, error] = std::from_chars(operand.data() + 1, end, step);
  return error == std::errc() && behind == end ? std::max(step, 0) : 0;
}

void UnpackSearchExpression(std::string expression, TStringList* steps, int firstStep) {
  steps->Clear();
  std::ranges::replace_if(
      expression, [](char c) { return c == '\r' || c == '\n' || c == '\0'; }, ' ');
  Unpacking(steps, firstStep).Run(expression);
}

void ConvertToFullText(TStringList* words, std::string expression, std::string& prefix, std::string& text) {
  words->Clear();
  prefix.clear();
  text.clear();
  TStringList steps;
  UnpackSearchExpression(std::move(expression), &steps, 1);

  std::vector<bool> isWanted(static_cast<std::size_t>(steps.GetCount()));
  if (!isWanted.empty()) isWanted.back() = true;
  for (int i = steps.GetCount() - 1; i >= 0; --i) {
    if (!isWanted[i]) continue;
    for (const std::string& operand : WantedOperands(steps, i))
      if (const int step = ReferredStep(operand); step >= 1 && step <= i) isWanted[step - 1] = true;
  }

  WordList list(words, prefix, text);
  for (int i = 0; i < steps.GetCount(); ++i) {
    if (!isWanted[i]) continue;
    for (const std::string& operand : WantedOperands(steps, i))
      if (!IsReference(operand)) list.Add(operand);
  }
}

}  // namespace tokenizer
