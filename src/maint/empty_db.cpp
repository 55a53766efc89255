#include "maint/empty_db.h"

#include <ostream>

#include "storage/codes.h"
#include "storage/database_lock.h"
#include "storage/database_open.h"
#include "storage/opened_database.h"
#include "storage/record_read.h"
#include "storage/record_update.h"
#include "storage/xrf_info.h"
#include "utils/int_list.h"

namespace velor_server_proc {
namespace {

using velor_32::kOk;

/// Marks every record but the physically deleted ones, which have nothing to mark. What one record refuses
/// does not keep the others from it.
int MarkForExtraction(app::VelorAppContext* ctx, const OpenedDatabase& database, std::ostream& out) {
  velor_01::TIntList gone;
  velora::XrfLists lists;
  lists.physicallyDeleted = &gone;
  int rc = velora::isisxrfinfo(database.space(), lists);
  if (rc != kOk) return rc;
  const int last = velor_32::LastMfn(database.space());
  for (int mfn = 1, nextGone = 0; mfn <= last; ++mfn) {
    if (app::CheckStopProcess(ctx)) {
      out << "Process stop\n";
      return rc;
    }
    if (nextGone < gone.GetCount() && gone.Get(nextGone) == mfn) {
      ++nextGone;
      continue;
    }
    const int marked =
        velor_32::VelorSetFullTextActualizedBitTime(database.space(), mfn, true, database.relayRecTime());
    if (rc == kOk) rc = marked;
  }
  return rc;
}

}  // namespace

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

int VelorEmptyFTDB(app::VelorAppContext* ctx, const std::string& db, std::ostream& out) {
  const OpenedDatabase database(ctx, db, out);
  if (!database.isReady()) return database.result();

  const std::string subject = "EmptyFTDB " + database.name();
  LogTool(subject);
  velor_01::TVelorSpace* space = database.space();
  if (space->textSpace == nullptr) return ReportOutcome(subject, kOk, out);
  // A locked database refuses the marks: without them its texts would be lost for good.
  int rc = velor_32::VelorIsDBLocked(space);
  if (rc == kOk) rc = velor_32::VelorDBEmptyTime(space->textSpace, database.relayRecTime());
  if (rc == kOk) rc = MarkForExtraction(ctx, database, out);
  return ReportOutcome(subject, rc, out);
}

}  // namespace velor_server_proc
