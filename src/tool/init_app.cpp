#include "tool/init_app.h"

#include <algorithm>
#include <cstdlib>
#include <iostream>
#include <new>
#include <string_view>

#include "storage/app_paths.h"
#include "storage/char_tables.h"
#include "storage/process.h"
#include "utils/log_util.h"
#include "utils/path_util.h"

namespace tool {
namespace {

using utils::PathUtil;

struct FrameOptions {
  std::string iniPath;
  std::string prefix;
  bool xpftEnabled = true;
  int cacheOption = app::RecordCacheOpt::kOption2;
};

// The directories of a run. All end in "/"; the two tables are paths without ".tab".
struct Directories {
  std::string system;
  std::string data;
  std::string deposit;
  std::string upperCaseTable;
  std::string alphabetTable;
};

void ReadXpftOption(std::string_view word, FrameOptions& options) {
  if (word == "-xpftoff") options.xpftEnabled = false;
  if (word == "-xpft0") options.cacheOption = app::RecordCacheOpt::kOption0;
  if (word == "-xpft1") options.cacheOption = app::RecordCacheOpt::kOption1;
  if (word == "-xpft2") options.cacheOption = app::RecordCacheOpt::kOption2;
}

// Like the tools' own scanner this walk does not step over the values of options.
void ReadFrameOptions(int argc, char** argv, FrameOptions& options) {
  for (int i = 0; i < argc; ++i) {
    const std::string_view word = argv[i];
    if (!word.starts_with('-')) continue;
    ReadXpftOption(word, options);
    if (i + 1 == argc) continue;
    if (word == "-pref") options.prefix = argv[i + 1];
    if (word == "-i" && options.iniPath.empty()) options.iniPath = argv[i + 1];
  }
}

[[noreturn]] void EndRun(const std::string& message) {
  std::cout.flush();
  std::cerr << message << std::endl;
  utils::LogUtil::Log("", message);
  std::exit(1);
}

std::string ResolveIniPath(const std::string& path, const std::string& baseDir) {
  if (path.empty()) return baseDir + "/velora.ini";
  return PathUtil::IsPathRooted(path) ? path : baseDir + "/" + path;
}

class MainSection {
 public:
  explicit MainSection(const utils::IniFile& ini) : ini_(ini) {}

  [[nodiscard]] std::string GetPath(std::string_view key, const std::string& def) const {
    std::string value = ini_.Get("MAIN", key, def);
    std::replace(value.begin(), value.end(), '\\', '/');
    return value;
  }

 private:
  const utils::IniFile& ini_;
};

// The base passed on ends in "/", as CorPath wants it: a leading "." takes the last character of the base
// away.
std::string GetSystemDirectory(const MainSection& main, const std::string& baseDir) {
  const std::string value = main.GetPath("SYSPATH", "");
  if (value.empty()) return baseDir + "/";
  std::string path = backup::CorPath(baseDir + "/", value);
  if (path.back() != '/') path += '/';
  return path;
}

std::string GetTablePath(const MainSection& main, std::string_view key, const std::string& system,
                         const std::string& name) {
  std::string path = main.GetPath(key, "");
  if (path.empty()) path = system + name;
  if (path.starts_with('.')) path = system + path.substr(1);
  return backup::CorPath(system, path);
}

Directories ReadDirectories(const utils::IniFile& ini, const std::string& baseDir) {
  const MainSection main(ini);
  Directories dirs;
  dirs.system = GetSystemDirectory(main, baseDir);
  dirs.data = backup::CorPath(dirs.system, main.GetPath("DATAPATH", dirs.system + "datai/"));
  dirs.deposit = backup::CorPath(dirs.system, main.GetPath("DepositPath", dirs.system + "datai/deposit/"));
  dirs.upperCaseTable = GetTablePath(main, "UCTABPATH", dirs.system, "isisucw");
  dirs.alphabetTable = GetTablePath(main, "ACTABPATH", dirs.system, "isisacw");
  return dirs;
}

app::VelorAppContext* MakeContext(const std::string& path, const std::string& baseDir,
                                  const FrameOptions& options) {
  app::VelorAppContext* ctx = app::velor_app_init();
  if (ctx == nullptr) EndRun("app init failure");
  fmt_64::velor_MainIni_Init(ctx, path);
  if (ctx->mainIni == nullptr) EndRun("ini file not found: " + path);

  const Directories dirs = ReadDirectories(*ctx->mainIni, baseDir);
  fmt_64::velor_uatab_init(ctx, dirs.upperCaseTable, "", dirs.alphabetTable, dirs.system, dirs.data);
  fmt_64::velor_init_DepositPath(ctx, dirs.deposit);
  fmt_64::velor_set_options(ctx, true, ctx->mainIni->Get("MAIN", "FORMAT_DECOMPILED", "0") == "1", false);
  fmt_64::velor_enable_xpft(ctx, options.xpftEnabled, options.cacheOption);
  if (!options.prefix.empty()) app::SetAppPrefix(options.prefix);
  return ctx;
}

}  // namespace

app::VelorAppContext* init_app(std::string iniPath, int argc, char** argv) {
  FrameOptions options;
  options.iniPath = std::move(iniPath);
  ReadFrameOptions(argc, argv, options);

  const std::string baseDir = PathUtil::GetDirectoryName(PathUtil::GetExePathA());
  const std::string path = ResolveIniPath(options.iniPath, baseDir);
  if (!PathUtil::IsFile(path)) EndRun("ini file not found: " + path);

  try {
    return MakeContext(path, baseDir, options);
  } catch (const std::bad_alloc&) {
    EndRun("app init failure");
  }
}

}  // namespace tool
