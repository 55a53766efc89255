#include "maint/new_db.h"

#include <sys/stat.h>

#include <cerrno>
#include <filesystem>
#include <ostream>
#include <system_error>
#include <vector>

#include "storage/app_context.h"
#include "storage/codes.h"
#include "storage/database_lock.h"
#include "storage/database_open.h"
#include "storage/master_file.h"
#include "utils/path_util.h"
#include "utils/string_list.h"
#include "utils/string_utils.h"
#include "utils/text_util.h"

namespace velor_server_proc {

namespace fs = std::filesystem;
using velor_32::kOk;

namespace {

constexpr const char* kBriefFormat = "MFN";
constexpr int kParameterLines = 10;
constexpr const char* kListEnd = "*****";

/// A name becomes a directory and the beginning of file names: it must not lead anywhere else.
bool IsUsableName(const std::string& name) {
  return !name.empty() && name[0] != '.' && name.find_first_of("/\\") == std::string::npos;
}

/// Copies the files of the blank database; those that bear its name get the new one.
bool CopyBlankFiles(const std::string& from, const std::string& to, const std::string& oldStem,
                    const std::string& newStem) {
  std::error_code error;
  for (const fs::directory_entry& entry : fs::directory_iterator(from, error)) {
    if (!entry.is_regular_file(error)) continue;
    std::string name = entry.path().filename().string();
    if (utils::StringUtils::StartsWith(name, oldStem + ".")) name.replace(0, oldStem.size(), newStem);
    if (!fs::copy_file(entry.path(), fs::path(to) / name, error)) return false;
  }
  return !error;
}

/// The companion of a blank full-text database, with its page texts.
bool CopyCompanion(const std::string& from, const std::string& to, const std::string& blank,
                   const std::string& name) {
  const std::string source = from + blank + "--text";
  if (!utils::PathUtil::IsDirectory(source)) return true;
  std::error_code error;
  const std::string target = to + name + "--text";
  return fs::create_directory(target, error) && CopyBlankFiles(source, target, "text", "text");
}

/// What the blank database lacks is made empty; a master file without a control record gets one.
int CompleteFiles(app::VelorAppContext* ctx, const std::string& path) {
  for (const char* extension : {".mst", ".xrf", ".n01", ".l01", ".ifp"})
    if (!utils::PathUtil::IsFile(path + extension) &&
        !utils::TextUtil::FileWriteAllBytes(path + extension, ""))
      return velor_32::kNoRecordFiles;
  std::error_code error;
  if (fs::file_size(path + ".mst", error) > 0 && !error) return kOk;
  const velor_32::SpacePointer space(velor_32::Velorinit(ctx));
  if (int rc = velor_32::Velorinitmst(space.get(), path.c_str(), 1); rc != kOk) return rc;
  return velor_32::VelorDBEmpty(space.get());
}

/// How the parameter file names a directory: relative to the system directory where that leads back to it
/// (relative paths are folded to lower case), otherwise in full.
std::string ParameterPath(const app::VelorAppContext* ctx, const std::string& directory) {
  if (!ctx->execDir.empty() && utils::StringUtils::StartsWith(directory, ctx->execDir)) {
    std::string path = ".\\" + utils::StringUtils::ToUpper(directory.substr(ctx->execDir.size()));
    for (char& c : path)
      if (c == '/') c = '\\';
    if (utils::StringUtils::ToLower(directory.substr(ctx->execDir.size())) ==
        directory.substr(ctx->execDir.size()))
      return path;
  }
  return directory;
}

/// Directory of the texts of a full-text database, with the separator of the path.
std::string TextsPath(const std::string& path) {
  const bool isRelative = path[0] == '.';
  return path + (isRelative ? "TEXTS\\" : "texts/");
}

/// The parameter file: line 0 of the template's, if it has one, and a line for each kind of file.
bool WriteParameterFile(const app::VelorAppContext* ctx, const std::string& templateDb,
                        const std::string& name) {
  velor_01::TStringList lines;
  velor_01::TStringList old;
  if (old.LoadFromFile((ctx->dataPath + templateDb + ".par").c_str()))
    for (int i = 0; i < old.GetCount(); ++i)
      if (utils::StringUtils::StartsWith(old.Get(i), "0=")) lines.Add(old.Get(i));
  const std::string path = ParameterPath(ctx, ctx->dataPath + name + "/");
  for (int n = 1; n <= kParameterLines; ++n) lines.Add((std::to_string(n) + "=" + path).c_str());
  if (utils::PathUtil::IsDirectory(ctx->dataPath + name + "/" + name + "--text"))
    lines.Add((std::to_string(kParameterLines + 1) + "=" + TextsPath(path)).c_str());
  return lines.SaveToFile((ctx->dataPath + name + ".par").c_str());
}

std::string ListFile(const app::VelorAppContext* ctx, const VelorNewDBContext& params) {
  const char* key = params.isReader ? "DBNNAMECAT2" : params.isReaderWeb ? "DBNNAMECAT3" : "DBNNAMECAT";
  const char* name = params.isReader ? "dbnam2.mnu" : params.isReaderWeb ? "dbnam3.mnu" : "dbnam1.mnu";
  return ctx->depositPath + ctx->mainIni->Get("Main", key, name);
}

/// Lines of a list that name databases stand at even places, each followed by a description; a line of
/// asterisks may end the list. A name that is listed already gets the new description.
bool AddToList(const std::string& file, const std::string& name, const std::string& fullName) {
  velor_01::TStringList lines;
  lines.LoadFromFile(file.c_str());
  if (utils::StringUtils::EndsWith(utils::StringUtils::ToLower(file), ".tre")) {
    lines.Add((name + " - " + fullName).c_str());
    return lines.SaveToFile(file.c_str());
  }
  int place = 0;
  for (; place + 1 < lines.GetCount(); place += 2) {
    if (std::string_view(lines.Get(place)) == kListEnd) break;
    if (!utils::StringUtils::EqualsNoCase(lines.Get(place), name)) continue;
    lines.Put(place + 1, fullName.c_str());
    return lines.SaveToFile(file.c_str());
  }
  const bool hasEnd = place < lines.GetCount() && std::string_view(lines.Get(place)) == kListEnd;
  if (!hasEnd) place = lines.GetCount();
  lines.Insert(place, name.c_str());
  lines.Insert(place + 1, fullName.c_str());
  return lines.SaveToFile(file.c_str());
}

void Say(std::ostream& out, const std::string& text) {
  out << text << std::endl;
  LogTool(text);
}

/// The files of the database itself.
int MakeFiles(app::VelorAppContext* ctx, const std::string& blank, const std::string& name) {
  const std::string from = ctx->dataPath + blank + "/";
  const std::string to = ctx->dataPath + name + "/";
  if (!CopyBlankFiles(from, to, blank, name) || !CopyCompanion(from, to, blank, name))
    return velor_32::kNoRecordFiles;
  if (!utils::TextUtil::FileWriteAllBytes(to + "brief.pft", kBriefFormat)) return velor_32::kNoRecordFiles;
  return CompleteFiles(ctx, to + name);
}

/// What a failed run made would keep the next one from trying again.
void RemoveHalfMade(const app::VelorAppContext* ctx, const std::string& name) {
  std::error_code ignored;
  fs::remove(ctx->dataPath + name + ".par", ignored);
  fs::remove_all(ctx->dataPath + name, ignored);
}

}  // namespace

int VelorNewDB(app::VelorAppContext* ctx, const std::string& db, const VelorNewDBContext& params,
               std::ostream& out) {
  const auto setting = [&](const char* key, const char* value) {
    return utils::StringUtils::ToLower(ctx->mainIni->Get("Main", key, value));
  };
  const std::string blank = setting("EmptyDBN", "BLANK");
  const std::string templateDb = params.templateDb.empty() ? setting("EtalonDBN", "ORYX")
                                                           : utils::StringUtils::ToLower(params.templateDb);
  Say(out, "NewDB " + db);
  const std::string name = utils::StringUtils::ToLower(db);
  if (!IsUsableName(name)) {
    Say(out, "Incorrect database name " + db);
    return velor_32::kBadArgument;
  }
  if (utils::PathUtil::IsFile(ctx->dataPath + name + ".par")) {  // its files may lie anywhere
    Say(out, "DB already created");
    return kOk;
  }
  if (!utils::PathUtil::IsDirectory(ctx->dataPath + blank)) {
    Say(out, "Blank database not found " + blank);
    return velor_32::kNotFound;
  }
  if (::mkdir((ctx->dataPath + name).c_str(), 0775) != 0) {
    Say(out, errno == EEXIST ? "DB already created" : "Cannot create directory " + ctx->dataPath + name);
    return errno == EEXIST ? kOk : velor_32::kNoRecordFiles;
  }

  int rc = MakeFiles(ctx, blank, name);
  if (rc == kOk && !WriteParameterFile(ctx, templateDb, name)) rc = velor_32::kNoRecordFiles;
  if (rc != kOk) RemoveHalfMade(ctx, name);
  const std::string list = ListFile(ctx, params);
  if (rc == kOk && !AddToList(list, name, params.fullName.empty() ? name : params.fullName))
    Say(out, "No access to file " + list);
  if (rc == kOk && !ctx->mainIni->Get("MAIN", "WEBVELOR", "").empty())
    Say(out, "newdb web lists: not built yet");
  if (rc == kOk) {
    out << "Done" << std::endl;
  } else {
    out << "Error " << rc << std::endl;
  }
  LogTool("NewDB " + name + (rc == kOk ? " done" : " error " + std::to_string(rc)));
  return rc;
}

}  // namespace velor_server_proc
