#include "exchange/export.h"

#include <algorithm>
#include <cstdlib>
#include <memory>
#include <ostream>

#include "exchange/exchange_files.h"
#include "exchange/iso_record.h"
#include "exchange/marc_mode.h"
#include "exchange/reformat.h"
#include "exchange/text_record.h"
#include "format/record_filter.h"
#include "search/record_selection.h"
#include "storage/app_context.h"
#include "storage/codes.h"
#include "storage/database_open.h"
#include "storage/fields.h"
#include "storage/process.h"
#include "storage/record_read.h"
#include "storage/shelf.h"
#include "utils/log_util.h"
#include "utils/output_file.h"
#include "utils/string_list.h"
#include "utils/string_utils.h"

namespace velor_server_proc {

using velor_32::kOk;

namespace {

constexpr int kSourceSlot = 0;
constexpr int kTableSlot = 1;  // the record that a table builds
constexpr unsigned long kFirstIsoBuffer = 32000;
constexpr int kMarcLevelTag = 1001;
constexpr char kMarcLevel[] = "^A2";

class Export {
 public:
  Export(app::VelorAppContext* ctx, std::string database, std::string file, const VelorExportContext& params,
         std::ostream& out)
      : ctx_(ctx),
        database_(std::move(database)),
        file_(std::move(file)),
        out_(out),
        params_(params),
        encoder_(params.encoding) {
    if (params_.fieldEnd == 0) params_.fieldEnd = velora::kFieldTerminator;
    if (params_.recordEnd == 0) params_.recordEnd = velora::kRecordTerminator;
  }
  ~Export() { std::free(isoBuffer_); }
  Export(const Export&) = delete;
  Export& operator=(const Export&) = delete;

  int Run();

 private:
  int AllocateIsoBuffer();
  int Search();
  int PrepareFilters();
  int RefuseFormat(const std::string& message, int result);
  int ExportAll();
  void ExportRecord(int mfn);
  void Reformat();
  void WriteIso();
  void OverwriteLeader(std::string_view leader);
  std::string TakeLeaderField();
  std::string TakeField(int tag, std::size_t length);

  app::VelorAppContext* ctx_;
  std::string database_;
  std::string file_;
  std::ostream& out_;
  VelorExportContext params_;
  velora::TextEncoder encoder_;

  velor_32::SpacePointer space_;
  velora::ReformatTable table_;
  velor_01::TIntList found_;  // by a search
  std::unique_ptr<velora::RecordFilter> scan_;
  std::unique_ptr<velora::RecordFilter> filter_;
  int slot_ = kSourceSlot;  // of the record that is written
  bool marcMode_ = false;
  bool writeGuid_ = false;
  velora::OutputFile output_;
  char* isoBuffer_ = nullptr;
  unsigned long isoSize_ = 0;
  std::int64_t recordNumber_ = 0;  // running count of the loop, from 1
};

int Export::Run() {
  if (params_.format != VelorExportContext::kIso && params_.format != VelorExportContext::kText) {
    out_ << "Export format not supported" << std::endl;
    LogTool("Export format not supported");
    return kOk;
  }
  int result = kOk;
  space_.reset(VelorOpenDb(ctx_, database_, out_, &result));
  if (!space_) return result;
  out_ << "Export" << std::endl;
  LogTool("Export " + database_ + (params_.fst.empty() ? "" : " " + params_.fst) +
          (params_.format == VelorExportContext::kIso ? " iso" : ""));

  if (!params_.fst.empty()) {
    marcMode_ = velora::IsMarcTable(ctx_, params_.fst);
    table_.Load(space_.get(), database_, params_.fst, out_);
  }
  writeGuid_ = (params_.guid || ctx_->guidOption == 1) && !table_.isLoaded();
  if (int rc = AllocateIsoBuffer(); rc != kOk) return rc;
  if (int rc = Search(); rc != kOk) return rc;
  if (int rc = PrepareFilters(); rc != kOk) return rc;
  return ExportAll();
}

int Export::AllocateIsoBuffer() {
  if (params_.format != VelorExportContext::kIso) return kOk;
  isoBuffer_ = static_cast<char*>(std::calloc(kFirstIsoBuffer + 1, 1));
  isoSize_ = kFirstIsoBuffer;
  if (isoBuffer_) return kOk;
  out_ << "Malloc failed " << kFirstIsoBuffer + 1 << std::endl;
  return velor_32::kNoMemory;
}

int Export::Search() {
  const int rc = velora::ResolveSearch(space_.get(), &params_, &found_, out_);
  if (rc == kOk) return kOk;
  out_ << "Error " << rc << std::endl;
  LogTool("Export " + database_ + " error " + std::to_string(rc));
  return rc;
}

int Export::PrepareFilters() {
  scan_ = std::make_unique<velora::RecordFilter>(space_.get());
  filter_ = std::make_unique<velora::RecordFilter>(space_.get());
  if (!params_.scan.empty()) {
    const std::string format = velora::ScanFormat(params_.scan, "?!|");
    out_ << "scan expr: " << format << std::endl;
    if (int rc = scan_->Prepare(format); rc != kOk)
      return RefuseFormat("sequential search format error " + format, rc);
  }
  if (params_.filter.empty()) return kOk;
  const std::string format = velora::LookupFormat(space_.get(), params_.filter);
  const int rc = format.empty() ? velor_32::kNotFound : filter_->Prepare(format);
  return rc == kOk ? kOk : RefuseFormat("filter format error " + params_.filter, rc);
}

int Export::RefuseFormat(const std::string& message, int result) {
  out_ << message << std::endl;
  LogTool(message);
  return result;
}

int Export::ExportAll() {
  if (!output_.Create(file_)) {
    out_ << " cannot create file: " << file_ << std::endl;
    LogTool("Export cannot create file: " + file_);
    return velor_32::kNoRecordFiles;
  }
  velora::VisitSelection(space_.get(), params_, [&](int mfn) { ExportRecord(mfn); });
  if (!output_.Close()) {
    out_ << "Export write error: " << file_ << std::endl;
    LogTool("Export write error: " + file_);
    return velor_32::kNoRecordFiles;
  }
  if (app::CheckStopProcess(ctx_)) out_ << "Process stop" << std::endl;
  out_ << "Done" << std::endl;
  LogTool("Export " + database_ + " done");
  return kOk;
}

void Export::ExportRecord(int mfn) {
  ++recordNumber_;
  const int result = velor_32::VelorRecord(space_.get(), kSourceSlot, mfn);
  if (result == velor_32::kDeleted || result == velor_32::kPhysicallyDeleted) return;
  if (result != kOk && result != velor_32::kRecordLocked) {
    utils::LogUtil::LogErrorPid(app::AppPrefixText(), database_ + " record read error mfn=" +
                                                          std::to_string(mfn) + " " + std::to_string(result));
    return;
  }
  if (!scan_->Passes(kSourceSlot) || !filter_->Passes(kSourceSlot)) return;
  if (table_.isLoaded()) Reformat();
  if (app::CheckStopProcess(ctx_)) return;  // the table may have been cut off in its middle
  if (marcMode_) velora::ReplaceInFields(space_.get(), slot_, velora::kSubfieldMark, velora::kMarcDelimiter);
  if (params_.format == VelorExportContext::kIso) {
    WriteIso();
  } else {
    // The leader field has no place in a text record; with a label, which stays, 999 is a field of its own.
    if (marcMode_ && velor_32::Velornocc(space_.get(), slot_, velora::kImportedLeaderTag) == 0)
      TakeField(velora::kExportedLeaderTag, 0);
    velora::AppendTextRecord(space_.get(), slot_, params_.header, writeGuid_, encoder_, &output_.buffer());
    output_.FlushIfLarge();
  }
}

/// In MARC mode the table finds the bibliographic level in field 1001.
void Export::Reformat() {
  slot_ = kTableSlot;
  if (marcMode_) velor_32::Velorfldadd(space_.get(), kSourceSlot, kMarcLevelTag, 0, kMarcLevel);
  table_.Run(space_.get(), kSourceSlot, slot_);
}

void Export::WriteIso() {
  const std::string leader = marcMode_ ? TakeLeaderField() : "";
  if (velora::WriteIsoRecord(space_.get(), slot_, isoBuffer_, isoSize_, params_.recordEnd, params_.fieldEnd,
                             encoder_) != 0) {
    const std::string message = "Record too big for iso MFN " + std::to_string(recordNumber_);
    out_ << message << std::endl;
    LogTool(message);
    return;
  }
  OverwriteLeader(leader);
  output_.Write(isoBuffer_, velora::IsoNumber({isoBuffer_, 5}));
}

/// What the record label takes over: those parts of the label that a MARC import kept or, where there is
/// none, the leader field. The field itself goes. A record that brought its label along may have a 999 of its
/// own.
std::string Export::TakeLeaderField() {
  const std::string label = TakeField(velora::kImportedLeaderTag, velora::kIsoLeaderSize);
  if (!label.empty()) return label.substr(5, 5) + label.substr(17, 3);
  return TakeField(velora::kExportedLeaderTag, 0);
}

/// Removes the first field of that tag and gives its text; empty when there is none, or when its length is
/// not the one asked for (0: any).
std::string Export::TakeField(int tag, std::size_t length) {
  const int index = velor_32::Velorfieldn(space_.get(), slot_, tag, 1);
  if (velor_32::Velorfldtag(space_.get(), slot_, index) != tag) return {};
  std::string text(velor_32::FieldText(space_.get(), slot_, index));
  if (length > 0 && text.size() != length) return {};
  velor_32::Velorfldrep(space_.get(), slot_, index, nullptr, 0);
  return text;
}

/// The first 5 bytes stand at offset 5 of the record (status, type, level ...), up to 3 more at offset 17.
void Export::OverwriteLeader(std::string_view leader) {
  const std::string_view first = leader.substr(0, 5);
  std::copy(first.begin(), first.end(), isoBuffer_ + 5);
  if (leader.size() <= 5) return;
  const std::string_view second = leader.substr(5, 3);
  std::copy(second.begin(), second.end(), isoBuffer_ + 17);
}

}  // namespace

int VelorExport(app::VelorAppContext* ctx, const std::string& database, const std::string& file,
                const VelorExportContext& params, std::ostream& out) {
  return Export(ctx, utils::StringUtils::ToLower(database), file, params, out).Run();
}

}  // namespace velor_server_proc
