#pragma once

#include <iosfwd>
#include <string>

#include "maint/new_db_context.h"

namespace app {
struct VelorAppContext;
}

namespace velor_server_proc {

/// Makes a new database: its directory with the files of the blank database under the new name, its parameter
/// file, and its two lines in a database list. An existing directory or parameter file of that name is left
/// alone. Progress goes to `out`. Only the free kind, without files of a template, is made here. Result 0;
/// -404 when there is no blank database; -400 when a file cannot be made.
int VelorNewDB(app::VelorAppContext* ctx, const std::string& db, const VelorNewDBContext& params,
               std::ostream& out);

}  // namespace velor_server_proc
