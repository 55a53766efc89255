#pragma once

#include "format/ast_field.h"
#include "format/pft_context.h"

/// Fields that SORT and assignments take occurrence by occurrence instead of as one printed text.
namespace xpft::ast {

/// The field, when the command is all of a record field or global variable and nothing else; else null.
[[nodiscard]] const Field* FindPlainField(const ICommand* command);

/// Replaces `occurrences` by those of a plain field; good until the record changes.
void ReadPlainField(IPftContext* ctx, const Field& field, Occurrences& occurrences);

}  // namespace xpft::ast
