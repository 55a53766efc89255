#pragma once

#include <string>
#include <string_view>
#include <vector>

#include "format/ast.h"
#include "format/print_context.h"

/// What the sources of the node families share.
namespace xpft::ast {

/// Forwards GetFieldTags to children of which any may be null.
template <class... Nodes>
void AddTags(IPftContext* ctx, std::vector<int>& tags, const Nodes*... nodes) {
  ((nodes != nullptr ? nodes->GetFieldTags(ctx, tags) : void()), ...);
}

/// Prints a child unless it is missing.
inline void PrintChild(IPrintContext* out, const PftExpr* node) {
  if (node != nullptr) node->Print(out);
}

inline void PrintNumber(IPrintContext* out, long long number) {
  out->Print(std::to_string(number));
}

/// A block of commands on lines of its own, one level further in.
inline void PrintBlock(IPrintContext* out, const PftExpr* list) {
  out->IncreaseIndent();
  out->NewLine();
  PrintChild(out, list);
  out->DecreaseIndent();
  out->NewLine();
}

/// Two lists as arguments of one call. The second may be null; then the commands of the first stand without
/// commas between them, for one would begin the second.
void PrintListPair(IPrintContext* out, const CommandList* first, const CommandList* second);

}  // namespace xpft::ast
