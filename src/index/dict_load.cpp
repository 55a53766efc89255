#include "index/dict_load.h"

#include <unistd.h>

#include <vector>

#include "index/build_files.h"
#include "index/build_lock.h"
#include "index/dict_files.h"
#include "index/facet_cells.h"
#include "index/multiload.h"
#include "index/posting_writer.h"
#include "index/progress.h"
#include "index/term_line.h"
#include "index/tree_writer.h"
#include "storage/actualize_all.h"
#include "storage/codes.h"
#include "storage/edge.h"
#include "storage/term_files.h"
#include "storage/term_swap.h"
#include "utils/path_util.h"
#include "utils/utf8_order.h"

namespace velora {

using velor_01::TVelorSpace;
using velor_32::kNoInvertedFile;
using velor_32::kNoRecordFiles;
using velor_32::kOk;

namespace {

/// One pass over a sorted file.
class Loader {
 public:
  Loader(VelorAContext* ctx, TVelorSpace* space, int part)
      : ctx_(ctx),
        space_(space),
        files_(space->termPath, part),
        numbers_(NumbersInLine(space->isFullText)),
        postings_(space->isFullText, files_.spill) {}

  int Run(const std::string& lk1) {
    if (int rc = CreateFiles(); rc != kOk) return rc;
    if (!reader_.Open(lk1)) return kNoRecordFiles;
    if (int rc = LoadLines(); rc != kOk) return rc;
    if (reader_.hasFailed()) return kNoRecordFiles;
    if (int rc = EndTerm(); rc != kOk) return rc;
    const bool isTreeGood = tree_.Finish();
    if (!postings_.Finish(tree_.nodeCount(), tree_.leafCount()) || !isTreeGood) return FailWrite();
    VelorReportProgress(ctx_, AdmOperation::kLoadDict, 100);
    return kOk;
  }

 private:
  int CreateFiles() {
    if (!postings_.Create(files_.ifp)) return Fail("Ifp file not open: " + files_.ifp, kNoInvertedFile);
    std::string failed;
    if (tree_.Create(files_.l01, files_.n01, &failed)) return kOk;
    const char* const title = failed == files_.l01 ? "L01" : "N01";
    return Fail(title + (" file not open: " + failed), kNoInvertedFile);
  }

  int LoadLines() {
    std::string_view line;
    TermLine parsed;
    while (reader_.Next(&line)) {
      if (ParseTermLine(line, numbers_, &parsed) != LineFault::kNone || !CanBeStored(parsed.posting))
        return Fail("lk read error after term=" + term_ + ", length=" + std::to_string(line.size()),
                    kBadOrder);
      if (parsed.term != term_)
        if (int rc = TurnTo(parsed.term); rc != kOk) return rc;
      if (int rc = Add(parsed.posting); rc != kOk) return rc;
    }
    return kOk;
  }

  /// What a reader takes for damage is not written.
  static bool CanBeStored(const velor_01::TifpItemPosting& posting) {
    return posting.mfn >= 0 && posting.pos >= 0;
  }

  /// Goes to another term. Two different texts can be one term when they are no valid UTF-8.
  int TurnTo(std::string_view term) {
    const int order = utils::CompareUtf8(term_, term);
    if (order == 0) return kOk;
    if (order > 0) return Fail("sorting error term=" + std::string(term) + ", prevterm=" + term_, kBadOrder);
    if (app::CheckStopProcess(space_->app)) return kStopped;
    VelorReportProgress(ctx_, AdmOperation::kLoadDict, reader_.percent());
    if (int rc = EndTerm(); rc != kOk) return rc;
    term_ = term;
    return kOk;
  }

  int Add(const velor_01::TifpItemPosting& posting) {
    switch (postings_.Add(posting)) {
      case PostingWriter::Added::kYes:
        return kOk;
      case PostingWriter::Added::kFalling:
        return Fail("sorting posting error term=" + term_ + ", prevterm=" + term_, kBadOrder);
      case PostingWriter::Added::kSpillFailed:
        return Fail("sorting posting error: file create failed " + files_.spill, kNoInvertedFile);
    }
    return kOk;
  }

  int EndTerm() {
    if (!postings_.hasPostings()) return kOk;
    const std::int64_t offset = postings_.EndTerm();
    if (offset < 0)
      return Fail("sorting posting error: postings not read back, term=" + term_, kNoInvertedFile);
    tree_.Add(term_, offset);
    return kOk;
  }

  int FailWrite() { return Fail("Dictionary files not written: " + files_.ifp, kNoInvertedFile); }

  static int Fail(const std::string& message, int rc) {
    ReportBuildError(message);
    return rc;
  }

  VelorAContext* ctx_;
  TVelorSpace* space_;
  const NewSet files_;
  const int numbers_;
  PostingWriter postings_;
  TreeWriter tree_;
  LineReader reader_;
  std::string term_;  // the current one
};

bool WantsSplit(const VelorAContext& ctx) {
  return MainNumber(*ctx.app, "CREATE_OLD_INVERTION_FILES", 1) == 1;
}

/// Loads the parts, by workers where there are some.
int LoadParts(VelorAContext* ctx, TVelorSpace* space, const std::vector<std::string>& parts) {
  if (UsesWorkers(*ctx)) return Multi_LoadParts(ctx, space, parts);
  int rc = kOk;
  for (std::size_t i = 0; rc == kOk && i < parts.size(); ++i)
    rc = VelorLnk_Load_Base(ctx, space, parts[i], static_cast<int>(i) + 1);
  return rc;
}

/// Splits the file and loads the parts. Result 1; 0 when there are too few terms.
int LoadSplit(VelorAContext* ctx, TVelorSpace* space, const std::string& lk1) {
  const std::string directory = utils::PathUtil::GetDirectoryName(space->termPath) + "/";
  std::vector<std::string> parts;
  for (int part = 1; part <= velor_01::kMaxTermIndexes; ++part)
    parts.push_back(PartFile(directory, space->termPath, part));
  int rc = SplitLkFile(space, lk1, directory);
  if (rc == 1)
    if (int failed = LoadParts(ctx, space, parts); failed != kOk) rc = failed;
  for (const std::string& part : parts) ::unlink(part.c_str());
  return rc;
}

/// Makes the new files; `isSplit` tells which.
int LoadNewFiles(VelorAContext* ctx, TVelorSpace* space, const std::string& lk1, bool* isSplit) {
  *isSplit = false;
  if (WantsSplit(*ctx)) {
    const int rc = LoadSplit(ctx, space, lk1);
    *isSplit = rc == 1;
    if (rc != 0) return *isSplit ? kOk : rc;
  }
  return VelorLnk_Load_Base(ctx, space, lk1, kMainSet);
}

/// Lets an open space see the new files.
int OpenAnew(TVelorSpace* space) {
  const std::string path = space->termPath;
  return velor_32::Velorinitterm(space, path.c_str());
}

}  // namespace

int VelorLnk_Load_Base(VelorAContext* ctx, TVelorSpace* space, const std::string& lk1, int part) {
  if (ctx == nullptr || !velor_32::IsOpen(space)) return velor_32::kNoSpace;
  return velor_32::AtEdge([&] { return Loader(ctx, space, part).Run(lk1); });
}

int LoadDictionary(VelorAContext* ctx, TVelorSpace* space, const std::string& stem, bool keepTermFile,
                   bool forMerge) {
  if (ctx == nullptr || !velor_32::IsOpen(space)) return velor_32::kNoSpace;
  return velor_32::AtEdge([&] {
    const std::string lk1 = stem + ".lk1";
    if (int rc = velor_32::FinishTermSwap(space->termPath); rc != kOk) return rc;
    RemoveNewFiles(space->termPath);
    bool isSplit = false;
    int rc = LoadNewFiles(ctx, space, lk1, &isSplit);
    if (rc == kOk && isSplit && !MakeEmptySet(space->termPath, kMainSet)) rc = kNoInvertedFile;
    if (rc == kOk) rc = velor_32::SwapTermFiles(space->termPath, isSplit);
    if (rc != kOk) {
      if (velor_32::ReadTermSwap(space->termPath) == velor_32::TermSwap::kNone)
        RemoveNewFiles(space->termPath);
      return rc;
    }
    if (rc = OpenAnew(space); rc != kOk) return rc;
    if (!forMerge) rc = velor_32::MarkAllActualized(space, ctx->relayRecTime);
    if (rc == kOk && !keepTermFile) ::unlink(lk1.c_str());
    return rc;
  });
}

int VelorLnk_Load(VelorAContext* ctx, TVelorSpace* space, const std::string& stem, bool keepTermFile,
                  bool forMerge) {
  if (ctx == nullptr || !velor_32::IsOpen(space)) return velor_32::kNoSpace;
  {
    const BuildLock lock(space, ctx->relayRecTime);
    if (lock.result() != kOk) return lock.result();
    if (int rc = LoadDictionary(ctx, space, stem, keepTermFile, forMerge); rc != kOk) return rc;
  }
  return space->isTextSpace ? kOk : RenewCells(ctx, space);
}

}  // namespace velora
