#include "maint/diag_mst_xrf.h"

#include <memory>
#include <ostream>

#include "index/build_lock.h"
#include "maint/diagnosis.h"
#include "maint/fragment_check.h"
#include "storage/app_context.h"
#include "storage/codes.h"
#include "storage/master_file.h"

namespace velora {
namespace {

/// Without a control record there is no lock flag to set.
std::string WhyNotLocked(velor_01::TVelorSpace* space, int result) {
  if (app::CheckStopProcess(space->app)) return kStopped;
  if (result == velor_32::kLocked) return "Db is locked";
  if (OpenFragment(space, 0) == FragmentState::kDamaged) return "read != sizeof(Tcntmst)";
  return "Db is not locked, error " + std::to_string(result);
}

}  // namespace

int VelorDiagMstXrf(VelorAContext* settings, velor_01::TVelorSpace* space, bool repair, std::ostream& out,
                    int timeoutSeconds, bool* hasReport) {
  DiagReport report;
  const std::string name = backup::GetOwnName(space);
  if (!report.Create(settings->app, name + ".diagmstxrf.txt", out)) return velor_32::kNoRecordFiles;
  Findings findings(out, report);
  std::unique_ptr<BuildLock> lock;
  if (repair) lock = std::make_unique<BuildLock>(space, timeoutSeconds);
  if (lock && lock->result() != velor_32::kOk) {
    findings.Fault(WhyNotLocked(space, lock->result()));
  } else {
    for (int fragment = 0; fragment <= velor_32::LastFragment(space); ++fragment)
      if (!FragmentCheck(space, fragment, repair, findings).Run()) break;
    if (findings.hasFaults() && !repair) findings.Tell("errors found");
  }
  *hasReport = findings.hasFaults();
  return report.Close(out);
}

}  // namespace velora

namespace velor_server_proc {

int VelorDiagMstXrf(app::VelorAppContext* ctx, const std::string& db, bool repair, std::ostream& out) {
  return RunDiagnosis(ctx, db, "DiagMstXrf", out, [&](const OpenedDatabase& database) {
    bool hasReport = false;
    const int rc = velora::VelorDiagMstXrf(database.settings(), database.space(), repair, out,
                                           database.relayRecTime(), &hasReport);
    if (rc == velor_32::kOk) velora::WriteVerdict("", hasReport, out);
    return rc;
  });
}

}  // namespace velor_server_proc
