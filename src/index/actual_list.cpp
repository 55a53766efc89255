#include "index/actual_list.h"

#include <algorithm>
#include <ostream>
#include <vector>

#include "index/actual_if.h"
#include "index/full_text_hooks.h"
#include "index/record_index.h"
#include "storage/bulk_writer.h"
#include "storage/codes.h"
#include "storage/database_open.h"
#include "storage/fields.h"
#include "storage/record_guid.h"
#include "storage/record_lock.h"
#include "storage/record_read.h"
#include "storage/record_update.h"
#include "utils/string_utils.h"

namespace velora {

namespace {

using velor_01::TIntList;
using velor_32::kOk;

constexpr int kFileNameTag = 955;
constexpr int kPageMethod = 5;
constexpr int kFileMethod = 9;
constexpr int kShelf = 0;

/// One pass over lists of records.
class ListRun {
 public:
  ListRun(VelorAContext* context, std::string db) : context_(context), db_(std::move(db)) {}

  int Open();
  void UpdateRecords(const TIntList& records, const TIntList* fullTexts, IndexWork work);
  void ExtractOthers(const TIntList& fullTexts, const TIntList* records);
  [[nodiscard]] int lastResult() const { return lastResult_; }

 private:
  [[nodiscard]] bool IsStopped() const { return app::CheckStopProcess(context_->app); }
  int UpdateIndex(int mfn, IndexWork work);
  int ExtractFullText(int mfn);
  int Extract(int mfn, std::string fileName);

  VelorAContext* context_;
  std::string db_;
  velor_32::SpacePointer space_;
  bool actualizesPages_ = false;
  int lastResult_ = kOk;
};

bool HasFullTextLine(const velor_01::TVelorSpace* space) {
  if (!space->fstMethods) return false;
  return space->fstMethods->IndexOf(kPageMethod) >= 0 || space->fstMethods->IndexOf(kFileMethod) >= 0;
}

int ListRun::Open() {
  std::ostream silent(nullptr);
  int result = kOk;
  space_.reset(velor_server_proc::VelorOpenDb(context_->app, db_, silent, &result));
  if (!space_) return result;
  actualizesPages_ =
      HasFullTextLine(space_.get()) && context_->app->mainIni->Get("FullText", "FULLTEXTACTUAL", "1") == "1";
  return velor_32::VelorBulkStart(space_.get());
}

int ListRun::UpdateIndex(int mfn, IndexWork work) {
  const int timeout = context_->relayRecTime;
  return work == IndexWork::kRepair ? recif::RepairRecordIndexTime(space_.get(), kShelf, mfn, timeout)
                                    : velor_32::VelorRecIfUpdateTime(space_.get(), kShelf, mfn, timeout);
}

/// The numbers of a list in ascending order, to be looked up.
std::vector<int> Sorted(const TIntList* list) {
  std::vector<int> numbers;
  if (list) numbers.assign(list->Items().begin(), list->Items().end());
  std::sort(numbers.begin(), numbers.end());
  return numbers;
}

void ListRun::UpdateRecords(const TIntList& records, const TIntList* fullTexts, IndexWork work) {
  const std::vector<int> withText = Sorted(fullTexts);
  for (const int mfn : records.Items()) {
    if (IsStopped()) return;
    lastResult_ = UpdateIndex(mfn, work);
    if (std::binary_search(withText.begin(), withText.end(), mfn)) lastResult_ = ExtractFullText(mfn);
  }
}

void ListRun::ExtractOthers(const TIntList& fullTexts, const TIntList* records) {
  const std::vector<int> done = Sorted(records);
  for (const int mfn : fullTexts.Items()) {
    if (IsStopped()) return;
    if (!std::binary_search(done.begin(), done.end(), mfn)) lastResult_ = ExtractFullText(mfn);
  }
}

/// Extracts the text of the file that a record names. Only a PDF file has one.
int ListRun::ExtractFullText(int mfn) {
  const int read = velor_32::VelorRecord(space_.get(), kShelf, mfn);
  if (read != kOk && read != velor_32::kDeleted) return read;
  std::string fileName;
  if (const int field = velor_32::Velorfieldn(space_.get(), kShelf, kFileNameTag, 1); field > 0)
    if (velor_32::Velorfldtag(space_.get(), kShelf, field) == kFileNameTag)
      fileName = velor_32::FieldText(space_.get(), kShelf, field);
  const bool isPdf = utils::StringUtils::EndsWith(utils::StringUtils::ToUpper(fileName), ".PDF");
  if (isPdf && read == kOk) return Extract(mfn, std::move(fileName));
  return velor_32::VelorSetFullTextActualizedBitTime(space_.get(), mfn, false, context_->relayRecTime);
}

/// The mark goes before the extraction, which sets it again when it fails. Without an extraction it stays.
int ListRun::Extract(int mfn, std::string fileName) {
  const auto extract = indexing::DefaultFullTextHooks().extract;
  if (extract == nullptr) {
    velor_server_proc::LogTool("ActualIf " + db_ + " mfn " + std::to_string(mfn) +
                               ": full-text extraction is not built");
    return kOk;
  }
  const char* guid = velor_32::VelorGetGuid(space_.get(), kShelf);
  const indexing::ExtractionRequest request{.mfn = mfn,
                                            .fileName = std::move(fileName),
                                            .database = db_,
                                            .guid = guid ? guid : "",
                                            .actualizes = actualizesPages_};
  velor_32::VelorSetFullTextActualizedBitTime(space_.get(), mfn, false, context_->relayRecTime);
  const int result = extract(context_->app, request);
  velor_32::VelorRecCleanMtxTime(space_.get(), kShelf, context_->relayRecTime);
  return result;
}

}  // namespace

int ActualizeList(VelorAContext* context, const std::string& db, const TIntList* records,
                  const TIntList* fullTexts, IndexWork work) {
  if (context == nullptr || context->app == nullptr) return velor_32::kNoSpace;
  ListRun run(context, db);
  if (int rc = run.Open(); rc != kOk) return rc;
  if (records) run.UpdateRecords(*records, fullTexts, work);
  if (fullTexts) run.ExtractOthers(*fullTexts, records);
  return run.lastResult();
}

int ActualIfFTMfnList(VelorAContext* context, const std::string& db, const TIntList* records,
                      const TIntList* fullTexts) {
  return ActualizeList(context, db, records, fullTexts, IndexWork::kByMarks);
}

}  // namespace velora
