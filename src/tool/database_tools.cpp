#include <iostream>

#include "maint/drop_db.h"
#include "maint/empty_db.h"
#include "maint/lock_db.h"
#include "maint/new_db.h"
#include "maint/unlock_mfn.h"
#include "maint/web_lists.h"
#include "tool/mfn_selection.h"
#include "tool/option_scan.h"
#include "tool/run.h"
#include "tool/tools.h"

namespace tool {
namespace {

struct NewDbOptions : velor_server_proc::VelorNewDBContext {
  std::string database;
};

constexpr OptionRow<NewDbOptions> kNewDbRows[] = {
    {"-d", &NewDbOptions::database}, {"-f", &NewDbOptions::fullName}, {"-t", &NewDbOptions::templateDb},
    {"-fr", &NewDbOptions::isFree},  {"-r", &NewDbOptions::isReader}, {"-w", &NewDbOptions::isReaderWeb},
};

struct WebAddDbOptions {
  std::string database;
  std::string fullName;
};

constexpr OptionRow<WebAddDbOptions> kWebAddDbRows[] = {
    {"-d", &WebAddDbOptions::database},
    {"-f", &WebAddDbOptions::fullName},
};

struct UnlockMfnOptions : SelectionOptions {
  std::string database;
};

constexpr OptionRow<UnlockMfnOptions> kUnlockMfnRows[] = {
    {"-d", &UnlockMfnOptions::database}, {"-r", &UnlockMfnOptions::range},
    {"-mf", &UnlockMfnOptions::mfnFrom}, {"-mt", &UnlockMfnOptions::mfnTo},
    {"-l", &UnlockMfnOptions::listFile},
};

bool SelectsAll(const SelectionOptions& options) {
  return options.mfnFrom < 1 && options.mfnTo < 1 && options.listFile.empty();
}

}  // namespace

int main_newdb(int argc, char** argv) {
  NewDbOptions options;
  ScanOptions<NewDbOptions>(argc, argv, kNewDbRows, &options);
  if (options.database.empty()) return RefuseCommandLine("newdb");
  return RunProcedure(argc, argv, Timing::kNotPrinted, [&](app::VelorAppContext* ctx) {
    velor_server_proc::VelorNewDB(ctx, options.database, options, std::cout);
  });
}

int main_dropdb(int argc, char** argv) {
  const auto dropDb = [](app::VelorAppContext* ctx, const std::string& db, std::ostream& out) {
    return velor_server_proc::VelorDeleteDB(ctx, db, out);
  };
  return RunDatabaseTool({"dropdb", dropDb}, argc, argv);
}

int main_webadddb(int argc, char** argv) {
  WebAddDbOptions options;
  ScanOptions<WebAddDbOptions>(argc, argv, kWebAddDbRows, &options);
  if (options.database.empty()) return RefuseCommandLine("webadddb");
  return RunProcedure(argc, argv, Timing::kNotPrinted, [&](app::VelorAppContext* ctx) {
    velor_server_proc::VelorWebAddDB(ctx, options.database, options.fullName, std::cout);
  });
}

int main_webdeldb(int argc, char** argv) {
  return RunDatabaseTool({"webdeldb", velor_server_proc::VelorWebDelDB}, argc, argv);
}

int main_lockdb(int argc, char** argv) {
  return RunDatabaseTool({"lockdb", velor_server_proc::VelorLockDB}, argc, argv);
}

int main_unlockdb(int argc, char** argv) {
  return RunDatabaseTool({"unlockdb", velor_server_proc::VelorUnlockDB}, argc, argv);
}

int main_unlockmfn(int argc, char** argv) {
  UnlockMfnOptions options;
  ScanOptions<UnlockMfnOptions>(argc, argv, kUnlockMfnRows, &options);
  if (options.database.empty()) return RefuseCommandLine("unlockmfn");
  if (!SelectByNumber("unlockmfn", "Unlocking all records by status", &options, std::cout)) return 0;
  return RunProcedure(argc, argv, Timing::kPrinted, [&](app::VelorAppContext* ctx) {
    if (SelectsAll(options)) {
      velor_server_proc::VelorUnlockAllMfn(ctx, options.database, std::cout);
    } else {
      velor_server_proc::VelorUnlockMfn(ctx, options.database, options.mfnFrom, options.mfnTo,
                                        options.listFile, std::cout);
    }
  });
}

int main_emptydb(int argc, char** argv) {
  return RunDatabaseTool({"emptydb", velor_server_proc::VelorEmptyDB}, argc, argv);
}

int main_emptyftdb(int argc, char** argv) {
  return RunDatabaseTool({"emptyftdb", velor_server_proc::VelorEmptyFTDB}, argc, argv);
}

}  // namespace tool
