#include "gbl/record_checks.h"

#include "format/format_files.h"
#include "format/format_run.h"
#include "storage/app_context.h"
#include "storage/codes.h"
#include "storage/database_open.h"
#include "storage/maintenance_context.h"
#include "storage/process.h"
#include "utils/log_util.h"
#include "utils/path_util.h"
#include "utils/string_utils.h"

namespace velor_server_proc {

using velor_32::kOk;

namespace {

constexpr int kMaxOutput = 32000;

/// In lower case; an empty value is none.
std::string FileNameOf(const app::VelorAppContext& ctx, const char* key, const char* byDefault) {
  const std::string value = velora::MainText(ctx, key, byDefault);
  return utils::StringUtils::ToLower(value.empty() ? byDefault : value);
}

/// A reference to the format, which the cache keeps compiled: to the file of the database's directory, or to
/// the shared one. Empty without both.
std::string FormatOfControl(const velor_01::TVelorSpace* space, const std::string& directory,
                            const std::string& name) {
  if (!directory.empty() && utils::PathUtil::IsFile(directory + name + ".pft"))
    return "@%" + std::to_string(static_cast<int>(xpft::VelorPath::kNone)) + "," + directory + name;
  const auto kind = xpft::VelorPath::kDatabaseFile;
  return xpft::LookupFile(space->app, kind, space->path, name + ".pft", true).empty() ? "" : "@" + name;
}

int RunFormat(velor_01::TVelorSpace* space, int slot, const std::string& format) {
  const int rc = fmt_64::Velor_InitPFT(space, format.data(), static_cast<int>(format.size()));
  return rc != kOk ? rc : fmt_64::Velor_Format(space, slot, slot + 1, kMaxOutput, 0, "VELOR64");
}

}  // namespace

void LoadAutomaticInput(const velor_01::TVelorSpace* space, velor_01::TStringList* task) {
  task->Clear();
  if (space == nullptr || space->app == nullptr) return;
  const std::string name = FileNameOf(*space->app, "AUTOINFILE", "autoin.gbl");
  task->LoadFromFile(xpft::TableDirectory(space->app, space->path) + name);
}

std::string LogicControlName(const app::VelorAppContext& ctx) {
  return FileNameOf(ctx, "DBNFLC", "dbnflc");
}

bool HasLogicControl(const velor_01::TVelorSpace* space, const std::string& databaseDirectory,
                     const std::string& name) {
  if (!FormatOfControl(space, databaseDirectory, name).empty()) return true;
  utils::LogUtil::LogErrorPid(app::AppPrefixText(), "logic control format not found " + name);
  return false;
}

bool DBN_Flc_record(velor_01::TVelorSpace* space, int slot, const std::string& databaseDirectory,
                    const std::string& name, std::string& result) {
  result.clear();
  const std::string format = FormatOfControl(space, databaseDirectory, name);
  if (format.empty()) return true;
  if (const int rc = RunFormat(space, slot, format); rc != kOk) {
    result = "format error " + std::to_string(rc);
    return false;
  }
  const std::string_view output = xpft::Velor_FormatResult(space);
  if (output.empty() || output.starts_with('0')) return true;
  result = output;
  return false;
}

}  // namespace velor_server_proc
