#include "index/lnk_sort.h"

#include <sys/statvfs.h>
#include <unistd.h>

#include <algorithm>
#include <cstdio>
#include <memory>
#include <vector>

#include "index/build_files.h"
#include "index/dict_load.h"
#include "index/multiload.h"
#include "index/progress.h"
#include "index/term_line.h"
#include "storage/codes.h"
#include "storage/edge.h"
#include "utils/path_util.h"
#include "utils/text_util.h"

namespace velora {

using velor_32::kNoRecordFiles;
using velor_32::kOk;

namespace {

constexpr std::int64_t kSpaceFactor = 3;  // free space for each byte of the input
constexpr int kRunsPerLimit = 8;

/// Files that are removed at the end of the scope.
struct TemporaryFiles : std::vector<std::string> {
  ~TemporaryFiles() {
    for (const std::string& path : *this) ::unlink(path.c_str());
  }
};

bool HasFreeSpace(const VelorAContext& ctx, const std::string& directory, std::int64_t size) {
  const auto& ini = ctx.app->mainIni;
  const std::string check = ini != nullptr ? ini->Get("MAIN", "CheckFreeSpaceSort", "1") : "1";
  struct statvfs disk;
  if (utils::TextUtil::Int32ParseExact(check.c_str(), 1) < 1) return true;
  if (::statvfs(directory.empty() ? "." : directory.c_str(), &disk) != 0) return true;
  return static_cast<double>(disk.f_bavail) * static_cast<double>(disk.f_frsize) >=
         static_cast<double>(size * kSpaceFactor);
}

/// One sort and those of its pieces.
class Sorter {
 public:
  Sorter(VelorAContext* ctx, const std::string& directory, const SortSettings& settings)
      : ctx_(ctx), directory_(directory), settings_(settings), numbers_(NumbersInLine(settings.isFullText)) {}

  int Run(const std::string& input, const std::string& output, bool append, bool isPiece) {
    const std::int64_t size = FileSize(input);
    if (size < 0) return kNoRecordFiles;
    if (!HasFreeSpace(*ctx_, directory_, size)) {
      ReportBuildError("Not enough disk free space");
      return kWriteFailed;
    }
    TTerms terms(ctx_, numbers_, settings_.memoryLimit);
    if (int rc = terms.LoadFromFile(input); rc != kOk) return rc;
    if (!terms.isTooLarge())
      if (int rc = terms.Sort(); rc != kOk) return rc;
    if (!terms.isTooLarge()) return terms.SaveToFile(output, append);
    terms.FreeText();
    return SortPieces(&terms, input, output, append, isPiece);
  }

 private:
  int SortPieces(TTerms* terms, const std::string& input, const std::string& output, bool append,
                 bool isPiece) {
    if (int rc = terms->InitAvarage(); rc != kOk) return rc;
    TemporaryFiles pieces;
    if (int rc = terms->DevideInputFile(directory_, &pieces); rc != kOk) return rc;
    const auto hasShrunk = [limit = FileSize(input) / 4 * 3](const std::string& piece) {
      return FileSize(piece) < limit;
    };
    // A worker begins anew with its piece: one that stays as large would be cut by ever further workers.
    if (!isPiece && UsesWorkers(*ctx_) && std::ranges::all_of(pieces, hasShrunk))
      return Multi_ProcessSortList(ctx_, settings_.database, pieces, output);

    if (!append && !EmptyFile(output)) return kWriteFailed;
    for (std::size_t i = 0; i < pieces.size(); ++i) {
      // Most lines of one term: no bound can cut it. What comes out of it need not be smaller.
      const int rc = hasShrunk(pieces[i]) ? Run(pieces[i], output, true, true) : SortRuns(pieces[i], output);
      if (rc != kOk) return rc;
      ::unlink(pieces[i].c_str());
      if (!isPiece)
        VelorReportProgress(ctx_, AdmOperation::kSort, static_cast<int>((i + 1) * 100 / pieces.size()));
    }
    return kOk;
  }

  static bool EmptyFile(const std::string& path) {
    BuildFile file;
    return file.Create(path) && file.Close();
  }

  /// Sorts a file in runs of a bounded size and merges them.
  int SortRuns(const std::string& input, const std::string& output) {
    TemporaryFiles runs;
    LineReader reader;
    if (!reader.Open(input)) return kNoRecordFiles;
    std::string_view line;
    bool hasLine = reader.Next(&line);
    while (hasLine) {
      runs.push_back(input + std::to_string(runs.size() + 1));
      BuildFile run;
      if (!run.Create(runs.back())) return kWriteFailed;
      for (; hasLine && run.position() < settings_.memoryLimit / kRunsPerLimit;
           hasLine = reader.Next(&line)) {
        run.AppendLine(line);
      }
      if (!run.Close()) return kWriteFailed;
      if (int rc = SortRun(runs.back()); rc != kOk) return rc;
    }
    return reader.hasFailed() ? kNoRecordFiles : MergeRuns(runs, output);
  }

  int SortRun(const std::string& run) {
    TTerms terms(ctx_, numbers_, settings_.memoryLimit);
    if (int rc = terms.LoadFromFile(run); rc != kOk) return rc;
    if (int rc = terms.Sort(); rc != kOk) return rc;
    if (terms.isTooLarge()) return velor_32::kNoMemory;
    TemporaryFiles sorted;
    sorted.push_back(run + "_");
    if (int rc = terms.SaveToFile(sorted.back(), false); rc != kOk) return rc;
    return std::rename(sorted.back().c_str(), run.c_str()) == 0 ? kOk : kWriteFailed;
  }

  struct Source {
    LineReader reader;
    std::string_view line;
    bool hasLine = false;
  };

  int MergeRuns(const std::vector<std::string>& paths, const std::string& output) {
    std::vector<std::unique_ptr<Source>> runs;
    for (const std::string& path : paths) {
      runs.push_back(std::make_unique<Source>());
      if (!runs.back()->reader.Open(path)) return kNoRecordFiles;
      runs.back()->hasLine = runs.back()->reader.Next(&runs.back()->line);
    }
    BuildFile file;
    if (!file.OpenAtEnd(output)) return kWriteFailed;
    while (Source* least = LeastOf(runs)) {
      file.AppendLine(least->line);
      least->hasLine = least->reader.Next(&least->line);
      if (app::CheckStopProcess(ctx_->app)) return kStopped;
    }
    return file.Close() ? kOk : kWriteFailed;
  }

  Source* LeastOf(const std::vector<std::unique_ptr<Source>>& runs) const {
    Source* least = nullptr;
    for (const auto& run : runs) {
      if (!run->hasLine) continue;
      if (least == nullptr || TTerms::CompareTerms(run->line, least->line, numbers_) < 0) least = run.get();
    }
    return least;
  }

  VelorAContext* ctx_;
  const std::string& directory_;
  const SortSettings& settings_;
  const int numbers_;
};

}  // namespace

int VelorLnkSort0(VelorAContext* ctx, const std::string& inputFile, const std::string& outputFile,
                  const std::string& directory, const SortSettings& settings) {
  if (ctx == nullptr) return velor_32::kNoMemory;
  return velor_32::AtEdge(
      [&] { return Sorter(ctx, directory, settings).Run(inputFile, outputFile, false, false); });
}

int VelorLnkSort(VelorAContext* ctx, const std::string& inStem, const std::string& outStem,
                 const SortSettings& settings) {
  const std::string output = outStem + ".lk1";
  const std::string unfinished = output + "_";
  std::string directory = utils::PathUtil::GetDirectoryName(outStem);
  if (!directory.empty() && directory.back() != '/') directory += '/';
  int rc = VelorLnkSort0(ctx, inStem + ".ln1", unfinished, directory, settings);
  if (rc == kOk && std::rename(unfinished.c_str(), output.c_str()) != 0) rc = kWriteFailed;
  if (rc == kWriteFailed && FileSize(unfinished) >= 0) ReportBuildError("Lk1 file not written: " + output);
  if (rc != kOk) ::unlink(unfinished.c_str());
  if (rc == kOk) VelorReportProgress(ctx, AdmOperation::kSort, 100);
  return rc;
}

}  // namespace velora
