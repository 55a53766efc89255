#include "maint/database_names.h"

#include <fnmatch.h>

#include <algorithm>
#include <filesystem>
#include <ostream>
#include <vector>

#include "storage/codes.h"
#include "storage/database_open.h"
#include "storage/master_file.h"
#include "storage/record_format.h"
#include "utils/file_layer.h"
#include "utils/path_util.h"
#include "utils/string_utils.h"

namespace velor_server_proc {

namespace fs = std::filesystem;
using utils::StringUtils;

namespace {

constexpr std::string_view RESERVDBN[] = {
    "ARCH",    "MORPH", "ORYX",  "BLANK", "CMPL",  "RDR",   "RQST",  "HELP",   "TEZ",
    "ATHRC",   "ATHRS", "ATHRU", "ATHRA", "ATHRT", "ATHRB", "ATHRG", "MESH",   "PODB",
    "WORK",    "RSUDC", "RSBBK", "KZD",   "VUZ",   "IRI",   "PAY",   "HLPINI", "URUB",
    "DEPOSIT", "IMAGE", "GUAR",  "GURF",  "GUSK",  "CHILD", "COUNT", "LOGDB",  "POST",
};

/// Separators, signs of masks and lists, the mark of a database on another server, brackets of INI sections.
constexpr std::string_view kRefusedCharacters = "/\\*?,%[]=";

std::vector<std::string> Existing(const app::VelorAppContext* ctx, const std::string& mask) {
  std::vector<std::string> names;
  std::error_code error;
  for (const fs::directory_entry& entry : fs::directory_iterator(ctx->dataPath, error)) {
    const std::string name = entry.path().filename().string();
    if (name == "deposit" || ::fnmatch(mask.c_str(), name.c_str(), 0) != 0) continue;
    if (entry.is_directory(error) && utils::PathUtil::IsFile(ctx->dataPath + name + ".par"))
      names.push_back(name);
  }
  std::sort(names.begin(), names.end());
  return names;
}

}  // namespace

void Say(std::ostream& out, const std::string& text) {
  out << text << std::endl;
  LogTool(text);
}

bool IsUsableName(std::string_view name) {
  const auto isControl = [](char c) { return static_cast<unsigned char>(c) < ' '; };
  return !name.empty() && name.front() != '.' && name == StringUtils::Trim(name) &&
         name.find_first_of(kRefusedCharacters) == std::string_view::npos &&
         name.find(velor_32::kCompanionMark) == std::string_view::npos &&
         std::ranges::none_of(name, isControl);
}

bool IsNewName(std::string_view name) {
  return IsUsableName(name) && name.front() != '@' && name.find('.') == std::string_view::npos;
}

bool IsReservedName(std::string_view name) {
  return std::ranges::any_of(
      RESERVDBN, [&](std::string_view reserved) { return StringUtils::EqualsNoCase(reserved, name); });
}

std::string TemplateName(const app::VelorAppContext* ctx) {
  return StringUtils::ToLower(ctx->mainIni->Get("Main", "EtalonDBN", "ORYX"));
}

std::string BlankName(const app::VelorAppContext* ctx) {
  return StringUtils::ToLower(ctx->mainIni->Get("Main", "EmptyDBN", "BLANK"));
}

bool IsRemovableName(const app::VelorAppContext* ctx, const std::string& name) {
  return IsUsableName(name) && name != TemplateName(ctx) && name != BlankName(ctx);
}

std::string RecordPath(const app::VelorAppContext* ctx, const std::string& dbName) {
  std::string name = dbName;
  std::vector<std::string> directories;
  if (backup::OpenDb(ctx->execDir, ctx->dataPath, &name, &directories) != velor_32::kOk) return "";
  return directories[backup::kRecordDirectory] + name;
}

bool HasFullText(const std::string& path) {
  if (path.empty()) return false;
  const int file = backup::_lopen((path + ".mst").c_str(), velor_32::kOpenRead);
  if (file < 0) return false;
  velor_01::Tcntmst control;
  const bool isRead = velor_32::ReadControl(file, &control);
  backup::_lclose(file);
  return isRead && control.mstType > velor_01::kLargestOrdinaryType;
}

bool CheckMstAvailable(app::VelorAppContext* ctx, const std::string& dbName, std::ostream& out) {
  const std::string path = RecordPath(ctx, dbName);
  if (path.empty() || !utils::PathUtil::IsFile(path + ".mst")) {
    Say(out, "DB does not exist " + dbName);
    return false;
  }
  const velor_32::SpacePointer space(velor_32::Velorinit(ctx));
  if (space != nullptr && velor_32::Velorinitmst(space.get(), path.c_str(), 1) == velor_32::kOk) return true;
  Say(out, "DB not available " + dbName);
  return false;
}

void VelorDbList(const app::VelorAppContext* ctx, const std::string& source, velor_01::TStringList* names) {
  names->Clear();
  const auto addOnce = [&](const std::string& name) {
    const auto isThere = [&](const velor_01::TStringItem& item) { return name == item.text; };
    if (std::ranges::none_of(names->Items(), isThere)) names->Add(name);
  };
  for (const std::string& word : StringUtils::Split(StringUtils::ToLower(source), ',')) {
    const std::string name(StringUtils::Trim(word));
    if (name.find_first_of("*?") != std::string::npos) {
      for (const std::string& found : Existing(ctx, name)) addOnce(found);
    } else if (!name.empty()) {
      addOnce(name);
    }
  }
}

}  // namespace velor_server_proc
