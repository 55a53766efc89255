#pragma once

#include <iosfwd>
#include <string>

#include "storage/app_context.h"

namespace velor_server_proc {

/// Throws away every record and term of a database, and of its companion with the page texts. The files stay,
/// the record file with nothing but a new control record; a lock of the whole database goes too. The outcome
/// goes to `out` as "Done" or "Error <number>", and to the log. Result 0, the error of the opening, -100 when
/// memory is short, -300 without the database mutex, -400 or -401 when the record files or the inverted files
/// cannot be opened.
int VelorEmptyDB(app::VelorAppContext* ctx, const std::string& db, std::ostream& out);

}  // namespace velor_server_proc
