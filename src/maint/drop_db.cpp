#include "maint/drop_db.h"

#include <sys/mman.h>
#include <unistd.h>

#include <ostream>

#include "maint/catalogue_lock.h"
#include "maint/clean_mutexes.h"
#include "maint/database_lists.h"
#include "maint/database_names.h"
#include "maint/owned_files.h"
#include "maint/web_lists.h"
#include "storage/codes.h"
#include "storage/database_mutex.h"
#include "utils/named_mutex.h"
#include "utils/string_utils.h"

namespace velor_server_proc {

using utils::StringUtils;

namespace {

int Fail(int rc, const char* text, std::ostream& out) {
  Say(out, text);
  return rc;
}

/// Waits for the mutex second by second: a holder that died does not keep the database, and a stop request
/// ends the waiting.
bool TakeMutex(const app::VelorAppContext* ctx, utils::NamedMutex* mutex, int waitSeconds) {
  for (int left = waitSeconds; left > 0 && !app::CheckStopProcess(ctx); --left)
    if (mutex->WaitTime(1) || mutex->TakeOver()) return true;
  return false;
}

}  // namespace

int VelorDeleteDB0(app::VelorAppContext* ctx, const std::string& dbName, std::ostream& out) {
  const std::string name = StringUtils::ToLower(dbName);
  if (!IsRemovableName(ctx, name)) return Fail(velor_32::kBadArgument, "DB drop failed", out);
  if (!CheckMstAvailable(ctx, name, out)) return Fail(velor_32::kNotFound, "DB drop failed", out);
  if (::access(ctx->dataPath.c_str(), W_OK) != 0)
    return Fail(velor_32::kNoRecordFiles, "DB drop failed", out);  // before anything is lost
  // The lists come first: until its files are gone the database opens, and a drop that was cut off can be run
  // again.
  {
    const CatalogueLock lock(ctx);
    RemoveFromDatabaseLists(ctx, name, out);
    RemoveFromWeb(ctx, name, out);
  }
  if (!RemoveOwnedFiles(ctx, name, out)) return Fail(velor_32::kNoRecordFiles, "DB drop failed", out);
  Say(out, "Delete DB done");
  return velor_32::kOk;
}

int VelorDeleteDB(app::VelorAppContext* ctx, const std::string& dbName, std::ostream& out, int waitSeconds) {
  Say(out, "Delete DB " + dbName);
  const std::string name = StringUtils::ToLower(dbName);
  if (!IsRemovableName(ctx, name)) return Fail(velor_32::kBadArgument, "DB drop failed", out);

  RemoveRests(ctx, name);
  const std::string mutexName = velor_32::DatabaseMutexName(name);
  utils::NamedMutex mutex;
  if (!mutex.Create(mutexName.c_str())) return Fail(velor_32::kLocked, "mutex error", out);
  if (!TakeMutex(ctx, &mutex, waitSeconds)) {
    mutex.Close();
    return Fail(velor_32::kLocked, "Database locked", out);
  }
  const int rc = VelorDeleteDB0(ctx, name, out);
  // Unlinked while it is held: whoever waits for it finds the database gone, and a later database of the name
  // has a mutex of its own. One that was made for this call goes in any case.
  if (rc == velor_32::kOk || mutex.Created()) ::shm_unlink(mutexName.c_str());
  if (rc == velor_32::kOk) (void)RemoveRecordMutexes(name, out);
  mutex.Release();
  mutex.Close();
  return rc;
}

}  // namespace velor_server_proc
