#pragma once

#include <functional>
#include <string>

#include "storage/velor_space.h"
#include "utils/string_list.h"

/// A correction task on one record, and what follows for the records of other databases that it makes or
/// changes: automatic input, formal logic control, writing.
namespace velor_server_proc {

/// How VelorGblRec treats the records of other spaces; the record itself is left in its slot, unwritten.
struct VelorGblRecContext {
  bool ifUpdate = false;  ///< their index follows
  bool flc = false;       ///< formal logic control: one that fails is written as deleted
  bool autoin = false;    ///< the automatic-input task runs on them
  const velor_01::TStringList* autoinList = nullptr;  ///< that task; null: read from the database; not owned
  /// After such a record was written: the code of the write, and the texts of the automatic-input run.
  std::function<void(velor_01::TVelorSpace* space, int slot, int rc, const std::string& errors,
                     const std::string& protocol)>
      recordDone;
  /// Once at the end, with the texts of the whole run.
  std::function<void(velor_01::TVelorSpace* space, int slot, const std::string& errors,
                     const std::string& protocol)>
      finished;
  std::function<void(const std::string& line)> report;  ///< receives report lines; without it none are made
  /// Replaces the writing of a record; gives a result code.
  std::function<int(velor_01::TVelorSpace* space, int slot)> writeRecord;
};

/// Runs a task on the record in a slot. Result 0; -8888 when the task reported an error (what it did before
/// is done); -100 without task, space, database, application or main ini.
int VelorGblRec(velor_01::TVelorSpace* space, int slot, const velor_01::TStringList* task,
                const VelorGblRecContext& context);

/// Fingerprint of a record, to see whether it changed: the MD5 sum, in lower-case hexadecimal, of tag
/// (decimal) and bytes of each field in order.
void HashRecord(velor_01::TVelorSpace* space, int slot, std::string& out);

}  // namespace velor_server_proc
