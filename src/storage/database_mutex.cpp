#include "storage/database_mutex.h"

#include "storage/process.h"
#include "utils/string_utils.h"

namespace velor_32 {

std::string DatabaseMutexName(std::string_view databaseName) {
  return std::string(app::AppPrefixText()) + "VELOR64_MUTEX" + utils::StringUtils::ToUpper(databaseName);
}

std::string DatabaseMutexName(const TVelorSpace* space) {
  return DatabaseMutexName(backup::GetDbNameEK(space));
}

std::string FullTextMutexPrefix(std::string_view databaseName) {
  return std::string(app::AppPrefixText()) + "VELOR64_FT_MUTEX" + utils::StringUtils::ToUpper(databaseName);
}

DatabaseMutexHold::DatabaseMutexHold(TVelorSpace* space, int timeoutSeconds) {
  mutex_ = space->bulk ? space->bulk->Mutex() : nullptr;
  if (!mutex_ && own_.Create(DatabaseMutexName(space).c_str())) mutex_ = &own_;
  held_ = mutex_ && mutex_->WaitTime(ClipTimeout(timeoutSeconds));
}

DatabaseMutexHold::~DatabaseMutexHold() {
  if (held_) mutex_->Release();
  own_.Close();
}

}  // namespace velor_32
