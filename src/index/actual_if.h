#pragma once

#include <iosfwd>
#include <string>

#include "storage/app_context.h"
#include "storage/maintenance_context.h"
#include "utils/int_list.h"

/// The tool `actualif`: brings the inverted file of a database up to date with its records.
namespace velor_server_proc {

/// Without a range and a list the records that their status says are not actualized; deleted ones are among
/// them. With a range (a positive `mfnFrom` or `mfnTo`, held within the database) or a list file (one number
/// a line) these records, whatever their status: each that looks actualized is stored anew, deleted or not as
/// it was, and the dictionary is put right also where an earlier update was cut off. A record that somebody
/// holds locked is not stored anew.
/// Writes its progress to `out`. Result: the status of the last record; -5555, -400, -401 of the opening;
/// -100 when memory is short.
int VelorActualIf(app::VelorAppContext* app, const std::string& db, int mfnFrom, int mfnTo,
                  const std::string& listFile, std::ostream& out);

/// The records of a list, by their status. For the batch language.
int VelorActualIf(app::VelorAppContext* app, const std::string& db, const velor_01::TIntList* list,
                  std::ostream& out);

}  // namespace velor_server_proc

namespace velora {

/// Updates the index for each of `records`, and extracts the attached texts for each of `fullTexts`, which
/// may be null. A stop request ends it between two records. Result as above.
int ActualIfFTMfnList(VelorAContext* context, const std::string& db, const velor_01::TIntList* records,
                      const velor_01::TIntList* fullTexts);

}  // namespace velora
