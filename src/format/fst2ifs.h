#pragma once

#include <iosfwd>
#include <string>

#include "storage/app_context.h"
#include "storage/velor_space.h"

/// Makes a table with field lists (.ifs) of a field selection table (.fst): in front of the method of each
/// line stand, behind the tag, the fields that the format reads, 0 where they cannot be told. With it an
/// update runs only the lines that depend on the changed fields.
namespace xpft {

/// Converts a file. Lines that are no table lines stay as they are. Messages go to `out`; a format that does
/// not compile ends the conversion, and no file is written.
///   shelf, altShelf  record slots in whose context the formats are looked through
/// Result: whether the output was written.
bool XpftFst2Ifs(velor_01::TVelorSpace* space, int shelf, int altShelf, const std::string& inputPath,
                 const std::string& outputPath, std::ostream& out);

}  // namespace xpft

namespace velor_server_proc {

/// The same with the first readable record of a database. Result 0, or the code of opening the database.
int VelorFst2Ifs(app::VelorAppContext* ctx, const std::string& database, const std::string& inputPath,
                 const std::string& outputPath, std::ostream& out);

}  // namespace velor_server_proc
