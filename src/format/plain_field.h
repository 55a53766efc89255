#pragma once

#include "format/ast_field.h"
#include "format/pft_context.h"

/// Fields that SORT and assignments take occurrence by occurrence instead of as one printed text.
namespace xpft::ast {

/// The field, when the command is a record field or a global variable with nothing around it; else null. A
/// range, a subfield or a fragment may narrow it.
[[nodiscard]] const Field* FindPlainField(const ICommand* command);

/// True when occurrences are taken as they lie in the record: no range, subfield or fragment.
[[nodiscard]] bool IsWholeField(const Field& field);

/// The occurrences of a plain field, or what the field selects of each. Good until the record changes.
class PlainFieldReader {
 public:
  PlainFieldReader(IPftContext* ctx, const Field& field);
  [[nodiscard]] const Occurrences& occurrences() const { return occurrences_; }

 private:
  ScratchValues values_;  // the selected parts
  Occurrences occurrences_;
};

}  // namespace xpft::ast
