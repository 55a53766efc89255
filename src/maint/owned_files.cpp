#include "maint/owned_files.h"

#include <algorithm>
#include <filesystem>
#include <vector>

#include "maint/database_files.h"
#include "storage/database_open.h"
#include "utils/path_util.h"
#include "utils/string_utils.h"

namespace velor_server_proc {

namespace fs = std::filesystem;
using utils::StringUtils;

namespace {

std::vector<std::string> DirectoriesOf(const app::VelorAppContext* ctx, std::string name) {
  std::vector<std::string> directories;
  (void)backup::OpenDb(ctx->execDir, ctx->dataPath, &name, &directories);
  return directories;
}

/// Without a closing slash, links resolved as far as the path exists.
fs::path Resolved(const std::string& path) {
  std::error_code error;
  const fs::path resolved = fs::weakly_canonical(path, error);
  const fs::path& found = error ? fs::path(path) : resolved;
  return found.has_filename() ? found : found.parent_path();
}

bool IsWithin(const std::string& path, const std::string& directory) {
  const fs::path inner = Resolved(path);
  const fs::path outer = Resolved(directory);
  return std::mismatch(outer.begin(), outer.end(), inner.begin(), inner.end()).first == outer.end();
}

/// Whether others than the database `name` have files below a directory.
bool IsShared(const app::VelorAppContext* ctx, const std::string& name, const std::string& directory) {
  if (IsWithin(ctx->dataPath, directory) || IsWithin(ctx->depositPath, directory)) return true;
  std::error_code error;
  for (const fs::directory_entry& entry : fs::directory_iterator(ctx->dataPath, error)) {
    const std::string other = entry.path().stem().string();
    if (entry.path().extension() != ".par" || other == name) continue;
    for (const std::string& path : DirectoriesOf(ctx, other))
      if (IsWithin(path, directory)) return true;
  }
  return false;
}

bool IsRecordFile(const std::string& fileName, const std::string& name) {
  return fileName == name + ".mst" || fileName == name + ".xrf";
}

/// "<name><number>.cell"; in a directory of several databases "a1" + "1" could be "a" + "11".
bool IsCellFile(const std::string& fileName, const std::string& name) {
  if (!StringUtils::StartsWith(fileName, name) || !StringUtils::EndsWith(fileName, ".cell")) return false;
  const std::string number = fileName.substr(name.size(), fileName.size() - name.size() - 5);
  return !number.empty() && number.find_first_not_of("0123456789") == std::string::npos;
}

bool Remove(const fs::path& path) {
  std::error_code error;
  fs::remove_all(path, error);
  if (error) LogTool("Delete DB: stays " + path.string() + " " + error.message());
  return !error;
}

/// What bears the name of the database in a directory, its record files excepted.
void RemoveNamed(const app::VelorAppContext* ctx, const std::string& name, const std::string& directory) {
  const bool isShared = IsShared(ctx, name, directory);
  std::vector<fs::path> found;
  std::error_code error;
  for (const fs::directory_entry& entry : fs::directory_iterator(directory, error)) {
    const std::string file = entry.path().filename().string();
    const bool isParameterFile = directory == ctx->dataPath && file == name + ".par";
    const bool isNamed = StringUtils::StartsWith(file, name + ".") && !entry.is_directory(error);
    if (isParameterFile || IsRecordFile(file, name)) continue;
    if (isNamed || file == name + "--text" || (!isShared && IsCellFile(file, name)))
      found.push_back(entry.path());
  }
  for (const fs::path& path : found) Remove(path);
}

/// The store of the texts, when the end of its path says whose it is.
void RemoveTexts(const app::VelorAppContext* ctx, const std::string& name, const std::string& directory) {
  const bool isNamed = StringUtils::EndsWith(StringUtils::ToLower(directory), "/" + name + "/texts/");
  if (isNamed && !IsShared(ctx, name, directory)) Remove(directory.substr(0, directory.size() - 1));
}

bool RemoveRecordFiles(const std::string& name, const std::string& directory) {
  const bool isXrfGone = Remove(directory + name + ".xrf");
  const bool isMstGone = Remove(directory + name + ".mst");
  return isXrfGone && isMstGone;
}

/// The whole directory. It loses its name first, by one step: a drop that is killed leaves no half of it.
bool RemoveDirectory(const app::VelorAppContext* ctx, const std::string& name) {
  const std::string hidden = HiddenDirectory(ctx, name);
  std::error_code error;
  fs::rename(ctx->dataPath + name, hidden, error);
  if (!error) Remove(hidden);
  return !error;
}

}  // namespace

bool RemoveOwnedFiles(const app::VelorAppContext* ctx, const std::string& name) {
  std::vector<std::string> directories = DirectoriesOf(ctx, name);
  const std::string recordDirectory = directories[backup::kRecordDirectory];
  const std::string texts =
      directories.size() > backup::kTextDirectory ? directories[backup::kTextDirectory] : "";
  const std::string own = ctx->dataPath + name + "/";
  std::error_code error;
  const bool isLink = fs::is_symlink(ctx->dataPath + name, error);
  const bool isWhole = utils::PathUtil::IsDirectory(own) && !isLink && !IsShared(ctx, name, own);

  directories.resize(backup::kTextDirectory);
  std::ranges::sort(directories);
  directories.erase(std::unique(directories.begin(), directories.end()), directories.end());
  for (const std::string& directory : directories)
    if (!isWhole || directory != own) RemoveNamed(ctx, name, directory);
  if (!texts.empty() && !(isWhole && IsWithin(texts, own))) RemoveTexts(ctx, name, texts);
  if (recordDirectory != own || !isWhole)
    if (!RemoveRecordFiles(name, recordDirectory)) return false;
  if (isLink) return Remove(ctx->dataPath + name);
  if (isWhole) return RemoveDirectory(ctx, name);
  for (const std::string& directory : directories)
    if (directory != ctx->dataPath)
      fs::remove(directory.substr(0, directory.size() - 1), error);  // when empty
  return true;
}

}  // namespace velor_server_proc
