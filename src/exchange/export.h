#pragma once

#include <iosfwd>
#include <string>

#include "exchange/export_context.h"

namespace app {
struct VelorAppContext;
}

namespace velor_server_proc {

/// Writes records of a database to one file, in ISO 2709 or text form. Deleted records are passed over.
/// Progress goes to `out`. Result 0 or a negative code: that of opening the database, -100 without memory,
/// -400 when the file cannot be created or written, -404 for a filter file that is not there, that of the
/// compiler for a wrong filter or sequential expression. An error of a format on one record is logged, the
/// run goes on.
int VelorExport(app::VelorAppContext* ctx, const std::string& database, const std::string& file,
                const VelorExportContext& params, std::ostream& out);

}  // namespace velor_server_proc
