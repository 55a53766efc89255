#include "maint/clean_mutexes.h"

#include <dirent.h>
#include <sys/mman.h>

#include <cerrno>
#include <memory>
#include <ostream>
#include <string_view>
#include <vector>

#include "storage/codes.h"
#include "storage/database_lock.h"
#include "storage/database_mutex.h"
#include "storage/database_open.h"
#include "storage/opened_database.h"

namespace velor_server_proc {
namespace {

constexpr const char* kSharedMemoryDirectory = "/dev/shm";

struct DirectoryCloser {
  void operator()(DIR* directory) const { closedir(directory); }
};

std::vector<std::string> FindNames(const std::string& prefix) {
  std::vector<std::string> names;
  const std::unique_ptr<DIR, DirectoryCloser> directory(opendir(kSharedMemoryDirectory));
  if (directory == nullptr) return names;
  while (const dirent* entry = readdir(directory.get())) {
    if (std::string_view(entry->d_name).starts_with(prefix)) names.emplace_back(entry->d_name);
  }
  return names;
}

}  // namespace

int RemoveRecordMutexes(const std::string& name, std::ostream& out) {
  int rc = velor_32::kOk;
  // The brace of the GUID belongs to the prefix: "BOOKS" also begins the names of "BOOKS2".
  for (const std::string& mutex : FindNames(velor_32::FullTextMutexPrefix(name) + "{")) {
    if (shm_unlink(mutex.c_str()) == 0) continue;
    const int error = errno;  // before the stream changes it
    out << "shm_unlink " << mutex << " failed with errno " << error << '\n';
    rc = velor_32::kLocked;
  }
  return rc;
}

int VelorCleanRecordMutexes(app::VelorAppContext* ctx, const std::string& db, std::ostream& out) {
  out << "CleanMtx\n";
  LogTool("CleanMtx " + db);
  const OpenedDatabase database(ctx, db, out);
  if (!database.isReady()) return database.result();

  const int lockResult = velor_32::VelorLockDBTime(database.space(), database.relayRecTime());
  if (lockResult != velor_32::kOk && lockResult != velor_32::kLockedByCaller) {
    LogTool("Db is locked");
    return velor_32::kLocked;
  }
  int rc = RemoveRecordMutexes(database.name(), out);
  const int unlockResult = velor_32::VelorUnLockDBTime(database.space(), database.relayRecTime());
  if (rc == velor_32::kOk) rc = unlockResult;
  return ReportOutcome("CleanMtx " + database.name(), rc, out);
}

}  // namespace velor_server_proc
