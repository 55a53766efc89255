#pragma once

#include <fstream>
#include <string>

#include "storage/app_context.h"
#include "utils/string_list.h"

/// Where exchange looks for files.
namespace velora {

/// Directory for protocols and temporary files, "workdir" of the main ini; made when it does not exist.
std::string WorkDirectory(const app::VelorAppContext* ctx);

/// Path of the file that an option names: the file of that name, or the first one with `extension` behind it
/// in the database, deposit and work directories; empty when there is none.
std::string LookupFile(const app::VelorAppContext* ctx, const std::string& database, const std::string& name,
                       const char* extension);

/// Loads a reformatting table (format/xpft_fst.h). False, and an empty list, when there is none or it is
/// empty.
bool LoadTable(const app::VelorAppContext* ctx, const std::string& database, const std::string& name,
               velor_01::TStringList* table);

/// "<work directory><base name of file><middle><process number>.txt".
std::string WorkFile(const app::VelorAppContext* ctx, const std::string& file, const char* middle);

/// Passes over a UTF-8 byte-order mark at the start of a stream. A pipe will do: nothing is sought.
void SkipByteOrderMark(std::ifstream& stream);

}  // namespace velora
