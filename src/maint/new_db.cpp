#include "maint/new_db.h"

#include <fcntl.h>
#include <stdio.h>
#include <sys/stat.h>

#include <cerrno>
#include <filesystem>
#include <ostream>
#include <utility>

#include "maint/catalogue_lock.h"
#include "maint/database_files.h"
#include "maint/database_lists.h"
#include "maint/database_names.h"
#include "maint/parameter_file.h"
#include "maint/web_lists.h"
#include "storage/codes.h"
#include "storage/opened_database.h"
#include "utils/string_utils.h"

namespace velor_server_proc {

namespace fs = std::filesystem;
using utils::StringUtils;
using velor_32::kOk;

namespace {

constexpr mode_t kDirectoryRights = 0775;
constexpr int kIsThere = 1;  // somebody else has made the database; no code of a failure

/// Directory of a database, without a closing slash: a file or a link of that name counts as well.
std::string Target(const app::VelorAppContext* ctx, const std::string& name) {
  return ctx->dataPath + name;
}

/// A parameter file without the directory is what a run leaves that was killed before its last step. One that
/// leads elsewhere belongs to a database whose files lie there.
bool Exists(const app::VelorAppContext* ctx, const std::string& name) {
  std::error_code error;
  if (fs::exists(fs::symlink_status(Target(ctx, name), error))) return true;
  const std::string path = RecordPath(ctx, name);
  return !path.empty() && path != Target(ctx, name) + "/" + name;
}

int FindSource(const app::VelorAppContext* ctx, const VelorNewDBContext& params, DatabaseSource* source,
               std::ostream& out) {
  source->blank = BlankName(ctx);
  source->templateDb =
      params.templateDb.empty() ? TemplateName(ctx) : StringUtils::ToLower(params.templateDb);
  source->blankDirectory = TemplateDirectory(ctx, source->blank);
  if (!params.isFree) source->templateDirectory = TemplateDirectory(ctx, source->templateDb);
  if (source->blankDirectory.empty()) {
    Say(out, "Blank database not found " + source->blank);
    return velor_32::kNotFound;
  }
  if (!params.isFree && source->templateDirectory.empty()) {
    Say(out, "Template database not found " + source->templateDb);
    return velor_32::kNotFound;
  }
  return kOk;
}

/// Gives the finished directory its name, unless somebody else has it by now. File systems that cannot do
/// both at once get the check before.
bool GiveName(const std::string& from, const std::string& to) {
  if (::renameat2(AT_FDCWD, from.c_str(), AT_FDCWD, to.c_str(), RENAME_NOREPLACE) == 0) return true;
  std::error_code error;
  if (errno != EINVAL || fs::exists(fs::symlink_status(to, error))) return false;
  return ::rename(from.c_str(), to.c_str()) == 0;
}

/// A directory that is gone at the end of the scope, unless it was renamed.
struct UnfinishedDirectory {
  std::string path;
  explicit UnfinishedDirectory(std::string newPath) : path(std::move(newPath)) {}
  UnfinishedDirectory(const UnfinishedDirectory&) = delete;
  UnfinishedDirectory& operator=(const UnfinishedDirectory&) = delete;
  ~UnfinishedDirectory() {
    std::error_code ignored;
    fs::remove_all(path, ignored);
  }
};

void EnterInLists(const app::VelorAppContext* ctx, const std::string& name, const VelorNewDBContext& params,
                  const DatabaseSource& source, std::ostream& out) {
  if (IsReservedName(name)) return;
  AddToDatabaseLists(ctx, name, params, out);
  AddToWeb(ctx, {name, params.fullName, source.templateDb, MakesFullText(source)}, out);
}

/// All steps but the last one can be done again, so a run that was killed hinders nobody. Of several runs
/// with one name the first that has the lock makes the database, the others touch nothing of it.
int Publish(const app::VelorAppContext* ctx, const std::string& name, const VelorNewDBContext& params,
            const DatabaseSource& source, const std::string& directory, std::ostream& out) {
  const CatalogueLock lock(ctx);
  if (Exists(ctx, name)) return kIsThere;
  if (!WriteParameterFile(ctx, source.templateDb, name, MakesFullText(source)))
    return velor_32::kNoRecordFiles;
  EnterInLists(ctx, name, params, source, out);
  if (GiveName(directory, Target(ctx, name))) return kOk;
  return Exists(ctx, name) ? kIsThere : velor_32::kNoRecordFiles;
}

int MakeDatabase(app::VelorAppContext* ctx, const std::string& name, const VelorNewDBContext& params,
                 const DatabaseSource& source, std::ostream& out) {
  const UnfinishedDirectory unfinished(HiddenDirectory(ctx, name));
  if (::mkdir(unfinished.path.c_str(), kDirectoryRights) != 0) {
    Say(out, "Cannot create directory " + Target(ctx, name));
    return velor_32::kNoRecordFiles;
  }
  if (int rc = MakeDatabaseFiles(ctx, source, unfinished.path + "/", name); rc != kOk) return rc;
  return Publish(ctx, name, params, source, unfinished.path, out);
}

}  // namespace

int VelorNewDB(app::VelorAppContext* ctx, const std::string& db, const VelorNewDBContext& params,
               std::ostream& out) {
  Say(out, "NewDB " + db);
  const std::string name = StringUtils::ToLower(db);
  const auto refuse = [&] {
    Say(out, "Incorrect database name " + db);
    return velor_32::kBadArgument;
  };
  if (!IsNewName(name)) return refuse();
  const auto leaveAlone = [&] {
    Say(out, "DB already created");
    return kOk;
  };
  if (Exists(ctx, name)) return leaveAlone();
  DatabaseSource source;
  if (int rc = FindSource(ctx, params, &source, out); rc != kOk) return rc;
  if (IsNameOfTemplateFile(source, name)) return refuse();

  const int rc = MakeDatabase(ctx, name, params, source, out);
  return rc == kIsThere ? leaveAlone() : ReportOutcome("NewDB " + name, rc, out);
}

}  // namespace velor_server_proc
