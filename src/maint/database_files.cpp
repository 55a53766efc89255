#include "maint/database_files.h"

#include <fnmatch.h>
#include <signal.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <filesystem>

#include "maint/database_names.h"
#include "storage/codes.h"
#include "storage/database_lock.h"
#include "storage/database_open.h"
#include "storage/master_file.h"
#include "storage/velor_space.h"
#include "utils/file_layer.h"
#include "utils/path_util.h"
#include "utils/string_utils.h"
#include "utils/text_util.h"

namespace velor_server_proc {

namespace fs = std::filesystem;
using utils::PathUtil;
using utils::StringUtils;
using velor_32::kNoRecordFiles;
using velor_32::kOk;

namespace {

constexpr const char* kBriefFormat = "MFN";

/// The files of a template that every database of its kind has.
constexpr const char* kTemplateMasks[] = {
    "*.fst", "*.mnu", "*.pft", "*.hdr", "*.par", "*.tbu", "*.srt", "*.ws",  "*.wss", "*.gbl",
    "*.srw", "*.opt", "*.tre", "*.ilf", "*.ini", "*.stf", "*.xlt", "*.tbg", "*.smf", "*.ibf",
};

/// Files that bear the name of the template and get the name of the database. The tables and words of the
/// index are among them: they are looked for under that name.
constexpr std::string_view kNamedExtensions[] = {
    ".pft", ".stw", ".sch", ".ws", ".ini", ".ifs", ".cells", ".fst",
};

constexpr const char* kDatabaseExtensions[] = {".mst", ".xrf", ".n01", ".l01", ".ifp"};

bool CopyOne(const fs::path& from, const fs::path& to) {
  std::error_code error;
  fs::copy_file(from, to, fs::copy_options::overwrite_existing, error);
  if (!error)
    fs::permissions(to, fs::perms::owner_read | fs::perms::owner_write, fs::perm_options::add, error);
  return !error;
}

bool Rename(const std::string& directory, const std::string& from, const std::string& to) {
  std::error_code error;
  if (!PathUtil::IsFile(directory + from)) return true;
  fs::rename(directory + from, directory + to, error);
  return !error;
}

bool CopyTemplate(const std::string& from, const std::string& stem, const std::string& to,
                  const std::string& newStem) {
  for (const char* mask : kTemplateMasks)
    if (!MyCopyFile(from + mask, to)) return false;
  for (const std::string_view extension : kNamedExtensions) {
    const std::string file = std::string(stem).append(extension);
    if (!MyCopyFile(from + file, to) || !Rename(to, file, std::string(newStem).append(extension)))
      return false;
  }
  return true;
}

/// The record files of the empty database, and whatever else lies there.
bool CopyBlank(const std::string& from, const std::string& stem, const std::string& to,
               const std::string& newStem) {
  if (!MyCopyFile(from + "*.*", to)) return false;
  std::error_code error;
  for (const fs::directory_entry& entry : fs::directory_iterator(from, error)) {
    const std::string name = entry.path().filename().string();
    if (!StringUtils::StartsWith(name, stem + ".")) continue;
    if (!Rename(to, name, newStem + name.substr(stem.size()))) return false;
  }
  return !error;
}

/// What the empty database lacks is made empty.
bool CompleteFiles(const std::string& path) {
  return std::ranges::all_of(kDatabaseExtensions, [&](const char* extension) {
    const std::string file = path + extension;
    return PathUtil::IsFile(file) || backup::_lclose(backup::_lcreat(file.c_str(), 0)) == 0;
  });
}

/// The companion with the page texts, and the store of the texts.
bool MakeFullTextFiles(const DatabaseSource& source, const std::string& directory, const std::string& name) {
  std::error_code error;
  fs::create_directory(directory + "texts", error);
  const std::string companion = directory + name + "--text/";
  fs::create_directory(companion, error);
  const std::string blank = source.blankDirectory + source.blank + "--text/";
  const std::string templates = source.templateDirectory + source.templateDb + "--text/";
  return !error && MyCopyFile(blank + "text.*", companion) && CompleteFiles(companion + "text") &&
         (source.templateDirectory.empty() || CopyTemplate(templates, "text", companion, "text"));
}

/// Writes the control records that the kind of database asks for. An empty database that has them keeps its
/// files as they came.
int WriteControlRecords(app::VelorAppContext* ctx, const std::string& path, bool isFullText) {
  std::error_code error;
  if (fs::file_size(path + ".mst", error) > 0 && HasFullText(path) == isFullText) return kOk;
  const velor_32::SpacePointer space(velor_32::Velorinit(ctx));
  if (int rc = velor_32::Velorinitmst(space.get(), path.c_str(), 1); rc != kOk) return rc;
  space->isFullText = isFullText;  // the control record follows it
  return velor_32::VelorDBEmpty(space.get());
}

/// Ended, but its parent has not asked for it. The state follows the name of the program, which ends in the
/// last bracket (proc(5)).
bool IsZombie(const std::string& process) {
  std::string text;
  if (!utils::TextUtil::FileReadAllBytes("/proc/" + process + "/stat", text)) return false;
  const std::size_t end = text.rfind(") ");
  return end != std::string::npos && text.compare(end + 2, 1, "Z") == 0;
}

bool IsAlive(const std::string& process) {
  const int number = utils::TextUtil::Int32ParseExact(process, 0);
  return number > 0 && (::kill(number, 0) == 0 || errno != ESRCH) && !IsZombie(process);
}

}  // namespace

bool MyCopyFile(const std::string& source, const std::string& destination) {
  const std::string directory = PathUtil::GetDirectoryName(source);
  const std::string mask = PathUtil::GetFileName(source);
  if (!PathUtil::IsDirectory(directory)) return true;
  std::error_code error;
  for (const fs::directory_entry& entry : fs::directory_iterator(directory, error)) {
    const std::string name = entry.path().filename().string();
    if (::fnmatch(mask.c_str(), name.c_str(), FNM_CASEFOLD) != 0 || !entry.is_regular_file(error)) continue;
    if (CopyOne(entry.path(), fs::path(destination) / name)) continue;
    LogTool("File copy failed " + entry.path().string());
    return false;
  }
  return !error;
}

std::string TemplateDirectory(const app::VelorAppContext* ctx, const std::string& name) {
  if (!IsUsableName(name)) return "";
  if (PathUtil::IsDirectory(ctx->dataPath + name)) return ctx->dataPath + name + "/";
  const std::string directory = PathUtil::GetDirectoryName(RecordPath(ctx, name));
  return PathUtil::IsDirectory(directory) ? directory + "/" : "";
}

bool MakesFullText(const DatabaseSource& source) {
  const auto hasPages = [](const std::string& directory, const std::string& name) {
    return HasFullText(directory + name) || PathUtil::IsDirectory(directory + name + "--text");
  };
  return hasPages(source.blankDirectory, source.blank) ||
         (!source.templateDirectory.empty() && hasPages(source.templateDirectory, source.templateDb));
}

bool IsNameOfTemplateFile(const DatabaseSource& source, const std::string& name) {
  if (source.templateDirectory.empty() || name == source.templateDb) return false;
  return std::ranges::any_of(kNamedExtensions, [&](std::string_view extension) {
    const auto has = [&](const std::string& stem) {
      return PathUtil::IsFile(std::string(source.templateDirectory).append(stem).append(extension));
    };
    return has(source.templateDb) && has(name);
  });
}

bool IsNamedExtension(std::string_view extension) {
  return std::ranges::find(kNamedExtensions, extension) != std::end(kNamedExtensions);
}

int MakeDatabaseFiles(app::VelorAppContext* ctx, const DatabaseSource& source, const std::string& directory,
                      const std::string& name) {
  if (!CopyBlank(source.blankDirectory, source.blank, directory, name) || !CompleteFiles(directory + name))
    return kNoRecordFiles;
  const bool isFullText = MakesFullText(source);
  if (isFullText) {
    if (!MakeFullTextFiles(source, directory, name)) return kNoRecordFiles;
    if (int rc = WriteControlRecords(ctx, directory + name + "--text/text", true); rc != kOk) return rc;
  }
  if (int rc = WriteControlRecords(ctx, directory + name, isFullText); rc != kOk) return rc;

  const bool isFree = source.templateDirectory.empty();
  const bool isDone = isFree ? utils::TextUtil::FileWriteAllBytes(directory + "brief.pft", kBriefFormat)
                             : CopyTemplate(source.templateDirectory, source.templateDb, directory, name);
  return isDone ? kOk : kNoRecordFiles;
}

std::string HiddenDirectory(const app::VelorAppContext* ctx, const std::string& name) {
  const std::string stem = "." + name + ".";
  std::error_code error;
  for (const fs::directory_entry& entry : fs::directory_iterator(ctx->dataPath, error)) {
    const std::string found = entry.path().filename().string();
    if (!StringUtils::StartsWith(found, stem)) continue;
    const std::string process = found.substr(stem.size());
    const bool isOurs = !process.empty() && process.find_first_not_of("0123456789") == std::string::npos;
    std::error_code ignored;
    if (isOurs && (!IsAlive(process) || process == std::to_string(::getpid())))
      fs::remove_all(entry.path(), ignored);
  }
  return ctx->dataPath + stem + std::to_string(::getpid());
}

}  // namespace velor_server_proc
