#pragma once

#include <algorithm>
#include <iosfwd>
#include <string>

#include "storage/app_context.h"
#include "storage/record_read.h"
#include "utils/int_list.h"

/// Which records a procedure works on: a range, a list or what a search finds. The context record of a
/// procedure names the parts of its selection `mode` (0, 1, 2), `mfnFrom`, `mfnTo`, `mfnList` and `search`.
namespace velora {

constexpr int kSelectRange = 0;
constexpr int kSelectList = 1;
constexpr int kSelectSearch = 2;

/// Runs a search, UTF-8, and says on `out` what it looks for and how many it found. Result 0 or the code of
/// the search.
int SearchRecords(velor_01::TVelorSpace* space, std::string expression, velor_01::TIntList* found,
                  std::ostream& out);

/// Puts what a search finds in the place of the search. `found` holds the numbers and outlives the selection.
/// Result 0 or the code of the search.
template <class Selection>
int ResolveSearch(velor_01::TVelorSpace* space, Selection* selection, velor_01::TIntList* found,
                  std::ostream& out) {
  if (selection->mode != kSelectSearch) return 0;
  if (const int rc = SearchRecords(space, selection->search, found, out); rc != 0) return rc;
  selection->mode = kSelectList;
  selection->mfnList = found;
  return 0;
}

/// Calls visit(mfn) for the records of a list in its order, or of a range: bounds below 1 and an end behind
/// the last record mean the first and the last one, a beginning behind the end means the end. It ends early
/// on a stop request.
template <class Selection, class Visit>
void VisitSelection(velor_01::TVelorSpace* space, const Selection& selection, Visit&& visit) {
  const app::VelorAppContext* ctx = space->app;
  if (selection.mode == kSelectList) {
    const int count = selection.mfnList ? selection.mfnList->GetCount() : 0;
    for (int i = 0; i < count && !app::CheckStopProcess(ctx); ++i) visit(selection.mfnList->Get(i));
    return;
  }
  const int last = velor_32::LastMfn(space);
  const int to = selection.mfnTo < 1 || selection.mfnTo > last ? last : selection.mfnTo;
  const int from = std::min(std::max(selection.mfnFrom, 1), to);
  for (int mfn = std::max(from, 1); mfn <= to && !app::CheckStopProcess(ctx); ++mfn) visit(mfn);
}

}  // namespace velora
