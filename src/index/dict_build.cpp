#include "index/dict_build.h"

#include <unistd.h>

#include <memory>
#include <ostream>
#include <vector>

#include "index/build_lock.h"
#include "index/dict_load.h"
#include "index/facet_cells.h"
#include "index/lnk_sort.h"
#include "index/term_recording.h"
#include "storage/codes.h"
#include "storage/database_open.h"
#include "storage/opened_database.h"
#include "utils/path_util.h"
#include "utils/string_utils.h"

namespace velor_server_proc {

using velor_01::TVelorSpace;
using velor_32::kNoRecordFiles;
using velor_32::kOk;

namespace {

/// One of the two dictionaries, and what the messages call it.
struct Side {
  TVelorSpace* space;
  const char* title;
};

class Build {
 public:
  Build(app::VelorAppContext* ctx, const std::string& db, DictOption::Type option, std::ostream& out)
      : out_(out), database_(ctx, db, out), option_(option) {
    if (database_.isReady()) ChooseSides();
  }

  int CreateDict() {
    if (!database_.isReady()) return database_.result();
    Tell("LoadIfComplete");
    TellSides();
    TellRecording();
    int rc = BuildLocked();
    if (rc == kOk) rc = RenewCells();
    return Report("LoadIfComplete", rc);
  }

  int RecordTerms() {
    if (!database_.isReady()) return database_.result();
    TellSides();
    TellRecording();
    const int rc = velora::VelorRecTerms(database_.settings(), database_.space(), 0, Job());
    out_ << "result " << rc << '\n';
    return Report("Recording terms", rc);
  }

  int SortTerms() {
    if (!database_.isReady()) return database_.result();
    TellSides();
    return OnPresentFiles(
        "Ln1", ".ln1", "Sorting terms", [this](const Side& side) { return Sort(side); }, [] { return kOk; });
  }

  int LoadDict() {
    if (!database_.isReady()) return database_.result();
    TellSides();
    return OnPresentFiles(
        "Lk1", ".lk1", "Loading dictionary", [this](const Side& side) { return Load(side); },
        [this] { return RenewCells(); });
  }

 private:
  [[nodiscard]] bool hasFullText() const { return database_.space()->isFullText; }

  void ChooseSides() {
    if (option_ != DictOption::kFullTextOnly || !hasFullText())
      sides_.push_back({database_.space(), hasFullText() ? " catalog" : ""});
    if (option_ != DictOption::kCatalogOnly && database_.space()->textSpace != nullptr)
      sides_.push_back({database_.space()->textSpace, " fulltext"});
  }

  [[nodiscard]] bool isCatalogOnly() const { return hasFullText() && option_ == DictOption::kCatalogOnly; }

  /// The options choose nothing in a database of one side.
  [[nodiscard]] velora::RecordingJob Job() const {
    return velora::JobFor(database_.space(), isCatalogOnly(),
                          hasFullText() && option_ == DictOption::kFullTextOnly);
  }

  /// A line on the output; the log gets the name of the database behind it.
  void Tell(const std::string& text) const {
    out_ << text << std::endl;
    LogTool(text + " " + database_.name());
  }

  void TellSides() const {
    if (!hasFullText()) return;
    if (option_ != DictOption::kFullTextOnly) out_ << "Catalog database\n";
    if (option_ == DictOption::kCatalogOnly) return;
    if (database_.space()->textSpace != nullptr) {
      out_ << "Embedded fulltext database\n";
    } else {
      Tell("Warning: embedded fulltext database not open");
    }
  }

  void TellRecording() const {
    out_ << "Recording terms" << (isCatalogOnly() ? " catalog only" : "") << std::endl;
    LogTool("Recording terms " + database_.name());
  }

  int Sort(const Side& side) {
    Tell(std::string("Sorting terms") + side.title);
    const std::string& stem = side.space->termPath;
    return velora::VelorLnkSort(database_.settings(), stem, stem, {database_.name(), side.space->isFullText});
  }

  int Load(const Side& side) {
    Tell(std::string("Loading dictionary") + side.title);
    return velora::LoadDictionary(database_.settings(), side.space, side.space->termPath, true, false);
  }

  /// The stages of a whole build, under one lock.
  int BuildLocked() {
    const velora::BuildLock lock(database_.space(), database_.relayRecTime());
    int rc = lock.result();
    if (rc == kOk) rc = velora::RecordAllTerms(database_.settings(), database_.space(), 0, Job());
    out_ << "result " << rc << '\n';
    for (const Side& side : sides_)
      if (rc == kOk) rc = Sort(side);
    for (const Side& side : sides_)
      if (rc == kOk) rc = Load(side);
    if (rc == kOk) RemoveTermFiles();
    return rc;
  }

  /// Of a catalogue whose dictionary is new; the lock is free.
  int RenewCells() {
    const bool isCatalogNew = !sides_.empty() && sides_.front().space == database_.space();
    return isCatalogNew ? velora::RenewCells(database_.settings(), database_.space()) : kOk;
  }

  /// Runs a stage on each side whose input is there, while no other one works on the files of the build, and
  /// when all went well `finish`.
  template <class Stage, class Finish>
  int OnPresentFiles(const std::string& title, const std::string& extension, const std::string& subject,
                     Stage&& stage, Finish&& finish) {
    bool isRun = false;
    int rc = kOk;
    {
      const velora::BuildLock lock(database_.space(), database_.relayRecTime());
      if (lock.result() != kOk) return Report(subject, lock.result());
      for (const Side& side : sides_) {
        if (!utils::PathUtil::IsFile(side.space->termPath + extension)) {
          Tell(title + " file" + side.title + " does not exist");
        } else if (rc == kOk) {
          rc = stage(side);
          isRun = true;
        }
      }
    }
    if (!isRun) return kNoRecordFiles;
    return Report(subject, rc == kOk ? finish() : rc);
  }

  void RemoveTermFiles() const {
    for (const Side& side : sides_)
      for (const char* extension : {".ln1", ".lk1"}) ::unlink((side.space->termPath + extension).c_str());
  }

  int Report(const std::string& subject, int rc) const {
    return ReportOutcome(subject + " " + database_.name(), rc, out_);
  }

  std::ostream& out_;
  const OpenedDatabase database_;
  const DictOption::Type option_;
  std::vector<Side> sides_;
};

}  // namespace

int VelorCreateDict(app::VelorAppContext* ctx, const std::string& db, DictOption::Type option,
                    std::ostream& out) {
  return Build(ctx, db, option, out).CreateDict();
}

int VelorRecTerms(app::VelorAppContext* ctx, const std::string& db, DictOption::Type option,
                  std::ostream& out) {
  return Build(ctx, db, option, out).RecordTerms();
}

int VelorSortTerms(app::VelorAppContext* ctx, const std::string& db, DictOption::Type option,
                   std::ostream& out) {
  return Build(ctx, db, option, out).SortTerms();
}

int VelorLoadDict(app::VelorAppContext* ctx, const std::string& db, DictOption::Type option,
                  std::ostream& out) {
  return Build(ctx, db, option, out).LoadDict();
}

}  // namespace velor_server_proc
