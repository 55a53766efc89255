#include "maint/unlock_mfn.h"

#include <algorithm>
#include <ostream>

#include "storage/database_open.h"
#include "storage/opened_database.h"
#include "storage/record_lock.h"
#include "storage/record_read.h"
#include "storage/xrf_info.h"
#include "utils/int_list.h"

namespace velor_server_proc {
namespace {

constexpr int kWasNotLocked = 3;  // only a server gives it: the local unlock does not tell

struct MfnRange {
  int from = 0;
  int to = -1;
};

class Unlocker {
 public:
  Unlocker(app::VelorAppContext* ctx, const OpenedDatabase& database, std::ostream& out)
      : ctx_(ctx), database_(database), out_(out) {}

  void UnlockRange(MfnRange range) {
    for (int mfn = range.from; mfn <= range.to && !IsStopped(); ++mfn) UnlockRecord(mfn);
  }

  void UnlockList(const velor_01::TIntList& list) {
    for (int i = 0; i < list.GetCount() && !IsStopped(); ++i) UnlockRecord(list.Get(i));
  }

  [[nodiscard]] int lastResult() const { return lastResult_; }

 private:
  bool IsStopped() {
    if (isStopped_) return true;
    isStopped_ = app::CheckStopProcess(ctx_);
    if (isStopped_) out_ << "Process stop\n";
    return isStopped_;
  }

  void UnlockRecord(int mfn) {
    lastResult_ = velor_32::VelorRecUnLockTime(database_.space(), mfn, database_.relayRecTime());
    out_ << Outcome() << mfn << '\n';
  }

  [[nodiscard]] const char* Outcome() const {
    if (lastResult_ == 0) return "Record unlocked MFN ";
    return lastResult_ == kWasNotLocked ? "Record was not locked MFN " : "Record unlock failed MFN ";
  }

  app::VelorAppContext* ctx_;
  const OpenedDatabase& database_;
  std::ostream& out_;
  int lastResult_ = 0;
  bool isStopped_ = false;
};

std::string Announce(const OpenedDatabase& database, std::ostream& out) {
  std::string subject = "UnlockMFN " + database.name();
  out << "UnlockMFN\n";
  LogTool(subject);
  return subject;
}

MfnRange ClipRange(int from, int to, int lastMfn) {
  if (to < 1 || to > lastMfn) to = lastMfn;
  return {std::min(std::max(from, 1), to), to};
}

}  // namespace

int VelorUnlockMfn(app::VelorAppContext* ctx, const std::string& db, int from, int to,
                   const std::string& listFile, std::ostream& out) {
  const OpenedDatabase database(ctx, db, out);
  if (!database.isReady()) return database.result();

  const std::string subject = Announce(database, out);
  Unlocker unlocker(ctx, database, out);
  if (from > 0 || to > 0) {
    const MfnRange range = ClipRange(from, to, velor_32::LastMfn(database.space()));
    out << "Using mfn range from " << range.from << " to " << range.to << '\n';
    unlocker.UnlockRange(range);
  }
  if (!listFile.empty()) {
    out << "Loading mfn list from file " << listFile << '\n';
    velor_01::TIntList list;
    list.LoadFromFile(listFile.c_str());
    unlocker.UnlockList(list);
  }
  return ReportOutcome(subject, unlocker.lastResult(), out);
}

int VelorUnlockAllMfn(app::VelorAppContext* ctx, const std::string& db, std::ostream& out) {
  const OpenedDatabase database(ctx, db, out);
  if (!database.isReady()) return database.result();

  const std::string subject = Announce(database, out);
  velor_01::TIntList locked;
  velora::XrfLists lists;
  lists.locked = &locked;
  if (const int rc = velora::isisxrfinfo(database.space(), lists); rc != 0) {
    return ReportOutcome(subject, rc, out);
  }
  if (locked.GetCount() == 0) out << "No locked records\n";
  Unlocker unlocker(ctx, database, out);
  unlocker.UnlockList(locked);
  return ReportOutcome(subject, unlocker.lastResult(), out);
}

}  // namespace velor_server_proc
