#pragma once

#include <iosfwd>
#include <string>

#include "maint/new_db_context.h"

namespace app {
struct VelorAppContext;
}

namespace velor_server_proc {

/// Makes a new database: the record files of the empty database and the other files of a template under the
/// new name, a parameter file, the lines in the database lists, and, where there is a web front end, the
/// entries there. An existing directory of that name, or a parameter file that leads elsewhere, is left
/// alone, also when it comes from somebody else meanwhile. The directory appears whole, as the last step; the
/// CatalogueLock is taken for the moment in which it does. Progress goes to `out` and the log.
/// Result 0, also when the database is there already; -200 for a name that no database can have or that a
/// file of the template has, -404 without the empty database or the template, -400 when a file cannot be
/// made.
int VelorNewDB(app::VelorAppContext* ctx, const std::string& db, const VelorNewDBContext& params,
               std::ostream& out);

}  // namespace velor_server_proc
