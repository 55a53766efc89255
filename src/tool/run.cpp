#include "tool/run.h"

#include <iostream>
#include <new>

#include "tool/init_app.h"
#include "tool/option_scan.h"
#include "tool/usage.h"
#include "utils/date_time.h"
#include "utils/log_util.h"

namespace tool {
namespace {

constexpr std::int64_t kTicksPerMillisecond = 10000;

struct DatabaseOptions {
  std::string database;
};

constexpr OptionRow<DatabaseOptions> kDatabaseRows[] = {{"-d", &DatabaseOptions::database}};

}  // namespace

int RunProcedure(int argc, char** argv, Timing timing,
                 const std::function<void(app::VelorAppContext*)>& procedure) {
  const utils::DateTime start = utils::DateTime::Now();
  app::VelorAppContext* ctx = init_app("", argc, argv);
  int status = 0;
  try {
    procedure(ctx);
  } catch (const std::bad_alloc&) {  // a field may be larger than the memory
    std::cout << "malloc error " << std::endl;
    status = 1;
  }
  app::velor_app_close(ctx);
  if (timing == Timing::kPrinted) {
    const std::int64_t ticks = utils::DateTime::Now().GetTicks() - start.GetTicks();
    std::cout << "time " << utils::LogUtil::FormatTime(ticks / kTicksPerMillisecond) << '\n';
  }
  return status;
}

int RefuseCommandLine(std::string_view word) {
  usage_tool(word, std::cout);
  return 0;
}

int ReportNotBuilt(std::string_view word) {
  std::cout << word << ": not built yet\n";
  return 0;
}

int RunDatabaseTool(const DatabaseTool& tool, int argc, char** argv) {
  DatabaseOptions options;
  ScanOptions<DatabaseOptions>(argc, argv, kDatabaseRows, &options);
  if (options.database.empty()) return RefuseCommandLine(tool.word);
  if (tool.procedure == nullptr) return ReportNotBuilt(tool.word);
  return RunProcedure(argc, argv, tool.timing,
                      [&](app::VelorAppContext* ctx) { tool.procedure(ctx, options.database, std::cout); });
}

}  // namespace tool
