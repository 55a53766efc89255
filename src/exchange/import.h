#pragma once

#include <iosfwd>
#include <string>

#include "exchange/import_context.h"

namespace app {
struct VelorAppContext;
}

namespace velor_server_proc {

/// Loads the records of an ISO 2709, text or CSV file into a database. Progress and the counts at the end go
/// to `out`. Bad records are passed over; with `proto` a protocol in the work directory says for each record
/// what became of it. Result 0 or a negative code: that of opening the database, -100 without memory, -404
/// without the file, -400 when it cannot be read to its end (what came before is imported), -500 when a CSV
/// file cannot be converted; -404 also for a filter file that is not there, the code of the compiler for a
/// wrong filter. An error of a format on one record is logged, the run goes on.
int VelorImport(app::VelorAppContext* ctx, const std::string& database, const std::string& file,
                std::ostream& out, const VelorImportContext& params);

}  // namespace velor_server_proc
