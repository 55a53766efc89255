#include "index/progress.h"

#include <unistd.h>

#include <chrono>
#include <iostream>

#include "storage/database_open.h"
#include "utils/log_util.h"

namespace velora {
namespace {

const char* TitleOf(AdmOperation::Type operation) {
  switch (operation) {
    case AdmOperation::kTerms:
      return "Terms: ";
    case AdmOperation::kSplitFiles:
      return "SplitFiles: ";
    case AdmOperation::kSort:
      return "Sort: ";
    case AdmOperation::kLoadDict:
      return "LoadDict: ";
  }
  return "";
}
constexpr int kDone = 100;  // percent

/// A clock that is never set back.
std::int64_t Milliseconds() {
  const auto now = std::chrono::steady_clock::now().time_since_epoch();
  return std::chrono::duration_cast<std::chrono::milliseconds>(now).count();
}

/// The live line. One operation runs at a time, so that one start is enough.
class LiveLine {
 public:
  void Show(AdmOperation::Type operation, int percent, std::int64_t done) {
    const std::int64_t now = Milliseconds();
    if (operation != operation_ || percent < percent_) start_ = now;
    operation_ = operation;
    percent_ = percent;
    const std::int64_t elapsed = now - start_;
    std::string line = "\r" + std::string(TitleOf(operation)) + std::to_string(percent) + "%";
    if (done > 0 && elapsed > 0) line += ", " + std::to_string(done * 1000 / elapsed) + " records/s";
    if (percent > 0 && percent < kDone)
      line += ", " + utils::LogUtil::FormatTime(elapsed * (kDone - percent) / percent) + " left";
    line += "\x1B[K";  // what a longer line left behind
    if (percent >= kDone) line += "\n";
    std::cerr << line << std::flush;
  }

 private:
  int operation_ = -1;
  int percent_ = 0;
  std::int64_t start_ = 0;  // in Milliseconds()
};

/// Of the workers that record, which have equal shares, the first speaks for all; the end is told by the
/// parent.
bool KeepsLiveLine(const VelorAContext& ctx, AdmOperation::Type operation, int percent) {
  if (ctx.worker > 0 && (ctx.worker > 1 || operation != AdmOperation::kTerms || percent == kDone))
    return false;
  return ::isatty(STDERR_FILENO) != 0 && (::isatty(STDOUT_FILENO) == 0 || ctx.reportProgress);
}

}  // namespace

void VelorReportProgress(VelorAContext* ctx, AdmOperation::Type operation, int percent, std::int64_t done) {
  static LiveLine liveLine;
  if (ctx == nullptr || (percent == ctx->lastProgress && operation == ctx->lastProgressTotal)) return;
  ctx->lastProgress = percent;
  ctx->lastProgressTotal = operation;
  ++ctx->progressCount;
  if (KeepsLiveLine(*ctx, operation, percent)) liveLine.Show(operation, percent, done);
  if (!ctx->reportProgress) return;
  if (ctx->app->progressCallback != nullptr)
    ctx->app->progressCallback(ctx->app->progressArg, percent, kDone);
  else
    std::cout << TitleOf(operation) << percent << std::endl;
}

void ReportBuildError(const std::string& message) {
  std::cerr << message << std::endl;
  velor_server_proc::LogTool(message);
}

}  // namespace velora
