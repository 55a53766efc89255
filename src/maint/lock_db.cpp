#include "maint/lock_db.h"

#include <ostream>

#include "storage/database_lock.h"
#include "storage/database_open.h"
#include "storage/opened_database.h"

namespace velor_server_proc {
namespace {

struct LockAction {
  const char* title;
  int (*run)(velor_01::TVelorSpace* space, int timeoutSeconds);
  int (*undo)(velor_01::TVelorSpace* space, int timeoutSeconds);  // so that both databases have one state
};

int RunOnBoth(const LockAction& action, velor_01::TVelorSpace* space, int timeoutSeconds) {
  const int rc = action.run(space, timeoutSeconds);
  if (rc != 0 || space->textSpace == nullptr) return rc;
  const int companionResult = action.run(space->textSpace, timeoutSeconds);
  if (companionResult != 0) action.undo(space, timeoutSeconds);
  return companionResult;
}

int RunLockAction(const LockAction& action, app::VelorAppContext* ctx, const std::string& db,
                  std::ostream& out) {
  OpenedDatabase opened(ctx, db, out);
  if (!opened.isReady()) return opened.result();

  const std::string subject = action.title + (" " + opened.name());
  out << action.title << '\n';
  LogTool(subject);
  const int rc = RunOnBoth(action, opened.space(), opened.relayRecTime());
  return ReportOutcome(subject, rc, out);
}

}  // namespace

int VelorLockDB(app::VelorAppContext* ctx, const std::string& db, std::ostream& out) {
  return RunLockAction({"LockDB", velor_32::VelorLockDBTime, velor_32::VelorUnLockDBTime}, ctx, db, out);
}

int VelorUnlockDB(app::VelorAppContext* ctx, const std::string& db, std::ostream& out) {
  return RunLockAction({"UnlockDB", velor_32::VelorUnLockDBTime, velor_32::VelorLockDBTime}, ctx, db, out);
}

}  // namespace velor_server_proc
