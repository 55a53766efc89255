#pragma once

#include <string>

#include "storage/velor_space.h"
#include "utils/string_list.h"

/// What is run on a record that is stored: the automatic-input task of its database, and the format of its
/// formal logic control.
namespace velor_server_proc {

/// Loads the task that AUTOINFILE of section MAIN names ("autoin.gbl") from the table directory of the
/// database: it has one of its own or none. An empty list then.
void LoadAutomaticInput(const velor_01::TVelorSpace* space, velor_01::TStringList* task);

/// Name of the format of formal logic control: DBNFLC of section Main, "dbnflc" without it, in lower case.
[[nodiscard]] std::string LogicControlName(const app::VelorAppContext& ctx);

/// Whether that format is there; one that is not is told in the log, once by a caller with many records.
[[nodiscard]] bool HasLogicControl(const velor_01::TVelorSpace* space, const std::string& databaseDirectory,
                                   const std::string& name);

/// Formal logic control: runs the format `name` + ".pft" of `databaseDirectory`, or of the deposit directory,
/// on the record in `slot`. No output, or output that begins with "0", passes; anything else fails and is in
/// `result`, which is empty otherwise. A record whose format is missing passes; one whose format fails does
/// not, and `result` names the error.
[[nodiscard]] bool DBN_Flc_record(velor_01::TVelorSpace* space, int slot,
                                  const std::string& databaseDirectory, const std::string& name,
                                  std::string& result);

}  // namespace velor_server_proc
