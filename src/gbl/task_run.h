#pragma once

#include <string>

#include "gbl/correction.h"
#include "gbl/mst_global.h"
#include "gbl/task_text.h"

namespace global {

/// IsisRecUpdateSpecial for a caller with many records: the task is read once, and the pool keeps the spaces
/// of its blocks from one record to the next.
void RunTask(velor_01::TVelorSpace* space, int slot, const TaskText& task, velor_01::TList* changedSpaces,
             std::string& errors, std::string& protocol, const RecordDone& recordDone, BlockSpaces* pool);

}  // namespace global
