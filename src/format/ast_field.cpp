#include "format/ast_field.h"

#include <algorithm>
#include <cmath>
#include <cstdint>
#include <limits>

#include "format/ast_expr.h"
#include "format/extended_number_cast.h"
#include "format/node_support.h"
#include "format/pft_context.h"
#include "format/string_fragment.h"

namespace xpft::ast {

namespace {

/// A number of an occurrence; all numbers below the first one count as 0.
int Bound(IPftContext* ctx, const INumeric* expr) {
  return expr ? std::max(ToInt32(expr->GetNumVal(ctx)), 0) : 0;
}

/// Whether the text of an expression begins with a number that is none behind a bracket, where a point is a
/// token of its own and digits are a short number.
bool BeginsWithOtherNumber(const INumeric* expr) {
  while (const auto* const chain = dynamic_cast<const BinaryNumeric*>(expr)) expr = chain->GetLeft();
  if (expr == nullptr || expr->GetType() != NodeType::kFNumber) return false;
  const long double value = expr->GetNumVal(nullptr);
  return value > std::numeric_limits<std::int32_t>::max() || value != std::floor(value);
}

void PrintBound(IPrintContext* out, const INumeric* expr, bool isLast) {
  if (isLast) return out->Print("last");
  const bool needed = BeginsWithOtherNumber(expr);
  if (needed) out->Print("(");
  PrintChild(out, expr);
  if (needed) out->Print(")");
}

/// A group around one test, so that the test sees single occurrences. Only where there is no group yet.
class PrivateGroup {
 public:
  explicit PrivateGroup(IPftContext* ctx) : ctx_(ctx) {
    ctx_->BeginRepGroup();
    ctx_->SetPrivateGroup(true);
    ctx_->StartRepGroup();
  }
  ~PrivateGroup() { ctx_->EndRepGroup(); }
  PrivateGroup(const PrivateGroup&) = delete;
  PrivateGroup& operator=(const PrivateGroup&) = delete;

 private:
  IPftContext* ctx_;
};

}  // namespace

// ---- what narrows a field ----

FieldBounds FieldRepeat::Evaluate(IPftContext* ctx) const {
  FieldBounds bounds;
  bounds.isGiven = true;
  bounds.fromLast = fromLast_;
  bounds.from = Bound(ctx, from_.get());
  bounds.toLast = hasTo_ ? toLast_ : fromLast_;
  bounds.to = hasTo_ ? Bound(ctx, to_.get()) : bounds.from;
  return bounds;
}

void FieldRepeat::Print(IPrintContext* out) const {
  out->Print("[");
  PrintBound(out, from_.get(), fromLast_);
  if (hasTo_) {
    out->Print("..");
    PrintBound(out, to_.get(), toLast_);
  }
  out->Print("]");
}

void FieldRepeat::GetFieldTags(IPftContext* ctx, std::vector<int>& tags) const {
  AddTags(ctx, tags, from_.get(), to_.get());
}

void FieldFragment::Print(IPrintContext* out) const {
  if (offset_ > 0) out->Print("*" + std::to_string(offset_));
  if (length_ > 0) out->Print("." + std::to_string(length_));
}

void FieldIndent::Print(IPrintContext* out) const {
  out->Print("(" + std::to_string(first_) + "," + std::to_string(next_) + ")");
}

void SubfieldCmd::Print(IPrintContext* out) const {
  out->Print(std::string("^") + code_);
  PrintChild(out, repeat_.get());
}

void SubfieldCmd::GetFieldTags(IPftContext* ctx, std::vector<int>& tags) const {
  AddTags(ctx, tags, repeat_.get());
}

// ---- selections ----

void FieldSelect::Print(IPrintContext* out) const {
  out->Print("v" + std::to_string(tag_));
}

void FieldSelect::GetFieldTags(IPftContext*, std::vector<int>& tags) const {
  tags.push_back(tag_);
}

bool FieldSelect::ExistsField(IPftContext* ctx, const FieldRepeat* repeat, const SubfieldCmd* subfield,
                              const FieldFragment* fragment, bool hasRepeat, bool includeEmpty) const {
  if (tag_ == 0) return ctx->ExistsRecord();
  return ctx->ExistsField(tag_, repeat, subfield, fragment, hasRepeat, includeEmpty);
}

void FieldSelect::GetValues(IPftContext* ctx, const FieldRepeat* repeat, const SubfieldCmd* subfield,
                            const FieldFragment* fragment, FieldSelectValues& list, bool includeEmpty) const {
  if (tag_ == 0) {
    ctx->GetRecord(list);
  } else {
    ctx->GetValues(tag_, repeat, subfield, fragment, list, includeEmpty);
  }
}

int FieldSelect::GetRepeatCount(IPftContext* ctx, const FieldRepeat* repeat, const SubfieldCmd* subfield,
                                const FieldFragment* fragment, bool includeEmpty) const {
  if (tag_ == 0) return ctx->GetFieldCount();
  return ctx->GetRepeatCount(tag_, repeat, subfield, fragment, includeEmpty);
}

void GVarSelect::Print(IPrintContext* out) const {
  out->Print("g" + std::to_string(tag_));
}

bool GVarSelect::ExistsField(IPftContext* ctx, const FieldRepeat* repeat, const SubfieldCmd* subfield,
                             const FieldFragment* fragment, bool hasRepeat, bool includeEmpty) const {
  if (tag_ == 0) return ctx->ExistsGlobalVar();
  return ctx->ExistsGlobalVar(tag_, repeat, subfield, fragment, hasRepeat, includeEmpty);
}

void GVarSelect::GetValues(IPftContext* ctx, const FieldRepeat* repeat, const SubfieldCmd* subfield,
                           const FieldFragment* fragment, FieldSelectValues& list, bool includeEmpty) const {
  if (tag_ == 0) {
    ctx->GetGlobalVar(list);
  } else {
    ctx->GetGlobalVarValues(tag_, repeat, subfield, fragment, list, includeEmpty);
  }
}

int GVarSelect::GetRepeatCount(IPftContext* ctx, const FieldRepeat* repeat, const SubfieldCmd* subfield,
                               const FieldFragment* fragment, bool includeEmpty) const {
  return ctx->GetGlobalVarRepeatCount(tag_, repeat, subfield, fragment, includeEmpty);
}

void DummySelect::Print(IPrintContext* out) const {
  out->Print("d" + std::to_string(GetTag()));
}

void DummySelect::GetValues(IPftContext* ctx, const FieldRepeat* repeat, const SubfieldCmd* subfield,
                            const FieldFragment* fragment, FieldSelectValues& list, bool includeEmpty) const {
  const std::size_t first = list.size();
  FieldSelect::GetValues(ctx, repeat, subfield, fragment, list, includeEmpty);
  for (std::size_t i = first; i < list.size(); ++i) list[i].SetView({});
}

void DummyNotSelect::Print(IPrintContext* out) const {
  out->Print("n" + std::to_string(GetTag()));
}

bool DummyNotSelect::ExistsField(IPftContext* ctx, const FieldRepeat* repeat, const SubfieldCmd* subfield,
                                 const FieldFragment* fragment, bool hasRepeat, bool includeEmpty) const {
  return !FieldSelect::ExistsField(ctx, repeat, subfield, fragment, hasRepeat, includeEmpty);
}

void DummyNotSelect::GetValues(IPftContext* ctx, const FieldRepeat* repeat, const SubfieldCmd* subfield,
                               const FieldFragment* fragment, FieldSelectValues& list,
                               bool includeEmpty) const {
  if (ExistsField(ctx, repeat, subfield, fragment, repeat != nullptr, includeEmpty)) list.Add().Exists = true;
}

int DummyNotSelect::GetRepeatCount(IPftContext* ctx, const FieldRepeat* repeat, const SubfieldCmd* subfield,
                                   const FieldFragment* fragment, bool includeEmpty) const {
  return ExistsField(ctx, repeat, subfield, fragment, repeat != nullptr, includeEmpty) ? 1 : 0;
}

// ---- Field ----

Field::Field(Owned<ISelect> select, Owned<FieldRepeat> repeat, Owned<SubfieldCmd> subfield,
             Owned<FieldFragment> fragment, Owned<FieldIndent> indent, Owned<RepLiter> prefix,
             Owned<RepLiter> suffix)
    : select_(std::move(select)),
      repeat_(std::move(repeat)),
      subfield_(std::move(subfield)),
      fragment_(std::move(fragment)),
      indent_(std::move(indent)),
      prefix_(std::move(prefix)),
      suffix_(std::move(suffix)),
      isDummy_(select_ && (select_->GetType() == NodeType::kDummySelect ||
                           select_->GetType() == NodeType::kDummyNotSelect)) {}

bool Field::IsPlain() const {
  return select_ && !isDummy_ && !repeat_ && !subfield_ && !fragment_ && !indent_ && !prefix_ && !suffix_;
}

bool Field::Exists(IPftContext* ctx, bool includeEmpty) const {
  return select_ && select_->ExistsField(ctx, repeat_.get(), subfield_.get(), fragment_.get(),
                                         repeat_ != nullptr, includeEmpty);
}

void Field::Print(IPrintContext* out) const {
  PrintChild(out, prefix_.get());
  if (prefix_ && prefix_->TreatSpecial()) out->Print("+");
  PrintChild(out, select_.get());
  PrintChild(out, repeat_.get());
  PrintChild(out, subfield_.get());
  PrintChild(out, fragment_.get());
  PrintChild(out, indent_.get());
  if (suffix_ && suffix_->TreatSpecial()) out->Print("+");
  PrintChild(out, suffix_.get());
}

void Field::GetFieldTags(IPftContext* ctx, std::vector<int>& tags) const {
  AddTags(ctx, tags, select_.get(), repeat_.get(), subfield_.get());
}

void Field::DoCmd(IPftContext* ctx) const {
  if (!select_) return;
  ScratchValues values(ctx);
  select_->GetValues(ctx, repeat_.get(), subfield_.get(), fragment_.get(), *values, repeat_ != nullptr);
  const std::size_t size = (*values).size();
  if (size == 0) return;
  ctx->SetFieldIndent(indent_.get());
  const int mode = ctx->GetModeType();
  const bool countsPasses = suffix_ && suffix_->TreatSpecial() && ctx->GetIsRepGroupContext();
  const int count = countsPasses ? select_->GetRepeatCount(ctx, nullptr, nullptr, nullptr, false) : 0;
  for (std::size_t i = 0; i < size; ++i) {
    FieldSelectValue& value = (*values)[i];
    if (prefix_ && IsPrefixDue(ctx, value)) prefix_->DoCmd(ctx);
    if (!isDummy_) PrintValue(ctx, value, mode);
    if (suffix_ && IsSuffixDue(ctx, i + 1 == size, count)) suffix_->DoCmd(ctx);
  }
  ctx->SetFieldIndent(nullptr);
}

void Field::PrintValue(IPftContext* ctx, FieldSelectValue& value, int mode) const {
  if (mode != 'p') ReplaceValue(value.Own(), true);
  if (mode == 'd' && !suffix_) {
    std::string& text = value.Own();
    const bool endsSentence =
        !text.empty() && std::string_view(" ,:;!.?").find(text.back()) != std::string_view::npos;
    text += endsSentence ? "  " : ".  ";
  }
  ctx->Print(value.text());
}

bool Field::IsPrefixDue(IPftContext* ctx, const FieldSelectValue& value) const {
  if (!prefix_->TreatSpecial()) return true;
  return ctx->GetIsRepGroupContext() ? ctx->GetCurrentOccurrence() >= 1 : value.occurrence != 0;
}

bool Field::IsSuffixDue(IPftContext* ctx, bool isLastValue, int count) const {
  if (!suffix_->TreatSpecial()) return true;
  return ctx->GetIsRepGroupContext() ? ctx->GetCurrentOccurrence() < count - 1 : !isLastValue;
}

// ---- conditional literals ----

CondCmdGroup::CondCmdGroup(Owned<Field> field, Owned<ICommand> prefix, Owned<ICommand> suffix,
                           Owned<CommandList> commands)
    : field_(std::move(field)),
      prefix_(std::move(prefix)),
      suffix_(std::move(suffix)),
      commands_(std::move(commands)) {}

/// No commas: one would end the group.
void CondCmdGroup::Print(IPrintContext* out) const {
  PrintChild(out, prefix_.get());
  if (commands_)
    for (const Owned<ICommand>& command : commands_->GetList()) {
      out->Print(" ");
      command->Print(out);
    }
  if (commands_) out->Print(" ");
  PrintChild(out, field_.get());
  PrintChild(out, suffix_.get());
}

void CondCmdGroup::GetFieldTags(IPftContext* ctx, std::vector<int>& tags) const {
  AddTags(ctx, tags, commands_.get(), field_.get());
}

void CondCmdGroup::DoCmd(IPftContext* ctx) const {
  if (!field_ || !field_->GetSelect()) return;
  if (!prefix_ && !suffix_) {
    field_->DoCmd(ctx);
    return;
  }
  const Due due = FindDue(ctx);
  if (due.prefix) {
    prefix_->DoCmd(ctx);
    if (commands_) commands_->DoCmd(ctx);
  }
  field_->DoCmd(ctx);
  if (due.suffix) suffix_->DoCmd(ctx);
}

CondCmdGroup::Due CondCmdGroup::FindDue(IPftContext* ctx) const {
  if (ctx->GetIsRepGroupContext()) return FindDueInGroup(ctx);
  if (!field_->GetRepeat()) return FindDueInPrivateGroup(ctx);
  const bool exists = field_->Exists(ctx, false);
  return {prefix_ && exists, suffix_ && exists};
}

/// The prefix belongs to the first pass, the suffix to the last.
CondCmdGroup::Due CondCmdGroup::FindDueInGroup(IPftContext* ctx) const {
  const bool exists = field_->Exists(ctx, false);
  const int pass = ctx->GetStringOccurrence();
  return {prefix_ && exists && pass < 2, suffix_ && exists && pass >= ctx->GetRepGrpMaxOccNumber() - 1};
}

/// Looks at the first occurrence for the prefix and at the last one for the suffix.
CondCmdGroup::Due CondCmdGroup::FindDueInPrivateGroup(IPftContext* ctx) const {
  const PrivateGroup group(ctx);
  const int count = field_->GetSelect()->GetRepeatCount(ctx, nullptr, nullptr, nullptr, false);
  const bool existsFirst = field_->Exists(ctx, false);
  if (count == 1) return {prefix_ && existsFirst, suffix_ && existsFirst};
  for (int pass = 1; pass < count; ++pass) ctx->NextRepGroup();
  return {prefix_ && existsFirst, suffix_ && field_->Exists(ctx, false)};
}

// ---- SubString ----

/// A fragment directly behind a field is the field's own, and behind a fragment there is no other.
void SubString::Print(IPrintContext* out) const {
  const bool needed =
      text_ && (text_->GetType() == NodeType::kField || text_->GetType() == NodeType::kSubString);
  if (needed) out->Print("(");
  PrintChild(out, text_.get());
  if (needed) out->Print(")");
  PrintChild(out, fragment_.get());
}

void SubString::GetFieldTags(IPftContext* ctx, std::vector<int>& tags) const {
  AddTags(ctx, tags, text_.get());
}

void SubString::DoCmd(IPftContext* ctx) const {
  ScratchText result(ctx);
  GetStrVal(ctx, *result);
  ctx->Print(*result);
}

void SubString::GetStrVal(IPftContext* ctx, std::string& out) const {
  out.clear();
  if (!text_ || !fragment_) return;
  ScratchText text(ctx);
  text_->GetStrVal(ctx, *text);
  GetStringFragment(*text, *fragment_, out);
}

// ---- presence ----

BfncP::BfncP(Owned<Field> field, bool notPlus) : field_(std::move(field)), notPlus_(notPlus) {}
BfncP::~BfncP() = default;

void BfncP::PrintCall(IPrintContext* out, const char* name) const {
  out->Print(std::string(name) + (notPlus_ ? "(" : "(+"));
  PrintChild(out, field_.get());
  out->Print(")");
}

void BfncP::Print(IPrintContext* out) const {
  PrintCall(out, "p");
}

void BfncP::GetFieldTags(IPftContext* ctx, std::vector<int>& tags) const {
  AddTags(ctx, tags, field_.get());
}

bool BfncP::GetBoolVal(IPftContext* ctx) const {
  if (!field_) return false;
  if (!notPlus_ || ctx->GetIsRepGroupContext() || field_->GetRepeat()) return field_->Exists(ctx, false);
  const PrivateGroup group(ctx);
  return field_->Exists(ctx, true);
}

void BfncA::Print(IPrintContext* out) const {
  PrintCall(out, "a");
}

bool BfncA::GetBoolVal(IPftContext* ctx) const {
  return !BfncP::GetBoolVal(ctx);
}

// ---- the rewrite of the heading and data modes ----

namespace {

/// Text in place of "^" and a code inside a field.
const char* MarkText(char code) {
  const char c = static_cast<char>(code | 0x20);
  if (c == 'a') return "; ";
  return c >= 'b' && c <= 'i' ? ", " : ". ";
}

}  // namespace

void ReplaceValue(std::string& text, bool subfields) {
  if (text.find_first_of(subfields ? "<>^" : "<>") == std::string::npos) return;
  const std::size_t lastClose = text.rfind('>');
  std::string out;
  bool inAngle = false;
  for (std::size_t i = 0; i < text.size(); ++i) {
    const char c = text[i];
    const bool isLast = i + 1 == text.size();
    if (c == '<') {
      inAngle = true;
    } else if (c == '=' && inAngle && lastClose != std::string::npos && i < lastClose) {
      i = text.find('>', i) - 1;  // the ">" is the next to be looked at
    } else if (c == '>') {
      inAngle = false;
      if (!isLast && text[i + 1] == '<') out += "; ";
    } else if (c == '^' && subfields && isLast) {
      out += ". ";
    } else if (c == '^' && subfields && static_cast<unsigned char>(text[i + 1]) < 0x80) {
      if (i > 0) out += MarkText(text[i + 1]);
      ++i;
    } else {
      out += c;
    }
  }
  text.swap(out);
}

}  // namespace xpft::ast
