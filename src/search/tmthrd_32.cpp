#include "search/tmthrd_32.h"

#include <algorithm>
#include <memory>
#include <span>
#include <string>
#include <utility>
#include <vector>

#include "search/morphology.h"
#include "search/operand.h"
#include "search/posting_cache.h"
#include "search/posting_collector.h"
#include "search/term_cache.h"
#include "search/term_walk.h"
#include "storage/app_context.h"
#include "storage/codes.h"
#include "storage/edge.h"
#include "storage/term_read.h"

namespace Tmthrd_32 {

namespace {

constexpr int kQuadruple = 4;  // numbers in one
constexpr unsigned char kNearInAnyOrder = 5;

/// Whether the operand stands for the forms of a word.
bool IsWordOfForms(const TVelorSpace* space, const Operand& operand, bool useNew) {
  return useNew && operand.isExact() && operand.term.ends_with('@') && HasMorphology(space);
}

/// Reads the postings of a term that has been looked for.
void ReadFound(TVelorSpace* space, const FoundOperand& found, PostingCollector& collector) {
  if (found.count < 1) return;
  space->termIndex = found.termIndex;
  velor_32::PostingBlocks blocks(space);
  if (blocks.StartAt(found.offset) > 0) collector.TakeTerm(blocks);
}

/// Reads an operand, with all its forms, into the collector.
void ReadOperand(TVelorSpace* space, const std::string& db, Operand operand, bool useNew,
                 PostingCollector& collector) {
  TermWalk walk(space, collector, db);
  if (!IsWordOfForms(space, operand, useNew)) return walk.Run(operand);

  operand.term.pop_back();
  TStringList forms;
  ExpandWord(space, operand.term, &forms);
  for (const velor_01::TStringItem& form : forms.Items()) walk.Run(ParseOperand(form.text));
}

/// Reads an operand: through the term cache when `db` is named, from where it was found when that is told.
int Read(TVelorSpace* space, const std::string& db, const std::string& term, bool useNew, Wanted wanted,
         const FoundOperand* found = nullptr) {
  if (!space) return -1;
  if (space->app && !Tmthrd_32_init(space->app)) return velor_32::kNoMemory;
  return velor_32::AtEdge([&] {
    Operand operand = ParseOperand(term);
    wanted.tags = operand.tags;
    PostingCollector collector(space, std::move(wanted));
    if (found && found->count >= 0) {
      ReadFound(space, *found, collector);
    } else {
      ReadOperand(space, db, std::move(operand), useNew, collector);
    }
    collector.Finish();
    return velor_32::kOk;
  });
}

std::span<const Quadruple> Quadruples(const TIntList* list) {
  static_assert(sizeof(Quadruple) == kQuadruple * sizeof(std::int32_t));
  return {reinterpret_cast<const Quadruple*>(list->Items().data()),
          static_cast<std::size_t>(list->GetCount() / kQuadruple)};
}

/// Puts ascending quadruples among those of the list.
bool MergeInto(TIntList* list, std::vector<Quadruple>& places) {
  const auto there = Quadruples(list);
  places.insert(places.end(), there.begin(), there.end());
  if (!std::is_sorted(places.begin(), places.end())) std::sort(places.begin(), places.end());
  places.erase(std::unique(places.begin(), places.end()), places.end());
  list->Clear();
  if (!list->Reserve(static_cast<int>(places.size()) * kQuadruple)) return false;
  for (const Quadruple& place : places)
    for (const std::int32_t number : {place.mfn, place.tag, place.occ, place.pos}) list->Add(number);
  return true;
}

/// Sets the bits of one position.
void SetPositions(TBitList* out, int pos, int index, bool downwards) {
  if (!downwards) {
    out->Put(pos - 1 - index, true);
    return;
  }
  for (int bit = pos - 1; bit >= 0 && bit >= pos - index; --bit) out->Put(bit, true);
}

}  // namespace

bool Tmthrd_32_init(app::VelorAppContext* app) {
  if (!app) return false;
  if (app->termCache) return true;
  const int rc = velor_32::AtEdge([&] {
    app->addMfnTag = std::make_unique<ExtList::TMfnTagList>();
    app->mfnPageList = std::make_unique<ExtList::TMfnTagList>();
    app->mfnPageList->SetDuplicate(true);
    app->pageFilter = std::make_unique<Bitarr::TBitList>(40000);
    app->parts.destroyTermCache = [](trmcache::TrmCache* cache) { delete cache; };
    app->termCache = new trmcache::TrmCache;
    return velor_32::kOk;
  });
  return rc == velor_32::kOk;
}

int TrmPostProc_Range(TVelorSpace* space, const std::string& db, const std::string& term, int /*op*/,
                      TBitList* mfnBits, TBitList* tagBits, TBitList* occBits, int mfnLimit, int tagLimit,
                      int occLimit, bool useNew, const TBitList* candidates, const FoundOperand* found) {
  Wanted wanted;
  wanted.mfnBits = mfnBits;
  wanted.tagBits = tagBits;
  wanted.occBits = occBits;
  wanted.mfnLimit = mfnLimit;
  wanted.tagLimit = tagLimit;
  wanted.occLimit = occLimit;
  wanted.candidates = candidates;
  const bool isLimited = mfnLimit >= 0 || tagLimit >= 0 || occLimit >= 0 || candidates != nullptr;
  if (isLimited || !UsesTermCache(space)) return Read(space, {}, term, useNew, std::move(wanted), found);
  return Read(space, db, term, useNew, std::move(wanted));
}

int TrmPostProc_RangeNew(TVelorSpace* space, const std::string& db, const std::string& term, int op,
                         TBitList* mfnBits, TBitList* tagBits, TBitList* occBits, int mfnLimit, int tagLimit,
                         int occLimit, const TBitList* candidates) {
  return TrmPostProc_Range(space, db, term, op, mfnBits, tagBits, occBits, mfnLimit, tagLimit, occLimit, true,
                           candidates);
}

FoundOperand FindOperand(TVelorSpace* space, const std::string& term, bool useNew) {
  FoundOperand found;
  if (!space) return found;
  static_cast<void>(velor_32::AtEdge([&] {
    const Operand operand = ParseOperand(term);
    if (!operand.isExact() || IsWordOfForms(space, operand, useNew)) return velor_32::kOk;
    found.count = 0;
    if (operand.term.empty()) return velor_32::kOk;
    char termBuffer[velor_01::kTermBufferSize] = {};
    operand.term.copy(termBuffer, velor_01::kLongestTerm);
    if (isisfindNew(space, termBuffer, operand.term, {}, true) != velor_32::kOk) return velor_32::kOk;
    found.count = velor_32::Velornposts(space);
    found.termIndex = space->termIndex;
    if (found.count > 0) found.offset = velor_32::CurrentTermOffset(*velor_32::CurrentIndex(space));
    return velor_32::kOk;
  }));
  return found;
}

int TrmPostCash(TVelorSpace* space, const std::string& term, const TBitList* mfnBits, const TBitList* tagBits,
                const TBitList* occBits, TIntList* out) {
  std::vector<Quadruple> places;
  Wanted wanted;
  wanted.places = &places;
  wanted.candidates = mfnBits;
  wanted.tagsOf = tagBits;
  wanted.occsOf = occBits;
  if (int rc = Read(space, {}, term, true, std::move(wanted)); rc != velor_32::kOk) return rc;
  return velor_32::AtEdge([&] { return MergeInto(out, places) ? velor_32::kOk : velor_32::kNoMemory; });
}

void TrmPostCashProc(const TIntList* posts, TBitList* out, int limit, int mfn, int tag, int occ,
                     int /*unused*/, int index, unsigned char op) {
  if (limit == 0) return;
  const auto all = Quadruples(posts);
  const auto isWanted = [limit](int number) { return number > 0 && (limit < 0 || number <= limit); };
  auto at = std::lower_bound(all.begin(), all.end(), Quadruple{mfn, tag, occ, 0});
  for (; at != all.end(); ++at) {
    if (mfn == 0) {
      if (limit > 0 && at->mfn > limit) return;
      if (isWanted(at->mfn)) out->Put(at->mfn - 1, true);
      continue;
    }
    if (at->mfn != mfn || (tag != 0 && at->tag != tag) || (occ != 0 && at->occ != occ)) return;
    const int number = tag == 0 ? at->tag : occ == 0 ? at->occ : at->pos;
    if (limit > 0 && number > limit) return;
    if (number < 1) continue;
    if (tag != 0 && occ != 0) {
      SetPositions(out, number, index, op == kNearInAnyOrder);
    } else {
      out->Put(number - 1, true);
    }
  }
}

}  // namespace Tmthrd_32
