#pragma once

#include <iosfwd>
#include <string>

#include "storage/app_context.h"

namespace velor_server_proc {

/// Takes away the locks that dead or careless clients left on records: first those of a range, then those of
/// a list.
///   from, to  record numbers; with a positive one the range counts, held within the database
///   listFile  file with one record number a line, or ""
/// Each record is reported to `out`, then "Done" or "Error <number>" with the last result. A stop request
/// ends the run between two records. Result: that of the last record, or the error of the opening; -100 when
/// memory is short.
int VelorUnlockMfn(app::VelorAppContext* ctx, const std::string& db, int from, int to,
                   const std::string& listFile, std::ostream& out);

/// The same for every record whose status says that it is locked.
int VelorUnlockAllMfn(app::VelorAppContext* ctx, const std::string& db, std::ostream& out);

}  // namespace velor_server_proc
