#pragma once

#include <iosfwd>
#include <string>

#include "storage/app_context.h"

namespace velor_server_proc {

/// Removes the files of a database and its parameter file, but nothing that may belong to somebody else.
///
/// The directory that bears its name in the data directory is the database's own, with all that is in it:
/// newdb made it. When the parameter file of another database leads into it, or the shared files lie there,
/// and in any other directory that the parameter file names, only what bears the name of the database is
/// taken: its records and terms, the companion "<name>--text", its cells, and the named tables and formats
/// (IsNamedExtension) where they cannot be those of another database. In the directory of the shared files
/// only the record files are. A store of texts elsewhere goes when its path ends in "<name>/texts". Links are
/// removed, what they lead to stays.
///
/// The record files go last: until then the database opens, and can be dropped again. The parameter file goes
/// in one step with the name of the directory, under the CatalogueLock, which must not be held. False when
/// records stay; what else stays is told to the log, a directory or a parameter file also to `out`.
[[nodiscard]] bool RemoveOwnedFiles(const app::VelorAppContext* ctx, const std::string& name,
                                    std::ostream& out);

/// Removes what a drop or a making that was killed left of a database: directories without a name, and the
/// parameter file when all its lines lead to a directory that is not there. Takes the CatalogueLock.
void RemoveRests(const app::VelorAppContext* ctx, const std::string& name);

}  // namespace velor_server_proc
