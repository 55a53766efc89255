#pragma once

#include <string>

#include "gbl/correction.h"
#include "gbl/task_text.h"

namespace global {

/// IsisRecUpdateSpecial with a task that was read before: a caller with many records reads it once.
void RunTask(velor_01::TVelorSpace* space, int slot, const TaskText& task, velor_01::TList* changedSpaces,
             std::string& errors, std::string& protocol, const RecordDone& recordDone);

}  // namespace global
