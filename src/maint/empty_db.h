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

/// Throws away the page texts of a database, and marks each of its records for a new extraction. A database
/// without page texts stays as it is. A stop ends the marking between two records ("Process stop"); another
/// run begins anew. The outcome goes to `out` and the log as above. Result 0, the error of the opening, -300
/// for a locked database, which stays as it is; otherwise as above, or the error of the first record that
/// could not be marked.
int VelorEmptyFTDB(app::VelorAppContext* ctx, const std::string& db, std::ostream& out);

}  // namespace velor_server_proc
