#include <iostream>

#include "index/actual_if.h"
#include "index/dict_build.h"
#include "index/multiload.h"
#include "maint/facet_cells_tool.h"
#include "tool/init_app.h"
#include "tool/mfn_selection.h"
#include "tool/option_scan.h"
#include "tool/run.h"
#include "tool/tools.h"

namespace tool {
namespace {

struct ActualIfOptions : SelectionOptions {
  std::string database;
};

constexpr OptionRow<ActualIfOptions> kActualIfRows[] = {
    {"-d", &ActualIfOptions::database}, {"-r", &ActualIfOptions::range},
    {"-mf", &ActualIfOptions::mfnFrom}, {"-mt", &ActualIfOptions::mfnTo},
    {"-l", &ActualIfOptions::listFile},
};

struct DictOptions {
  std::string database;
  bool isCatalogOnly = false;
  bool isFullTextOnly = false;
};

constexpr OptionRow<DictOptions> kDictRows[] = {
    {"-d", &DictOptions::database},
    {"-c", &DictOptions::isCatalogOnly, true},
    {"-f", &DictOptions::isFullTextOnly, true},
};

using DictProcedure = int (*)(app::VelorAppContext* ctx, const std::string& db,
                              velor_server_proc::DictOption::Type option, std::ostream& out);

int RunDictTool(std::string_view word, DictProcedure procedure, int argc, char** argv) {
  DictOptions options;
  ScanOptions<DictOptions>(argc, argv, kDictRows, &options);
  const bool isBoth = options.isCatalogOnly && options.isFullTextOnly;
  if (options.database.empty() || isBoth) return RefuseCommandLine(word);
  using velor_server_proc::DictOption;
  const DictOption::Type option = options.isCatalogOnly    ? DictOption::kCatalogOnly
                                  : options.isFullTextOnly ? DictOption::kFullTextOnly
                                                           : DictOption::kAll;
  return RunProcedure(argc, argv, Timing::kPrinted, [&](app::VelorAppContext* ctx) {
    procedure(ctx, options.database, option, std::cout);
  });
}

}  // namespace

int main_actualif(int argc, char** argv) {
  ActualIfOptions options;
  ScanOptions<ActualIfOptions>(argc, argv, kActualIfRows, &options);
  if (options.database.empty()) return RefuseCommandLine("actualif");
  if (!SelectByNumber("actualif", "Actualizing all records by status", &options, std::cout)) return 0;
  return RunProcedure(argc, argv, Timing::kPrinted, [&](app::VelorAppContext* ctx) {
    velor_server_proc::VelorActualIf(ctx, options.database, options.mfnFrom, options.mfnTo, options.listFile,
                                     std::cout);
  });
}

int main_dict(int argc, char** argv) {
  return RunDictTool("dict", velor_server_proc::VelorCreateDict, argc, argv);
}

int main_terms(int argc, char** argv) {
  return RunDictTool("terms", velor_server_proc::VelorRecTerms, argc, argv);
}

int main_sort(int argc, char** argv) {
  return RunDictTool("sort", velor_server_proc::VelorSortTerms, argc, argv);
}

int main_loaddict(int argc, char** argv) {
  return RunDictTool("loaddict", velor_server_proc::VelorLoadDict, argc, argv);
}

int main_delcells(int argc, char** argv) {
  return RunDatabaseTool({"delcells", velor_server_proc::VelorDeleteCells, Timing::kPrinted}, argc, argv);
}

int main_cells(int argc, char** argv) {
  return RunDatabaseTool({"cells", velor_server_proc::VelorCreateCells, Timing::kPrinted}, argc, argv);
}

int main_multiload(int argc, char** argv) {
  if (argc < 3) return -1;
  app::VelorAppContext* ctx = init_app(argv[2], argc, argv);
  const int result = velora::Multiload(ctx);
  ctx->mainIni->Put("MULTILOAD", "RESULT", std::to_string(result));
  ctx->mainIni->Save();
  app::velor_app_close(ctx);
  return 0;
}

}  // namespace tool
