#pragma once

#include <iosfwd>
#include <string>

#include "gbl/global_context.h"

namespace app {
struct VelorAppContext;
}

namespace velor_server_proc {

/// Runs a correction task over the chosen records of a database and writes those that it changed. Progress
/// goes to `out`.
///   taskName  a file, or the name without ".gbl" of one of the database or the deposit directory
/// A record that stays the same costs no write, no lock and no index update. One that the task failed on is
/// written as far as it was changed; one that somebody else has locked stays as it is (-602). A stop request
/// ends the run between two records.
/// Result 0 or a negative code: that of opening the database; -404 without the task or for an empty one; -100
/// without memory; that of the search; that of the compiler for a wrong sequential expression; otherwise that
/// of writing the last record.
int VelorGlobal(app::VelorAppContext* ctx, const std::string& database, const std::string& taskName,
                const VelorGlobalContext& params, std::ostream& out);

}  // namespace velor_server_proc
