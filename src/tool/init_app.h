#pragma once

#include <string>

#include "storage/app_context.h"

namespace tool {

/// Builds the application context of a run from the command line and the main INI file.
///   iniPath  path of the INI file, or empty: then the first -i counts, and without one velora.ini beside the
///            executable. A path that is not rooted counts from the directory of the executable.
///   argc, argv  the command line of the process; -i, -pref, -xpftoff, -xpft0, -xpft1 and -xpft2 are read
///   from it
/// Never null: a missing INI file or a lack of memory is told on standard error and in the log, and ends the
/// process with status 1. The caller closes the context with app::velor_app_close.
app::VelorAppContext* init_app(std::string iniPath, int argc, char** argv);

}  // namespace tool
