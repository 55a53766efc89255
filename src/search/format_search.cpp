#include "search/format_search.h"

#include <algorithm>
#include <string>
#include <string_view>
#include <vector>

#include "format/velor64_context.h"
#include "search/operand.h"
#include "search/posting_collector.h"
#include "search/search18.h"
#include "search/term_walk.h"
#include "storage/app_context.h"
#include "storage/codes.h"
#include "storage/edge.h"
#include "storage/term_first.h"

namespace Search18 {

using velor_01::TVelorSpace;
using velor_32::kOk;
using xpft::QueryType;

namespace {

/// Part of a list: `count` records from the one at `from`, which counts from 0.
struct Window {
  std::size_t from;
  std::size_t count;

  void Cut(std::vector<int>* records) const {
    records->erase(records->begin(), records->begin() + static_cast<long>(std::min(from, records->size())));
    if (records->size() > count) records->resize(count);
  }
};

Window MakeWindow(const TVelorSpace& space, int from, int count) {
  const int most = count > 0 || space.app == nullptr ? count : space.app->maxDocSearch;
  return {static_cast<std::size_t>(std::max(from, 0)),
          most > 0 ? static_cast<std::size_t>(most) : std::vector<int>().max_size()};
}

bool FindTerm(TVelorSpace* space, const std::string& text) {
  char term[velor_01::kTermBufferSize] = {};
  text.copy(term, sizeof term - 1);
  return velor_32::Velorfind(space, term) == kOk;
}

/// Records of the term that was found, no further than the window reaches.
void ReadTerm(TVelorSpace* space, const Window& window, std::vector<int>* records) {
  while (records->size() - std::min(window.from, records->size()) < window.count &&
         velor_32::Velornxtpost(space) == kOk) {
    const int mfn = velor_32::Velorposting(space, 1);
    if (records->empty() || records->back() != mfn) records->push_back(mfn);
  }
}

void ReadList(const velor_01::TIntList& list, std::vector<int>* records) {
  records->reserve(static_cast<std::size_t>(list.GetCount()));
  for (int i = 0; i < list.GetCount(); ++i) records->push_back(list.Get(i));
}

void SearchPrefix(TVelorSpace* space, const std::string& text, std::vector<int>* records) {
  Bitarr::TBitList bits;
  velor_01::TIntList found;
  Tmthrd_32::Wanted wanted;
  wanted.mfnBits = &bits;
  Tmthrd_32::PostingCollector collector(space, wanted);
  Tmthrd_32::TermWalk(space, collector).Run(Tmthrd_32::BeginningOf(text));
  collector.Finish();
  BitToIntList(&bits, &found);
  ReadList(found, records);
}

void SearchExpression(TVelorSpace* space, const std::string& text, std::vector<int>* records) {
  velor_01::TIntList found;
  FreeVelorSearchNew(space, text, &found, false);
  ReadList(found, records);
}

void SearchMfn(TVelorSpace* space, const std::string& query, int from, int count, QueryType queryType,
               std::vector<int>& result) {
  result.clear();
  if (query.empty()) return;
  const Window window = MakeWindow(*space, from, count);
  if (queryType == QueryType::kPrefix) {
    SearchPrefix(space, query, &result);
  } else if (FindTerm(space, query)) {
    ReadTerm(space, window, &result);
  } else if (queryType == QueryType::kDefault) {
    SearchExpression(space, query, &result);
  }
  window.Cut(&result);
}

int CountPrefix(TVelorSpace* space, const std::string& text) {
  char term[velor_01::kTermBufferSize] = {};
  text.copy(term, sizeof term - 1);
  const std::string prefix = term;
  int rc = velor_32::FindFirstTerm(space, term);
  int count = 0;
  for (; rc == kOk && std::string_view(term).starts_with(prefix); rc = velor_32::Velornxtterm(space, term))
    count += velor_32::Velornposts(space);
  return count;
}

int CountPostings(TVelorSpace* space, const std::string& query, QueryType queryType) {
  if (query.empty()) return 0;
  if (queryType == QueryType::kPrefix) return CountPrefix(space, query);
  return FindTerm(space, query) ? velor_32::Velornposts(space) : 0;
}

}  // namespace

void InstallFormatSearch() {
  xpft::DefaultFormatHooks().searchMfn = SearchMfn;
  xpft::DefaultFormatHooks().countPostings = CountPostings;
}

}  // namespace Search18
