#include "index/term_recording.h"

#include <unistd.h>

#include <algorithm>
#include <cstdio>

#include "index/build_files.h"
#include "index/build_lock.h"
#include "index/dict_load.h"
#include "index/multiload.h"
#include "index/progress.h"
#include "index/term_line.h"
#include "storage/codes.h"
#include "storage/edge.h"
#include "storage/process.h"
#include "storage/record_read.h"

namespace velora {

using velor_01::TVelorSpace;
using velor_32::kNoRecordFiles;
using velor_32::kOk;

namespace {

constexpr std::size_t kBatchBytes = std::size_t{256} << 10;

/// One of the two files. It is written under another name until it is whole.
class RecordingTarget {
 public:
  /// An empty stem means that the file is not wanted.
  bool Create(const std::string& stem, int processNo) {
    if (stem.empty()) return true;
    path_ = RecordingFile(stem, processNo);
    if (file_.Create(path_ + "_")) return true;
    ReportBuildError("Ln1 file not open: " + path_);
    return false;
  }

  void Add(const velor_01::TifpItemPosting& posting, int numbers, std::string_view term) {
    if (path_.empty()) return;
    AppendTermLine(posting, numbers, term, &lines_);
    if (lines_.size() >= kBatchBytes) Flush();
  }

  [[nodiscard]] bool isWanted() const { return !path_.empty(); }
  [[nodiscard]] bool isGood() const { return path_.empty() || file_.isGood(); }

  bool Finish() {
    if (path_.empty()) return true;
    Flush();
    return file_.Close() && std::rename((path_ + "_").c_str(), path_.c_str()) == 0;
  }
  void Drop() const {
    if (!path_.empty()) ::unlink((path_ + "_").c_str());
  }

 private:
  void Flush() {
    file_.Append(lines_);
    lines_.clear();
  }

  std::string path_;
  std::string lines_;
  BuildFile file_;
};

class Recorder : public recif::TermSink {
 public:
  Recorder(VelorAContext* ctx, TVelorSpace* space, int shelf, const RecordingJob& job)
      : ctx_(ctx),
        space_(space),
        shelf_(shelf),
        job_(job),
        numbers_(NumbersInLine(space->isFullText)),
        params_{.skipFullText = job.select == recif::kCatalogLines, .select = job.select} {}

  int Run() {
    if (!catalog_.Create(job_.stem, job_.processNo) || !pages_.Create(job_.textStem, job_.processNo))
      return kNoRecordFiles;
    int rc = RecordRange();
    if (rc == kOk && (!catalog_.Finish() || !pages_.Finish())) rc = StopOnFullDisk();
    if (rc != kOk) {
      catalog_.Drop();
      pages_.Drop();
    }
    return rc;
  }

  void Add(std::string_view term, const velor_01::TifpItemPosting& posting, bool fullText) override {
    (fullText ? pages_ : catalog_).Add(posting, numbers_, term);
  }
  [[nodiscard]] bool TakesFullText() const override { return pages_.isWanted(); }

 private:
  int RecordRange() {
    const int count = velor_32::Velormaxmfn(space_);
    if (count < 0) return count;
    const int last = std::min(job_.mfnTo, velor_32::LastMfn(space_));
    for (std::int64_t mfn = job_.mfnFrom; mfn <= last; ++mfn) {
      if (app::CheckStopProcess(space_->app)) return kStopped;
      if (velor_32::VelorRecord(space_, shelf_, static_cast<int>(mfn), true) == kOk)
        if (int rc = recif::EmitRecTerms(space_, shelf_, &params_, *this); rc != kOk) return rc;
      if (!catalog_.isGood() || !pages_.isGood()) return StopOnFullDisk();
      const std::int64_t done = mfn - job_.mfnFrom + 1;
      const std::int64_t all = std::int64_t{last} - job_.mfnFrom + 1;
      VelorReportProgress(ctx_, AdmOperation::kTerms, static_cast<int>(done * 100 / all), done);
    }
    VelorReportProgress(ctx_, AdmOperation::kTerms, 100);
    return kOk;
  }

  /// What is left of the run cannot be of use.
  int StopOnFullDisk() {
    ReportBuildError("Ln1 file not written: " + RecordingFile(job_.stem, job_.processNo));
    app::StopProcess = 1;
    return kStopped;
  }

  VelorAContext* ctx_;
  TVelorSpace* space_;
  const int shelf_;
  const RecordingJob& job_;
  const int numbers_;
  const recif::VeloraRecTermParams params_;
  RecordingTarget catalog_;
  RecordingTarget pages_;
};

}  // namespace

RecordingJob JobFor(const TVelorSpace* space, bool isCatalogOnly, bool isFullTextOnly) {
  RecordingJob job;
  if (!isFullTextOnly) job.stem = space->termPath;
  if (!isCatalogOnly && space->textSpace != nullptr) job.textStem = space->textSpace->termPath;
  job.select = isCatalogOnly    ? recif::kCatalogLines
               : isFullTextOnly ? recif::kFullTextLines
                                : recif::kAllLines;
  return job;
}

std::string RecordingFile(const std::string& stem, int processNo) {
  return stem + (processNo > 0 ? "_multi" + std::to_string(processNo) : "") + ".ln1";
}

int VelorRecTerms_Base(VelorAContext* ctx, TVelorSpace* space, int shelf, const RecordingJob& job) {
  if (ctx == nullptr || !velor_32::IsOpen(space)) return velor_32::kNoSpace;
  return velor_32::AtEdge([&] { return Recorder(ctx, space, shelf, job).Run(); });
}

int RecordAllTerms(VelorAContext* ctx, TVelorSpace* space, int shelf, const RecordingJob& job) {
  if (ctx == nullptr || !velor_32::IsOpen(space)) return velor_32::kNoSpace;
  return UsesWorkers(*ctx) ? Multi_VelorRecTerms(ctx, space, job)
                           : VelorRecTerms_Base(ctx, space, shelf, job);
}

int VelorRecTerms(VelorAContext* ctx, TVelorSpace* space, int shelf, const RecordingJob& job) {
  if (ctx == nullptr || !velor_32::IsOpen(space)) return velor_32::kNoSpace;
  const BuildLock lock(space, ctx->relayRecTime);
  return lock.result() != kOk ? lock.result() : RecordAllTerms(ctx, space, shelf, job);
}

}  // namespace velora
