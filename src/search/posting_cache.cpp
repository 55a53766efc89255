#include "search/posting_cache.h"

#include <cstring>

#include "search/term_cache.h"
#include "storage/app_context.h"
#include "storage/codes.h"
#include "storage/term_read.h"

namespace Tmthrd_32 {

using velor_01::TifpItemPosting;

namespace {

/// The cache, when the call is to use it.
trmcache::TrmCache* CacheFor(const TVelorSpace* space, bool noCache) {
  return noCache || !UsesTermCache(space) ? nullptr : space->app->termCache;
}

std::string_view WithoutBlanks(std::string_view term) {
  return term.substr(0, term.find_last_not_of(' ') + 1);
}

/// A search drops the blanks at the end of a term, the dictionary need not: goes on over the terms that
/// differ in these only, to the first with postings.
int AcceptTrailingBlanks(TVelorSpace* space, char* term, std::string_view wanted) {
  while (WithoutBlanks(term) == WithoutBlanks(wanted)) {
    if (velor_32::Velornposts(space) > 0) return velor_32::kOk;
    if (velor_32::Velornxtterm(space, term) != velor_32::kOk) break;
  }
  return velor_32::kTermNotFound;
}

int FindInDictionary(TVelorSpace* space, char* term, const std::string& text) {
  const int rc = velor_32::Velorfind(space, term);
  if (rc != velor_32::kTermNotFound || !text.ends_with(' ')) return rc;
  return AcceptTrailingBlanks(space, term, text);
}

int FieldOf(const TifpItemPosting& p, int fieldNo) {
  const std::int32_t fields[] = {p.mfn, p.tag, p.occ, p.pos, p.wordsInPiece, p.reserved, p.page, p.pageWord};
  return fieldNo < 1 || fieldNo > 8 ? velor_32::kNoInvertedFile : fields[fieldNo - 1];
}

}  // namespace

bool UsesTermCache(const TVelorSpace* space) {
  return space && space->app && space->app->useTermCache && space->app->termCache;
}

int isisfindNew(TVelorSpace* space, char* term, const std::string& text, const std::string& key,
                bool noCache) {
  if (!space || !term) return velor_32::kNoSpace;
  trmcache::TrmCache* const cache = CacheFor(space, noCache);
  if (!cache) return FindInDictionary(space, term, text);

  cache->ForgetCurrent();
  // Postings that are not in memory are read from the place that a search finds.
  const trmcache::TrmCacheItem* known = cache->FindTerm(key, text);
  if (known && known->isComplete) {
    cache->BeginLoad(key, text);
    return known->GetResult();
  }
  const int rc = FindInDictionary(space, term, text);
  // Damage may pass, for a writer may be at work: it is not remembered.
  if (rc == velor_32::kNoInvertedFile || rc == velor_32::kNoSpace) return rc;
  const bool isFound = rc == velor_32::kOk;
  trmcache::TrmCacheItem* item = cache->AddTerm(key, text, rc, isFound ? velor_32::Velornposts(space) : 0);
  item->isComplete = !isFound;
  cache->BeginLoad(key, text);
  return rc;
}

int isisnpostsnew(const TVelorSpace* space, bool noCache) {
  const trmcache::TrmCache* const cache = CacheFor(space, noCache);
  const trmcache::TrmCacheItem* const item = cache ? cache->CurrentItem() : nullptr;
  return item ? item->GetCount() : velor_32::Velornposts(space);
}

int isisnxtpostnew(TVelorSpace* space, bool noCache) {
  trmcache::TrmCache* const cache = CacheFor(space, noCache);
  if (cache && cache->ReadsFromMemory())
    return cache->NextPosting() ? velor_32::kOk : velor_32::kNoInvertedFile;
  const int rc = velor_32::Velornxtpost(space);
  if (cache && rc == velor_32::kOk) cache->Load(velor_32::CurrentIndex(space)->posting);
  return rc;
}

int isispostingnew(const TVelorSpace* space, int fieldNo, bool noCache) {
  const trmcache::TrmCache* const cache = CacheFor(space, noCache);
  if (!cache || !cache->ReadsFromMemory()) return velor_32::Velorposting(space, fieldNo);
  const TifpItemPosting* const posting = cache->CurrentPosting();
  return posting ? FieldOf(*posting, fieldNo) : velor_32::kNoInvertedFile;
}

int isispostingmfn(const TVelorSpace* space, bool noCache) {
  return isispostingnew(space, 1, noCache);
}

bool CollectsPages(const TVelorSpace* space) {
  return space && space->isFullText && space->app && space->app->collectsPages && space->app->addMfnTag;
}

bool AddPage(TVelorSpace* space, int mfn, int tag, int page) {
  app::VelorAppContext& app = *space->app;
  if (app.pageFilter->GetCount() > 0 && !app.pageFilter->Get(mfn - 1)) return false;
  app.addMfnTag->AddItem(mfn, tag);
  app.mfnPageList->AddItem(mfn, page);
  return true;
}

int AddMfnPage(TVelorSpace* space, int mfn, bool skip, bool noCache) {
  if (skip || !CollectsPages(space)) return velor_32::kOk;
  const bool counts =
      AddPage(space, mfn, isispostingnew(space, 2, noCache), isispostingnew(space, kPageField, noCache));
  return counts ? velor_32::kOk : velor_32::kTermNotFound;
}

}  // namespace Tmthrd_32
