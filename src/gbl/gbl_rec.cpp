#include "gbl/gbl_rec.h"

#include "format/format_files.h"
#include "gbl/correction.h"
#include "gbl/gbl_rec_task.h"
#include "gbl/record_checks.h"
#include "gbl/run_settings.h"
#include "gbl/task_run.h"
#include "index/shared_tables.h"
#include "storage/app_context.h"
#include "storage/codes.h"
#include "storage/fields.h"
#include "storage/maintenance_context.h"
#include "storage/master_file.h"
#include "storage/record_status.h"
#include "storage/record_update.h"
#include "storage/shelf.h"
#include "utils/md5.h"

namespace velor_server_proc {

using velor_01::TVelorSpace;
using velor_32::kOk;

namespace {

constexpr int kTaskErrors = -8888;
constexpr const char* kNoAutoinTask = "-5555";
/// Automatic input that makes records, which get their automatic input, ends somewhere.
constexpr int kMaxAutoinDepth = 16;
constexpr std::string_view kProtocolWord = "GBL_PROTOCOL";

}  // namespace

/// What happens to the records of other databases at the end of their blocks.
class OtherRecords {
 public:
  /// `settings`: those of the application outside of the run.
  OtherRecords(const TVelorSpace* main, const VelorGblRecContext& context,
               const global::LanguageSettings& settings, global::BlockSpaces* pool)
      : context_(context),
        controlName_(LogicControlName(*main->app)),
        lockTimeout_(velora::MainNumber(*main->app, "RELAY_RECTIME", 5)),
        settings_(settings),
        pool_(pool),
        database_(main->path) {
    if (context.autoin && context.autoinList != nullptr)
      autoin_.Assign(*context.autoinList);
    else if (context.autoin)
      LoadAutomaticInput(main, &autoin_);
  }

  /// Completes, checks and writes a record. True: its space may be closed.
  bool Done(TVelorSpace* space, int slot);

 private:
  struct Written {
    int result = kOk;
    int indexResult = kOk;
  };
  void FollowDatabase(const TVelorSpace* space);
  std::string AutomaticInput(TVelorSpace* space, int slot, std::string& errors, std::string& protocol);
  void LogicControl(TVelorSpace* space, int slot);
  Written Write(TVelorSpace* space, int slot);
  void Report(const std::string& line) const {
    if (context_.report) context_.report(line);
  }

  const VelorGblRecContext& context_;
  std::string controlName_;
  int lockTimeout_;
  global::LanguageSettings settings_;  // those outside of the run
  global::BlockSpaces* pool_;
  std::string database_;  // of the record before: path
  velor_01::TStringList autoin_;
  int autoinDepth_ = 0;
  bool isControlKnown_ = false;  // the two for that database
  bool hasControl_ = false;
  indexing::SharedTables tables_;
};

void OtherRecords::FollowDatabase(const TVelorSpace* space) {
  const bool isAnother = space->path != database_;
  if (isAnother && context_.autoin) LoadAutomaticInput(space, &autoin_);
  if (context_.flc && (isAnother || !isControlKnown_))
    hasControl_ = HasLogicControl(space, xpft::TableDirectory(space->app, space->path), controlName_);
  isControlKnown_ = true;
  database_ = space->path;
}

/// What the report tells of it: the errors or else the protocol of the task, -5555 without one.
std::string OtherRecords::AutomaticInput(TVelorSpace* space, int slot, std::string& errors,
                                         std::string& protocol) {
  if (autoin_.GetCount() == 0 || autoinDepth_ >= kMaxAutoinDepth) return kNoAutoinTask;
  const global::TaskText task = global::ReadTask(space->app, autoin_);
  velor_01::TList changed;
  ++autoinDepth_;
  global::RunTask(
      space, slot, task, &changed, errors, protocol,
      [this](TVelorSpace* other, int otherSlot) { return Done(other, otherSlot); }, pool_);
  --autoinDepth_;
  for (void* other : changed.Items()) velor_32::Velorclose(static_cast<TVelorSpace*>(other));
  return errors.empty() ? protocol : errors;
}

void OtherRecords::LogicControl(TVelorSpace* space, int slot) {
  std::string result;
  if (!DBN_Flc_record(space, slot, xpft::TableDirectory(space->app, space->path), controlName_, result))
    velor_32::Velorrecdel(space, slot);
  if (!result.empty()) Report("FLC=" + result + "#");
}

OtherRecords::Written OtherRecords::Write(TVelorSpace* space, int slot) {
  Written written;
  if (context_.writeRecord) {
    written.result = context_.writeRecord(space, slot);
    return written;
  }
  // A lock in the shelf was read from the file: somebody else's.
  velor_32::Velorrecunlock(space, slot);
  const global::ScopedSettings outside(space->app, settings_);
  if (context_.ifUpdate) tables_.LendTo(space);
  // The update reads the version before into the slot behind: without one it would take that of the record.
  if (context_.ifUpdate && space->shelfCount < slot + 2) velor_32::VelorInitAltShelf(space, slot + 2);
  written.result = velor_32::StoreRecord(space, slot, context_.ifUpdate, lockTimeout_, &written.indexResult);
  if (context_.ifUpdate) tables_.TakeBack(space);
  return written;
}

bool OtherRecords::Done(TVelorSpace* space, int slot) {
  if (space->lazyMst || space->lazyTerm) velor_32::VelorUnlazy(space);
  FollowDatabase(space);
  std::string errors;
  std::string protocol;
  const std::string input = context_.autoin ? AutomaticInput(space, slot, errors, protocol) : "";
  Report("DBN=" + backup::GetDbNameEK(space) + "#MFN=" + std::to_string(velor_32::Velormfn(space, slot)) +
         "#AUTOIN=" + input + "#");
  if (context_.flc && hasControl_) LogicControl(space, slot);
  const Written written = Write(space, slot);
  if (written.result == velor_32::kLocked && app::CheckStopProcess(space->app))
    return false;  // refused for it
  if (context_.recordDone) context_.recordDone(space, slot, written.result, errors, protocol);
  if (!context_.report) return true;
  const int shown = written.result == kOk ? velor_32::Velormfn(space, slot) : written.result;
  std::string line = "UPDATE=" + std::to_string(shown) +
                     "#STATUS=" + std::to_string(velor_32::Velorrecstatus(space, slot, 1)) + "#";
  if (written.result == kOk && context_.ifUpdate)
    line += "UPDUF=" + std::to_string(written.indexResult) + "#";
  Report(line + "\r\n");
  return true;
}

namespace {

/// The first protocol record, up to its first "#", goes to the report.
void ReportProtocol(const VelorGblRecContext& context, std::string_view protocol) {
  if (!context.report || !protocol.starts_with(kProtocolWord)) return;
  context.report(std::string(protocol.substr(0, protocol.find('#'))) + "#");
}

}  // namespace

GblRecRunner::GblRecRunner(TVelorSpace* space, VelorGblRecContext context)
    : space_(space), context_(std::move(context)), pool_(std::make_unique<global::BlockSpaces>()) {}
GblRecRunner::~GblRecRunner() = default;

int GblRecRunner::Run(int slot, const global::TaskText& task) {
  const auto settings = global::LanguageSettings::Of(space_->app);
  velor_01::TList changed;
  std::string errors;
  std::string protocol;
  global::RunTask(
      space_, slot, task, &changed, errors, protocol,
      [&](TVelorSpace* other, int otherSlot) {
        if (!others_) others_ = std::make_unique<OtherRecords>(space_, context_, settings, pool_.get());
        return others_->Done(other, otherSlot);
      },
      pool_.get());
  ReportProtocol(context_, protocol);
  for (void* other : changed.Items()) velor_32::Velorclose(static_cast<TVelorSpace*>(other));
  if (context_.finished) context_.finished(space_, slot, errors, protocol);
  return errors.empty() ? kOk : kTaskErrors;
}

int VelorGblRec(TVelorSpace* space, int slot, const velor_01::TStringList* task,
                const VelorGblRecContext& context) {
  if (task == nullptr || space == nullptr || space->path.empty() || space->app == nullptr ||
      !space->app->mainIni)
    return velor_32::kNoSpace;
  if (task->GetCount() > 0)
    return GblRecRunner(space, context).Run(slot, global::ReadTask(space->app, *task));
  if (context.finished) context.finished(space, slot, "", "");
  return kOk;
}

void HashRecord(TVelorSpace* space, int slot, std::string& out) {
  out.clear();  // the content first: its memory is used again for the next record
  const int count = velor_32::Velornfields(space, slot);
  for (int i = 1; i <= count; ++i) {
    int tag = 0;
    const std::string_view text = velor_32::FieldText(space, slot, i, &tag);
    out.append(std::to_string(tag)).append(text);
  }
  const std::string sum = utils::Md5Hex(out);
  out.assign(sum.data(), sum.size());
}

}  // namespace velor_server_proc
