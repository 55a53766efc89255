#include <iostream>

#include "exchange/export.h"
#include "exchange/export_context.h"
#include "exchange/import.h"
#include "exchange/import_context.h"
#include "gbl/global.h"
#include "gbl/global_context.h"
#include "tool/mfn_selection.h"
#include "tool/option_scan.h"
#include "tool/run.h"
#include "tool/tools.h"

namespace tool {
namespace {

using velor_server_proc::VelorExportContext;
using velor_server_proc::VelorGlobalContext;
using velor_server_proc::VelorImportContext;
using velora::EncodingOption;

struct ImportOptions : VelorImportContext {
  std::string database;
  std::string file;
  std::string mergeFormat;
  std::string mergeCorrection;
};

constexpr OptionRow<ImportOptions> kImportRows[] = {
    {"-d", &ImportOptions::database},
    {"-f", &ImportOptions::file},
    {"-t", &ImportOptions::fst},
    {"-p", &ImportOptions::mergeFormat},
    {"-g", &ImportOptions::mergeCorrection},
    {"-flt", &ImportOptions::filter},
    {"-c", &ImportOptions::flc},
    {"-s", Choice<ImportOptions>{&ImportOptions::format, VelorImportContext::kIso}},
    {"-iso", Choice<ImportOptions>{&ImportOptions::format, VelorImportContext::kIso}},
    {"-csv", Choice<ImportOptions>{&ImportOptions::format, VelorImportContext::kCsv}},
    {"-a", &ImportOptions::autoin},
    {"-k", &ImportOptions::checkEncoding},
    {"-win", Choice<ImportOptions>{&ImportOptions::encoding, EncodingOption::kWindows}},
    {"-guid", &ImportOptions::guid},
    {"-proto", &ImportOptions::proto},
    {"-hdr", &ImportOptions::header},
    {"-pdel", &ImportOptions::reuseMfn},
};

struct ExportOptions : SelectionOptions {
  std::string database;
  std::string file;
  std::string fst;
  std::string filter;
  std::int32_t format = VelorExportContext::kText;
  std::int32_t encoding = EncodingOption::kUtf8;
  bool header = false;
};

// There is no -guid here although the usage text names it: the INI file decides whether GUIDs are exported.
constexpr OptionRow<ExportOptions> kExportRows[] = {
    {"-d", &ExportOptions::database},
    {"-f", &ExportOptions::file},
    {"-t", &ExportOptions::fst},
    {"-r", &ExportOptions::range},
    {"-l", &ExportOptions::listFile},
    {"-mf", &ExportOptions::mfnFrom},
    {"-mt", &ExportOptions::mfnTo},
    {"-se", &ExportOptions::search},
    {"-sc", &ExportOptions::scan},
    {"-flt", &ExportOptions::filter},
    {"-s", Choice<ExportOptions>{&ExportOptions::format, VelorExportContext::kIso}},
    {"-iso", Choice<ExportOptions>{&ExportOptions::format, VelorExportContext::kIso}},
    {"-win", Choice<ExportOptions>{&ExportOptions::encoding, EncodingOption::kWindows}},
    {"-hdr", &ExportOptions::header},
};

struct GlobalOptions : SelectionOptions {
  std::string database;
  std::string task;
  std::string logFile;
  bool flc = false;
  bool autoin = false;
  bool ifUpdate = false;
};

constexpr OptionRow<GlobalOptions> kGlobalRows[] = {
    {"-d", &GlobalOptions::database}, {"-f", &GlobalOptions::task},     {"-lf", &GlobalOptions::logFile},
    {"-r", &GlobalOptions::range},    {"-l", &GlobalOptions::listFile}, {"-mf", &GlobalOptions::mfnFrom},
    {"-mt", &GlobalOptions::mfnTo},   {"-se", &GlobalOptions::search},  {"-sc", &GlobalOptions::scan},
    {"-c", &GlobalOptions::flc},      {"-a", &GlobalOptions::autoin},   {"-u", &GlobalOptions::ifUpdate},
};

struct BatchOptions {
  std::string script;
};

constexpr OptionRow<BatchOptions> kBatchRows[] = {{"-f", &BatchOptions::script}};

struct RecUpdateOptions {
  std::string database;
  std::string input;
  std::string output;
  bool mstUpdate = false;
  bool ifUpdate = false;
};

constexpr OptionRow<RecUpdateOptions> kRecUpdateRows[] = {
    {"-d", &RecUpdateOptions::database},        {"-if", &RecUpdateOptions::input},
    {"-of", &RecUpdateOptions::output},         {"-mstupdate", &RecUpdateOptions::mstUpdate},
    {"-ifupdate", &RecUpdateOptions::ifUpdate},
};

void SetMerge(ImportOptions& options) {
  if (!options.mergeFormat.empty()) {
    options.mergeMode = VelorImportContext::kMergeByFormat;
    options.merge = options.mergeFormat;
  } else if (!options.mergeCorrection.empty()) {
    options.mergeMode = VelorImportContext::kMergeByCorrection;
    options.merge = options.mergeCorrection;
  }
}

VelorExportContext MakeExportContext(const ExportOptions& options, const MfnSelection& selection) {
  VelorExportContext context;
  context.format = options.format;
  context.fst = options.fst;
  context.encoding = options.encoding;
  FillSelection(selection, &context);
  context.header = options.header;
  context.filter = options.filter;
  return context;
}

VelorGlobalContext MakeGlobalContext(const GlobalOptions& options, const MfnSelection& selection) {
  VelorGlobalContext context;
  context.ifUpdate = options.ifUpdate;
  context.flc = options.flc;
  context.autoin = options.autoin;
  context.logFile = options.logFile;
  FillSelection(selection, &context);
  return context;
}

}  // namespace

int main_import(int argc, char** argv) {
  ImportOptions options;
  ScanOptions<ImportOptions>(argc, argv, kImportRows, &options);
  if (options.database.empty() || options.file.empty()) return RefuseCommandLine("import");
  if (!options.mergeFormat.empty() && !options.mergeCorrection.empty()) {
    std::cout << "only one option -p or -g allowed\n";
    return 0;
  }
  SetMerge(options);
  return RunProcedure(argc, argv, Timing::kNotPrinted, [&](app::VelorAppContext* ctx) {
    velor_server_proc::VelorImport(ctx, options.database, options.file, std::cout, options);
  });
}

int main_export(int argc, char** argv) {
  ExportOptions options;
  ScanOptions<ExportOptions>(argc, argv, kExportRows, &options);
  if (options.database.empty() || options.file.empty()) return RefuseCommandLine("export");
  MfnSelection selection;
  if (!SelectRecords("export", options, &selection, std::cout)) return 0;
  return RunProcedure(argc, argv, Timing::kNotPrinted, [&](app::VelorAppContext* ctx) {
    velor_server_proc::VelorExport(ctx, options.database, options.file, MakeExportContext(options, selection),
                                   std::cout);
  });
}

int main_global(int argc, char** argv) {
  GlobalOptions options;
  ScanOptions<GlobalOptions>(argc, argv, kGlobalRows, &options);
  if (options.database.empty() || options.task.empty()) return RefuseCommandLine("global");
  MfnSelection selection;
  if (!SelectRecords("global", options, &selection, std::cout)) return 0;
  return RunProcedure(argc, argv, Timing::kNotPrinted, [&](app::VelorAppContext* ctx) {
    velor_server_proc::VelorGlobal(ctx, options.database, options.task, MakeGlobalContext(options, selection),
                                   std::cout);
  });
}

int main_batch(int argc, char** argv) {
  BatchOptions options;
  ScanOptions<BatchOptions>(argc, argv, kBatchRows, &options);
  if (options.script.empty()) return RefuseCommandLine("batch");
  return ReportNotBuilt("batch");
}

int main_recupdate(int argc, char** argv) {
  RecUpdateOptions options;
  ScanOptions<RecUpdateOptions>(argc, argv, kRecUpdateRows, &options);
  if (options.database.empty() || options.input.empty() || options.output.empty()) {
    return RefuseCommandLine("recupdate");
  }
  return ReportNotBuilt("recupdate");
}

}  // namespace tool
