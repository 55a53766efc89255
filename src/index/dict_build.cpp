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
#include "storage/maintenance_context.h"
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
      : out_(out), name_(utils::StringUtils::ToLower(db)), option_(option) {
    space_.reset(VelorOpenDb(ctx, name_, out, &result_));
    if (space_ == nullptr) return;
    settings_.reset(velora::VelorA_init(ctx));
    if (settings_ == nullptr) result_ = velor_32::kNoMemory;
    if (result_ == kOk) ChooseSides();
  }

  int CreateDict() {
    if (result_ != kOk) return result_;
    Tell("LoadIfComplete");
    TellSides();
    TellRecording();
    int rc = BuildLocked();
    if (rc == kOk) rc = RenewCells();
    return Report("LoadIfComplete", rc);
  }

  int RecordTerms() {
    if (result_ != kOk) return result_;
    TellSides();
    TellRecording();
    const int rc = velora::VelorRecTerms(settings_.get(), space_.get(), 0, Job());
    out_ << "result " << rc << '\n';
    return Report("Recording terms", rc);
  }

  int SortTerms() {
    if (result_ != kOk) return result_;
    TellSides();
    return OnPresentFiles(
        "Ln1", ".ln1", "Sorting terms", [this](const Side& side) { return Sort(side); }, [] { return kOk; });
  }

  int LoadDict() {
    if (result_ != kOk) return result_;
    TellSides();
    return OnPresentFiles(
        "Lk1", ".lk1", "Loading dictionary", [this](const Side& side) { return Load(side); },
        [this] { return RenewCells(); });
  }

 private:
  [[nodiscard]] bool hasFullText() const { return space_->isFullText; }

  void ChooseSides() {
    if (option_ != DictOption::kFullTextOnly || !hasFullText())
      sides_.push_back({space_.get(), hasFullText() ? " catalog" : ""});
    if (option_ != DictOption::kCatalogOnly && space_->textSpace != nullptr)
      sides_.push_back({space_->textSpace, " fulltext"});
  }

  [[nodiscard]] bool isCatalogOnly() const { return hasFullText() && option_ == DictOption::kCatalogOnly; }

  /// The options choose nothing in a database of one side.
  [[nodiscard]] velora::RecordingJob Job() const {
    return velora::JobFor(space_.get(), isCatalogOnly(),
                          hasFullText() && option_ == DictOption::kFullTextOnly);
  }

  /// A line on the output; the log gets the name of the database behind it.
  void Tell(const std::string& text) const {
    out_ << text << std::endl;
    LogTool(text + " " + name_);
  }

  void TellSides() const {
    if (!hasFullText()) return;
    if (option_ != DictOption::kFullTextOnly) out_ << "Catalog database\n";
    if (option_ == DictOption::kCatalogOnly) return;
    if (space_->textSpace != nullptr) {
      out_ << "Embedded fulltext database\n";
    } else {
      Tell("Warning: embedded fulltext database not open");
    }
  }

  void TellRecording() const {
    out_ << "Recording terms" << (isCatalogOnly() ? " catalog only" : "") << std::endl;
    LogTool("Recording terms " + name_);
  }

  int Sort(const Side& side) {
    Tell(std::string("Sorting terms") + side.title);
    const std::string& stem = side.space->termPath;
    return velora::VelorLnkSort(settings_.get(), stem, stem, {name_, side.space->isFullText});
  }

  int Load(const Side& side) {
    Tell(std::string("Loading dictionary") + side.title);
    return velora::LoadDictionary(settings_.get(), side.space, side.space->termPath, true, false);
  }

  /// The stages of a whole build, under one lock.
  int BuildLocked() {
    const velora::BuildLock lock(space_.get(), settings_->relayRecTime);
    int rc = lock.result();
    if (rc == kOk) rc = velora::RecordAllTerms(settings_.get(), space_.get(), 0, Job());
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
    const bool isCatalogNew = !sides_.empty() && sides_.front().space == space_.get();
    return isCatalogNew ? velora::RenewCells(settings_.get(), space_.get()) : kOk;
  }

  /// Runs a stage on each side whose input is there, while no other one works on the files of the build, and
  /// when all went well `finish`.
  template <class Stage, class Finish>
  int OnPresentFiles(const std::string& title, const std::string& extension, const std::string& subject,
                     Stage&& stage, Finish&& finish) {
    bool isRun = false;
    int rc = kOk;
    {
      const velora::BuildLock lock(space_.get(), settings_->relayRecTime);
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
    if (rc == kOk) {
      out_ << "Done\n";
      LogTool(subject + " " + name_ + " done");
    } else {
      out_ << "Error " << rc << '\n';
      LogTool(subject + " " + name_ + " error " + std::to_string(rc));
    }
    return rc;
  }

  std::ostream& out_;
  const std::string name_;
  const DictOption::Type option_;
  int result_ = kOk;
  velor_32::SpacePointer space_;
  std::unique_ptr<velora::VelorAContext, velora::VelorACloser> settings_;
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
