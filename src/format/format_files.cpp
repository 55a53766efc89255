#include "format/format_files.h"

#include <sys/stat.h>

#include <algorithm>
#include <charconv>
#include <mutex>
#include <unordered_map>
#include <vector>

#include "storage/app_paths.h"
#include "storage/codes.h"
#include "storage/database_open.h"
#include "storage/master_file.h"
#include "utils/code_page.h"
#include "utils/path_util.h"
#include "utils/string_utils.h"
#include "utils/text_util.h"

namespace xpft {

namespace {

using utils::PathUtil;
using Directories = std::vector<std::string>;

std::string WithSlash(std::string path) {
  if (!path.empty() && path.back() != '/') path += '/';
  return path;
}

bool IsPath(const std::string& database) {
  return database.find('/') != std::string::npos;
}

/// The records of the companion of "oryx" lie in ".../oryx--text/text".
std::string NameOfDatabase(const std::string& database) {
  if (!IsPath(database)) return database;
  std::string folder = PathUtil::GetFileName(PathUtil::GetDirectoryName(database));
  const std::string file = PathUtil::GetFileName(database);
  return file == "text" && folder.ends_with(velor_32::kCompanionMark) ? folder : file;
}

/// The directories that the parameter file names; empty without one. They are kept by data directory and
/// name, and given out by reference: entries are never removed. A missing file is looked for again.
const Directories& DirectoriesOf(const app::VelorAppContext* ctx, const std::string& database) {
  static std::mutex mutex;
  static std::unordered_map<std::string, Directories> known;
  static const Directories none;

  std::string name = NameOfDatabase(database);
  const std::string key = ctx->execDir + '\n' + ctx->dataPath + '\n' + name;
  const std::lock_guard lock(mutex);
  if (const auto entry = known.find(key); entry != known.end()) return entry->second;
  Directories directories;
  if (backup::OpenDb(ctx->execDir, ctx->dataPath, &name, &directories) != velor_32::kOk) return none;
  return known.emplace(key, std::move(directories)).first->second;
}

/// Appends the places of a database's own files, the more special one first.
void AddDatabase(const app::VelorAppContext* ctx, const std::string& database, VelorPath kind,
                 Directories* places) {
  if (database.empty()) return;
  const Directories& directories = DirectoriesOf(ctx, database);
  const std::size_t item = kind == VelorPath::kTexts ? backup::kTextDirectory : backup::kTableDirectory;
  if (item < directories.size()) places->push_back(directories[item]);
  if (IsPath(database))
    places->push_back(WithSlash(PathUtil::GetDirectoryName(database)));
  else if (!directories.empty())
    places->push_back(directories[backup::kRecordDirectory]);
}

bool DepositComesFirst(const app::VelorAppContext* ctx) {
  return ctx->mainIni != nullptr && ctx->mainIni->Get("MAIN", "DepositPriority", "0") == "1";
}

/// Puts the shared files before or behind those of the database, as the settings say.
void AddDeposit(const app::VelorAppContext* ctx, Directories* places) {
  if (ctx->depositPath.empty()) return;  // not the current directory
  places->insert(DepositComesFirst(ctx) ? places->begin() : places->end(), ctx->depositPath);
}

Directories PlacesOf(const app::VelorAppContext* ctx, VelorPath kind, const std::string& database,
                     bool useDatabase) {
  Directories places;
  switch (kind) {
    case VelorPath::kNone:
      return {""};
    case VelorPath::kSystem:
      return {ctx->execDir};
    case VelorPath::kWork:
      return {fmt_64::WorkDirectoryPath(ctx)};
    case VelorPath::kData:
      return {ctx->dataPath};
    case VelorPath::kDeposit:
      return {ctx->depositPath};
    case VelorPath::kDatabase:
    case VelorPath::kDatabaseFile:
    case VelorPath::kTexts:
      if (useDatabase) AddDatabase(ctx, database, kind, &places);
      AddDeposit(ctx, &places);
  }
  return places;
}

std::string FindIn(const Directories& places, std::string name) {
  if (name.empty()) return {};
  std::replace(name.begin(), name.end(), '\\', '/');
  const std::string lower = utils::StringUtils::ToLower(name);
  for (const std::string& place : places) {
    if (std::string path = place + name; PathUtil::IsFile(path)) return path;
    if (std::string path = place + lower; lower != name && PathUtil::IsFile(path)) return path;
  }
  return {};
}

}  // namespace

std::string LookupFile(const app::VelorAppContext* ctx, VelorPath kind, const std::string& database,
                       const std::string& name, bool useDatabase) {
  if (ctx == nullptr) return {};
  return FindIn(PlacesOf(ctx, kind, database, useDatabase), name);
}

bool ReadFile(const app::VelorAppContext* ctx, VelorPath kind, const std::string& database,
              const std::string& name, bool useDatabase, std::string& content) {
  content.clear();
  const std::string path = LookupFile(ctx, kind, database, name, useDatabase);
  return !path.empty() && utils::TextUtil::FileReadAllBytes(path, content);
}

std::time_t ReadFileDate(const app::VelorAppContext* ctx, VelorPath kind, const std::string& database,
                         const std::string& name, bool useDatabase) {
  const std::string path = LookupFile(ctx, kind, database, name, useDatabase);
  struct stat state {};
  return !path.empty() && ::stat(path.c_str(), &state) == 0 ? state.st_mtime : 0;
}

FormatReference ParseFormatReference(const std::string& text) {
  FormatReference reference{.name = text};
  const std::size_t comma = text.find(',');
  if (!text.starts_with('%') || comma == std::string::npos) return reference;
  int kind = 0;
  const char* end = text.data() + comma;
  if (const auto [stop, error] = std::from_chars(text.data() + 1, end, kind);
      stop != end || error != std::errc())
    return reference;
  reference.kind = static_cast<VelorPath>(kind);
  reference.name = text.substr(comma + 1);
  return reference;
}

std::string TextOfFile(std::string_view bytes) {
  bytes.remove_prefix(static_cast<std::size_t>(utils::TextUtil::CheckUTF8Bom(bytes)));
  return utils::TextUtil::ReadAllTextUtf8(bytes);
}

std::string TextOfFormat(const app::VelorAppContext* ctx, std::string_view bytes) {
  if (bytes.starts_with('!')) return std::string(bytes.substr(1));
  if (ctx != nullptr && ctx->allUtf8 && utils::TextUtil::CheckUTF8(bytes)) return std::string(bytes);
  return backup::AnsiToUtf8(bytes);
}

std::string TableDirectory(const app::VelorAppContext* ctx, const std::string& database) {
  if (ctx == nullptr || database.empty()) return {};
  const Directories& directories = DirectoriesOf(ctx, database);
  return directories.empty() ? std::string() : directories[backup::kTableDirectory];
}

}  // namespace xpft

namespace backup {

bool LoadEmbededResourse(const app::VelorAppContext* ctx, const std::string& databaseDirectory,
                         const std::string& name, velor_01::TStringList* lines) {
  lines->Clear();
  if (ctx == nullptr) return false;
  xpft::Directories places;
  if (!databaseDirectory.empty()) places.push_back(databaseDirectory);
  xpft::AddDeposit(ctx, &places);
  const std::string path = xpft::FindIn(places, name);
  return !path.empty() && lines->LoadFromFile(path);
}

}  // namespace backup
