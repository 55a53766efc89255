#pragma once

#include <functional>
#include <string>

#include "storage/velor_space.h"
#include "utils/list.h"
#include "utils/string_list.h"

/// Global correction: a task, a list of lines, is walked once for each record that is corrected.
///
/// Line 0 holds the number N of the task's parameters; N pairs of lines follow, which the walk passes over,
/// then the operators: a keyword alone on its line, the lines behind it being its operands. Every operand
/// that is a value is a format. A leading "!" on line 0 says that all lines are UTF-8 as they stand;
/// otherwise a line is cp1251 unless it has a "!" of its own or, where the application keeps all texts so, is
/// UTF-8 already.
///
/// Read on in gbl_ctx.h (what a run keeps), operators.h (the table of the keywords), task_text.h (lines).
namespace global {

/// Called at the END of a block for a record of another space, in slot 0 mostly. True: the run may close the
/// space.
using RecordDone = std::function<bool(velor_01::TVelorSpace* space, int slot)>;

/// Runs a task on the record in `slot`. It works in memory: nothing is written but what `recordDone` writes.
///   changedSpaces     receives the other spaces whose records changed and were not closed, which the caller
///                     closes
///   errors, protocol  the records of the run are appended, each ending in "@@@"
/// The record keeps the changes that were made before an error. A task without lines does nothing.
void IsisRecUpdateSpecial(velor_01::TVelorSpace* space, int slot, const velor_01::TStringList* task,
                          velor_01::TList* changedSpaces, std::string& errors, std::string& protocol,
                          const RecordDone& recordDone);
void IsisRecUpdateSpecial(velor_01::TVelorSpace* space, int slot, const velor_01::TStringList* task,
                          velor_01::TList* changedSpaces, std::string& errors, std::string& protocol);

}  // namespace global
