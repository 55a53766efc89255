#include "maint/empty_db.h"

#include "maint/database_tool.h"
#include "storage/database_lock.h"
#include "storage/database_open.h"

namespace velor_server_proc {

int VelorEmptyDB(app::VelorAppContext* ctx, const std::string& db, std::ostream& out) {
  const OpenedDatabase database(ctx, db, out);
  if (!database.isReady()) return database.result();

  const std::string subject = "EmptyDB " + database.name();
  LogTool(subject);
  velor_01::TVelorSpace* space = database.space();
  int rc = velor_32::VelorDBEmptyTime(space, database.relayRecTime());
  if (rc == 0 && space->textSpace != nullptr) {
    rc = velor_32::VelorDBEmptyTime(space->textSpace, database.relayRecTime());
  }
  return ReportOutcome(subject, rc, out);
}

}  // namespace velor_server_proc
