#pragma once

#include <string>

#include "storage/app_context.h"

namespace velor_server_proc {

/// Full path of the parameter file of a database.
[[nodiscard]] std::string ParameterFile(const app::VelorAppContext* ctx, const std::string& name);

/// Writes the parameter file of a new database: line "0=" of the template's, if that has one, and a line with
/// the directory of the database for each kind of file; with a text store also the one of the texts. False
/// when that fails.
[[nodiscard]] bool WriteParameterFile(const app::VelorAppContext* ctx, const std::string& templateDb,
                                      const std::string& name, bool hasTextStore);

}  // namespace velor_server_proc
