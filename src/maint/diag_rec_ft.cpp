#include "maint/diag_rec_ft.h"

#include <algorithm>
#include <cstring>
#include <functional>
#include <ostream>
#include <string_view>
#include <utility>
#include <vector>

#include "maint/diag_mfn.h"
#include "maint/diagnosis.h"
#include "storage/codes.h"
#include "storage/edge.h"
#include "storage/fields.h"
#include "storage/record_guid.h"
#include "storage/record_read.h"
#include "storage/record_status.h"
#include "storage/record_update.h"
#include "storage/term_read.h"
#include "utils/int_list.h"
#include "utils/string_utils.h"
#include "utils/text_util.h"

namespace velora {

using velor_01::TVelorSpace;

namespace {

constexpr int kShelf = 0;
constexpr int kUpdateTimeout = 5;  // seconds
constexpr int kDefaultLinkTag = 955;
constexpr int kOwnerTag = 1;  // of a page: GUID of its catalogue record

class PageDiagnosis {
 public:
  PageDiagnosis(TVelorSpace* space, velor_01::TStringList* report)
      : space_(space),
        pages_(space->textSpace),
        report_(report),
        linkTag_(MainNumber(*space->app, "PDF_FileName_Tag", kDefaultLinkTag)),
        linkSubfield_(MainText(*space->app, "PDF_FileName_Tag_Subfield", "A")),
        prefix_(utils::StringUtils::ToUpper(MainText(*space->app, "PDF_GUID_PREFIX", "GUID="))) {}

  void Run(MfnRange range) {
    const int last = ClipRange(space_, 0, 0).to;
    for (int mfn = 1; mfn <= last && !IsStopped(); ++mfn) {
      if (TakeRecord(mfn, mfn == last) && mfn >= range.from && mfn <= range.to) CompareRecord(mfn);
    }
    CheckNumbers();
    std::vector<Page> stray;
    if (isComplete_) {
      std::ranges::sort(known_);
      stray = FindStrayPages();
    }
    if (!stray.empty()) TakeNewRecords(last);
    if (isComplete_) DeletePages(stray);
    if (IsStopped()) Report(kStopped);
  }

 private:
  struct Page {
    int mfn;
    std::string guid;  // that its posting stands under
  };

  [[nodiscard]] bool IsStopped() const { return app::CheckStopProcess(space_->app); }

  [[nodiscard]] static std::size_t Key(std::string_view guid) {
    return std::hash<std::string>()(utils::StringUtils::ToUpper(guid));
  }

  void Report(const std::string& line) { report_->Add(line.c_str()); }

  /// Where a control record or an entry is damaged, records may seem to be gone that are there.
  void CheckNumbers() {
    velor_01::TIntList bad;
    std::string message;
    isComplete_ &=
        isisdiagmfn(space_, 0, 0, &bad, &message) == velor_32::kOk && bad.GetCount() == 0 && message.empty();
    if (!message.empty() && !IsStopped()) Report(message);
    for (int i = 0; i < bad.GetCount(); ++i) Report(std::to_string(bad.Get(i)) + ": Error in xrf entry.");
  }

  /// Others may have added records since, and a physically deleted number may have been given anew. A record
  /// is stored before its pages: so those whose pages were found are there now.
  void TakeNewRecords(int last) {
    const int now = ClipRange(space_, 0, 0).to;
    for (const int mfn : std::exchange(free_, {})) TakeRecord(mfn, mfn == now);
    for (int mfn = last + 1; mfn <= now && !IsStopped(); ++mfn) TakeRecord(mfn, mfn == now);
    std::ranges::sort(known_);
  }

  [[nodiscard]] bool IsKnown(std::string_view guid) const {
    return std::ranges::binary_search(known_, Key(guid));
  }

  /// Remembers the GUID. False for a record that is not compared.
  bool TakeRecord(int mfn, bool isLast) {
    int rc = velor_32::VelorRecord(space_, kShelf, mfn, true);
    if (rc == velor_32::kDamaged && isLast)
      AwaitLastRecord(
          [&] { return (rc = velor_32::VelorRecord(space_, kShelf, mfn, true)) != velor_32::kDamaged; });
    if (rc == velor_32::kPhysicallyDeleted) {
      free_.push_back(mfn);
      return false;
    }
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

  std::vector<Page> FindStrayPages() {
    std::vector<Page> stray;
    TermBuffer term(prefix_);
    int rc = velor_32::Velorfind(pages_, term.text);
    if (rc == velor_32::kTermNotFound) rc = velor_32::kOk;
    for (; rc == velor_32::kOk && !IsStopped(); rc = velor_32::Velornxtterm(pages_, term.text)) {
      const std::string_view text = term.text;
      if (!text.starts_with(prefix_)) break;
      const std::string_view guid = text.substr(prefix_.size());
      if (IsKnown(guid)) continue;
      while (velor_32::Velornxtpost(pages_) == velor_32::kOk)
        stray.push_back({velor_32::Velorposting(pages_, 1), std::string(guid)});
    }
    return stray;
  }

  void DeletePages(const std::vector<Page>& stray) {
    for (const Page& page : stray) {
      if (IsStopped()) return;
      if (!IsKnown(page.guid)) DeletePage(page);
    }
  }

  /// A page whose posting alone is left is gone, and so is one that was taken away before. What a page
  /// belongs to is said by itself: a posting under another GUID is out of date.
  void DeletePage(const Page& page) {
    const int rc = velor_32::VelorRecord(pages_, kShelf, page.mfn);
    if (rc == velor_32::kDeleted || rc == velor_32::kPhysicallyDeleted) return;
    const std::string who = std::to_string(page.mfn) + ": " + prefix_ + page.guid;
    if (rc != velor_32::kOk) return Report(who + " in FT BASE not deleted, error " + std::to_string(rc));
    const std::string owner = OwnerOfPage();
    if (velor_32::VelorIsGuid(owner.c_str()) && Key(owner) != Key(page.guid))
      return Report(who + " in FT BASE not deleted, page of " + prefix_ + owner);
    const std::string name = PageName();
    int result = velor_32::kRecordLocked;
    int ifResult = velor_32::kOk;
    velor_32::Velorrecdel(pages_, kShelf);
    if (!velor_32::VelorIsLocked(pages_, kShelf))
      velor_32::VelorRecUpdateTime(pages_, kShelf, false, true, kUpdateTimeout, &result, &ifResult);
    if (result == velor_32::kOk) {
      Report(who + " in FT BASE deleted. TextPageName: " + name);
      if (ifResult != velor_32::kOk)
        Report(who + " in FT BASE not removed from the dictionary, error " + std::to_string(ifResult));
    } else {
      Report(who + " in FT BASE not deleted, error " + std::to_string(result));
    }
  }

  /// GUID of the catalogue record, as the page gives it; empty without one.
  [[nodiscard]] std::string OwnerOfPage() const {
    const int field = velor_32::Velorfieldn(pages_, kShelf, kOwnerTag, 1);
    if (velor_32::Velorfldtag(pages_, kShelf, field) != kOwnerTag) return "";
    return std::string(velor_32::FieldText(pages_, kShelf, field));
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
  std::vector<int> free_;           // numbers that were physically deleted
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
    return protocol.Close(out);
  });
}

}  // namespace velor_server_proc
