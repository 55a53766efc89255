#include "index/build_lock.h"

#include "storage/codes.h"
#include "storage/database_lock.h"
#include "storage/database_open.h"

namespace velora {

using velor_32::kLocked;
using velor_32::kOk;

namespace {

int LockBoth(velor_01::TVelorSpace* space, int timeoutSeconds) {
  if (int rc = velor_32::VelorLockDBTime(space, timeoutSeconds); rc != kOk) return rc;
  if (space->textSpace == nullptr) return kOk;
  const int rc = velor_32::VelorLockDBTime(space->textSpace, timeoutSeconds);
  if (rc != kOk) velor_32::VelorUnLockDBTime(space, timeoutSeconds);
  return rc;
}

}  // namespace

BuildLock::BuildLock(velor_01::TVelorSpace* space, int timeoutSeconds)
    : space_(space), timeoutSeconds_(timeoutSeconds), result_(LockBoth(space, timeoutSeconds)) {
  if (result_ == kLocked) velor_server_proc::LogTool("Db is locked");
}

BuildLock::~BuildLock() {
  if (result_ != kOk) return;
  velor_32::VelorUnLockDBTime(space_, timeoutSeconds_);
  if (space_->textSpace != nullptr) velor_32::VelorUnLockDBTime(space_->textSpace, timeoutSeconds_);
}

}  // namespace velora
