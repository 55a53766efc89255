#include "format/ast_extension.h"
#include "format/node_support.h"
#include "format/plain_field.h"
#include "utils/text_util.h"

// v100:=(list) and g100:=(list).

namespace xpft::ast {

FieldAssign::FieldAssign(const std::string& target, Owned<FieldRepeat> repeat, Owned<SubfieldCmd> subfield,
                         Owned<FieldFragment> fragment, Owned<CommandList> value)
    : target_(target), value_(std::move(value)) {
  spec_.tag = target.empty() ? 0 : utils::TextUtil::Int32ParseExact(target.substr(1), 0);
  spec_.repeat = std::move(repeat);
  spec_.subfield = std::move(subfield);
  spec_.fragment = std::move(fragment);
}

void FieldAssign::Print(IPrintContext* out) const {
  out->Print(target_);
  PrintChild(out, spec_.repeat.get());
  PrintChild(out, spec_.subfield.get());
  PrintChild(out, spec_.fragment.get());
  out->Print(":=(");
  PrintChild(out, value_.get());
  out->Print(")");
}

void FieldAssign::GetFieldTags(IPftContext* ctx, std::vector<int>& tags) const {
  AddTags(ctx, tags, spec_.repeat.get(), spec_.subfield.get(), value_.get());
}

/// The value, when it is one field that is copied with its occurrences.
const Field* FieldAssign::PlainSource() const {
  return value_->GetList().size() == 1 ? FindPlainField(value_->GetList().front().get()) : nullptr;
}

void FieldAssign::DoCmd(IPftContext* ctx) const {
  if (!value_) return;
  if (const Field* field = PlainSource()) {
    Occurrences occurrences;
    ReadPlainField(ctx, *field, occurrences);
    Assign(ctx, spec_, occurrences);
    return;
  }
  // Letter case follows the mode here: what is assigned is what would have been printed.
  ScratchText text(ctx);
  ctx->PushState(&*text);
  ctx->Start();
  value_->DoCmd(ctx);
  ctx->PopState();
  Assign(ctx, spec_, *text);
}

void RecordFieldAssign::Assign(IPftContext* ctx, const FieldAssignSpec& target,
                               const std::string& value) const {
  ctx->SetRecordFieldValue(target.tag, target.repeat.get(), target.subfield.get(), target.fragment.get(),
                           value);
}

void RecordFieldAssign::Assign(IPftContext* ctx, const FieldAssignSpec& target,
                               const std::vector<std::string_view>& occurrences) const {
  ctx->SetRecordFieldValue(occurrences, target);
}

void GVarAssign::Assign(IPftContext* ctx, const FieldAssignSpec& target, const std::string& value) const {
  ctx->SetGlobalVarValue(target.tag, target.repeat.get(), target.subfield.get(), target.fragment.get(),
                         value);
}

void GVarAssign::Assign(IPftContext* ctx, const FieldAssignSpec& target,
                        const std::vector<std::string_view>& occurrences) const {
  ctx->SetGlobalVarValue(occurrences, target);
}

}  // namespace xpft::ast
