#include "maint/diag_rec_ft.h"

#include <algorithm>
#include <cstring>
#include <functional>
#include <ostream>
#include <string_view>
#include <vector>

#include "maint/diagnosis.h"
#include "storage/codes.h"
#include "storage/edge.h"
#include "storage/fields.h"
#include "storage/record_guid.h"
#include "storage/record_read.h"
#include "storage/record_status.h"
#include "storage/record_update.h"
#include "storage/term_read.h"
#include "utils/ini_file.h"
#include "utils/int_list.h"
#include "utils/string_utils.h"
#include "utils/text_util.h"

namespace velora {

using velor_01::TVelorSpace;

namespace {

constexpr int kShelf = 0;
constexpr int kUpdateTimeout = 5;  // seconds
constexpr int kDefaultLinkTag = 955;

std::string Setting(const TVelorSpace* space, const char* key, const char* byDefault) {
  const auto& ini = space->app->mainIni;
  return ini ? ini->Get("MAIN", key, byDefault) : byDefault;
}

class PageDiagnosis {
 public:
  PageDiagnosis(TVelorSpace* space, velor_01::TStringList* report)
      : space_(space),
        pages_(space->textSpace),
        report_(report),
        linkTag_(MainNumber(*space->app, "PDF_FileName_Tag", kDefaultLinkTag)),
        linkSubfield_(Setting(space, "PDF_FileName_Tag_Subfield", "A")),
        prefix_(utils::StringUtils::ToUpper(Setting(space, "PDF_GUID_PREFIX", "GUID="))) {}

  void Run(MfnRange range) {
    const int last = ClipRange(space_, 0, 0).to;
    for (int mfn = 1; mfn <= last && !IsStopped(); ++mfn) {
      if (TakeRecord(mfn) && mfn >= range.from && mfn <= range.to) CompareRecord(mfn);
    }
    if (IsStopped() || !isComplete_) return;
    std::ranges::sort(known_);
    velor_01::TIntList stray;
    FindStrayPages(&stray);
    DeletePages(stray);
  }

 private:
  [[nodiscard]] bool IsStopped() const { return app::CheckStopProcess(space_->app); }

  [[nodiscard]] static std::size_t Key(std::string_view guid) {
    return std::hash<std::string>()(utils::StringUtils::ToUpper(guid));
  }

  void Report(const std::string& line) { report_->Add(line.c_str()); }

  /// Remembers the GUID. False for a record that is not compared.
  bool TakeRecord(int mfn) {
    const int rc = velor_32::VelorRecord(space_, kShelf, mfn, true);
    if (rc == velor_32::kPhysicallyDeleted) return false;
    const char* guid = velor_32::VelorGetGuid(space_, kShelf);
    if ((rc != velor_32::kOk && rc != velor_32::kDeleted) || guid == nullptr) {
      isComplete_ = false;
      Report(std::to_string(mfn) + ": Error read record.");
      return false;
    }
    known_.push_back(Key(guid));
    return rc == velor_32::kOk;
  }

  void CompareRecord(int mfn) {
    const int field = velor_32::Velorfieldn(space_, kShelf, linkTag_, 1);
    if (velor_32::Velorfldtag(space_, kShelf, field) != linkTag_) return;
    const std::string_view link = velor_32::FieldText(space_, kShelf, field);
    std::string_view name = link;
    if (!linkSubfield_.empty() && !velor_32::getsubfield(link, &name, linkSubfield_[0])) return;
    std::string_view count;
    velor_32::getsubfield(link, &count, kPageCountSubfield);
    const std::string term = prefix_ + velor_32::VelorGetGuid(space_, kShelf);
    if (utils::TextUtil::Int32ParseExact(count, 0) != CountPages(term))
      Report(std::to_string(mfn) + ": " + term + " NumPage not corresponds postings in FT");
  }

  int CountPages(const std::string& text) {
    TermBuffer term(utils::StringUtils::ToUpper(text));
    return velor_32::Velorfind(pages_, term.text) == velor_32::kOk ? velor_32::Velornposts(pages_) : 0;
  }

  void FindStrayPages(velor_01::TIntList* stray) {
    TermBuffer term(prefix_);
    int rc = velor_32::Velorfind(pages_, term.text);
    if (rc == velor_32::kTermNotFound) rc = velor_32::kOk;
    for (; rc == velor_32::kOk && !IsStopped(); rc = velor_32::Velornxtterm(pages_, term.text)) {
      const std::string_view text = term.text;
      if (!text.starts_with(prefix_)) break;
      if (std::ranges::binary_search(known_, Key(text.substr(prefix_.size())))) continue;
      while (velor_32::Velornxtpost(pages_) == velor_32::kOk) stray->Add(velor_32::Velorposting(pages_, 1));
    }
  }

  void DeletePages(const velor_01::TIntList& stray) {
    for (int i = 0; i < stray.GetCount() && !IsStopped(); ++i) DeletePage(stray.Get(i));
  }

  /// A page whose posting alone is left is gone, and so is one that was taken away before.
  void DeletePage(int mfn) {
    if (velor_32::VelorRecord(pages_, kShelf, mfn) != velor_32::kOk) return;
    const char* guid = velor_32::VelorGetGuid(pages_, kShelf);
    const std::string who = std::to_string(mfn) + ": " + prefix_ + (guid ? guid : "");
    const std::string name = PageName();
    int result = velor_32::kRecordLocked;
    int ifResult = velor_32::kOk;
    velor_32::Velorrecdel(pages_, kShelf);
    if (!velor_32::VelorIsLocked(pages_, kShelf))
      velor_32::VelorRecUpdateTime(pages_, kShelf, false, true, kUpdateTimeout, &result, &ifResult);
    if (result == velor_32::kOk) {
      Report(who + " in FT BASE deleted. TextPageName: " + name);
    } else {
      Report(who + " in FT BASE not deleted, error " + std::to_string(result));
    }
  }

  /// The field with the name of the page's file, which ends in ".pdf".
  [[nodiscard]] std::string PageName() const {
    for (int i = 1; i <= velor_32::Velornfields(pages_, kShelf); ++i) {
      const std::string_view field = velor_32::FieldText(pages_, kShelf, i);
      if (utils::StringUtils::ToLower(field).ends_with(".pdf")) return std::string(field);
    }
    return "";
  }

  struct TermBuffer {
    explicit TermBuffer(std::string_view from) {
      std::memcpy(text, from.data(), std::min<std::size_t>(from.size(), velor_01::kLongestTerm));
    }
    char text[velor_01::kTermBufferSize] = {};
  };

  TVelorSpace* space_;
  TVelorSpace* pages_;
  velor_01::TStringList* report_;
  int linkTag_;
  std::string linkSubfield_;
  std::string prefix_;
  std::vector<std::size_t> known_;  // hashes of GUIDs: two that meet save a page, and delete none
  bool isComplete_ = true;
};

}  // namespace

int VelorDiagRecordsFT(TVelorSpace* space, int from, int to, velor_01::TStringList* report) {
  if (!velor_32::IsOpen(space)) return velor_32::kNoSpace;
  if (space->textSpace == nullptr) return velor_32::kNotFound;
  return velor_32::AtEdge([&] {
    PageDiagnosis(space, report).Run(ClipRange(space, from, to));
    return velor_32::kOk;
  });
}

}  // namespace velora

namespace velor_server_proc {

int VelorDiagRecFT(app::VelorAppContext* ctx, const std::string& db, int from, int to, std::ostream& out) {
  return RunDiagnosis(ctx, db, "DiagRecFT", out, [&](const OpenedDatabase& database) {
    velor_01::TStringList report;
    int rc = velora::VelorDiagRecordsFT(database.space(), from, to, &report);
    if (rc == velor_32::kNotFound) {
      out << "Fulltext not open\n";  // a database without page texts has nothing that could be wrong
      rc = velor_32::kOk;
    }
    if (rc != velor_32::kOk) return rc;
    velora::DiagReport protocol;
    if (!protocol.Create(ctx, database.name() + "_ft_protocol.txt", out)) return velor_32::kNoRecordFiles;
    for (int i = 0; i < report.GetCount(); ++i) {
      out << report.Get(i) << '\n';
      protocol.Line(report.Get(i));
    }
    velora::WriteVerdict("", report.GetCount() > 0, out);
    return velor_32::kOk;
  });
}

}  // namespace velor_server_proc
