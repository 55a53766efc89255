#include "index/actual_if.h"

#include <algorithm>
#include <memory>
#include <ostream>

#include "index/actual_list.h"
#include "storage/bulk_writer.h"
#include "storage/codes.h"
#include "storage/database_open.h"
#include "storage/opened_database.h"
#include "storage/record_lock.h"
#include "storage/record_read.h"
#include "storage/record_status.h"
#include "storage/record_update.h"
#include "storage/xrf_info.h"
#include "utils/string_utils.h"

namespace velor_server_proc {

namespace {

using velor_01::TIntList;
using velor_32::kOk;
using MaintenancePointer = std::unique_ptr<velora::VelorAContext, velora::VelorACloser>;

constexpr int kShelf = 0;

/// One run of the tool.
class ActualIf {
 public:
  ActualIf(app::VelorAppContext* app, const std::string& db, std::ostream& out)
      : app_(app), db_(utils::StringUtils::ToLower(db)), out_(out) {}

  int Run(int mfnFrom, int mfnTo, const std::string& listFile);

 private:
  int Open();
  int CollectByStatus();
  void CollectRange(int mfnFrom, int mfnTo);
  void CollectList(const std::string& listFile);
  void ForceAll();
  void ForceUnactual(int mfn);
  int StoreAnew(int mfn);
  int Actualize();
  void Tell(const std::string& line);

  app::VelorAppContext* app_;
  std::string db_;
  std::ostream& out_;
  velor_32::SpacePointer space_;
  MaintenancePointer maintenance_;
  velora::IndexWork work_ = velora::IndexWork::kByMarks;
  TIntList records_;
  TIntList fullTexts_;
};

int ActualIf::Open() {
  int result = kOk;
  space_.reset(VelorOpenDb(app_, db_, out_, &result));
  if (!space_) return result;
  maintenance_.reset(velora::VelorA_init(app_));
  return maintenance_ ? kOk : velor_32::kNoMemory;
}

int ActualIf::CollectByStatus() {
  out_ << "Requesting record status list" << std::endl;
  LogTool("XrfInfo " + db_);
  velora::XrfLists lists;
  lists.notActualized = &records_;
  lists.fullTextNotActualized = &fullTexts_;
  return velora::isisxrfinfo(space_.get(), lists);
}

void ActualIf::CollectRange(int mfnFrom, int mfnTo) {
  const int last = velor_32::LastMfn(space_.get());
  const int to = mfnTo < 1 ? last : std::min(mfnTo, last);
  const int from = std::max(mfnFrom, 1);
  out_ << "Using mfn range from " << from << " to " << to << std::endl;
  for (int mfn = from; mfn <= to; ++mfn) records_.Add(mfn);
  ForceAll();
}

void ActualIf::CollectList(const std::string& listFile) {
  out_ << "Loading mfn list from file " << listFile << std::endl;
  records_.LoadFromFile(listFile);
  ForceAll();
  out_ << records_.GetCount() << " items loaded" << std::endl;
}

/// Makes the records of the list ones that are to be actualized.
void ActualIf::ForceAll() {
  work_ = velora::IndexWork::kRepair;
  const int last = velor_32::LastMfn(space_.get());
  velor_32::VelorBulkStart(space_.get());
  for (const int mfn : records_.Items()) {
    if (app::CheckStopProcess(app_)) break;
    if (mfn >= 1 && mfn <= last) ForceUnactual(mfn);
  }
  velor_32::VelorBulkStop(space_.get());
}

void ActualIf::ForceUnactual(int mfn) {
  velor_01::TNew_Xrf entry;
  if (velor_32::ReadXrfEntry(space_.get(), mfn, &entry) != kOk) {
    out_ << "Error reading mfn " << mfn << " actual state " << std::endl;
    return;
  }
  if (entry.flags & velor_01::kStatusNotActualized) return;
  if (StoreAnew(mfn) != kOk) out_ << "Error setting mfn " << mfn << " to unactual state " << std::endl;
}

/// Two new versions, as a deletion and its undoing would make them; but never a deleted one of a live record,
/// which would be lost when the run is killed between the two. A locked record keeps its lock and its
/// version, so that its holder can store it: it is only marked.
int ActualIf::StoreAnew(int mfn) {
  const int timeout = maintenance_->relayRecTime;
  const int read = velor_32::VelorRecord(space_.get(), kShelf, mfn);
  if (read != kOk && read != velor_32::kDeleted) return read;
  if (velor_32::VelorIsLocked(space_.get(), kShelf))
    return velor_32::VelorRecUnactualTime(space_.get(), mfn, timeout);
  for (int version = 0; version < 2; ++version) {
    int result = kOk;
    int ifResult = kOk;
    velor_32::VelorRecUpdateTime(space_.get(), kShelf, false, false, timeout, &result, &ifResult);
    if (result != kOk) return result;
  }
  return velor_32::VelorRecCleanMtxTime(space_.get(), kShelf, timeout);
}

void ActualIf::Tell(const std::string& line) {
  out_ << line << std::endl;
  LogTool(line);
}

int ActualIf::Actualize() {
  if (records_.GetCount() == 0 && fullTexts_.GetCount() == 0) {
    out_ << "Nothing to actualize" << std::endl;
    LogTool("Nothing to actualize in database " + db_);
    return kOk;
  }
  Tell("Actualizing list");
  Tell("Not actual count " + std::to_string(records_.GetCount()));
  Tell("Not actual full texts count " + std::to_string(fullTexts_.GetCount()));
  return velora::ActualizeList(maintenance_.get(), db_, &records_, &fullTexts_, work_);
}

int ActualIf::Run(int mfnFrom, int mfnTo, const std::string& listFile) {
  out_ << "ActualIf" << std::endl;
  if (int rc = Open(); rc != kOk) return rc;
  const bool hasRange = mfnFrom > 0 || mfnTo > 0;
  if (!listFile.empty()) {
    CollectList(listFile);
  } else if (hasRange) {
    CollectRange(mfnFrom, mfnTo);
  } else if (int rc = CollectByStatus(); rc != kOk) {
    return ReportOutcome("ActualIf " + db_, rc, out_);
  }
  return ReportOutcome("ActualIf " + db_, Actualize(), out_);
}

}  // namespace

int VelorActualIf(app::VelorAppContext* app, const std::string& db, int mfnFrom, int mfnTo,
                  const std::string& listFile, std::ostream& out) {
  return ActualIf(app, db, out).Run(mfnFrom, mfnTo, listFile);
}

int VelorActualIf(app::VelorAppContext* app, const std::string& db, const TIntList* list, std::ostream& out) {
  out << "ActualIf" << std::endl << "Actualizing list" << std::endl;
  const MaintenancePointer maintenance(velora::VelorA_init(app));
  if (!maintenance) return velor_32::kNoMemory;
  return velora::ActualIfFTMfnList(maintenance.get(), utils::StringUtils::ToLower(db), list, nullptr);
}

}  // namespace velor_server_proc
