#include "maint/web_lists.h"

#include <algorithm>
#include <ostream>
#include <vector>

#include "maint/catalogue_lock.h"
#include "maint/database_lists.h"
#include "maint/database_names.h"
#include "maint/list_file.h"
#include "maint/parameter_file.h"
#include "storage/codes.h"
#include "storage/database_open.h"
#include "storage/maintenance_context.h"
#include "utils/path_util.h"
#include "utils/string_utils.h"

namespace velor_server_proc {

using IniFiles::TMemIniFile;
using utils::StringUtils;

namespace {

/// What follows the name of a database in the heads of its sections.
struct Section {
  const char* suffix;
  bool isCopied = true;  // otherwise somebody else makes it, and it only has to go
};

constexpr Section kSections[] = {
    {""},
    {"_FULLTEXT"},
    {"_READER"},
    {"_AUTHOR"},
    {"_DOWNLOAD"},
    {"_PRINT"},
    {"_ZAKAZ"},
    {"_FULLTEXT_SELECTED"},
    {"_NOFRAME"},
    {"_FULLTEXT_SIDE"},
    {"_REC"},
    {"_TBSPEC"},
    {"_TBLIST"},
    {"_KO"},
    {"_PAGE_ACCESS", false},
    {"_EX", false},
    {"_PROF", false},
    {"_QUERY_CONSTRUCTOR", false},
};

constexpr std::string_view kFrontEndSection = "MAIN";

/// The two kinds of front end.
struct FrontEnd {
  const char* iniName;
  const char* listName;
};
constexpr FrontEnd kPlain = {"velor_server.ini", "dbn_web.mnu"};
constexpr FrontEnd kFullText = {"velor_server_ft.ini", "dbn_web_ft.mnu"};

std::string Directory(const std::string& base, std::string path) {
  std::ranges::replace(path, '\\', '/');
  if (path == "." || path == "./") return base;
  path = backup::CorPath(base, path);
  if (!path.empty() && path.back() != '/') path += '/';
  return path;
}

std::string WebDirectory(const app::VelorAppContext* ctx) {
  return Directory(ctx->execDir, velora::MainText(*ctx, "WEBVELOR", ""));
}

/// "" without a web front end.
std::string IniPath(const app::VelorAppContext* ctx, const FrontEnd& frontEnd) {
  const std::string directory = WebDirectory(ctx);
  return directory.empty() ? "" : directory + velora::MainText(*ctx, "WEBVELOR_INI_NAME", frontEnd.iniName);
}

/// Relative paths of the web INI file begin in the directory of the front end.
std::string ListPath(const app::VelorAppContext* ctx, const TMemIniFile& ini, const FrontEnd& frontEnd) {
  const std::string deposit = Directory(WebDirectory(ctx), ini.ReadString("MAIN", "DepositPath", ""));
  return (deposit.empty() ? ctx->depositPath : deposit) +
         ini.ReadString("MAIN", "DBNNAMECAT", frontEnd.listName);
}

bool SaveIni(const TMemIniFile& ini) {
  velor_01::TStringList lines;
  ini.GetStrings(&lines);
  std::string bytes;
  for (const velor_01::TStringItem& item : lines.Items()) bytes.append(item.text).append("\r\n");
  return RewriteFile(ini.GetFileName(), bytes);
}

int ReportWrites(const std::vector<std::string>& failed, std::ostream& out) {
  if (failed.empty()) return velor_32::kOk;
  Say(out, failed.size() == 1 ? "No access to file " + failed[0]
                              : "No access to files " + failed[0] + " and " + failed[1]);
  return velor_32::kNoRecordFiles;
}

/// "BOOKS" + "_READER" may also be the first section of a database "books_reader", which leaves it alone as
/// long as "books" is there, and the other way round. The settings of the front end are nobody's.
bool IsOfAnother(const app::VelorAppContext* ctx, const std::string& section, const std::string& name) {
  return section == kFrontEndSection || std::ranges::any_of(kSections, [&](const Section& kind) {
           if (!StringUtils::EndsWith(section, kind.suffix)) return false;
           const std::size_t length = section.size() - std::string_view(kind.suffix).size();
           const std::string owner = StringUtils::ToLower(section.substr(0, length));
           return owner != name && utils::PathUtil::IsFile(ParameterFile(ctx, owner));
         });
}

/// The first section of the family of a database that the INI file has, "" when it has none.
std::string FindSection(const app::VelorAppContext* ctx, const std::string& name, const TMemIniFile& ini) {
  for (const Section& kind : kSections) {
    std::string section = StringUtils::ToUpper(name) + kind.suffix;
    if (ini.SectionExists(section) && !IsOfAnother(ctx, section, name)) return section;
  }
  return "";
}

void CopySections(const app::VelorAppContext* ctx, const WebEntry& entry, TMemIniFile* ini) {
  std::string source = StringUtils::ToUpper(entry.templateDb);
  if (!ini->SectionExists(source)) source = StringUtils::ToUpper(TemplateName(ctx));
  const std::string target = StringUtils::ToUpper(entry.name);
  velor_01::TStringList lines;
  for (const Section& kind : kSections)
    if (kind.isCopied && !IsOfAnother(ctx, target + kind.suffix, entry.name))
      CopyWebVelorSection(ini, &lines, source, target, kind.suffix);
}

bool EraseSections(const app::VelorAppContext* ctx, const std::string& name, TMemIniFile* ini) {
  bool isFound = false;
  for (std::string section = FindSection(ctx, name, *ini); !section.empty();
       section = FindSection(ctx, name, *ini), isFound = true)
    ini->EraseSection(section);
  return isFound;
}

/// `report` stands for success.
int ReportWeb(const app::VelorAppContext* ctx, const std::string& name, const char* report, int rc,
              std::ostream& out) {
  if (rc == velor_32::kNotFound) {
    const FrontEnd& frontEnd = HasFullText(RecordPath(ctx, name)) ? kFullText : kPlain;
    const std::string path = IniPath(ctx, frontEnd);
    Say(out, "Web VELOR ini file not found " + (path.empty() ? frontEnd.iniName : path));
  } else if (rc == velor_32::kOk) {
    out << report << std::endl;
    LogTool(name + report);
  }
  return rc;
}

}  // namespace

void CopyWebVelorSection(TMemIniFile* ini, velor_01::TStringList* lines, const std::string& sourceSection,
                         const std::string& destSection, const std::string& name) {
  ini->ReadSection(sourceSection + name, lines);
  for (const velor_01::TStringItem& key : lines->Items())
    ini->WriteString(destSection + name, key.text, ini->ReadString(sourceSection + name, key.text, ""));
}

int AddToWeb(const app::VelorAppContext* ctx, const WebEntry& entry, std::ostream& out) {
  const FrontEnd& frontEnd = entry.isFullText ? kFullText : kPlain;
  const std::string path = IniPath(ctx, frontEnd);
  if (path.empty() || !utils::PathUtil::IsFile(path)) return velor_32::kNotFound;

  TMemIniFile ini(path);
  const ListFile before(ListPath(ctx, ini, frontEnd));
  if (!before.Has(entry.name))
    if (const std::string section = FindSection(ctx, entry.name, ini); !section.empty()) {
      Say(out, "Section exists " + section + " in " + path);
      return velor_32::kBadArgument;
    }
  CopySections(ctx, entry, &ini);
  ListFile list = before;
  list.Add(entry.name, entry.fullName);

  // The list comes first: the sections of a database that is in no list are taken for somebody else's. When
  // they cannot be written it is put back as it was.
  std::vector<std::string> failed;
  const bool isListed = list.Save();
  if (!SaveIni(ini)) {
    failed.push_back(path);
    if (isListed) (void)before.Save();
  }
  if (!isListed) failed.push_back(ListPath(ctx, ini, frontEnd));
  return ReportWrites(failed, out);
}

int RemoveFromWeb(const app::VelorAppContext* ctx, const std::string& name, std::ostream& out) {
  int rc = velor_32::kNotFound;
  for (const FrontEnd& frontEnd : {kPlain, kFullText}) {
    const std::string path = IniPath(ctx, frontEnd);
    if (path.empty() || !utils::PathUtil::IsFile(path)) continue;

    TMemIniFile ini(path);
    ListFile list(ListPath(ctx, ini, frontEnd));
    std::vector<std::string> failed;
    const bool isListed = list.Remove(name);
    if (isListed && EraseSections(ctx, name, &ini) && !SaveIni(ini)) failed.push_back(path);
    if (isListed && !list.Save()) failed.push_back(ListPath(ctx, ini, frontEnd));
    const int written = ReportWrites(failed, out);
    if (rc == velor_32::kNotFound || written != velor_32::kOk) rc = written;
  }
  return rc;
}

int VelorWebAddDB(app::VelorAppContext* ctx, const std::string& dbName, const std::string& fullName,
                  std::ostream& out) {
  const std::string name = StringUtils::ToLower(dbName);
  if (!IsUsableName(name) || IsReservedName(name)) {
    Say(out, "Incorrect database name " + dbName);
    return velor_32::kBadArgument;
  }
  const std::string description = fullName.empty() ? ListedDescription(ctx, name) : fullName;
  const bool isFullText = HasFullText(RecordPath(ctx, name));
  const bool hasFrontEnd = utils::PathUtil::IsFile(IniPath(ctx, isFullText ? kFullText : kPlain));
  if (hasFrontEnd && !CheckMstAvailable(ctx, name, out)) return velor_32::kNotFound;
  const CatalogueLock lock(ctx);
  const int rc = AddToWeb(ctx, {name, description, TemplateName(ctx), isFullText}, out);
  return ReportWeb(ctx, name, " Added to Web VELOR list", rc, out);
}

int VelorWebDelDB(app::VelorAppContext* ctx, const std::string& dbName, std::ostream& out) {
  const std::string name = StringUtils::ToLower(dbName);
  if (!IsRemovableName(ctx, name)) {
    Say(out, "Incorrect database name " + dbName);
    return velor_32::kBadArgument;
  }
  const CatalogueLock lock(ctx);
  return ReportWeb(ctx, name, " Removed from Web VELOR list", RemoveFromWeb(ctx, name, out), out);
}

}  // namespace velor_server_proc
