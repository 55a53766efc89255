#include "storage/database_open.h"

#include <algorithm>
#include <cstring>
#include <ostream>

#include "storage/app_context.h"
#include "storage/codes.h"
#include "storage/edge.h"
#include "storage/master_file.h"
#include "storage/process.h"
#include "storage/storage_hooks.h"
#include "storage/term_files.h"
#include "utils/log_util.h"
#include "utils/path_util.h"
#include "utils/string_list.h"
#include "utils/string_utils.h"
#include "utils/text_util.h"

namespace backup {

namespace {

constexpr std::string_view kTextMark = "--text";
constexpr std::size_t kDirectoryCount = 10;
constexpr int kFirstFreeNumber = 12;  // lines with this number or a higher one have no meaning

/// Takes one line "n=path" of a parameter file; any other line is passed over.
void TakeLine(std::string_view line, std::vector<std::string>* directories) {
  const std::size_t equals = line.find('=');
  if (equals == std::string_view::npos) return;
  const int number = utils::TextUtil::Int32ParseFast(line.data(), static_cast<int>(equals), 0);
  if (number < 1 || number >= kFirstFreeNumber) return;
  const std::size_t item = static_cast<std::size_t>(number) - 1;
  if (item >= directories->size()) directories->resize(item + 1);
  (*directories)[item] = line.substr(equals + 1);
}

std::string Resolve(std::string_view execDir, std::string path) {
  std::replace(path.begin(), path.end(), '\\', '/');
  path = CorPath(execDir, path);
  if (!path.empty() && path.back() != '/') path += '/';
  return path;
}

}  // namespace

int OpenDb(std::string_view execDir, std::string_view dataPath, std::string* database,
           std::vector<std::string>* directories) {
  directories->assign(kDirectoryCount, std::string(dataPath));
  std::string name = utils::StringUtils::ToLower(*database);
  const std::size_t mark = name.find(kTextMark);
  const bool isCompanion = mark != std::string::npos;
  if (isCompanion) name.resize(mark);

  const std::string parameterFile = std::string(dataPath) + name + ".par";
  velor_01::TStringList lines;
  if (!utils::PathUtil::IsFile(parameterFile) || !lines.LoadFromFile(parameterFile.c_str()))
    return velor_32::kNoParameterFile;
  for (int i = 0; i < lines.GetCount(); ++i) TakeLine(lines.Get(i), directories);

  for (std::string& path : *directories) {
    path = Resolve(execDir, path);
    if (isCompanion) path += name + std::string(kTextMark) + "/";
  }
  *database = isCompanion ? "text" : name;
  return velor_32::kOk;
}

}  // namespace backup

namespace velor_32 {

void VelorInitUACTAB(TVelorSpace* space, const unsigned char* alphabet, const unsigned char* upcase) {
  if (!space) return;
  if (alphabet) std::memcpy(space->actab, alphabet, sizeof space->actab);
  if (upcase) std::memcpy(space->uctab, upcase, sizeof space->uctab);
}

}  // namespace velor_32

namespace velor_server_proc {

namespace {

using velor_32::kOk;

/// The field selection tables and stop words of the database and of its companion.
int InitInvContext(velor_01::TVelorSpace* space, const std::string& path) {
  const velor_32::StorageHooks* hooks = space->app->hooks;
  if (!hooks || !hooks->initInvContext) return kOk;
  if (int rc = hooks->initInvContext(space, path.c_str(), false); rc != kOk) return rc;
  if (!space->textSpace) return kOk;
  return hooks->initInvContext(space->textSpace, (path + "--text/text").c_str(), true);
}

int OpenFiles(velor_01::TVelorSpace* space, const std::vector<std::string>& directories,
              const std::string& name) {
  constexpr int kShelves = 5;
  const auto path = [&](std::size_t kind) { return directories[kind] + name; };
  if (int rc = velor_32::Velorinitmst(space, path(backup::kRecordDirectory).c_str(), kShelves); rc != kOk)
    return rc;
  if (int rc = velor_32::Velorinitterm(space, path(backup::kTermDirectory).c_str()); rc != kOk) return rc;
  velor_32::VelorInitUACTAB(space, space->app->acTable.data(), space->app->ucTable.data());
  return InitInvContext(space, path(backup::kTableDirectory));
}

velor_01::TVelorSpace* Open(app::VelorAppContext* ctx, const std::string& database, int* result) {
  *result = velor_32::kNoParameterFile;
  if (!ctx || !ctx->mainIni) return nullptr;
  std::string name = database;
  std::vector<std::string> directories;
  *result = backup::OpenDb(ctx->execDir, ctx->dataPath, &name, &directories);
  if (*result != kOk) return nullptr;

  velor_32::SpacePointer space(velor_32::Velorinit(ctx));
  *result = space ? OpenFiles(space.get(), directories, name) : velor_32::kNoMemory;
  if (*result != kOk) return nullptr;
  if (space->isFullText && name == "text") space->isTextSpace = true;
  return space.release();
}

}  // namespace

velor_01::TVelorSpace* VelorOpenDb(app::VelorAppContext* ctx, const std::string& database, std::ostream& out,
                                   int* result) {
  const std::string text = "OpenDB " + database;
  out << text;
  LogTool(text);
  velor_01::TVelorSpace* space = Open(ctx, database, result);
  if (!space) {
    const std::string failure = " failed: " + std::to_string(*result);
    out << failure << std::endl;
    LogTool(text + failure);
    return nullptr;
  }
  out << " - Done" << std::endl;
  LogTool(text + " done");
  return space;
}

void LogTool(std::string_view message) {
  utils::LogUtil::Log(app::AppPrefixText(), message);
}

}  // namespace velor_server_proc
