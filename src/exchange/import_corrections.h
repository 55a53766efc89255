#pragma once

#include <iosfwd>
#include <memory>
#include <string>

#include "exchange/import_context.h"
#include "gbl/gbl_rec_task.h"
#include "storage/velor_space.h"
#include "utils/string_list.h"

namespace velora {

/// What runs on the records of an import before they are written: the correction task of -g, the
/// automatic-input task of -a, the formal logic control of -c. What an option does not ask for does nothing.
class ImportCorrections {
 public:
  explicit ImportCorrections(velor_01::TVelorSpace* space) : space_(space) {}

  /// Loads the tasks. Result 0, or -404 when that of -g is missing or empty, which is told on `out` and in
  /// the log.
  ///   updateIndex  the index follows the records of other databases that the tasks write
  int Prepare(const std::string& database, const velor_server_proc::VelorImportContext& params,
              bool updateIndex, std::ostream& out);

  /// Run a task on the record in a slot; give its error texts, empty when all went well, which hold until
  /// the next run. What the task did before an error is done.
  const std::string& RunMergeTask(int slot) { return Run(runner_.get(), mergeTask_, slot); }
  /// `isRepeated`: it ran on this record before, so that the records of its blocks are written already.
  const std::string& RunAutomaticInput(int slot, bool isRepeated);

  /// False for a record that must not be written, `result` then saying why.
  [[nodiscard]] bool PassesLogicControl(int slot, std::string* result);

 private:
  int LoadMergeTask(const std::string& database, const std::string& name, std::ostream& out);
  const std::string& Run(velor_server_proc::GblRecRunner* runner, const global::TaskText& task, int slot);

  velor_01::TVelorSpace* space_;
  velor_01::TStringList automaticInputLines_;
  global::TaskText mergeTask_;
  global::TaskText automaticInput_;
  std::unique_ptr<velor_server_proc::GblRecRunner> runner_;
  std::unique_ptr<velor_server_proc::GblRecRunner> repeater_;  // writes no other records
  std::string errors_;                                         // of the last run of a task
  bool hasLogicControl_ = false;
  std::string tableDirectory_;
  std::string logicControl_;  // name of its format
};

}  // namespace velora
