#include "storage/database_mutex.h"

#include <algorithm>

#include "storage/crash_repair.h"
#include "storage/process.h"
#include "utils/log_util.h"
#include "utils/string_utils.h"

namespace velor_32 {

namespace {

/// Prefix, kind and database. A shared memory object has no "/" in its name.
std::string MutexName(const char* kind, std::string_view databaseName) {
  std::string name(app::AppPrefixText());
  std::replace(name.begin(), name.end(), '/', '_');
  return name + kind + utils::StringUtils::ToUpper(databaseName);
}

}  // namespace

std::string DatabaseMutexName(std::string_view databaseName) {
  return MutexName("VELOR64_MUTEX", databaseName);
}

std::string DatabaseMutexName(const TVelorSpace* space) {
  return DatabaseMutexName(backup::GetDbNameEK(space));
}

std::string FullTextMutexPrefix(std::string_view databaseName) {
  return MutexName("VELOR64_FT_MUTEX", databaseName);
}

DatabaseMutexHold::DatabaseMutexHold(TVelorSpace* space, int timeoutSeconds) {
  mutex_ = space->bulk ? space->bulk->Mutex() : nullptr;
  if (!mutex_ && own_.Create(DatabaseMutexName(space).c_str())) mutex_ = &own_;
  if (!mutex_) return;
  for (int left = ClipTimeout(timeoutSeconds); left > 0 && !held_; --left) {
    held_ = mutex_->WaitTime(1);
    if (held_ || !mutex_->TakeOver()) continue;
    held_ = true;
    MendAfterDeadWriter(space);
    utils::LogUtil::Log(app::AppPrefixText(),
                        "Database mutex of a dead process taken over: " + DatabaseMutexName(space));
  }
}

DatabaseMutexHold::~DatabaseMutexHold() {
  if (held_) mutex_->Release();
  own_.Close();
}

}  // namespace velor_32
