#include "exchange/import.h"

#include <unistd.h>

#include <memory>
#include <ostream>

#include "exchange/csv.h"
#include "exchange/exchange_files.h"
#include "exchange/import_corrections.h"
#include "exchange/import_numbers.h"
#include "exchange/import_report.h"
#include "exchange/import_source.h"
#include "exchange/marc_mode.h"
#include "exchange/record_merger.h"
#include "exchange/reformat.h"
#include "format/record_filter.h"
#include "storage/app_context.h"
#include "storage/bulk_writer.h"
#include "storage/codes.h"
#include "storage/database_lock.h"
#include "storage/database_open.h"
#include "storage/fields.h"
#include "storage/maintenance_context.h"
#include "storage/record_status.h"
#include "storage/record_update.h"
#include "storage/shelf.h"
#include "utils/code_page.h"
#include "utils/string_utils.h"
#include "utils/text_util.h"

namespace velor_server_proc {

using velor_32::kOk;
using velora::ImportSource;
using velora::RecordMerger;

namespace {

constexpr int kCsvFailed = -500;
constexpr int kSourceSlot = 0;
constexpr int kTableSlot = 1;  // the record that a table builds
constexpr int kBlankSlot = 3;  // for the blank records that fill up to a number

/// Removes a file at the end of the scope; an empty name is none.
struct TemporaryFile {
  std::string path;
  ~TemporaryFile() {
    if (!path.empty()) ::unlink(path.c_str());
  }
};

class Import {
 public:
  Import(app::VelorAppContext* ctx, std::string database, std::string file, std::ostream& out,
         const VelorImportContext& params)
      : ctx_(ctx), database_(std::move(database)), file_(std::move(file)), out_(out), params_(params) {}

  int Run();

 private:
  int Prepare();
  int PrepareFilter();
  int PrepareMerge();
  int ConvertCsv();
  int OpenSource();
  int ImportAll();
  void ImportRecord();
  bool MeetsConditions();
  void Tell(const char* what, const std::string& errors);
  bool Merge(int newSlot);
  bool Complete(bool isRepeated);
  void Skip(const std::string& reason);
  [[nodiscard]] bool IsStopped() const { return app::CheckStopProcess(ctx_); }
  bool HasContent();
  int CountBadTexts();
  void CleanFields();
  int Write();
  int StoreUnderFreedNumber();
  int Store();
  void Count(int result);
  void Report();
  void Complain(const std::string& message);

  app::VelorAppContext* ctx_;
  std::string database_;
  std::string file_;
  std::ostream& out_;
  VelorImportContext params_;

  velor_32::SpacePointer space_;
  std::unique_ptr<velora::VelorAContext, velora::VelorACloser> maintenance_;
  velora::ReformatTable table_;
  std::unique_ptr<velora::RecordFilter> filter_;
  std::unique_ptr<velora::RecordMerger> merger_;  // null unless records are merged by format
  std::unique_ptr<velora::ImportCorrections> corrections_;
  bool marcMode_ = false;
  bool updateIndex_ = false;
  TemporaryFile converted_;
  velora::FreedNumbers freedNumbers_;
  std::unique_ptr<ImportSource> source_;
  velora::ImportReport report_;

  // The record in hand.
  int slot_ = kSourceSlot;
  bool isMerged_ = false;  // it is one of the database with new fields
  bool isNew_ = false;     // it was stored as a new one
};

int Import::Run() {
  if (params_.format != VelorImportContext::kIso && params_.format != VelorImportContext::kText &&
      params_.format != VelorImportContext::kCsv) {
    out_ << "Import format not supported" << std::endl;
    return kOk;
  }
  int result = kOk;
  space_.reset(VelorOpenDb(ctx_, database_, out_, &result));
  if (!space_) return result;
  out_ << "Import" << std::endl;
  LogTool("Import database " + database_ + " " + file_);
  if (velor_32::VelorIsDBLocked(space_.get()) == velor_32::kLocked) {
    out_ << "Database locked" << std::endl;
    LogTool(database_ + " locked");
    return kOk;
  }
  if (int rc = Prepare(); rc != kOk || !source_) return rc;
  const int rc = ImportAll();
  Report();
  return rc;
}

/// Everything before the first record. The source stays null when the run ends here.
int Import::Prepare() {
  updateIndex_ = ctx_->mainIni->Get("Main", "RECUPDIF", "0") == "1";
  if (!params_.fst.empty()) {
    marcMode_ = velora::IsMarcTable(ctx_, params_.fst);
    table_.Load(space_.get(), database_, params_.fst, out_);
  }
  if (params_.proto && !report_.CreateProtocol(velora::WorkFile(ctx_, file_, "_protocol_")))
    Complain("Import cannot create protocol of " + file_);
  if (params_.format == VelorImportContext::kCsv)
    if (int rc = ConvertCsv(); rc != kOk) return rc;
  if (int rc = PrepareMerge(); rc != kOk) return rc;
  if (int rc = PrepareFilter(); rc != kOk) return rc;
  if (params_.reuseMfn) freedNumbers_.Load(space_.get());
  maintenance_.reset(velora::VelorA_init(ctx_));
  if (!maintenance_) return velor_32::kNoMemory;
  return OpenSource();
}

int Import::PrepareMerge() {
  corrections_ = std::make_unique<velora::ImportCorrections>(space_.get());
  if (int rc = corrections_->Prepare(database_, params_, updateIndex_, out_); rc != kOk) return rc;
  if (params_.mergeMode != VelorImportContext::kMergeByFormat) return kOk;
  merger_ = std::make_unique<RecordMerger>(space_.get());
  const int rc = merger_->Prepare(params_.merge);
  if (rc == kOk) return kOk;
  if (rc == velor_32::kNoInvertedFile) {
    out_ << "inverted file error" << std::endl;
    LogTool("Import " + database_ + " error " + std::to_string(rc));
    return rc;
  }
  out_ << "merge format error " << params_.merge << std::endl;
  LogTool("merge format error " + params_.merge);
  return rc;
}

int Import::PrepareFilter() {
  filter_ = std::make_unique<velora::RecordFilter>(space_.get());
  if (params_.filter.empty()) return kOk;
  const std::string format = velora::LookupFormat(space_.get(), params_.filter);
  const int rc = format.empty() ? velor_32::kNotFound : filter_->Prepare(format);
  if (rc == kOk) return kOk;
  out_ << "filter format error " << params_.filter << std::endl;
  LogTool("filter format error " + params_.filter);
  return rc;
}

int Import::ConvertCsv() {
  out_ << "Csv to txt convertion " << file_ << std::endl;
  converted_.path = velora::WorkFile(ctx_, file_, "_csv_");
  if (!velora::CSVtoTXT(ctx_, file_, converted_.path)) {
    out_ << "Csv to txt convertion failed " << file_ << std::endl;
    LogTool("Csv to txt convertion failed " + file_);
    return kCsvFailed;
  }
  out_ << "Csv to txt convertion ok " << file_ << std::endl;
  return kOk;
}

int Import::OpenSource() {
  const std::string& path = converted_.path.empty() ? file_ : converted_.path;
  source_ = velora::OpenImportSource(space_.get(), path, marcMode_, params_);
  if (source_) return kOk;
  out_ << " file does not exist: " << file_ << std::endl;
  LogTool("Import file does not exist: " + file_);
  return velor_32::kNotFound;
}

int Import::ImportAll() {
  velor_32::VelorBulkStart(space_.get());
  int result = kOk;
  while (!app::CheckStopProcess(ctx_)) {
    velor_32::Velornewrec(space_.get(), kSourceSlot);
    const ImportSource::Outcome outcome = source_->Next(kSourceSlot);
    if (outcome == ImportSource::Outcome::kEnd || app::CheckStopProcess(ctx_)) break;
    report_.NextRecord();
    if (outcome == ImportSource::Outcome::kNoMemory) {
      out_ << "malloc error " << std::endl;
      result = velor_32::kNoMemory;
      break;
    }
    if (outcome == ImportSource::Outcome::kRecord) {
      ImportRecord();
    } else {
      report_.Skip(source_->remark);
    }
  }
  velor_32::VelorBulkStop(space_.get());
  if (!source_->HasFailed()) return result;
  Complain("Import read error: " + file_);
  return velor_32::kNoRecordFiles;
}

void Import::ImportRecord() {
  if (!source_->remark.empty()) report_.NoteNumber("Record damaged", source_->remark);
  slot_ = kSourceSlot;
  if (marcMode_)
    velora::ReplaceInFields(space_.get(), kSourceSlot, velora::kMarcDelimiter, velora::kSubfieldMark);
  if (table_.isLoaded()) {
    slot_ = kTableSlot;
    table_.Run(space_.get(), kSourceSlot, slot_);
  }
  if (!MeetsConditions()) return;
  Tell("Gbl error", corrections_->RunMergeTask(slot_));

  constexpr int kMostTries = 10000;
  const int newSlot = slot_;
  int result = velor_32::kLocked;  // what a stop request gives
  // Somebody else may store the partner between its reading and its writing; the new record is then merged
  // with what that gave. The automatic input writes no other records again: each such time another writer
  // got on, so that the tries end.
  for (int tries = 0; tries < kMostTries && !IsStopped(); ++tries) {
    if (merger_ && !Merge(newSlot)) return;
    if (!Complete(tries > 0)) return;
    result = Write();
    if (result != velor_32::kVersionMismatch || !isMerged_) break;
  }
  Count(result);
}

/// Whether the record may go in as the file and the table give it.
bool Import::MeetsConditions() {
  if (!filter_->Passes(slot_)) {
    Skip("filter");
    return false;
  }
  if (!params_.checkEncoding) return true;
  if (source_->badTexts > 0) {
    report_.Skip("bad encoding COUNT " + std::to_string(source_->badTexts));
    return false;
  }
  if (merger_) CleanFields();  // it is compared with fields that were cleaned when they were stored
  return true;
}

/// Errors of a task leave the record as the task left it.
void Import::Tell(const char* what, const std::string& errors) {
  if (errors.empty() || IsStopped()) return;
  report_.NoteNumber(what, errors);
  LogTool(what + (": NUMBER " + std::to_string(report_.number())) + " " + errors);
}

/// A format or a task that a stop request cut off says nothing of the record.
void Import::Skip(const std::string& reason) {
  if (!IsStopped()) report_.Skip(reason);
}

/// Makes the record in hand one of the database where there is one to merge with. False when nothing is to be
/// written.
bool Import::Merge(int newSlot) {
  slot_ = newSlot;
  isMerged_ = false;
  switch (merger_->Merge(newSlot)) {
    case RecordMerger::Outcome::kNoPartner:
      if (merger_->keyFailed()) report_.NoteNumber("Record not merged", "merge format error");
      if (merger_->error() != kOk)
        report_.Note("Record not merged: MFN " + std::to_string(merger_->mfn()) + " " +
                     std::to_string(merger_->error()));
      return true;
    case RecordMerger::Outcome::kUnchanged:
      report_.Ignore(merger_->mfn());
      return false;
    case RecordMerger::Outcome::kMerged:
      slot_ = newSlot + 1;
      isMerged_ = true;
      return true;
    case RecordMerger::Outcome::kFailed:
      break;
  }
  report_.Stored(merger_->error(), 0, false);
  return false;
}

/// Automatic input, and the conditions on what is written. False when the record is not.
bool Import::Complete(bool isRepeated) {
  Tell("Autoin error", corrections_->RunAutomaticInput(slot_, isRepeated));
  if (!HasContent()) {
    Skip("no fields, lost COUNT " + std::to_string(source_->lostFields));
    return false;
  }
  if (params_.checkEncoding) {
    if (const int badTexts = CountBadTexts(); badTexts > 0) {
      Skip("bad encoding COUNT " + std::to_string(badTexts));
      return false;
    }
    CleanFields();
  }
  std::string reason;
  if (corrections_->PassesLogicControl(slot_, &reason)) return true;
  Skip("flc " + reason);
  return false;
}

/// With a header a number is enough.
bool Import::HasContent() {
  return velor_32::Velornfields(space_.get(), slot_) > 0 ||
         (params_.header && velor_32::Velormfn(space_.get(), slot_) >= 1);
}

/// The file has none left here, but a record of the database or a task may bring them in.
int Import::CountBadTexts() {
  int count = 0;
  for (int i = 1; i <= velor_32::Velornfields(space_.get(), slot_); ++i)
    if (!utils::TextUtil::CheckUTF8(velor_32::FieldText(space_.get(), slot_, i))) ++count;
  return count;
}

void Import::CleanFields() {
  velor_01::TVelorSpace* space = space_.get();
  for (int i = 1; i <= velor_32::Velornfields(space, slot_); ++i) {
    std::string text(velor_32::FieldText(space, slot_, i));
    if (backup::ZaboyString(text))
      velor_32::Velorfldrep(space, slot_, i, text.data(), static_cast<int>(text.size()));
  }
}

int Import::Write() {
  velor_01::TVelorSpace* space = space_.get();
  const int timeout = maintenance_->relayRecTime;
  // A merged record has the number of the database; that of the header is the new one's.
  const bool hasNumber = params_.header && !isMerged_ && velor_32::Velormfn(space, slot_) > 0;
  const velora::NumbersInOrder inOrder(ctx_, hasNumber);
  isNew_ = false;
  if (hasNumber)
    if (int rc = velora::TakeHeaderNumber(space, slot_, kBlankSlot, timeout); rc != kOk) return rc;

  isNew_ = velor_32::Velormfn(space, slot_) == 0;
  const bool isGone = velor_32::Velorrecstatus(space, slot_, 1) & velor_01::kStatusPhysicallyDeleted;
  const bool takesFreed = isNew_ && !hasNumber && !freedNumbers_.isEmpty();
  const int result = takesFreed ? StoreUnderFreedNumber() : Store();
  if (result == kOk && isGone)
    velor_32::VelorRecPhysDelTime(space, velor_32::Velormfn(space, slot_), timeout);
  return result;
}

/// A new record takes the first number that was freed. One that somebody else took in the meantime is passed
/// over.
int Import::StoreUnderFreedNumber() {
  while (!freedNumbers_.isEmpty()) {
    freedNumbers_.GiveNext(space_.get(), slot_);
    if (const int result = Store(); result != velor_32::kVersionMismatch) return result;
  }
  velora::MakeNewRecord(space_.get(), slot_);
  return Store();
}

int Import::Store() {
  return velor_32::StoreRecord(space_.get(), slot_, updateIndex_, maintenance_->relayRecTime);
}

void Import::Count(int result) {
  if (result != kOk && IsStopped()) return;  // refused for the stop request
  const int mfn = velor_32::Velormfn(space_.get(), slot_);
  if (result == kOk && isMerged_) report_.Merged(mfn);
  report_.Stored(result, mfn, isNew_);
  if (result == kOk && source_->lostFields > 0)
    report_.NoteMfn("Record fields lost", mfn, source_->lostFields);
}

void Import::Complain(const std::string& message) {
  out_ << message << std::endl;
  LogTool(message);
}

void Import::Report() {
  source_.reset();
  if (!report_.Finish(out_)) Complain("Import write error: protocol of " + file_);
  LogTool("Import " + database_ + " records merged " + std::to_string(report_.merged()));
  LogTool("Import " + database_ + " done");
  if (app::CheckStopProcess(ctx_)) out_ << "Process stop" << std::endl;
  out_ << "Done" << std::endl;
}

}  // namespace

int VelorImport(app::VelorAppContext* ctx, const std::string& database, const std::string& file,
                std::ostream& out, const VelorImportContext& params) {
  return Import(ctx, utils::StringUtils::ToLower(database), file, out, params).Run();
}

}  // namespace velor_server_proc
