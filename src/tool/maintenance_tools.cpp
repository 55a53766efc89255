#include "maint/clean_mutexes.h"
#include "maint/diag_context.h"
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

int RunDiagRangeTool(std::string_view word, int argc, char** argv) {
  DiagRangeOptions options;
  ScanOptions<DiagRangeOptions>(argc, argv, kDiagRangeRows, &options);
  if (options.database.empty()) return RefuseCommandLine(word);
  return ReportNotBuilt(word);
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
  return ReportNotBuilt("diagrec");
}

int main_diagrecft(int argc, char** argv) {
  return RunDiagRangeTool("diagrecft", argc, argv);
}

int main_diagmfn(int argc, char** argv) {
  return RunDiagRangeTool("diagmfn", argc, argv);
}

int main_diaglnk(int argc, char** argv) {
  return RunDatabaseTool({"diaglnk", nullptr}, argc, argv);
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
  return ReportNotBuilt("diagmstxrf");
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
