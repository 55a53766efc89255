#include "maint/database_lists.h"

#include <ostream>

#include "maint/database_names.h"
#include "maint/list_file.h"

namespace velor_server_proc {
namespace {

struct List {
  const char* key;                // of section Main
  const char* file;               // its default
  bool VelorNewDBContext::*flag;  // the option that asks for it; none for the list of all other databases
};

constexpr List kLists[] = {
    {"DBNNAMECAT", "dbnam1.mnu", nullptr},
    {"DBNNAMECAT2", "dbnam2.mnu", &VelorNewDBContext::isReader},
    {"DBNNAMECAT3", "dbnam3.mnu", &VelorNewDBContext::isReaderWeb},
};

bool IsWanted(const List& list, const VelorNewDBContext& params) {
  return list.flag != nullptr ? params.*list.flag : !params.isReader && !params.isReaderWeb;
}

std::string PathOf(const app::VelorAppContext* ctx, const List& list) {
  return ctx->depositPath + ctx->mainIni->Get("Main", list.key, list.file);
}

}  // namespace

void AddToDatabaseLists(const app::VelorAppContext* ctx, const std::string& name,
                        const VelorNewDBContext& params, std::ostream& out) {
  for (const List& list : kLists) {
    if (!IsWanted(list, params)) continue;
    ListFile file(PathOf(ctx, list));
    file.Add(name, params.fullName.empty() ? name : params.fullName);
    if (!file.Save()) Say(out, "No access to file " + PathOf(ctx, list));
  }
}

void RemoveFromDatabaseLists(const app::VelorAppContext* ctx, const std::string& name, std::ostream& out) {
  for (const List& list : kLists) {
    ListFile file(PathOf(ctx, list));
    if (file.Remove(name) && !file.Save()) Say(out, "No access to file " + PathOf(ctx, list));
  }
}

std::string ListedDescription(const app::VelorAppContext* ctx, const std::string& name) {
  for (const List& list : kLists) {
    std::string text = ListFile(PathOf(ctx, list)).DescriptionOf(name);
    if (!text.empty()) return text;
  }
  return "";
}

}  // namespace velor_server_proc
