#include "search/search18.h"

#include <algorithm>
#include <memory>
#include <vector>

#include "search/boolean_step.h"
#include "search/tokenizer.h"
#include "storage/codes.h"
#include "storage/database_mutex.h"
#include "storage/edge.h"
#include "utils/string_utils.h"
#include "utils/text_util.h"

namespace Search18 {

using Bitarr::TBitList;
using velor_01::TIntList;
using velor_01::TStringList;
using velor_01::TVelorSpace;

namespace {

constexpr int kStepFailed = -1;
constexpr int kBitsAtFirst = 40000;
constexpr int kHighestStepOp = 5;  // of an expression: words in sequence cannot be written
constexpr int kLockSeconds = 300;

using FoundSet = std::shared_ptr<const TBitList>;

/// Runs the steps of an expression in their order.
class Search {
 public:
  Search(TVelorSpace* space, const TStringList& steps) : space_(space), steps_(steps) {}

  int Run(TIntList* result) {
    FindLastUses();
    for (int i = 0; i < steps_.GetCount(); ++i)
      if (const int rc = RunStep(i); rc < 0) return rc;
    if (sets_.empty()) return velor_32::kOk;
    return BitToIntList(sets_.back().get(), result) ? velor_32::kOk : velor_32::kNoMemory;
  }

 private:
  [[nodiscard]] std::vector<std::string_view> Operands(int step) const {
    return utils::StringUtils::SplitLines(steps_.Get(step));
  }

  /// Index of the earlier step that an operand of step `step` refers to; -1 for none.
  static int UsedStep(std::string_view operand, int step) {
    const int number = tokenizer::ReferredStep(operand);
    return number <= step ? number - 1 : -1;
  }

  /// Results live until the last step that needs them: a long expression has thousands of them.
  void FindLastUses() {
    lastUse_.resize(static_cast<std::size_t>(steps_.GetCount()), -1);
    for (int i = 0; i < steps_.GetCount(); ++i)
      for (const std::string_view operand : Operands(i))
        if (const int used = UsedStep(operand, i); used >= 0) lastUse_[used] = i;
  }

  int RunStep(int i) {
    std::vector<StepOperand> operands;
    std::vector<int> finished;  // steps whose results nobody needs behind this one
    for (const std::string_view text : Operands(i)) {
      if (text.empty()) continue;
      if (!tokenizer::IsReference(text)) {
        operands.push_back({std::string(text), nullptr});
      } else if (const int used = UsedStep(text, i); used >= 0) {
        operands.push_back({"", sets_[used]});
        if (lastUse_[used] == i) finished.push_back(used);
      }
    }
    for (const int used : finished) sets_[used].reset();
    const bool isSetAlone = operands.size() == 1 && operands.front().set;
    return isSetAlone ? Keep(operands.front().set) : Evaluate(operands, steps_.GetNumObject(i));
  }

  int Evaluate(const std::vector<StepOperand>& operands, int op) {
    BooleanStep step(space_, std::min(op, kHighestStepOp), kBitsAtFirst, true);
    if (const int rc = step.Run(operands); rc < 0) return rc;
    return Keep(step.TakeFound());
  }

  int Keep(FoundSet set) {
    sets_.push_back(std::move(set));
    return velor_32::kOk;
  }

  TVelorSpace* space_;
  const TStringList& steps_;
  std::vector<int> lastUse_;    // index of a step by that of the step it refers to
  std::vector<FoundSet> sets_;  // by step; null when no later step needs it
};

int RunExpression(TVelorSpace* space, std::string expression, TIntList* result, bool reverse) {
  TStringList steps;
  tokenizer::UnpackSearchExpression(std::move(expression), &steps, 1);
  if (const int rc = Search(space, steps).Run(result); rc < 0) return rc;
  if (reverse) std::ranges::reverse(result->Items());
  return velor_32::kOk;
}

std::vector<StepOperand> ReadOperands(const TStringList& list) {
  std::vector<StepOperand> operands;
  for (const velor_01::TStringItem& item : list.Items()) {
    if (!tokenizer::IsReference(item.text)) {
      operands.push_back({item.text, nullptr});
      continue;
    }
    if (item.object == nullptr) continue;
    const auto set = std::make_shared<TBitList>(kBitsAtFirst);
    if (!IntToBitList(static_cast<const TIntList*>(item.object), set.get())) throw std::bad_alloc();
    operands.push_back({"", set});
  }
  return operands;
}

int RunOneStep(TVelorSpace* space, const TStringList& list, int op, int bits, TIntList* result,
               bool useNewTerms) {
  const bool hasReference =
      std::ranges::any_of(list.Items(), [](const auto& item) { return tokenizer::IsReference(item.text); });
  const std::vector<StepOperand> operands = ReadOperands(list);
  if (operands.empty()) return velor_32::kOk;
  // A reference that is passed over still makes a step AND NOT.
  BooleanStep step(space, hasReference ? std::min<int>(op, kAndNotOp) : op, bits, useNewTerms);
  if (const int rc = step.Run(operands); rc < 0) return rc;
  return BitToIntList(step.TakeFound().get(), result) ? velor_32::kOk : velor_32::kNoMemory;
}

}  // namespace

SearchHooks& DefaultSearchHooks() {
  static SearchHooks hooks;
  return hooks;
}

int VelorFreeVelorSearch(TVelorSpace* space, std::string expression, TIntList* result, bool lock,
                         bool reverse) {
  result->Clear();
  if (space == nullptr) return velor_32::kNoSpace;
  return velor_32::AtEdge([&]() -> int {
    const std::string text = utils::TextUtil::ReadAllTextUtf8(expression);
    if (velor_32::IsRemote(space)) {
      const auto remoteSearch = DefaultSearchHooks().remoteSearch;
      return remoteSearch ? remoteSearch(space, text, result, reverse) : velor_32::kNoRecordFiles;
    }
    const auto search = [&] { return FreeVelorSearchNew(space, text, result, reverse); };
    return lock ? velor_32::UnderDatabaseMutex(space, kLockSeconds, search) : search();
  });
}

int FreeVelorSearchNew(TVelorSpace* space, std::string expression, TIntList* result, bool reverse) {
  result->Clear();
  const int rc =
      velor_32::AtEdge([&] { return RunExpression(space, std::move(expression), result, reverse); });
  return rc < 0 ? kStepFailed : velor_32::kOk;
}

int VelorSearch_Range(TVelorSpace* space, TStringList* operands, unsigned char op, int bits, TIntList* result,
                      bool useNewTerms) {
  result->Clear();
  return velor_32::AtEdge([&] { return RunOneStep(space, *operands, op, bits, result, useNewTerms); });
}

int VelorSearch_Range(TVelorSpace* space, TStringList* operands, unsigned char op, int bits,
                      TIntList* result) {
  return VelorSearch_Range(space, operands, op, bits, result, false);
}

int VelorSearchNew(TVelorSpace* space, TStringList* operands, unsigned char op, int bits, TIntList* result) {
  return VelorSearch_Range(space, operands, op, bits, result, true);
}

}  // namespace Search18
