// Applying terms to the dictionary.

#include "index/term_difference.h"

#include <string_view>

#include "index/record_index.h"
#include "storage/codes.h"
#include "storage/edge.h"
#include "storage/term_update.h"
#include "utils/utf8_order.h"

using velor_01::TifpItemPosting;
using velor_01::TIfpPostingList;
using velor_01::TStringList;
using velor_01::TVelorSpace;

namespace {

/// A list of terms with the postings that it points to.
class Terms {
 public:
  Terms(const TStringList& list, const TIfpPostingList& postings) : list_(list), postings_(postings) {}

  [[nodiscard]] const char* Text(int i) const { return list_.Get(i); }
  [[nodiscard]] TifpItemPosting Posting(int i) const { return postings_.Get(list_.GetNumObject(i)); }
  [[nodiscard]] bool IsNew(int i) const { return postings_.GetObject(list_.GetNumObject(i)) == 0; }
  [[nodiscard]] bool AreEqual(int i, int j) const {
    return utils::CompareUtf8(Text(i), Text(j)) == 0 && backup::ComparePostings(Posting(i), Posting(j)) == 0;
  }

 private:
  const TStringList& list_;
  const TIfpPostingList& postings_;
};

/// What a run of equal items asks for. The dictionary keeps a posting once however often a record yields it,
/// so a posting goes only when the new version yields it no more at all.
struct Balance {
  int sum = 0;  // items of the new version less those of the old one
  bool isInNew = false;
};

/// Calls `change(i, balance)` for each run of equal items, i being the first; the list is sorted.
template <class Change>
void ForEachRun(const Terms& terms, int count, Change&& change) {
  for (int i = 0; i < count;) {
    Balance balance;
    int end = i;
    do {
      const bool isNew = terms.IsNew(end);
      balance.sum += isNew ? 1 : -1;
      balance.isInNew |= isNew;
      ++end;
    } while (end < count && terms.AreEqual(i, end));
    change(i, balance);
    i = end;
  }
}

bool Join(TStringList* newTerms, const TStringList& oldTerms, const TIfpPostingList& postings) {
  return newTerms->Append(oldTerms) && newTerms->Sort_with_Postings(postings);
}

void Note(int rc, int* result) {
  if (rc != velor_32::kOk) *result = rc;
}

}  // namespace

int Insert_and_Delete_Terms(TVelorSpace* space, TStringList* newTerms, TStringList* oldTerms,
                            TIfpPostingList* postings) {
  if (!Join(newTerms, *oldTerms, *postings)) return velor_32::kNoMemory;
  int result = velor_32::kOk;
  const Terms terms(*newTerms, *postings);
  ForEachRun(terms, newTerms->GetCount(), [&](int i, const Balance& balance) {
    if (balance.sum > 0) Note(velor_32::InsertTerm(space, terms.Text(i), terms.Posting(i)), &result);
    if (balance.sum < 0 && !balance.isInNew)
      Note(velor_32::DeleteTerm(space, terms.Text(i), terms.Posting(i)), &result);
  });
  return result;
}

namespace recif {

int InsertTerms(TVelorSpace* space, const TStringList& list, const TIfpPostingList& postings) {
  int result = velor_32::kOk;
  const Terms terms(list, postings);
  for (int i = 0; i < list.GetCount(); ++i)
    Note(velor_32::InsertTerm(space, terms.Text(i), terms.Posting(i)), &result);
  return result;
}

int DeleteTerms(TVelorSpace* space, const TStringList& list, const TIfpPostingList& postings) {
  const Terms terms(list, postings);
  for (int i = 0; i < list.GetCount(); ++i)
    if (int rc = velor_32::DeleteTerm(space, terms.Text(i), terms.Posting(i)); rc != velor_32::kOk) return rc;
  return velor_32::kOk;
}

int DeleteLostTerms(TVelorSpace* space, const TStringList& newTerms, const TStringList& oldTerms,
                    const TIfpPostingList& postings) {
  TStringList all;
  if (!all.Assign(newTerms) || !Join(&all, oldTerms, postings)) return velor_32::kNoMemory;
  int result = velor_32::kOk;
  const Terms terms(all, postings);
  ForEachRun(terms, all.GetCount(), [&](int i, const Balance& balance) {
    if (balance.isInNew) return;
    const int rc = velor_32::DeleteTerm(space, terms.Text(i), terms.Posting(i));
    if (rc != velor_32::kBehindLastTerm) Note(rc, &result);  // it is not there: nothing is lost
  });
  return result;
}

}  // namespace recif
