#pragma once

#include <string>
#include <vector>

#include "storage/app_context.h"
#include "utils/string_list.h"

namespace global {

struct Operator;

/// A line of a task as the walk sees it.
struct TaskLine {
  std::string text;
  const Operator* op = nullptr;  ///< the operator of that keyword; null for any other line
};

/// The lines of a task, brought to UTF-8 once, and where the walk over them starts.
struct TaskText {
  std::vector<TaskLine> lines;
  int start = 1;

  [[nodiscard]] int GetCount() const { return static_cast<int>(lines.size()); }
  [[nodiscard]] bool Has(int i) const { return i >= 0 && i < GetCount(); }
  [[nodiscard]] const std::string& Line(int i) const { return lines[static_cast<std::size_t>(i)].text; }
};

/// Reads a task as correction.h tells. `ctx` may be null: a line without a mark is then cp1251. No lines when
/// there is no memory for them.
[[nodiscard]] TaskText ReadTask(const app::VelorAppContext* ctx, const velor_01::TStringList& task) noexcept;

/// Finds the end of a block without running it, from line `start` on: the index behind the first line of this
/// level that equals `stopWord` (and behind its operand, for UNTIL); with `stopAfterFirst` the end of the
/// first block met. Without an end the index reached, at least the count of lines.
[[nodiscard]] int ParseCommands(const velor_01::TStringList* lines, const std::string& stopWord, int start,
                                bool stopAfterFirst);

/// Replaces `what` by `with`: everywhere, but only at the first place when `with` contains `what`.
void ReplVal(std::string& text, const std::string& what, const std::string& with);

/// Replaces the first `what` by CR LF.
void RepToC0D0A(std::string& text, const std::string& what);

}  // namespace global
