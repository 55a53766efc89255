#include "maint/owned_files.h"

#include <algorithm>
#include <filesystem>
#include <vector>

#include "maint/catalogue_lock.h"
#include "maint/database_files.h"
#include "maint/database_names.h"
#include "maint/parameter_file.h"
#include "storage/database_open.h"
#include "utils/path_util.h"
#include "utils/string_utils.h"

namespace velor_server_proc {

namespace fs = std::filesystem;
using utils::StringUtils;

namespace {

/// Records and terms. Digits and "_" may follow: pieces of them, and files that an exchange was to rename.
constexpr std::string_view kDataExtensions[] = {".mst", ".xrf", ".ifp", ".l01", ".n01", ".inv", ".new"};

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

bool IsDataFile(const std::string& fileName, const std::string& name) {
  return std::ranges::any_of(kDataExtensions, [&](std::string_view extension) {
    const std::string stem = name + std::string(extension);
    return StringUtils::StartsWith(fileName, stem) &&
           fileName.find_first_not_of("0123456789_", stem.size()) == std::string::npos;
  });
}

/// The table, the format ... of its name. Not "<name>.*": a database may be called "<name>.old".
bool IsNamedFile(const std::string& fileName, const std::string& name) {
  return StringUtils::StartsWith(fileName, name + ".") && IsNamedExtension(fileName.substr(name.size()));
}

/// The directory of another database, where "<name>.pft" is one of its many formats.
bool IsDirectoryOfAnother(const app::VelorAppContext* ctx, const std::string& name,
                          const std::string& directory) {
  const fs::path path = Resolved(directory);
  const std::string other = path.filename().string();
  return path.parent_path() == Resolved(ctx->dataPath) && other != name &&
         utils::PathUtil::IsFile(ParameterFile(ctx, other));
}

bool Remove(const fs::path& path) {
  std::error_code error;
  fs::remove_all(path, error);
  if (error) LogTool("Delete DB: stays " + path.string() + " " + error.message());
  return !error;
}

/// What bears the name of the database in a directory, its record files excepted. Nothing of the shared
/// files.
void RemoveNamed(const app::VelorAppContext* ctx, const std::string& name, const std::string& directory) {
  if (IsWithin(directory, ctx->depositPath)) return;
  const bool isShared = IsShared(ctx, name, directory);
  const bool isOfAnother = IsDirectoryOfAnother(ctx, name, directory);
  std::vector<fs::path> found;
  std::error_code error;
  for (const fs::directory_entry& entry : fs::directory_iterator(directory, error)) {
    const std::string file = entry.path().filename().string();
    const bool isTaken = entry.is_directory(error) ? file == name + "--text"
                                                   : (IsDataFile(file, name) && !IsRecordFile(file, name)) ||
                                                         (!isOfAnother && IsNamedFile(file, name)) ||
                                                         (!isShared && IsCellFile(file, name));
    if (isTaken) found.push_back(entry.path());
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

void RemoveParameterFile(const app::VelorAppContext* ctx, const std::string& name, std::ostream& out) {
  std::error_code error;
  fs::remove(ParameterFile(ctx, name), error);
  if (error) Say(out, "No access to file " + ParameterFile(ctx, name));
}

/// A drop that is killed leaves no half of the directory under its name.
bool LoseName(const app::VelorAppContext* ctx, const std::string& name, const std::string& hidden,
              std::ostream& out) {
  const CatalogueLock lock(ctx);
  std::error_code error;
  fs::rename(ctx->dataPath + name, hidden, error);
  if (!error) RemoveParameterFile(ctx, name, out);
  return !error;
}

/// The whole directory. From the rename on the name is free: what takes it now is another database.
bool RemoveDirectory(const app::VelorAppContext* ctx, const std::string& name, std::ostream& out) {
  const std::string hidden = HiddenDirectory(ctx, name);
  if (!LoseName(ctx, name, hidden, out)) return false;
  if (!Remove(hidden)) Say(out, "No access to file " + hidden);
  return true;
}

/// A link, or files among those of others.
bool RemoveName(const app::VelorAppContext* ctx, const std::string& name, bool isLink, std::ostream& out) {
  const CatalogueLock lock(ctx);
  if (isLink && !Remove(ctx->dataPath + name)) return false;
  RemoveParameterFile(ctx, name, out);
  return true;
}

}  // namespace

bool RemoveOwnedFiles(const app::VelorAppContext* ctx, const std::string& name, std::ostream& out) {
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
  if (isWhole) return RemoveDirectory(ctx, name, out);
  if (!isLink)
    for (const std::string& directory : directories)
      if (!IsShared(ctx, name, directory))
        fs::remove(directory.substr(0, directory.size() - 1), error);  // when empty
  return RemoveName(ctx, name, isLink, out);
}

void RemoveRests(const app::VelorAppContext* ctx, const std::string& name) {
  (void)HiddenDirectory(ctx, name);
  const CatalogueLock lock(ctx);
  std::error_code error;
  const std::vector<std::string> directories = DirectoriesOf(ctx, name);
  const std::string own = ctx->dataPath + name + "/";
  const bool isOwn = std::ranges::all_of(
      directories, [&](const std::string& path) { return StringUtils::StartsWith(path, own); });
  const bool isGone = fs::symlink_status(ctx->dataPath + name, error).type() == fs::file_type::not_found;
  if (isOwn && isGone) fs::remove(ParameterFile(ctx, name), error);
}

}  // namespace velor_server_proc
