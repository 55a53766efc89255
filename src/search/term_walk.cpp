#include "search/term_walk.h"

#include <cstring>
#include <utility>
#include <vector>

#include "search/posting_cache.h"
#include "search/term_cache.h"
#include "storage/app_context.h"
#include "storage/codes.h"
#include "storage/term_first.h"
#include "utils/utf8_order.h"

namespace Tmthrd_32 {

namespace {

void CopyTerm(const std::string& term, char* termBuffer) {
  std::memset(termBuffer, 0, velor_01::kTermBufferSize);
  term.copy(termBuffer, velor_01::kLongestTerm);
}

/// Whether the walk has not left the terms of the operand.
bool Belongs(const Operand& operand, std::string_view term) {
  if (term.empty()) return false;
  if (!operand.isRange) return term.starts_with(operand.term);
  return utils::CompareUtf8(term, operand.last) <= 0 ||
         (operand.isLastTruncated && term.starts_with(operand.last));
}

/// Names the list of an operand's terms in the cache; no term holds these control characters.
std::string RootOf(const Operand& operand) {
  if (!operand.isRange) return operand.term + "\x01";
  return operand.term + "\x02" + operand.last + (operand.isLastTruncated ? "\x01" : "");
}

}  // namespace

TermWalk::TermWalk(TVelorSpace* space, PostingCollector& collector, std::string db)
    : space_(space),
      collector_(collector),
      blocks_(space),
      db_(std::move(db)),
      noCache_(db_.empty() || !UsesTermCache(space)) {}

void TermWalk::Run(const Operand& operand) {
  if (operand.isExact()) {
    ReadExact(operand.term);
  } else {
    ReadMany(operand);
  }
}

void TermWalk::ReadExact(const std::string& term) {
  if (term.empty()) return;
  if (!noCache_) return ReadCached(term);
  char termBuffer[velor_01::kTermBufferSize];
  CopyTerm(term, termBuffer);
  if (isisfindNew(space_, termBuffer, term, db_, true) != velor_32::kOk) return;
  if (blocks_.Start() > 0) collector_.TakeTerm(blocks_);
}

/// Reads one term through the cache. What a limit or damage cuts short is not kept.
void TermWalk::ReadCached(const std::string& term) {
  char termBuffer[velor_01::kTermBufferSize];
  CopyTerm(term, termBuffer);
  if (isisfindNew(space_, termBuffer, term, db_, false) != velor_32::kOk) return;
  trmcache::TrmCache& cache = *space_->app->termCache;
  const trmcache::TrmCacheItem* const item = cache.CurrentItem();
  bool goesOn = true;
  while (goesOn && isisnxtpostnew(space_, false) == velor_32::kOk) {
    goesOn = collector_.TakeCurrent(item->isComplete ? *cache.CurrentPosting()
                                                     : velor_32::CurrentIndex(space_)->posting);
  }
  cache.EndLoad(goesOn && static_cast<int>(item->postings.size()) == item->GetCount());
}

/// Finds the first term not below `from`, also where it lies in a later one of ten indexes.
int TermWalk::FindFirst(const std::string& from, char* termBuffer) {
  CopyTerm(from.empty() ? std::string(1, velor_01::kLowestKey) : from, termBuffer);
  return velor_32::FindFirstTerm(space_, termBuffer);
}

/// Reads the postings of the term that the dictionary stands at.
void TermWalk::ReadCurrent(const char* term, const std::string& root) {
  if (noCache_) {
    if (blocks_.Start() > 0) collector_.TakeTerm(blocks_);
    return;
  }
  space_->app->termCache->AddSubTerm(db_, root, term);
  ReadCached(term);
}

/// False when the walk ended before the last term of the operand.
bool TermWalk::ReadDictionary(const Operand& operand, const std::string& root) {
  char termBuffer[velor_01::kTermBufferSize];
  int rc = FindFirst(operand.term, termBuffer);
  while (rc == velor_32::kOk && Belongs(operand, termBuffer)) {
    if (app::CheckStopProcess(space_->app)) return false;
    ReadCurrent(termBuffer, root);
    rc = velor_32::Velornxtterm(space_, termBuffer);
  }
  return rc == velor_32::kOk || rc == velor_32::kBehindLastTerm;
}

void TermWalk::ReadMany(const Operand& operand) {
  if (noCache_) {
    ReadDictionary(operand, {});
    return;
  }
  const std::string root = RootOf(operand);
  trmcache::TrmCache& cache = *space_->app->termCache;
  if (const auto* terms = cache.SubTerms(db_, root)) {
    for (const std::string& term : *terms) ReadCached(term);
    return;
  }
  cache.RemoveSubTerm(db_, root);
  if (ReadDictionary(operand, root)) {
    cache.CloseSubTerms(db_, root);
  } else {
    cache.RemoveSubTerm(db_, root);
  }
}

}  // namespace Tmthrd_32
