#include "format/plain_field.h"

namespace xpft::ast {

const Field* FindPlainField(const ICommand* command) {
  if (command->GetType() != NodeType::kField) return nullptr;
  const auto* field = dynamic_cast<const Field*>(command);
  const bool isPlain = field && field->IsPlain() && field->GetSelect()->GetTag() > 0;
  return isPlain ? field : nullptr;
}

void ReadPlainField(IPftContext* ctx, const Field& field, Occurrences& occurrences) {
  if (field.GetSelect()->GetType() == NodeType::kGVarSelect) {
    ctx->GetGlobalVarField(field.GetSelect()->GetTag(), occurrences);
  } else {
    ctx->GetRecordField(field.GetSelect()->GetTag(), occurrences);
  }
}

}  // namespace xpft::ast
