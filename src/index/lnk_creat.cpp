#include "index/lnk_creat.h"

#include <unistd.h>

#include <cstdio>

#include "index/build_files.h"
#include "index/dict_load.h"
#include "index/progress.h"
#include "index/term_line.h"
#include "storage/app_context.h"
#include "storage/codes.h"
#include "storage/edge.h"
#include "storage/term_read.h"

namespace velora {

using velor_01::TVelorSpace;
using velor_32::kNoInvertedFile;
using velor_32::kOk;

namespace {

constexpr int kNextTerm = -202;
constexpr int kBehindLast = -203;
constexpr int kBelowFirst = -204;

class TermWriter {
 public:
  TermWriter(TVelorSpace* space, BuildFile* file)
      : space_(space), file_(file), numbers_(NumbersInLine(space->isFullText)) {}

  /// Walks through the dictionary.
  int WriteAll() {
    char term[velor_01::kTermBufferSize] = {velor_01::kLowestKey};
    int rc = velor_32::Velorfind0(space_, term, true);
    if (rc == kNextTerm || rc == kBelowFirst) rc = kOk;  // `term` is the first one
    while (rc == kOk && *term != '\0') {
      if (app::CheckStopProcess(space_->app)) return kStopped;
      if (rc = WriteTerm(term); rc != kOk) return rc;
      rc = velor_32::Velornxtterm(space_, term);
    }
    return rc == kBehindLast ? kOk : rc;
  }

 private:
  int WriteTerm(const char* term) {
    // Damaged postings read like none; only their start tells the two apart.
    if (velor_32::Velorinitpost(space_) != kOk) return kNoInvertedFile;
    const int count = velor_32::Velornposts(space_);
    int written = 0;
    for (; velor_32::Velornxtpost(space_) == kOk; ++written) {
      line_.clear();
      AppendTermLine(velor_32::CurrentIndex(space_)->posting, numbers_, term, &line_);
      file_->Append(line_);
    }
    if (written < count) return kNoInvertedFile;
    return file_->isGood() ? kOk : kWriteFailed;
  }

  TVelorSpace* space_;
  BuildFile* file_;
  const int numbers_;
  std::string line_;
};

}  // namespace

int VelorLnk_Creat(VelorAContext* ctx, TVelorSpace* space, const std::string& file) {
  if (ctx == nullptr || !velor_32::IsOpen(space)) return velor_32::kNoSpace;
  return velor_32::AtEdge([&]() -> int {
    const std::string unfinished = file + "_";
    BuildFile output;
    if (!output.Create(unfinished)) {
      ReportBuildError("Ln1 file not open: " + file);
      return velor_32::kNoRecordFiles;
    }
    int rc = TermWriter(space, &output).WriteAll();
    if (!output.Close() && rc == kOk) rc = kWriteFailed;
    if (rc == kOk && std::rename(unfinished.c_str(), file.c_str()) != 0) rc = kWriteFailed;
    if (rc != kOk) ::unlink(unfinished.c_str());
    return rc;
  });
}

}  // namespace velora
