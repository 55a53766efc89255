#pragma once

#include <string>

#include "storage/app_context.h"

namespace velor_server_proc {

/// Removes the files of a database, but nothing that may belong to somebody else.
///
/// The directory that bears its name in the data directory is the database's own, with all that is in it:
/// newdb made it. When the parameter file of another database leads into it, or the shared files lie there,
/// and in any other directory that the parameter file names, only what bears the name of the database is
/// taken: "<name>.*", the companion "<name>--text", its cells. A store of texts elsewhere goes when its path
/// ends in "<name>/texts". Links are removed, what they lead to stays.
///
/// The record files go last: until then the database opens, and can be dropped again. False when some of them
/// stay; what else stays is told to the log.
[[nodiscard]] bool RemoveOwnedFiles(const app::VelorAppContext* ctx, const std::string& name);

}  // namespace velor_server_proc
