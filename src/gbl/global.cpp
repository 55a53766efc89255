#include "gbl/global.h"

#include <memory>
#include <ostream>

#include "format/format_files.h"
#include "format/record_filter.h"
#include "gbl/gbl_rec_task.h"
#include "gbl/record_checks.h"
#include "index/full_text_hooks.h"
#include "search/record_selection.h"
#include "storage/app_context.h"
#include "storage/bulk_writer.h"
#include "storage/codes.h"
#include "storage/database_open.h"
#include "storage/master_file.h"
#include "storage/opened_database.h"
#include "storage/record_status.h"
#include "storage/record_update.h"
#include "storage/shelf.h"
#include "utils/output_file.h"
#include "utils/path_util.h"

namespace velor_server_proc {

using velor_01::TVelorSpace;
using velor_32::kOk;

namespace {

constexpr int kSlot = 0;
constexpr std::string_view kLineEnd = "\r\n";

class Global {
 public:
  Global(app::VelorAppContext* ctx, const std::string& database, std::string task,
         const VelorGlobalContext& params, std::ostream& out)
      : ctx_(ctx), taskName_(std::move(task)), params_(params), out_(out), database_(ctx, database, out) {}

  int Run();

 private:
  int LoadTask();
  int PrepareSelection();
  int Refuse(const std::string& message, int result);
  void CorrectAll();
  void Correct(int mfn);
  int Write();
  void Report(TVelorSpace* space, int slot, int result, const std::string& errors,
              const std::string& protocol, bool isWritten);
  int Finish();
  [[nodiscard]] TVelorSpace* space() const { return database_.space(); }

  app::VelorAppContext* ctx_;
  std::string taskName_;
  VelorGlobalContext params_;
  std::ostream& out_;
  const OpenedDatabase database_;

  velor_01::TStringList autoin_;
  global::TaskText task_;
  velora::OutputFile report_;
  velor_01::TIntList found_;  // by a search
  std::unique_ptr<velora::RecordFilter> scan_;
  std::unique_ptr<GblRecRunner> runner_;
  std::string errors_;  // of the task on the record at hand
  std::string protocol_;
  std::string hashBefore_;
  std::string hashAfter_;
  int result_ = kOk;  // of the last record
};

int Global::Run() {
  if (!database_.isReady()) return database_.result();
  out_ << "Global" << std::endl;
  LogTool("Global " + database_.name() + " " + taskName_);
  if (params_.autoin) LoadAutomaticInput(space(), &autoin_);
  if (int rc = LoadTask(); rc != kOk) return rc;
  if (!params_.logFile.empty()) static_cast<void>(report_.Create(params_.logFile));
  if (int rc = PrepareSelection(); rc != kOk) return rc;
  CorrectAll();
  return Finish();
}

int Global::LoadTask() {
  const std::string path =
      utils::PathUtil::IsFile(taskName_)
          ? taskName_
          : xpft::LookupFile(ctx_, xpft::VelorPath::kDatabase, space()->path, taskName_ + ".gbl", true);
  velor_01::TStringList lines;
  if (!path.empty()) lines.LoadFromFile(path);
  if (lines.GetCount() == 0)
    return Refuse(
        (path.empty() ? "Task file not found " : "Task file empty ") + database_.name() + " " + taskName_,
        velor_32::kNotFound);
  task_ = global::ReadTask(ctx_, lines);
  return kOk;
}

int Global::PrepareSelection() {
  if (int rc = velora::ResolveSearch(space(), &params_, &found_, out_); rc != kOk) {
    LogTool("Global " + database_.name() + " error " + std::to_string(rc));
    return Refuse("Error " + std::to_string(rc), rc);
  }
  scan_ = std::make_unique<velora::RecordFilter>(space());
  if (params_.scan.empty()) return kOk;
  const std::string format = velora::ScanFormat(params_.scan);
  out_ << "scan expr: " << format << std::endl;
  const int rc = scan_->Prepare(format);
  return rc == kOk ? kOk : Refuse("sequential search format error " + format, rc);
}

int Global::Refuse(const std::string& message, int result) {
  out_ << message << std::endl;
  LogTool(message);
  return result;
}

void Global::CorrectAll() {
  VelorGblRecContext context;
  context.ifUpdate = params_.ifUpdate;
  context.flc = params_.flc;
  context.autoin = params_.autoin;
  context.autoinList = params_.autoin ? &autoin_ : nullptr;
  context.recordDone = [this](TVelorSpace* space, int slot, int result, const std::string& errors,
                              const std::string& protocol) {
    Report(space, slot, result, errors, protocol, true);
  };
  context.finished = [this](TVelorSpace*, int, const std::string& errors, const std::string& protocol) {
    errors_ = errors;
    protocol_ = protocol;
  };
  runner_ = std::make_unique<GblRecRunner>(space(), std::move(context));
  velor_32::VelorBulkStart(space());
  velora::VisitSelection(space(), params_, [this](int mfn) { Correct(mfn); });
  velor_32::VelorBulkStop(space());
  if (!report_.Close()) Refuse("Global write error: " + params_.logFile, velor_32::kNoRecordFiles);
}

void Global::Correct(int mfn) {
  TVelorSpace* space = database_.space();
  const int read = velor_32::VelorRecord(space, kSlot, mfn);
  if (read != kOk && read != velor_32::kDeleted) return;
  // What the file says of a lock is no right to the record that somebody holds.
  velor_32::Velorrecunlock(space, kSlot);
  if (!scan_->Passes(kSlot)) return;
  HashRecord(space, kSlot, hashBefore_);
  const int statusBefore = velor_32::Velorrecstatus(space, kSlot, 0);
  runner_->Run(kSlot, task_);
  // A task may be stopped in its middle: the record in hand stays as it is in the file.
  if (app::CheckStopProcess(ctx_)) return;
  HashRecord(space, kSlot, hashAfter_);
  const bool isUnchanged =
      hashAfter_ == hashBefore_ && velor_32::Velorrecstatus(space, kSlot, 0) == statusBefore;
  const int result = isUnchanged ? kOk : Write();
  if (result == velor_32::kLocked && app::CheckStopProcess(ctx_)) return;  // refused for the stop request
  result_ = result;
  Report(space, kSlot, result_, errors_, protocol_, !isUnchanged);
  if (errors_.empty()) return;
  out_ << "Gbl error " << errors_ << std::endl;
  LogTool("Gbl error " + errors_);
}

int Global::Write() {
  TVelorSpace* space = database_.space();
  const auto linkedFileChanged = indexing::DefaultFullTextHooks().linkedFileChanged;
  if (space->isFullText && linkedFileChanged && linkedFileChanged(space, kSlot))
    velor_32::Velorrecftunactualize(space, kSlot);
  return velor_32::StoreRecord(space, kSlot, params_.ifUpdate, database_.relayRecTime());
}

/// What became of a record, in the report file; failures go to the log where there is none.
void Global::Report(TVelorSpace* space, int slot, int result, const std::string& errors,
                    const std::string& protocol, bool isWritten) {
  if (!report_.isOpen() && result == kOk) return;
  const std::string record =
      backup::GetDbNameEK(space) + " MFN " + std::to_string(velor_32::Velormfn(space, slot));
  const std::string line = result == kOk ? "Record update success: " + record
                                         : "Record update error: " + std::to_string(result) + " " + record;
  if (!report_.isOpen()) {
    LogTool(line);
    return;
  }
  std::string& buffer = report_.buffer();
  for (const std::string* text : {&errors, &protocol})
    if (!text->empty()) buffer.append(*text).append(kLineEnd);
  buffer.append(line).append(kLineEnd);
  if (isWritten)
    report_.Flush();  // at once: a killed run has told what it did
  else
    report_.FlushIfLarge();
}

int Global::Finish() {
  if (app::CheckStopProcess(ctx_)) out_ << "Process stop" << std::endl;
  return ReportOutcome("Global " + database_.name(), result_, out_);
}

}  // namespace

int VelorGlobal(app::VelorAppContext* ctx, const std::string& database, const std::string& taskName,
                const VelorGlobalContext& params, std::ostream& out) {
  return Global(ctx, database, taskName, params, out).Run();
}

}  // namespace velor_server_proc
