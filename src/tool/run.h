#pragma once

#include <functional>
#include <iosfwd>
#include <string>
#include <string_view>

#include "storage/app_context.h"

// What the run functions share: the frame around a procedure, and the tools that take nothing but a database.

namespace tool {

enum class Timing { kNotPrinted, kPrinted };

/// Builds the application context, calls the procedure with it and closes it. With Timing::kPrinted the time
/// that all this took follows as a line "time ...". Gives 0, the exit status of a tool whose command line was
/// accepted; 1 when the memory did not suffice.
int RunProcedure(int argc, char** argv, Timing timing,
                 const std::function<void(app::VelorAppContext*)>& procedure);

/// Writes the usage text of the tool and gives 0.
int RefuseCommandLine(std::string_view word);

/// Says that the procedure of the tool is not there yet, and gives 0.
int ReportNotBuilt(std::string_view word);

/// A tool whose one required option is -d. `procedure` null: not built.
struct DatabaseTool {
  std::string_view word;
  int (*procedure)(app::VelorAppContext* ctx, const std::string& db, std::ostream& out);
  Timing timing = Timing::kNotPrinted;
};

int RunDatabaseTool(const DatabaseTool& tool, int argc, char** argv);

}  // namespace tool
