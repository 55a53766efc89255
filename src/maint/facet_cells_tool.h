#pragma once

#include <iosfwd>
#include <string>

#include "storage/app_context.h"

namespace velor_server_proc {

/// Builds the facet cells of a database, or removes them (index/facet_cells.h). Messages go to `out`, the
/// outcome also to the log. Result 0 or the code of the failure.
int VelorCreateCells(app::VelorAppContext* app, const std::string& db, std::ostream& out);
int VelorDeleteCells(app::VelorAppContext* app, const std::string& db, std::ostream& out);

}  // namespace velor_server_proc
