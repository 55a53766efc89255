#pragma once

#include <memory>

#include "gbl/gbl_rec.h"
#include "gbl/mst_global.h"
#include "gbl/task_text.h"

namespace velor_server_proc {

class OtherRecords;

/// VelorGblRec for a caller with many records of one space: what the records of other databases need, their
/// tables and tasks, is kept from one to the next, and the task is read once.
class GblRecRunner {
 public:
  /// The space has a database and an application with a main ini, and outlives the object.
  GblRecRunner(velor_01::TVelorSpace* space, VelorGblRecContext context);
  ~GblRecRunner();
  GblRecRunner(const GblRecRunner&) = delete;
  GblRecRunner& operator=(const GblRecRunner&) = delete;

  /// Result 0, or -8888 when the task reported an error.
  int Run(int slot, const global::TaskText& task);

 private:
  velor_01::TVelorSpace* space_;
  VelorGblRecContext context_;
  std::unique_ptr<global::BlockSpaces> pool_;
  std::unique_ptr<OtherRecords> others_;  // null until a task reaches one
};

}  // namespace velor_server_proc
