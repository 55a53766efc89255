#include "search/facet_search.h"

#include <algorithm>
#include <string_view>

#include "index/facet_cells.h"
#include "storage/codes.h"
#include "storage/edge.h"
#include "storage/term_first.h"
#include "utils/mfn_tag_list.h"

namespace Search18 {

using ExtList::TMfnTagList;
using velor_01::TIntList;
using velor_01::TSortType;
using velor_01::TStringList;
using velor_01::TVelorSpace;
using velor_32::kOk;

namespace {

/// Adds (value, 1) for each pair of a record.
bool CollectValues(const TMfnTagList& cell, const TIntList& records, TMfnTagList* counts) {
  for (int i = 0; i < records.GetCount(); ++i) {
    const int mfn = records.Get(i);
    int at = 0;
    if (!cell.Find(mfn, true, &at)) continue;
    for (; at < cell.GetCount() && cell.Get(at).mfn == mfn; ++at)
      if (!counts->AddItem(cell.Get(at).tag, 1)) return false;
  }
  return true;
}

/// Adds up equal values of a sorted list into another one.
bool AddUp(const TMfnTagList& values, TMfnTagList* totals) {
  for (const ExtList::TMfnTag& item : values.Items()) {
    const int last = totals->GetCount() - 1;
    const bool isSame = last >= 0 && totals->Get(last).mfn == item.mfn;
    if (!(isSame ? totals->IncTag(last) : totals->Add(item))) return false;
  }
  return true;
}

/// The text of a value, from its term in the dictionary. Result 0, -202 without one, -401.
int FindText(TVelorSpace* space, const std::string& key, std::string* text) {
  char term[velor_01::kTermBufferSize] = {};
  key.copy(term, sizeof term - 1);
  int rc = velor_32::FindFirstTerm(space, term);
  while (rc == kOk && std::string_view(term).starts_with(key) && velor_32::Velornposts(space) == 0)
    rc = velor_32::Velornxtterm(space, term);
  if (rc == velor_32::kNoInvertedFile) return rc;
  if (rc != kOk || !std::string_view(term).starts_with(key)) return velor_32::kTermNotFound;
  *text = std::string_view(term).substr(key.size());
  return kOk;
}

int PutCommonest(TVelorSpace* space, const std::string& prefix, const TMfnTagList& totals, int limit,
                 TStringList* out) {
  for (int i = 0; i < std::min(limit, totals.GetCount()); ++i) {
    const ExtList::TMfnTag total = totals.Get(i);
    std::string text;
    const int rc = FindText(space, velora::CellTermKey(prefix, total.mfn), &text);
    if (rc == velor_32::kTermNotFound) continue;
    if (rc != kOk) return rc;
    if (!out->AddObject(std::string_view(prefix + text), total.tag)) return velor_32::kNoMemory;
  }
  return kOk;
}

int SearchOneCell(TVelorSpace* space, int number, const std::string& prefix, const TIntList& records,
                  int limit, bool descending, TStringList* out) {
  TMfnTagList cell;
  cell.SetDuplicate(true);
  TMfnTagList values;
  values.SetDuplicate(true);
  if (int rc = cell.LoadFromFileCellIndex(velora::CellFile(space, number).c_str(), true); rc != kOk)
    return rc;
  cell.Sort();
  TMfnTagList totals;
  if (!CollectValues(cell, records, &values)) return velor_32::kNoMemory;
  values.Sort();
  if (!AddUp(values, &totals)) return velor_32::kNoMemory;
  totals.SortByTag(descending ? TSortType::down : TSortType::up);
  return PutCommonest(space, prefix, totals, limit, out);
}

}  // namespace

int SearchCell(TVelorSpace* space, const TIntList* records, TStringList* out, int limit,
               const std::string& prefix, bool descending) {
  if (!velor_32::IsOpen(space) || records == nullptr || out == nullptr) return velor_32::kNoSpace;
  return velor_32::AtEdge([&] {
    TStringList prefixes;
    velora::LoadCellPrefixes(space, &prefixes);
    for (int i = 0; i < prefixes.GetCount(); ++i) {
      const std::string each = prefixes.Get(i);
      if (!prefix.empty() && each != prefix) continue;
      if (int rc = SearchOneCell(space, i + 1, each, *records, limit, descending, out); rc != kOk) return rc;
    }
    return kOk;
  });
}

int SearchCells(TVelorSpace* space, const TIntList* records, TStringList* out, int limit) {
  return SearchCell(space, records, out, limit, "", true);
}

}  // namespace Search18
