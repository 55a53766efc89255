#pragma once

#include <memory>
#include <vector>

#include "format/velor64_context.h"
#include "format/xpft_formatter.h"
#include "utils/string_list.h"

/// Field selection tables for use with records.
///
/// A table is a text file, one line "tag method format" each: the format is run on the record, and what it
/// prints belongs to the tag. In memory a table is a list whose items are the formats and whose numbers are
/// the tags. The tables of an index, with their methods, are loaded by index/inv_context.h.
namespace velor_server_proc {

/// Makes the lines of a file such a list, in place, the methods being passed over. Of the tag counts what
/// stands before the first comma. A line without two blanks gets an empty format; one without any is read as
/// a tag as a whole. What does not read as a tag is 0.
void ParseFst(velor_01::TStringList* lines);

}  // namespace velor_server_proc

namespace xpft {

/// A compiled table, with a context of its own on one space.
class XpftFst {
 public:
  /// Compiles all lines; one that does not compile gives nothing when it is run. With `skipUntagged` lines
  /// whose tag is below 1 give nothing either. Texts are as in a table file: see TextOfFormat.
  XpftFst(velor_01::TVelorSpace* space, const velor_01::TStringList* lines, bool skipUntagged);

  /// Runs the table over the record in `shelf` of the space that it was made on; alternate records are read
  /// into the shelves from `nextShelf` on. Appends the output of each line to `out`, in table order.
  /// What a line reads of the record serves the lines behind it too.
  void Format(velor_01::TVelorSpace* space, int shelf, int nextShelf, velor_01::TStringList* out);

  /// True once a line failed to compile or to run.
  [[nodiscard]] bool GetHaveErrors() const { return haveErrors_; }

 private:
  std::shared_ptr<XpftFormatter> Compile(const char* text);

  velor_01::TVelorSpace* space_;
  Velor64Context context_;
  std::vector<std::shared_ptr<XpftFormatter>> formatters_;  // null for a line that gives nothing
  bool haveErrors_ = false;
};

}  // namespace xpft
