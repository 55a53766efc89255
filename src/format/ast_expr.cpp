#include "format/ast_expr.h"

#include <algorithm>
#include <charconv>
#include <cmath>

#include "format/ast_extension.h"
#include "format/node_support.h"
#include "format/pft_context.h"
#include "utils/string_utils.h"
#include "utils/text_util.h"
#include "utils/utf8_order.h"

namespace xpft::ast {

namespace {

bool IsSum(const PftExpr* node) {
  return node && (node->GetType() == NodeType::kNplus || node->GetType() == NodeType::kNminus);
}
bool IsProduct(const PftExpr* node) {
  return node && (node->GetType() == NodeType::kNmul || node->GetType() == NodeType::kNdiv);
}

void PrintInParentheses(IPrintContext* out, const PftExpr* node, bool needed) {
  if (needed) out->Print("(");
  PrintChild(out, node);
  if (needed) out->Print(")");
}

/// Digits that give the same value when they are read again: a whole number without a point, others with one
/// or with an exponent, so that they are not taken for an integer.
std::string NumberText(long double value) {
  if (std::isinf(value)) return "1e9999";  // beyond the range, as it was when it was read
  char digits[64];
  std::to_chars_result end{};
  if (value == std::floor(value) && value < 1e18L) {
    end = std::to_chars(digits, digits + sizeof digits, static_cast<long long>(value));
  } else if (value >= 1e-5L && value < 1e15L) {
    end = std::to_chars(digits, digits + sizeof digits, value, std::chars_format::fixed);
  } else {
    end = std::to_chars(digits, digits + sizeof digits, value, std::chars_format::scientific);
  }
  return {digits, end.ptr};
}

template <class Items>
void PrintItems(IPrintContext* out, const PftExpr* value, const Items& list) {
  PrintChild(out, value);
  out->Print(" in [");
  for (std::size_t i = 0; i < list.size(); ++i) {
    if (i > 0) out->Print(",");
    list[i]->Print(out);
  }
  out->Print("]");
}

void PrintRange(IPrintContext* out, const PftExpr* from, const PftExpr* to) {
  PrintChild(out, from);
  if (!to) return;
  out->Print("..");
  PrintChild(out, to);
}

/// A sign between blanks: "<" must not stand directly before a name with T.
void PrintRelation(IPrintContext* out, const PftExpr* left, const char* sign, const PftExpr* right) {
  PrintChild(out, left);
  out->Print(std::string(" ") + sign + " ");
  PrintChild(out, right);
}

}  // namespace

// ---- numbers ----

void FNumber::Print(IPrintContext* out) const {
  out->Print(NumberText(value_));
}

void Numinus::Print(IPrintContext* out) const {
  out->Print("-");
  const bool needed = IsSum(operand_.get()) || IsProduct(operand_.get()) ||
                      (operand_ && operand_->GetType() == NodeType::kNuminus);
  PrintInParentheses(out, operand_.get(), needed);
}
void Numinus::GetFieldTags(IPftContext* ctx, std::vector<int>& tags) const {
  AddTags(ctx, tags, operand_.get());
}
long double Numinus::GetNumVal(IPftContext* ctx) const {
  return operand_ ? -operand_->GetNumVal(ctx) : 0;
}

void BinaryNumeric::Print(IPrintContext* out) const {
  const bool isProduct = IsProduct(this);
  PrintInParentheses(out, left_.get(), isProduct && IsSum(left_.get()));
  out->Print(std::string(1, Sign()));
  PrintInParentheses(out, right_.get(), IsSum(right_.get()) || (isProduct && IsProduct(right_.get())));
}
void BinaryNumeric::GetFieldTags(IPftContext* ctx, std::vector<int>& tags) const {
  AddTags(ctx, tags, left_.get(), right_.get());
}
long double BinaryNumeric::GetNumVal(IPftContext* ctx) const {
  if (!left_ || !right_) return 0;
  const long double left = left_->GetNumVal(ctx);
  return Apply(ctx, left, right_->GetNumVal(ctx));
}

long double Ndiv::Apply(IPftContext* ctx, long double left, long double right) const {
  if (right != 0) return left / right;
  LogError(ctx, place_, "division by zero", 62);
  return left;
}

// ---- in-lists ----

bool NumRange::Contains(IPftContext* ctx, long double value) const {
  if (!from_) return false;
  const long double from = from_->GetNumVal(ctx);
  return to_ ? value >= from && value <= to_->GetNumVal(ctx) : value == from;
}
void NumRange::Print(IPrintContext* out) const {
  PrintRange(out, from_.get(), to_.get());
}
void NumRange::GetFieldTags(IPftContext* ctx, std::vector<int>& tags) const {
  AddTags(ctx, tags, from_.get(), to_.get());
}

bool StrRange::Contains(IPftContext* ctx, const std::string& value) const {
  if (!from_) return false;
  ScratchText bound(ctx);
  from_->GetStrVal(ctx, *bound);
  if (!to_) return value == *bound;
  if (value < *bound) return false;
  to_->GetStrVal(ctx, *bound);
  return value <= *bound;
}
void StrRange::Print(IPrintContext* out) const {
  PrintRange(out, from_.get(), to_.get());
}
void StrRange::GetFieldTags(IPftContext* ctx, std::vector<int>& tags) const {
  AddTags(ctx, tags, from_.get(), to_.get());
}

void Nin::Print(IPrintContext* out) const {
  PrintItems(out, value_.get(), list_);
}
void Nin::GetFieldTags(IPftContext* ctx, std::vector<int>& tags) const {
  AddTags(ctx, tags, value_.get());
  for (const Owned<NumRange>& item : list_) AddTags(ctx, tags, item.get());
}
bool Nin::GetBoolVal(IPftContext* ctx) const {
  if (!value_) return false;
  const long double value = value_->GetNumVal(ctx);
  for (const Owned<NumRange>& item : list_)
    if (item->Contains(ctx, value)) return true;
  return false;
}

void Sin::Print(IPrintContext* out) const {
  PrintItems(out, value_.get(), list_);
}
void Sin::GetFieldTags(IPftContext* ctx, std::vector<int>& tags) const {
  AddTags(ctx, tags, value_.get());
  for (const Owned<StrRange>& item : list_) AddTags(ctx, tags, item.get());
}
bool Sin::GetBoolVal(IPftContext* ctx) const {
  if (!value_) return false;
  ScratchText value(ctx);
  value_->GetStrVal(ctx, *value);
  for (const Owned<StrRange>& item : list_)
    if (item->Contains(ctx, *value)) return true;
  return false;
}

// ---- relations ----

void NumericRelation::Print(IPrintContext* out) const {
  PrintRelation(out, left_.get(), Sign(), right_.get());
}
void NumericRelation::GetFieldTags(IPftContext* ctx, std::vector<int>& tags) const {
  AddTags(ctx, tags, left_.get(), right_.get());
}
bool NumericRelation::GetBoolVal(IPftContext* ctx) const {
  if (!left_ || !right_) return false;
  const long double left = left_->GetNumVal(ctx);
  return Compare(left, right_->GetNumVal(ctx));
}

StringRelation::StringRelation(Owned<IString> left, Owned<IString> right)
    : left_(std::move(left)), right_(std::move(right)) {}
void StringRelation::Print(IPrintContext* out) const {
  PrintRelation(out, left_.get(), Sign(), right_.get());
}
void StringRelation::GetFieldTags(IPftContext* ctx, std::vector<int>& tags) const {
  AddTags(ctx, tags, left_.get(), right_.get());
}
bool StringRelation::GetBoolVal(IPftContext* ctx) const {
  if (!left_ || !right_) return false;
  ScratchText left(ctx);
  ScratchText right(ctx);
  left_->GetStrVal(ctx, *left);
  right_->GetStrVal(ctx, *right);
  return Compare(*left, *right);
}

bool Scontains::Compare(const std::string& left, const std::string& right) const {
  if (right.size() > left.size()) return false;
  if (right.empty()) return left.empty();
  using utils::StringUtils;
  using utils::TextUtil;
  const std::wstring text = StringUtils::ToUpper(TextUtil::ReadAllText(left));
  return text.find(StringUtils::ToUpper(TextUtil::ReadAllText(right))) != std::wstring::npos;
}

namespace {

constexpr std::string_view kUpperCall = "+97";

/// The arguments of an upper-casing call; null when the node is none.
const CommandList* UpperCaseArguments(const IString* node) {
  const auto* call = dynamic_cast<const ExtFunc*>(node);
  if (!call || !call->IsUnifor() || !call->GetList() || call->GetList()->GetList().empty()) return nullptr;
  const auto* literal = dynamic_cast<const UncondLiter*>(call->GetList()->GetList().front().get());
  return literal && literal->GetText().starts_with(kUpperCall) ? call->GetList() : nullptr;
}

std::string_view BehindCall(const std::string& arguments) {
  return std::string_view(arguments).substr(std::min(kUpperCall.size(), arguments.size()));
}

}  // namespace

Seq::Seq(Owned<IString> leftSide, Owned<IString> rightSide)
    : StringRelation(std::move(leftSide), std::move(rightSide)) {
  OptimizeNoCase();
}

void Seq::OptimizeNoCase() {
  leftUpper_ = UpperCaseArguments(left());
  rightUpper_ = UpperCaseArguments(right());
  if (!leftUpper_ || !rightUpper_) leftUpper_ = rightUpper_ = nullptr;
}

bool Seq::GetBoolVal(IPftContext* ctx) const {
  if (!leftUpper_) return StringRelation::GetBoolVal(ctx);
  ScratchText leftText(ctx);
  ScratchText rightText(ctx);
  ICommand::GetArguments(ctx, leftUpper_, *leftText);
  ICommand::GetArguments(ctx, rightUpper_, *rightText);
  return utils::CompareUtf8NoCase(BehindCall(*leftText), BehindCall(*rightText)) == 0;
}

// ---- logic ----

void Band::Print(IPrintContext* out) const {
  PrintInParentheses(out, left_.get(), left_ && left_->GetType() == NodeType::kBor);
  out->Print(" and ");
  PrintInParentheses(out, right_.get(),
                     right_ && (right_->GetType() == NodeType::kBor || right_->GetType() == NodeType::kBand));
}
void Band::GetFieldTags(IPftContext* ctx, std::vector<int>& tags) const {
  AddTags(ctx, tags, left_.get(), right_.get());
}
bool Band::GetBoolVal(IPftContext* ctx) const {
  return left_ && right_ && left_->GetBoolVal(ctx) && right_->GetBoolVal(ctx);
}

void Bor::Print(IPrintContext* out) const {
  PrintChild(out, left_.get());
  out->Print(" or ");
  PrintInParentheses(out, right_.get(), right_ && right_->GetType() == NodeType::kBor);
}
void Bor::GetFieldTags(IPftContext* ctx, std::vector<int>& tags) const {
  AddTags(ctx, tags, left_.get(), right_.get());
}
bool Bor::GetBoolVal(IPftContext* ctx) const {
  return left_ && right_ && (left_->GetBoolVal(ctx) || right_->GetBoolVal(ctx));
}

void Bnot::Print(IPrintContext* out) const {
  out->Print("not ");
  const NodeType type = operand_ ? operand_->GetType() : NodeType::kBfncP;
  PrintInParentheses(out, operand_.get(), type != NodeType::kBfncP && type != NodeType::kBfncA);
}
void Bnot::GetFieldTags(IPftContext* ctx, std::vector<int>& tags) const {
  AddTags(ctx, tags, operand_.get());
}
bool Bnot::GetBoolVal(IPftContext* ctx) const {
  return operand_ && !operand_->GetBoolVal(ctx);
}

}  // namespace xpft::ast
