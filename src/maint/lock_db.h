#pragma once

#include <iosfwd>
#include <string>

#include "storage/app_context.h"

namespace velor_server_proc {

/// Sets the lock flag of a whole database, and of its companion: no process may then change its records.
/// The outcome goes to `out` as "Done" or "Error <number>", and to the log.
/// Result 0, the error of the opening, -100 when memory is short, or the code of the lock: -300 when the
/// database is locked already or its mutex is not had in time, -400 when the master file cannot be written.
int VelorLockDB(app::VelorAppContext* ctx, const std::string& db, std::ostream& out);

/// Clears the flag. Results as above, but an unlocked database is no error.
int VelorUnlockDB(app::VelorAppContext* ctx, const std::string& db, std::ostream& out);

}  // namespace velor_server_proc
