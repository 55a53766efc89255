#pragma once

#include <iosfwd>
#include <string>

#include "storage/app_context.h"

namespace velor_server_proc {

/// Seconds that a drop waits for whoever changes the database.
constexpr int kDropWait = 300;

/// Removes a database, its parameter file and its entries in the lists and on the web, under the mutex that
/// every change of it takes; the mutex goes with it. Rests of a drop that was killed go too. Progress goes to
/// `out` and the log. Result 0; -200 for a name that no database can have, or of one that new databases are
/// made from; -300 when the mutex is not had; otherwise as VelorDeleteDB0.
int VelorDeleteDB(app::VelorAppContext* ctx, const std::string& dbName, std::ostream& out,
                  int waitSeconds = kDropWait);

/// The bare work. Result 0, -200 as above, -404 when the database does not open, -400 when its files stay or
/// nothing in the data directory can be removed.
int VelorDeleteDB0(app::VelorAppContext* ctx, const std::string& dbName, std::ostream& out);

}  // namespace velor_server_proc
