#include "maint/diag_rec.h"

#include <algorithm>
#include <cstdint>
#include <ostream>
#include <string_view>

#include "exchange/text_record.h"
#include "maint/diagnosis.h"
#include "maint/raw_record.h"
#include "storage/codes.h"
#include "storage/edge.h"
#include "storage/fields.h"
#include "storage/master_file.h"
#include "storage/record_read.h"
#include "storage/record_status.h"
#include "storage/record_update.h"
#include "utils/text_util.h"

namespace velora {

using velor_01::TVelorSpace;

namespace {

constexpr int kShelf = 0;
constexpr int kUpdateTimeout = 5;  // seconds
constexpr int kRecordsBetweenPolls = 1024;

bool IsControl(char c) {
  return static_cast<unsigned char>(c) < ' ' || c == '\x7F';
}

class RecordDiagnosis {
 public:
  RecordDiagnosis(TVelorSpace* space, const VelorDiagContext& params)
      : space_(space), params_(params), encoder_(EncodingOption::kUtf8) {}

  /// False when one cannot be created.
  bool CreateReports(std::ostream& out) {
    const std::string name = backup::GetOwnName(space_);
    const app::VelorAppContext* ctx = space_->app;
    return protocol_.Create(ctx, name + "_protocol.txt", out) &&
           (!params_.exportValid || valid_.Create(ctx, name + "_records.txt", out)) &&
           (!params_.exportInvalid || invalid_.Create(ctx, name + "_wrong_records.txt", out));
  }

  void Run(std::ostream& out) {
    const MfnRange range = ClipRange(space_, params_.mfnFrom, params_.mfnTo);
    for (int mfn = range.from; mfn <= range.to; ++mfn) {
      if ((mfn - range.from) % kRecordsBetweenPolls == 0 && app::CheckStopProcess(space_->app)) {
        hasReport_ = true;
        protocol_.Line(kStopped);
        out << kStopped << '\n';
        return;
      }
      CheckRecord(mfn, mfn == range.to);
    }
    ReportLostFragments(range.to);
  }
  /// Result: 0 or -400.
  int CloseReports(std::ostream& out) {
    int rc = velor_32::kOk;
    for (DiagReport* report : {&protocol_, &valid_, &invalid_})
      if (const int closed = report->Close(out); closed != velor_32::kOk) rc = closed;
    return rc;
  }
  [[nodiscard]] bool hasReport() const { return hasReport_; }

 private:
  [[nodiscard]] bool checksFields() const { return params_.checkEncoding || params_.replaceInvalid; }

  void CheckRecord(int mfn, bool isLast) {
    text_.clear();
    int rc = raw_.Read(space_, mfn);
    if (rc == velor_32::kDamaged && isLast)
      AwaitLastRecord([&] { return (rc = raw_.Read(space_, mfn)) != velor_32::kDamaged; });
    if (rc == velor_32::kOk && raw_.isDeleted()) rc = velor_32::VelorRecord(space_, kShelf, mfn, true);
    if (rc == velor_32::kPhysicallyDeleted || rc == velor_32::kDeleted) return;
    if (rc != velor_32::kOk) {
      Report(mfn, "Error read record.");
      return;
    }
    raw_.Judge(&text_);
    if (text_.empty() && !checksFields() && !params_.exportValid) return;
    bool isSalvaged = false;
    if (const int loaded = raw_.Load(space_, &isSalvaged); loaded != velor_32::kOk) {
      Report(mfn, text_ + "Error read record.");
      return;
    }
    const bool hasBadText = checksFields() && !CheckFields();
    Export(text_.empty() ? valid_ : invalid_);
    if (text_.empty()) return;
    if ((params_.removeInvalid || params_.replaceInvalid) && !invalid_.Flush()) {
      Report(mfn, text_ + "Record is not exported, not changed. ");
      return;
    }
    // What was salvaged is no version to go on with: it is stored as a deleted one only.
    const bool isCorrected = hasBadText && params_.replaceInvalid && !isSalvaged;
    if (isCorrected) CorrectFields();
    const bool isInvalid = raw_.isFaulty() || (hasBadText && !isCorrected);
    if (params_.removeInvalid && isInvalid) velor_32::Velorrecdel(space_, kShelf);
    if (isCorrected || (params_.removeInvalid && (isInvalid || raw_.isMended()))) Store();
    Report(mfn, text_);
  }

  /// The numbers behind `last` belong to fragments of which nothing can be read: the first one stands for
  /// all.
  void ReportLostFragments(int last) {
    for (int fragment = 1; fragment <= velor_32::LastFragment(space_); ++fragment) {
      const std::int64_t first = velor_32::GlobalMfn(space_, fragment, 1);
      if (first <= last || first > (params_.mfnTo < 1 ? INT32_MAX : params_.mfnTo)) continue;
      if (OpenFragment(space_, fragment) == FragmentState::kDamaged)
        Report(static_cast<int>(first), "Error read record.");
    }
  }

  void Report(int mfn, std::string_view text) {
    hasReport_ = true;
    protocol_.Text(std::to_string(mfn) + ": ");
    protocol_.Line(text);
  }

  void Export(DiagReport& file) {
    if (!file.isOpen()) return;
    AppendTextRecord(space_, kShelf, true, velor_32::KeepsGuids(space_), encoder_, &file.buffer());
    file.FlushIfLarge();
  }

  /// Result: the fields are in order.
  bool CheckFields() {
    bool isSound = true;
    for (int i = 1; i <= velor_32::Velornfields(space_, kShelf); ++i) isSound &= CheckField(i);
    return isSound;
  }

  bool CheckField(int index) {
    int tag = 0;
    const std::string_view field = velor_32::FieldText(space_, kShelf, index, &tag);
    const bool isText = utils::TextUtil::CheckUTF8(field);
    const bool hasControls = std::ranges::any_of(field, IsControl);
    if (isText && !hasControls) return true;
    if (!isText && text_.find("Error in encoding") == std::string::npos) text_ += "Error in encoding. ";
    if (hasControls) text_ += "\"Bad\" characters in field " + std::to_string(tag) + ". ";
    return false;
  }

  /// Puts a blank for each bad character.
  void CorrectFields() {
    for (int i = 1; i <= velor_32::Velornfields(space_, kShelf); ++i) {
      const std::string_view field = velor_32::FieldText(space_, kShelf, i);
      std::string clean = utils::TextUtil::FilterUTF8(field, ' ');
      std::ranges::replace_if(clean, IsControl, ' ');
      if (clean != field)
        velor_32::Velorfldrep(space_, kShelf, i, clean.data(), static_cast<int>(clean.size()));
    }
    text_ += "Unavailable char is corrected. ";
  }

  /// The shelf has the mark of a lock when somebody holds the record: an update would take that for its own.
  void Store() {
    int result = velor_32::kRecordLocked;
    int ifResult = velor_32::kOk;
    if (!(velor_32::Velorrecstatus(space_, kShelf, 1) & velor_01::kStatusLocked))
      velor_32::VelorRecUpdateTime(space_, kShelf, false, false, kUpdateTimeout, &result, &ifResult);
    if (result == velor_32::kOk) return;
    text_ += result == velor_32::kRecordLocked
                 ? "Record is locked, not written. "
                 : "Record is not written, error " + std::to_string(result) + ". ";
  }

  TVelorSpace* space_;
  VelorDiagContext params_;
  TextEncoder encoder_;
  DiagReport protocol_;
  DiagReport valid_;
  DiagReport invalid_;
  RawRecord raw_;
  std::string text_;  // what is wrong with the record
  bool hasReport_ = false;
};

}  // namespace

int VelorDiagRecords(TVelorSpace* space, const VelorDiagContext& params, std::ostream& out, bool* hasReport) {
  return velor_32::AtEdge([&] {
    RecordDiagnosis diagnosis(space, params);
    if (!diagnosis.CreateReports(out)) return velor_32::kNoRecordFiles;
    diagnosis.Run(out);
    *hasReport = diagnosis.hasReport();
    return diagnosis.CloseReports(out);
  });
}

}  // namespace velora

namespace velor_server_proc {

int VelorDiagRec(app::VelorAppContext* ctx, const std::string& db, const velora::VelorDiagContext& params,
                 std::ostream& out) {
  return RunDiagnosis(ctx, db, "DiagRec", out, [&](const OpenedDatabase& database) {
    velor_01::TVelorSpace* space = database.space();
    for (velor_01::TVelorSpace* side : {space, space->textSpace}) {
      if (side == nullptr) continue;
      bool hasReport = false;
      if (int rc = velora::VelorDiagRecords(side, params, out, &hasReport); rc != velor_32::kOk) return rc;
      velora::WriteVerdict(side == space ? "" : "FTDB. ", hasReport, out);
      if (app::CheckStopProcess(ctx)) break;
    }
    return velor_32::kOk;
  });
}

}  // namespace velor_server_proc
