#include <iostream>

#include "maint/clean_mutexes.h"
#include "maint/diag_lnk.h"
#include "maint/diag_mfn.h"
#include "maint/diag_mst_xrf.h"
#include "maint/diag_rec.h"
#include "maint/diag_rec_ft.h"
#include "tool/option_scan.h"
#include "tool/run.h"
#include "tool/tools.h"

namespace tool {
namespace {

struct DiagRecOptions : velora::VelorDiagContext {
  std::string database;
};

constexpr OptionRow<DiagRecOptions> kDiagRecRows[] = {
    {"-d", &DiagRecOptions::database},       {"-mf", &DiagRecOptions::mfnFrom},
    {"-mt", &DiagRecOptions::mfnTo},         {"-k", &DiagRecOptions::checkEncoding},
    {"-c", &DiagRecOptions::replaceInvalid}, {"-r", &DiagRecOptions::removeInvalid},
    {"-e", &DiagRecOptions::exportInvalid},  {"-v", &DiagRecOptions::exportValid},
};

struct DiagRangeOptions {
  std::string database;
  std::int32_t mfnFrom = 0;
  std::int32_t mfnTo = 0;
};

constexpr OptionRow<DiagRangeOptions> kDiagRangeRows[] = {
    {"-d", &DiagRangeOptions::database},
    {"-mf", &DiagRangeOptions::mfnFrom},
    {"-mt", &DiagRangeOptions::mfnTo},
};

using DiagRangeProcedure = int (*)(app::VelorAppContext* ctx, const std::string& db, int from, int to,
                                   std::ostream& out);

int RunDiagRangeTool(std::string_view word, DiagRangeProcedure procedure, int argc, char** argv) {
  DiagRangeOptions options;
  ScanOptions<DiagRangeOptions>(argc, argv, kDiagRangeRows, &options);
  if (options.database.empty()) return RefuseCommandLine(word);
  return RunProcedure(argc, argv, Timing::kNotPrinted, [&](app::VelorAppContext* ctx) {
    procedure(ctx, options.database, options.mfnFrom, options.mfnTo, std::cout);
  });
}

struct DiagMstXrfOptions {
  std::string database;
  bool isRebuild = false;
};

// -r is a bare flag here.
constexpr OptionRow<DiagMstXrfOptions> kDiagMstXrfRows[] = {
    {"-d", &DiagMstXrfOptions::database},
    {"-r", &DiagMstXrfOptions::isRebuild},
};

struct MergeOptions {
  std::string sources;
  std::string destination;
};

constexpr OptionRow<MergeOptions> kMergeRows[] = {
    {"-src", &MergeOptions::sources},
    {"-dst", &MergeOptions::destination},
};

}  // namespace

int main_diagrec(int argc, char** argv) {
  DiagRecOptions options;
  ScanOptions<DiagRecOptions>(argc, argv, kDiagRecRows, &options);
  if (options.database.empty()) return RefuseCommandLine("diagrec");
  return RunProcedure(argc, argv, Timing::kNotPrinted, [&](app::VelorAppContext* ctx) {
    velor_server_proc::VelorDiagRec(ctx, options.database, options, std::cout);
  });
}

int main_diagrecft(int argc, char** argv) {
  return RunDiagRangeTool("diagrecft", velor_server_proc::VelorDiagRecFT, argc, argv);
}

int main_diagmfn(int argc, char** argv) {
  return RunDiagRangeTool("diagmfn", velor_server_proc::VelorDiagMfn, argc, argv);
}

int main_diaglnk(int argc, char** argv) {
  return RunDatabaseTool({"diaglnk", velor_server_proc::VelorDiagLnk}, argc, argv);
}

int main_reorgif(int argc, char** argv) {
  return RunDatabaseTool({"reorgif", nullptr}, argc, argv);
}

int main_reorgmf(int argc, char** argv) {
  return RunDatabaseTool({"reorgmf", nullptr}, argc, argv);
}

int main_reorgexmf(int argc, char** argv) {
  return RunDatabaseTool({"reorgexmf", nullptr}, argc, argv);
}

int main_exportif(int argc, char** argv) {
  return RunDatabaseTool({"exportif", nullptr}, argc, argv);
}

int main_diagmstxrf(int argc, char** argv) {
  DiagMstXrfOptions options;
  ScanOptions<DiagMstXrfOptions>(argc, argv, kDiagMstXrfRows, &options);
  if (options.database.empty()) return RefuseCommandLine("diagmstxrf");
  return RunProcedure(argc, argv, Timing::kNotPrinted, [&](app::VelorAppContext* ctx) {
    velor_server_proc::VelorDiagMstXrf(ctx, options.database, options.isRebuild, std::cout);
  });
}

int main_mergedb(int argc, char** argv) {
  MergeOptions options;
  ScanOptions<MergeOptions>(argc, argv, kMergeRows, &options);
  if (options.sources.empty() || options.destination.empty()) return RefuseCommandLine("mergedb");
  return ReportNotBuilt("mergedb");
}

int main_cleanmtx(int argc, char** argv) {
  return RunDatabaseTool({"cleanmtx", velor_server_proc::VelorCleanRecordMutexes, Timing::kPrinted}, argc,
                         argv);
}

}  // namespace tool
