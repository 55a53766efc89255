#include <iostream>

#include "tool/mfn_selection.h"
#include "tool/option_scan.h"
#include "tool/run.h"
#include "tool/tools.h"

namespace tool {
namespace {

struct FtInputOptions {
  std::string database;
  std::string source;
};

constexpr OptionRow<FtInputOptions> kFtInputRows[] = {
    {"-d", &FtInputOptions::database},
    {"-src", &FtInputOptions::source},
};

struct FtCacheOptions : SelectionOptions {
  std::string database;
  bool isDelete = false;
};

constexpr OptionRow<FtCacheOptions> kFtCacheRows[] = {
    {"-d", &FtCacheOptions::database}, {"-del", &FtCacheOptions::isDelete}, {"-r", &FtCacheOptions::range},
    {"-l", &FtCacheOptions::listFile}, {"-mf", &FtCacheOptions::mfnFrom},   {"-mt", &FtCacheOptions::mfnTo},
    {"-se", &FtCacheOptions::search},  {"-sc", &FtCacheOptions::scan},
};

struct PdfCleanOptions {
  std::string source;
  std::string destination;
};

constexpr OptionRow<PdfCleanOptions> kPdfCleanRows[] = {
    {"-src", &PdfCleanOptions::source},
    {"-dst", &PdfCleanOptions::destination},
};

}  // namespace

int main_ftinput(int argc, char** argv) {
  FtInputOptions options;
  ScanOptions<FtInputOptions>(argc, argv, kFtInputRows, &options);
  if (options.database.empty() || options.source.empty()) return RefuseCommandLine("ftinput");
  return ReportNotBuilt("ftinput");
}

int main_ftcache(int argc, char** argv) {
  FtCacheOptions options;
  ScanOptions<FtCacheOptions>(argc, argv, kFtCacheRows, &options);
  if (options.database.empty()) return RefuseCommandLine("ftcache");
  MfnSelection selection;
  if (!SelectRecords("ftcache", options, &selection, std::cout)) return 0;
  return ReportNotBuilt("ftcache");
}

int main_pdfclean(int argc, char** argv) {
  PdfCleanOptions options;
  ScanOptions<PdfCleanOptions>(argc, argv, kPdfCleanRows, &options);
  if (options.source.empty() || options.destination.empty()) return RefuseCommandLine("pdfclean");
  return ReportNotBuilt("pdfclean");
}

}  // namespace tool
