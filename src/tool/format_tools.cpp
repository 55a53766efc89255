#include <iostream>
#include <new>

#include "format/fst2ifs.h"
#include "format/print_file.h"
#include "tool/mfn_selection.h"
#include "tool/option_scan.h"
#include "tool/run.h"
#include "tool/tools.h"

namespace tool {
namespace {

struct FormatOptions : SelectionOptions {
  std::string database;
  std::string source;
  bool isCsvReport = false;
  bool isJsonReport = false;
};

constexpr OptionRow<FormatOptions> kFormatRows[] = {
    {"-d", &FormatOptions::database},      {"-src", &FormatOptions::source},
    {"-rpt", &FormatOptions::isCsvReport}, {"-rptjson", &FormatOptions::isJsonReport},
    {"-r", &FormatOptions::range},         {"-l", &FormatOptions::listFile},
    {"-mf", &FormatOptions::mfnFrom},      {"-mt", &FormatOptions::mfnTo},
    {"-se", &FormatOptions::search},       {"-sc", &FormatOptions::scan},
};

struct FormatPrintOptions {
  std::string input;
  std::string output;
  bool isPretty = false;
};

constexpr OptionRow<FormatPrintOptions> kFormatPrintRows[] = {
    {"-if", &FormatPrintOptions::input},
    {"-of", &FormatPrintOptions::output},
    {"-p", &FormatPrintOptions::isPretty},
};

struct Fst2IfsOptions {
  std::string database;
  std::string input;
  std::string output;
};

constexpr OptionRow<Fst2IfsOptions> kFst2IfsRows[] = {
    {"-d", &Fst2IfsOptions::database},
    {"-if", &Fst2IfsOptions::input},
    {"-of", &Fst2IfsOptions::output},
};

bool IsComplete(const FormatOptions& options) {
  if (options.database.empty()) return false;
  return !options.source.empty() || options.isCsvReport || options.isJsonReport;
}

// -d names one database, or several: a mask or a list.
bool NamesSeveral(const std::string& database) {
  return database.find_first_of("*,") != std::string::npos;
}

// With several databases the formats of each lie in its own directory, so -src can only be a mask.
bool IsMask(const std::string& source) {
  return source.find_first_of("/\\") == std::string::npos;
}

int RefuseSource(int argc, char** argv) {
  RunProcedure(argc, argv, Timing::kNotPrinted, [](app::VelorAppContext*) {});
  std::cout << "-src: only mask allowed along with -rpt\n";
  return RefuseCommandLine("format");
}

}  // namespace

int main_format(int argc, char** argv) {
  FormatOptions options;
  ScanOptions<FormatOptions>(argc, argv, kFormatRows, &options);
  if (!IsComplete(options)) return RefuseCommandLine("format");
  MfnSelection selection;
  if (!SelectRecords("format", options, &selection, std::cout)) return 0;
  if (NamesSeveral(options.database) && !IsMask(options.source)) return RefuseSource(argc, argv);
  return ReportNotBuilt("format");
}

int main_fmtprint(int argc, char** argv) {
  FormatPrintOptions options;
  ScanOptions<FormatPrintOptions>(argc, argv, kFormatPrintRows, &options);
  if (options.input.empty() || options.output.empty()) return RefuseCommandLine("fmtprint");
  try {
    xpft::XpftPrintFile(options.input, options.output, options.isPretty, std::cout);
  } catch (const std::bad_alloc&) {
    std::cout << "no memory for " << options.input << std::endl;
  }
  return 0;
}

int main_fst2ifs(int argc, char** argv) {
  Fst2IfsOptions options;
  ScanOptions<Fst2IfsOptions>(argc, argv, kFst2IfsRows, &options);
  if (options.database.empty() || options.input.empty() || options.output.empty()) {
    return RefuseCommandLine("fst2ifs");
  }
  return RunProcedure(argc, argv, Timing::kNotPrinted, [&](app::VelorAppContext* ctx) {
    velor_server_proc::VelorFst2Ifs(ctx, options.database, options.input, options.output, std::cout);
  });
}

}  // namespace tool
