#include <algorithm>
#include <numeric>

#include "format/ast_string_functions.h"
#include "format/char_text.h"
#include "format/node_support.h"
#include "format/plain_field.h"
#include "utils/string_utils.h"
#include "utils/text_util.h"

namespace xpft::ast {

namespace {

constexpr int kMatchCase = 1;
constexpr int kIgnoreCase = 2;
constexpr int kNumeric = 3;
constexpr int kAscending = 1;
constexpr int kDescending = 2;

constexpr int kBadSort = 500;  // code of its errors

using Texts = std::vector<std::string>;

void PrintParameter(IPrintContext* out, const NumParamSpec& parameter,
                    std::initializer_list<const char*> words) {
  if (parameter.expr) {
    parameter.expr->Print(out);
  } else if (parameter.value >= 1 && parameter.value <= static_cast<int>(words.size())) {
    out->Print(words.begin()[parameter.value - 1]);
  }
  out->Print(",");
}

/// The lines of a printed list; the end of the last one makes no line of its own.
void AppendLines(std::string_view text, Texts& items) {
  while (!text.empty()) {
    const std::size_t end = std::min(text.find('\r'), text.size());
    items.emplace_back(text.substr(0, end));
    text.remove_prefix(std::min(end + 1, text.size()));
  }
}

bool HoldsPlainFieldsOnly(const CommandList& list) {
  return std::ranges::all_of(list.GetList(),
                             [](const Owned<ICommand>& command) { return FindPlainField(command.get()); });
}

/// One item for each occurrence where the list names fields, else one for each line that it prints.
Texts ReadItems(IPftContext* ctx, const CommandList& list) {
  Texts items;
  if (!ctx->GetIsRepGroupContext() && HoldsPlainFieldsOnly(list)) {
    Occurrences occurrences;
    for (const Owned<ICommand>& command : list.GetList()) {
      ReadPlainField(ctx, *FindPlainField(command.get()), occurrences);
      items.insert(items.end(), occurrences.begin(), occurrences.end());
    }
    return items;
  }
  ScratchText text(ctx);
  ICommand::GetArguments(ctx, &list, *text);
  AppendLines(*text, items);
  return items;
}

/// Places of the keys in their order. `less` compares keys; equal ones stay in the order they came in.
template <class Keys, class Less>
std::vector<std::size_t> Order(const Keys& keys, bool isDescending, Less less) {
  std::vector<std::size_t> places(keys.size());
  std::iota(places.begin(), places.end(), std::size_t{0});
  std::stable_sort(places.begin(), places.end(), [&](std::size_t a, std::size_t b) {
    return isDescending ? less(keys[b], keys[a]) : less(keys[a], keys[b]);
  });
  return places;
}

std::vector<std::size_t> OrderNumbers(const Texts& keys, bool isDescending) {
  std::vector<int> numbers;
  for (const std::string& key : keys)
    numbers.push_back(utils::TextUtil::Int32ParseFast(key.data(), static_cast<int>(key.size()), 0));
  return Order(numbers, isDescending, std::less<>());
}

/// By code points, which is the order of the bytes of well-formed texts.
std::vector<std::size_t> OrderTexts(Texts keys, bool ignoresCase, bool isDescending) {
  std::string converted;
  for (std::string& key : keys) {
    const std::string_view text = AsUtf8(key, converted);
    key = ignoresCase ? utils::StringUtils::ToUpper(text) : std::string(text);
  }
  return Order(keys, isDescending, std::less<>());
}

}  // namespace

void SfncSort::Print(IPrintContext* out) const {
  out->Print("sort(");
  PrintParameter(out, type_, {"srtcase", "srtnocase", "srtnum"});
  PrintParameter(out, direction_, {"srtasc", "srtdesc"});
  PrintListPair(out, keys_.get(), values_.get());
  out->Print(")");
}

void SfncSort::GetFieldTags(IPftContext* ctx, std::vector<int>& tags) const {
  AddTags(ctx, tags, type_.expr.get(), direction_.expr.get(), keys_.get(), values_.get());
}

void SfncSort::DoCmd(IPftContext* ctx) const {
  if (!keys_) return;
  const int type = type_.Evaluate(ctx);
  const int direction = direction_.Evaluate(ctx);
  if (type < kMatchCase || type > kNumeric) {
    LogError(ctx, place_, "sortType value incorrect: " + std::to_string(type), kBadSort);
    return;
  }
  if (direction != kAscending && direction != kDescending) {
    LogError(ctx, place_, "sortDirection value incorrect: " + std::to_string(direction), kBadSort);
    return;
  }

  const Texts keys = ReadItems(ctx, *keys_);
  const Texts values = values_ ? ReadItems(ctx, *values_) : keys;
  if (keys.size() != values.size()) {
    LogError(ctx, place_, "Array sizes are inconsistent", kBadSort);
    return;
  }
  const bool isDescending = direction == kDescending;
  const std::vector<std::size_t> places = type == kNumeric
                                              ? OrderNumbers(keys, isDescending)
                                              : OrderTexts(keys, type == kIgnoreCase, isDescending);
  for (std::size_t i = 0; i < places.size(); ++i) {
    if (i > 0) ctx->UnconditionalBlankLine();
    ctx->Print(values[places[i]]);
  }
}

}  // namespace xpft::ast
