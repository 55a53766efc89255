#pragma once

#include <iosfwd>
#include <string>

#include "storage/maintenance_context.h"
#include "storage/velor_space.h"

namespace velora {

/// Looks at the whole inverted file of a database: control record, every block of the tree, every leaf and
/// every posting chain, additional indexes included. `message` receives a line for each finding, and is empty
/// when all is in order:
///   "error in IFP cntrec"             the control record does not fit the files
///   "error in file N01", "... L01"    a block is damaged, or the blocks do not belong together
///   "error if file IFP Key=<key>"     the search does not find the term, or its postings are damaged; the
///                                     first 100 of an index are told
///   "error if file IFP: <n> more keys"  those not told; "at least" when there is more damage than time
///   "database locked", "database not locked, error <code>"  nothing was looked at
///   "Process stop"                    the rest was not looked at
/// Holds the database lock meanwhile. Result 0; -300 or -400 when the lock was not had.
int VelorLnk_Diagnostik(VelorAContext* settings, velor_01::TVelorSpace* space, std::string& message);

}  // namespace velora

namespace velor_server_proc {

/// The tool `diaglnk`: the above for a database that is opened by name; the findings go to `out`. Result 0,
/// -100 or the code of the opening.
int VelorDiagLnk(app::VelorAppContext* ctx, const std::string& db, std::ostream& out);

}  // namespace velor_server_proc
