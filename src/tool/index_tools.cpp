#include <iostream>

#include "index/actual_if.h"
#include "index/dict_option.h"
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

int RunDictTool(std::string_view word, int argc, char** argv) {
  DictOptions options;
  ScanOptions<DictOptions>(argc, argv, kDictRows, &options);
  const bool isBoth = options.isCatalogOnly && options.isFullTextOnly;
  if (options.database.empty() || isBoth) return RefuseCommandLine(word);
  return ReportNotBuilt(word);
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
  return RunDictTool("dict", argc, argv);
}

int main_terms(int argc, char** argv) {
  return RunDictTool("terms", argc, argv);
}

int main_sort(int argc, char** argv) {
  return RunDictTool("sort", argc, argv);
}

int main_loaddict(int argc, char** argv) {
  return RunDictTool("loaddict", argc, argv);
}

int main_delcells(int argc, char** argv) {
  return RunDatabaseTool({"delcells", nullptr, Timing::kPrinted}, argc, argv);
}

int main_cells(int argc, char** argv) {
  return RunDatabaseTool({"cells", nullptr, Timing::kPrinted}, argc, argv);
}

int main_multiload(int argc, char**) {
  if (argc < 3) return -1;
  return ReportNotBuilt("multiload");
}

}  // namespace tool
