#include "exchange/import.h"

#include <sys/statvfs.h>
#include <unistd.h>

#include <map>
#include <memory>
#include <ostream>

#include "exchange/csv.h"
#include "exchange/exchange_files.h"
#include "exchange/import_source.h"
#include "exchange/marc_mode.h"
#include "exchange/reformat.h"
#include "format/record_filter.h"
#include "storage/app_context.h"
#include "storage/bulk_writer.h"
#include "storage/codes.h"
#include "storage/database_lock.h"
#include "storage/database_open.h"
#include "storage/fields.h"
#include "storage/maintenance_context.h"
#include "storage/record_guid.h"
#include "storage/record_lock.h"
#include "storage/record_read.h"
#include "storage/record_status.h"
#include "storage/record_update.h"
#include "storage/shelf.h"
#include "storage/xrf_info.h"
#include "utils/code_page.h"
#include "utils/int_list.h"
#include "utils/output_file.h"
#include "utils/string_list.h"
#include "utils/string_utils.h"
#include "utils/text_util.h"

namespace velor_server_proc {

using velor_32::kOk;
using velora::ImportSource;

namespace {

constexpr int kCsvFailed = -500;
constexpr int kSourceSlot = 0;
constexpr int kTableSlot = 1;  // the record that a table builds
constexpr int kBlankSlot = 3;  // for the blank records that fill up to a number

/// What the options ask for and this program does not do yet; empty when it does all of it.
std::string MissingPart(const VelorImportContext& params) {
  if (params.mergeMode == VelorImportContext::kMergeByFormat) return "-p";
  if (params.mergeMode == VelorImportContext::kMergeByCorrection) return "-g";
  if (params.flc) return "-c";
  return params.autoin ? "-a" : "";
}

/// Removes a file at the end of the scope; an empty name is none.
struct TemporaryFile {
  std::string path;
  ~TemporaryFile() {
    if (!path.empty()) ::unlink(path.c_str());
  }
};

/// For the life of the object new records take numbers at the end only, whatever the main ini says.
class NumbersInOrder {
 public:
  NumbersInOrder(app::VelorAppContext* ctx, bool active) : ctx_(ctx), former_(ctx->reusePhysDel) {
    if (active) ctx_->reusePhysDel = false;
  }
  ~NumbersInOrder() { ctx_->reusePhysDel = former_; }
  NumbersInOrder(const NumbersInOrder&) = delete;
  NumbersInOrder& operator=(const NumbersInOrder&) = delete;

 private:
  app::VelorAppContext* ctx_;
  bool former_;
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
  int ConvertCsv();
  int OpenSource();
  int ImportAll();
  void ImportRecord();
  void Reformat();
  bool IsRefused();
  void Skip(const std::string& reason);
  void CleanFields();
  bool TakeHeaderNumber();
  void MakeNew();
  bool HasRoomFor(std::int64_t records);
  bool ExtendTo(int mfn);
  int StoreUnderFreedNumber();
  int Store();
  void Count(int result, bool isNew);
  void Note(const std::string& line);
  void Report();

  app::VelorAppContext* ctx_;
  std::string database_;
  std::string file_;
  std::ostream& out_;
  VelorImportContext params_;

  velor_32::SpacePointer space_;
  std::unique_ptr<velora::VelorAContext, velora::VelorACloser> maintenance_;
  velora::ReformatTable table_;
  std::unique_ptr<velora::RecordFilter> filter_;
  int slot_ = kSourceSlot;  // of the record that is stored
  bool marcMode_ = false;
  bool updateIndex_ = false;
  TemporaryFile converted_;
  velora::OutputFile protocol_;
  velor_01::TIntList freedNumbers_;
  int nextFreed_ = 0;
  std::unique_ptr<ImportSource> source_;
  std::int64_t recordNumber_ = 0;               // in the file, from 1
  std::map<std::string, std::int64_t> counts_;  // by status
  std::int64_t imported_ = 0;
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
  if (const std::string missing = MissingPart(params_); !missing.empty()) {
    out_ << "import " << missing << ": not built yet" << std::endl;
    return kOk;
  }
  updateIndex_ = ctx_->mainIni->Get("Main", "RECUPDIF", "0") == "1";
  if (!params_.fst.empty()) {
    marcMode_ = velora::IsMarcTable(ctx_, params_.fst);
    table_.Load(space_.get(), database_, params_.fst, out_);
  }
  if (params_.proto && !protocol_.Create(velora::WorkFile(ctx_, file_, "_protocol_")))
    LogTool("Import cannot create protocol of " + file_);
  if (params_.format == VelorImportContext::kCsv)
    if (int rc = ConvertCsv(); rc != kOk) return rc;
  if (int rc = PrepareFilter(); rc != kOk) return rc;
  if (params_.reuseMfn) velora::isisxrfinfo(space_.get(), {.physicallyDeleted = &freedNumbers_});
  maintenance_.reset(velora::VelorA_init(ctx_));
  if (!maintenance_) return velor_32::kNoMemory;
  return OpenSource();
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
    ++recordNumber_;
    if (outcome == ImportSource::Outcome::kNoMemory) {
      out_ << "malloc error " << std::endl;
      result = velor_32::kNoMemory;
      break;
    }
    if (outcome == ImportSource::Outcome::kRecord) {
      ImportRecord();
    } else {
      Skip(source_->remark);
    }
  }
  velor_32::VelorBulkStop(space_.get());
  if (!source_->HasFailed()) return result;
  out_ << "Import read error: " << file_ << std::endl;
  LogTool("Import read error: " + file_);
  return velor_32::kNoRecordFiles;
}

void Import::ImportRecord() {
  velor_01::TVelorSpace* space = space_.get();
  if (!source_->remark.empty())
    Note("Record damaged: NUMBER " + std::to_string(recordNumber_) + " " + source_->remark);
  if (table_.isLoaded()) Reformat();
  if (IsRefused()) return;
  if (params_.checkEncoding) CleanFields();
  const bool hasNumber = params_.header && velor_32::Velormfn(space, slot_) > 0;
  const NumbersInOrder inOrder(ctx_, hasNumber);
  if (hasNumber && !TakeHeaderNumber()) return;

  const bool isNew = velor_32::Velormfn(space, slot_) == 0;
  const bool isGone = velor_32::Velorrecstatus(space, slot_, 1) & velor_01::kStatusPhysicallyDeleted;
  const bool takesFreed = isNew && !hasNumber && nextFreed_ < freedNumbers_.GetCount();
  const int result = takesFreed ? StoreUnderFreedNumber() : Store();
  if (result == kOk && isGone)
    velor_32::VelorRecPhysDelTime(space, velor_32::Velormfn(space, slot_), maintenance_->relayRecTime);
  Count(result, isNew);
}

void Import::Reformat() {
  slot_ = kTableSlot;
  table_.Run(space_.get(), kSourceSlot, slot_);
}

/// Records that are not written: those that the filter keeps out, those without any field (with a header a
/// number is enough), and with -k those that are not text throughout.
bool Import::IsRefused() {
  if (!filter_->Passes(slot_)) {
    Skip("filter");
    return true;
  }
  if (params_.checkEncoding && source_->badTexts > 0) {
    Skip("bad encoding COUNT " + std::to_string(source_->badTexts));
    return true;
  }
  const bool hasFields = velor_32::Velornfields(space_.get(), slot_) > 0;
  if (hasFields || (params_.header && velor_32::Velormfn(space_.get(), slot_) >= 1)) return false;
  Skip("no fields, lost COUNT " + std::to_string(source_->lostFields));
  return true;
}

void Import::Skip(const std::string& reason) {
  ++counts_["skipped"];
  Note("Record skipped: NUMBER " + std::to_string(recordNumber_) + " " + reason);
}

void Import::CleanFields() {
  velor_01::TVelorSpace* space = space_.get();
  for (int i = 1; i <= velor_32::Velornfields(space, slot_); ++i) {
    std::string text(velor_32::FieldText(space, slot_, i));
    if (backup::ZaboyString(text))
      velor_32::Velorfldrep(space, slot_, i, text.data(), static_cast<int>(text.size()));
  }
}

/// Makes room for the number that the header asks for. A number in use gets a further version of its record;
/// the next free one is simply a new record. False when the number cannot be had.
bool Import::TakeHeaderNumber() {
  velor_01::TVelorSpace* space = space_.get();
  const int mfn = velor_32::Velormfn(space, slot_);
  if (!ExtendTo(mfn)) {
    Count(velor_32::kMfnRange, false);
    return false;
  }
  if (mfn >= velor_32::Velormaxmfn(space)) {
    MakeNew();
    return true;
  }
  const int version = velor_32::VelorReadVersion(space, mfn);
  if (version < 0) {
    Count(velor_32::kDamaged, false);
    return false;
  }
  velor_32::Velorchangeversion(space, slot_, version);
  // The state in the file tells of the record that was exported; it is no right to the one that somebody
  // holds here.
  velor_32::Velorrecunlock(space, slot_);
  return true;
}

/// Takes the number from the record, which keeps the GUID that came with it.
void Import::MakeNew() {
  const char* guid = velor_32::VelorGetGuid(space_.get(), slot_);
  const std::string kept = guid ? guid : "";
  velor_32::Velorchangemfn(space_.get(), slot_, 0);
  if (!kept.empty()) velor_32::VelorSetGuid(space_.get(), slot_, kept.c_str());
}

/// A number far away is refused before it fills the disk.
bool Import::HasRoomFor(std::int64_t records) {
  constexpr std::int64_t kBytesEach = velor_01::kLeaderSize + velor_01::kXrfEntrySize;
  struct statvfs disk {};
  if (::statvfs((space_->path + ".mst").c_str(), &disk) != 0) return false;
  return records * kBytesEach <
         static_cast<std::int64_t>(disk.f_bavail) * static_cast<std::int64_t>(disk.f_frsize);
}

/// Writes blank records and deletes them physically until `mfn` is the next free number.
bool Import::ExtendTo(int mfn) {
  velor_01::TVelorSpace* space = space_.get();
  const int timeout = maintenance_->relayRecTime;
  int next = velor_32::Velormaxmfn(space);
  if (next < 1 || (next < mfn && !HasRoomFor(std::int64_t{mfn} - next))) return false;
  for (; next < mfn && next >= 1; next = velor_32::Velormaxmfn(space)) {
    if (app::CheckStopProcess(ctx_)) return false;
    int result = kOk;
    int ignored = kOk;
    velor_32::Velornewrec(space, kBlankSlot);
    velor_32::VelorRecUpdateTime(space, kBlankSlot, false, false, timeout, &result, &ignored);
    if (result != kOk) return false;
    const int blank = velor_32::Velormfn(space, kBlankSlot);
    if (int rc = velor_32::VelorRecPhysDelTime(space, blank, timeout); rc != kOk)
      LogTool("VelorRecPhysDelTime error mfn " + std::to_string(blank) + " " + std::to_string(rc));
  }
  return next >= mfn;
}

/// A new record takes the first number that was freed. One that somebody else took in the meantime is passed
/// over.
int Import::StoreUnderFreedNumber() {
  while (nextFreed_ < freedNumbers_.GetCount()) {
    const int mfn = freedNumbers_.Get(nextFreed_++);
    velor_32::Velorchangemfn(space_.get(), slot_, mfn);
    velor_32::Velorchangeversion(space_.get(), slot_, 0);
    if (const int result = Store(); result != velor_32::kVersionMismatch) return result;
  }
  MakeNew();
  return Store();
}

int Import::Store() {
  int result = kOk;
  int indexResult = kOk;
  velor_32::VelorRecUpdateTime(space_.get(), slot_, false, updateIndex_, maintenance_->relayRecTime, &result,
                               &indexResult);
  if (result == kOk) velor_32::VelorRecCleanMtxTime(space_.get(), slot_, maintenance_->relayRecTime);
  return result;
}

void Import::Count(int result, bool isNew) {
  std::string status = isNew ? "inserted" : "updated";
  if (result != kOk) status = "Record update error: " + std::to_string(result);
  ++counts_[status];
  if (result == kOk) ++imported_;
  if (!protocol_.isOpen()) return;
  const std::string mfn = std::to_string(velor_32::Velormfn(space_.get(), slot_));
  Note(result == kOk ? "Record " + status + ": MFN " + mfn
                     : status + " NUMBER " + std::to_string(recordNumber_));
  if (source_->lostFields > 0)
    Note("Record fields lost: MFN " + mfn + " COUNT " + std::to_string(source_->lostFields));
}

void Import::Note(const std::string& line) {
  if (!protocol_.isOpen()) return;
  protocol_.buffer().append(line).append("\r\n");
  protocol_.FlushIfLarge();
}

void Import::Report() {
  source_.reset();
  protocol_.Close();
  out_ << "Records imported total" << std::endl;
  for (const auto& [status, count] : counts_) out_ << status << " " << count << std::endl;
  out_ << "Records merged 0" << std::endl << "Records imported " << imported_ << std::endl;
  LogTool("Import " + database_ + " records merged 0");
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
