#include "format/plain_field.h"

namespace xpft::ast {

const Field* FindPlainField(const ICommand* command) {
  if (command->GetType() != NodeType::kField) return nullptr;
  const auto* field = dynamic_cast<const Field*>(command);
  const bool isPlain = field && field->IsPlain() && field->GetSelect()->GetTag() > 0;
  return isPlain ? field : nullptr;
}

bool IsWholeField(const Field& field) {
  return !field.GetRepeat() && !field.GetSubfield() && !field.GetFragment();
}

PlainFieldReader::PlainFieldReader(IPftContext* ctx, const Field& field) : values_(ctx) {
  const int tag = field.GetSelect()->GetTag();
  if (field.GetSelect()->GetType() == NodeType::kGVarSelect) {
    ctx->GetGlobalVarField(tag, occurrences_);
  } else {
    ctx->GetRecordField(tag, occurrences_);
  }
  if (IsWholeField(field)) return;

  ctx->GetValues(occurrences_, tag, field.GetRepeat(), field.GetSubfield(), field.GetFragment(), *values_);
  occurrences_.clear();
  for (std::size_t i = 0; i < (*values_).size(); ++i) occurrences_.push_back((*values_)[i].text());
}

}  // namespace xpft::ast
