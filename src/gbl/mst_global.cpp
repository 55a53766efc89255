#include "gbl/mst_global.h"

#include <vector>

#include "index/inv_context.h"
#include "storage/app_context.h"
#include "storage/codes.h"
#include "storage/database_open.h"
#include "storage/master_file.h"
#include "storage/term_files.h"

namespace global {

using velor_01::TVelorSpace;
using velor_32::kOk;

int VelorInitMstGlobal(TVelorSpace* space, const char* path) {
  if (space == nullptr || space->app == nullptr) return velor_32::kNoSpace;
  return velor_32::Velorinitmst(space, path, space->app->xpftEnabled ? 1 : 3);
}

int FindBlockDatabase(const app::VelorAppContext* app, const std::string& name, BlockDatabase* database) {
  database->name = name;
  std::vector<std::string> directories;
  const int rc = backup::OpenDb(app->execDir, app->dataPath, &database->name, &directories);
  if (rc != kOk) return rc;
  database->path = directories[backup::kRecordDirectory] + database->name;
  database->termPath = directories[backup::kTermDirectory] + database->name;
  return kOk;
}

velor_32::SpacePointer OpenBlockSpace(app::VelorAppContext* app, const BlockDatabase& database, bool deflex,
                                      int* result) {
  velor_32::SpacePointer space(velor_32::Velorinit(app));
  *result = space ? VelorInitMstGlobal(space.get(), database.path.c_str()) : velor_32::kNoMemory;
  if (*result == kOk) *result = velor_32::Velorinitterm(space.get(), database.termPath.c_str());
  if (*result == kOk)
    *result = velor_32::VelorInitInvContext(space.get(), nullptr, nullptr, nullptr, nullptr, deflex);
  if (*result != kOk) space.reset();
  return space;
}

}  // namespace global
