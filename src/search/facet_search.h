#pragma once

#include <string>

#include "storage/velor_space.h"
#include "utils/int_list.h"
#include "utils/string_list.h"

/// Counting the facet values of a list of records (index/facet_cells.h).
namespace Search18 {

/// Adds the commonest values of the cell with this prefix to `out`: the item is prefix and text of the value,
/// its number the count in the records. "" stands for all cells, one after the other.
///   records     record numbers in any order; each occurrence counts
///   limit       values of each cell at most, 0 or less gives none
///   descending  the greatest count first, else the smallest; equal counts by the number of the value
/// A cell without file adds nothing; a value whose term is not in the dictionary takes its place in the limit
/// and is passed over. Result 0; -100 without a space or memory; -401 for a damaged dictionary.
int SearchCell(velor_01::TVelorSpace* space, const velor_01::TIntList* records, velor_01::TStringList* out,
               int limit, const std::string& prefix, bool descending);

/// The same over all cells, the greatest count first.
int SearchCells(velor_01::TVelorSpace* space, const velor_01::TIntList* records, velor_01::TStringList* out,
                int limit);

}  // namespace Search18
