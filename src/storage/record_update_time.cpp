// The operations under the database mutex that need more than one call, and the way to the server in client
// mode.

#include <sys/mman.h>
#include <sys/stat.h>

#include "storage/app_context.h"
#include "storage/codes.h"
#include "storage/database_lock.h"
#include "storage/database_mutex.h"
#include "storage/record_guid.h"
#include "storage/record_lock.h"
#include "storage/record_update.h"
#include "storage/shelf.h"
#include "storage/storage_hooks.h"
#include "utils/string_utils.h"

namespace velor_32 {

namespace {

constexpr const char* kNoGuid = "{00000000-0000-0000-0000-000000000000}";

/// The call to the server behind one hook; -400 when nothing stands behind it.
template <class Hook, class... Arguments>
int AskServer(const TVelorSpace* space, Hook StorageHooks::*hook, Arguments... arguments) {
  const StorageHooks* hooks = space->app->hooks;
  return hooks && hooks->*hook ? (hooks->*hook)(arguments...) : kNoRecordFiles;
}

bool IsStopped(const TVelorSpace* space) {
  return app::CheckStopProcess(space->app);
}

int UpdateIndex(TVelorSpace* space, int shelf, int mfn) {
  const StorageHooks* hooks = space->app ? space->app->hooks : nullptr;
  return hooks && hooks->recIfUpdate ? hooks->recIfUpdate(space, shelf, mfn) : kOk;
}

/// Full-text work on a record concerns the main space of a full-text database.
bool HasFullTextMutexes(const TVelorSpace* space) {
  return space->isFullText && !space->isTextSpace;
}

}  // namespace

int VelorRecUpdateTime(TVelorSpace* space, int shelf, bool keepLock, bool updateIf, int timeoutSeconds,
                       int* result, int* ifResult) {
  *ifResult = kOk;
  if (IsRemote(space)) {
    *result = AskServer(space, &StorageHooks::writeRecord, space, shelf, keepLock, updateIf, ifResult);
    return kOk;
  }
  *result = kLocked;
  return UnderDatabaseMutex(space, timeoutSeconds, [&] {
    if (IsStopped(space)) return kLocked;
    *result = VelorRecUpdate0(space, shelf, keepLock, true);
    if (*result == kOk && updateIf) *ifResult = UpdateIndex(space, shelf, Velormfn(space, shelf));
    return kOk;
  });
}

int VelorRecLockTime(TVelorSpace* space, int shelf, int mfn, int timeoutSeconds) {
  if (IsRemote(space)) return AskServer(space, &StorageHooks::lockRecord, space, shelf, mfn);
  return UnderDatabaseMutex(space, timeoutSeconds,
                            [&] { return IsStopped(space) ? kLocked : VelorRecLock0(space, shelf, mfn); });
}

int VelorRecUnLockTime(TVelorSpace* space, int mfn, int timeoutSeconds) {
  if (IsRemote(space)) return AskServer(space, &StorageHooks::unlockRecord, space, mfn);
  return UnderDatabaseMutex(space, timeoutSeconds, [&] { return VelorRecUnLock0(space, mfn); });
}

int VelorRecIfUpdateTime(TVelorSpace* space, int shelf, int mfn, int timeoutSeconds) {
  if (IsRemote(space)) return AskServer(space, &StorageHooks::actualRecord, space, mfn);
  return UnderDatabaseMutex(space, timeoutSeconds,
                            [&] { return IsStopped(space) ? kLocked : UpdateIndex(space, shelf, mfn); });
}

int VelorRecCleanMtx0(TVelorSpace* space, int shelf, bool checkDbLock) {
  if (int rc = CheckShelf(space, shelf); rc != kOk) return rc;
  if (!HasFullTextMutexes(space)) return kOk;
  return AtEdge([&] {
    if (checkDbLock)
      if (int rc = VelorIsDBLocked(space); rc != kOk && rc != kLockedByCaller) return rc;
    const char* guid = VelorGetGuid(space, shelf);
    const std::string name =
        FullTextMutexPrefix(backup::GetDbNameEK(space)) + utils::StringUtils::ToUpper(guid ? guid : kNoGuid);
    struct stat info {};
    if (::stat(("/dev/shm/" + name).c_str(), &info) != 0) return kOk;
    return ::shm_unlink(name.c_str()) == 0 ? kOk : kLocked;
  });
}

int VelorRecCleanMtxTime(TVelorSpace* space, int shelf, int timeoutSeconds) {
  if (int rc = CheckShelf(space, shelf); rc != kOk) return rc;
  if (!HasFullTextMutexes(space)) return kOk;  // nothing to do: no mutex needed for that
  return UnderDatabaseMutex(space, timeoutSeconds, [&] { return VelorRecCleanMtx0(space, shelf, true); });
}

int StoreRecord(TVelorSpace* space, int shelf, bool updateIf, int timeoutSeconds, int* ifResult) {
  int result = kOk;
  int indexResult = kOk;
  VelorRecUpdateTime(space, shelf, false, updateIf, timeoutSeconds, &result, &indexResult);
  if (ifResult != nullptr) *ifResult = indexResult;
  if (result == kOk) VelorRecCleanMtxTime(space, shelf, timeoutSeconds);
  return result;
}

}  // namespace velor_32
