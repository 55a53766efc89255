#include "index/record_index.h"

#include "index/old_version.h"
#include "index/rec_terms.h"
#include "index/term_difference.h"
#include "storage/app_context.h"
#include "storage/codes.h"
#include "storage/database_lock.h"
#include "storage/database_mutex.h"
#include "storage/edge.h"
#include "storage/record_read.h"
#include "storage/record_status.h"
#include "storage/shelf.h"
#include "storage/storage_hooks.h"

namespace recif {

namespace {

using velor_32::kOk;

/// With a dependency index the old version is there while the terms of the new one are made, whose formats
/// may read other records into the shelf in between.
constexpr int kShelvesBehind = 2;

int PrepareShelves(TVelorSpace* space, int shelf) {
  if (shelf < 0) return velor_32::kBadShelf;
  if (!HasDependencyIndex(space)) return shelf < space->shelfCount ? kOk : velor_32::kBadShelf;
  if (shelf < space->shelfCount - kShelvesBehind) return kOk;
  return velor_32::VelorInitAltShelf(space, shelf + kShelvesBehind + 1) == kOk ? kOk : velor_32::kBadShelf;
}

int CheckDatabaseLock(const TVelorSpace* space) {
  const int rc = velor_32::VelorIsDBLocked(space);
  return rc == velor_32::kLockedByCaller ? kOk : rc;
}

void CutTo(TIfpPostingList* list, int count) {
  while (list->GetCount() > count) list->Delete(list->GetCount() - 1);
}

/// One update of one record.
class RecordUpdate {
 public:
  RecordUpdate(TVelorSpace* space, int shelf, int mfn, RecIfContext* context)
      : space_(space), shelf_(shelf), mfn_(mfn), context_(*context), hasIndex_(HasDependencyIndex(space)) {
    oldShelf_ = hasIndex_ ? shelf + kShelvesBehind : shelf + 1 < space->shelfCount ? shelf + 1 : shelf;
  }

  int ByDifference();
  int Repair();

 private:
  int Read();
  int FetchOld();
  int MakeTerms();
  int MakeNewTerms();
  int MakeOldTerms();
  int Apply();
  int RemoveTermsOf(const VersionWalk& version);
  [[nodiscard]] TVelorSpace* TextSpace() const {
    return space_->isFullText ? context_.space->textSpace : nullptr;
  }
  /// Makes a change in the dictionary, and then in that of the page texts. The last failure counts.
  template <class Change>
  int InBoth(Change&& change);

  TVelorSpace* space_;
  int shelf_;
  int mfn_;
  RecIfContext& context_;
  bool hasIndex_;
  int oldShelf_ = 0;
  bool isDeleted_ = false;
  bool noOldVersion_ = false;
};

template <class Change>
int RecordUpdate::InBoth(Change&& change) {
  const int rc = change(context_.space.get(), context_.newTerms, context_.oldTerms, context_.postings);
  if (!TextSpace()) return rc;
  const int textRc = change(TextSpace(), context_.newFtTerms, context_.oldFtTerms, context_.ftPostings);
  return textRc != kOk ? textRc : rc;
}

int RecordUpdate::Read() {
  const int rc = velor_32::VelorRecord(space_, shelf_, mfn_);
  isDeleted_ = rc == velor_32::kDeleted;
  return rc == kOk || isDeleted_ ? kOk : velor_32::kPhysicallyDeleted;
}

int RecordUpdate::FetchOld() {
  const int rc = CreateOldDump(space_, shelf_, oldShelf_, context_.space.get(), mfn_, noOldVersion_);
  if (rc == velor_32::kNoVersion) noOldVersion_ = true;
  return rc == velor_32::kNoVersion ? kOk : rc;
}

int RecordUpdate::MakeNewTerms() {
  return MyIsisRecTerm(space_, shelf_, &context_.newTerms, &context_.newFtTerms, &context_.postings,
                       &context_.ftPostings, false, nullptr);
}

int RecordUpdate::MakeOldTerms() {
  return MyIsisRecTerm(space_, oldShelf_, &context_.oldTerms, &context_.oldFtTerms, &context_.postings,
                       &context_.ftPostings, true, nullptr);
}

/// Makes the terms that the update needs. Without a dependency index the new ones come first: the old version
/// may take the place of the new one.
int RecordUpdate::MakeTerms() {
  if (!isDeleted_ && !hasIndex_)
    if (int rc = MakeNewTerms(); rc != kOk) return rc;
  const int fetched = FetchOld();
  if (hasIndex_) {
    if (fetched == kOk && !noOldVersion_ && !isDeleted_) {
      SpecialFSTModify_NEW(space_, shelf_, oldShelf_);
    } else {
      RestoreTable(space_);
    }
  }
  if (fetched != kOk) return fetched;
  if (!isDeleted_ && hasIndex_)
    if (int rc = MakeNewTerms(); rc != kOk) return rc;
  return noOldVersion_ ? kOk : MakeOldTerms();
}

int RecordUpdate::Apply() {
  if (isDeleted_)
    return InBoth([](TVelorSpace* space, TStringList&, TStringList& old, TIfpPostingList& postings) {
      return DeleteTerms(space, old, postings);
    });
  if (noOldVersion_)
    return InBoth([](TVelorSpace* space, TStringList& now, TStringList&, TIfpPostingList& postings) {
      return InsertTerms(space, now, postings);
    });
  if (int rc = Insert_and_Delete_Terms(context_.space.get(), &context_.newTerms, &context_.oldTerms,
                                       &context_.postings);
      rc != kOk)
    return rc;
  if (!TextSpace()) return kOk;
  return Insert_and_Delete_Terms(TextSpace(), &context_.newFtTerms, &context_.oldFtTerms,
                                 &context_.ftPostings);
}

int RecordUpdate::ByDifference() {
  if (int rc = Read(); rc != kOk) return rc;
  if (velor_32::VelorIsActualized(space_, shelf_)) return kOk;
  if (int rc = MakeTerms(); rc != kOk) return rc;
  return Apply();
}

/// Deletes the terms of an earlier version that the record has no more.
int RecordUpdate::RemoveTermsOf(const VersionWalk& version) {
  if (int rc = velor_32::VelorRecordAt(space_, oldShelf_, mfn_, version.offset()); rc != kOk) return rc;
  const int postings = context_.postings.GetCount();
  const int ftPostings = context_.ftPostings.GetCount();
  if (int rc = MakeOldTerms(); rc != kOk) return rc;
  const int rc = InBoth([](TVelorSpace* space, TStringList& now, TStringList& old, TIfpPostingList& places) {
    return DeleteLostTerms(space, now, old, places);
  });
  context_.oldTerms.Clear();
  context_.oldFtTerms.Clear();
  CutTo(&context_.postings, postings);
  CutTo(&context_.ftPostings, ftPostings);
  return rc;
}

int RecordUpdate::Repair() {
  if (int rc = Read(); rc != kOk) return rc;
  if (hasIndex_) RestoreTable(space_);
  if (!isDeleted_)
    if (int rc = MakeNewTerms(); rc != kOk) return rc;

  VersionWalk walk;
  if (int rc = walk.Open(context_.space.get(), mfn_); rc != kOk) return rc;
  int result = kOk;
  while (walk.StepBack() == kOk) {
    if (!walk.isDeleted())
      if (int rc = RemoveTermsOf(walk); rc != kOk && rc != velor_32::kBadGuid) result = rc;
    if (int rc = walk.Mark(); rc != kOk) return rc;
  }
  const int inserted = InBoth([](TVelorSpace* space, TStringList& now, TStringList&,
                                 TIfpPostingList& postings) { return InsertTerms(space, now, postings); });
  if (inserted != kOk) result = inserted;
  if (int rc = walk.ClearMarks(space_, shelf_); rc != kOk) return rc;
  return result;
}

/// The terms of a record are made to the end: a stop request between a record and its index waits.
class WholeFormats {
 public:
  explicit WholeFormats(app::VelorAppContext* ctx) : ctx_(ctx), former_(ctx && ctx->finishesFormats) {
    if (ctx_) ctx_->finishesFormats = true;
  }
  ~WholeFormats() {
    if (ctx_) ctx_->finishesFormats = former_;
  }
  WholeFormats(const WholeFormats&) = delete;
  WholeFormats& operator=(const WholeFormats&) = delete;

 private:
  app::VelorAppContext* ctx_;
  bool former_;
};

/// What comes before each update: shelves, exclusive space, lock of the database.
template <class Work>
int WithUpdate(TVelorSpace* space, int shelf, int mfn, Work&& work) {
  if (!velor_32::IsOpen(space)) return velor_32::kNoSpace;
  return velor_32::AtEdge([&] {
    if (int rc = PrepareShelves(space, shelf); rc != kOk) return rc;
    std::shared_ptr<RecIfContext> context = IfUpdateGetMem_new(space);
    if (!context) return velor_32::kLockedByCaller;
    if (int rc = CheckDatabaseLock(space); rc != kOk) return rc;
    const WholeFormats whole(space->app);
    RecordUpdate update(space, shelf, mfn, context.get());
    const int result = work(update);
    IfUpdateFreeMem_new(context);
    return result;
  });
}

}  // namespace

int VelorRecIfUpdate0(TVelorSpace* space, int shelf, int mfn) {
  return WithUpdate(space, shelf, mfn, [](RecordUpdate& update) { return update.ByDifference(); });
}

int RepairRecordIndex0(TVelorSpace* space, int shelf, int mfn) {
  return WithUpdate(space, shelf, mfn, [](RecordUpdate& update) { return update.Repair(); });
}

int RepairRecordIndexTime(TVelorSpace* space, int shelf, int mfn, int timeoutSeconds) {
  return velor_32::UnderDatabaseMutex(space, timeoutSeconds, [&]() -> int {
    return app::CheckStopProcess(space->app) ? velor_32::kLocked : RepairRecordIndex0(space, shelf, mfn);
  });
}

void InstallRecordIndex() {
  velor_32::DefaultStorageHooks().recIfUpdate = VelorRecIfUpdate0;
}

}  // namespace recif
