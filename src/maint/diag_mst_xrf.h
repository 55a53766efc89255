#pragma once

#include <iosfwd>
#include <string>

#include "storage/maintenance_context.h"
#include "storage/velor_space.h"

namespace velora {

/// Compares the cross-reference files of a database with what lies in its master files, fragment by fragment,
/// and with `repair` puts them right. The findings go to `out` and to "<name>.diagmstxrf.txt" in the work
/// directory, `name` being that of the database.
///
/// The master file is read once, in large blocks; memory is 8 bytes a record and a buffer. The last image of
/// a record counts, and one that a reader gets through the entry counts as well, though its directory does
/// not add up: so a repair never takes away what could be read before. Bytes that are no image stay as they
/// are: they may be all that is left of a record, and a reorganisation leaves them behind.
///
/// A repair holds the database lock, waiting at most `timeoutSeconds` for the mutex; without it nothing is
/// locked or changed, and other processes may go on writing.
/// Result: 0, whatever was found; -400 when the report cannot be created. `hasReport` receives whether
/// anything was found.
int VelorDiagMstXrf(VelorAContext* settings, velor_01::TVelorSpace* space, bool repair, std::ostream& out,
                    int timeoutSeconds, bool* hasReport);

}  // namespace velora

namespace velor_server_proc {

/// The tool `diagmstxrf`: the above for a database that is opened by name, and the verdict.
int VelorDiagMstXrf(app::VelorAppContext* ctx, const std::string& db, bool repair, std::ostream& out);

}  // namespace velor_server_proc
