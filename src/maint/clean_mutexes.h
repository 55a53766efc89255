#pragma once

#include <iosfwd>
#include <string>

#include "storage/app_context.h"

namespace velor_server_proc {

/// Removes the full-text record mutexes of a database that processes left behind. The database is locked
/// meanwhile, so that nobody takes one of them. The outcome goes to `out` as "Done" or "Error <number>", and
/// to the log. Result 0, the error of the opening, -100 when memory is short, -300 when the database is
/// locked by others or a mutex could not be removed.
int VelorCleanRecordMutexes(app::VelorAppContext* ctx, const std::string& db, std::ostream& out);

/// The bare work: removes what there is. Result 0, or -300 when a mutex could not be removed, which is told.
int RemoveRecordMutexes(const std::string& name, std::ostream& out);

}  // namespace velor_server_proc
