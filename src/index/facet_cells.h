#pragma once

#include <string>
#include <string_view>

#include "storage/maintenance_context.h"
#include "storage/velor_space.h"
#include "utils/string_list.h"

/// Facet cells: for each chosen prefix of terms a file that maps records to numbered values, so that the
/// values of a list of hits are counted without the dictionary.
///
///   <db>.cells      one prefix a line; cell k, from 1, belongs to line k of the sorted list
///   <db><k>.cell    pairs (mfn, value), sorted by mfn, see utils/mfn_tag_list.h; values count from 1
///   =<prefix><value>=<text>   a term of the dictionary that gives a value its text, with one posting (1, 1,
///                             1, 1); at most 253 bytes
///
/// All of it is made from the dictionary as it stands and can be made anew at any time. Terms of records that
/// change later are not followed.
namespace velora {

/// The prefixes, sorted; empty when there is no <db>.cells.
void LoadCellPrefixes(const velor_01::TVelorSpace* space, velor_01::TStringList* prefixes);

/// Path of the file of cell `cell`, from 1.
[[nodiscard]] std::string CellFile(const velor_01::TVelorSpace* space, int cell);

/// What the term of a value begins with.
[[nodiscard]] std::string CellTermKey(std::string_view prefix, int value);

/// Builds all cells: the files are written anew, the terms of values that are no more leave the dictionary,
/// new ones enter it. A term becomes a value when it has more postings than MAX_POSTINGS_NUMBER_IN_CELL and
/// its text behind the prefix more characters than MAX_LENGTH_CELL_TERM (section Main, defaults 0 and 2) and
/// no blank in front. Each posting of it makes a pair.
/// Takes the lock of the database, and releases it before the dictionary changes. Failures stand in the log.
/// Result 0, also without prefixes; -300 when the database is locked; -401 for a damaged dictionary; -404
/// when a file is not written; -999 on a stop request; and what failed in the dictionary.
int VelorCreateCells(VelorAContext* ctx, velor_01::TVelorSpace* space);
/// Removes the files of all cells, and the terms of their values from the dictionary; the list of prefixes
/// stays. Results as above.
int VelorDeleteCells(VelorAContext* ctx, velor_01::TVelorSpace* space);

/// After a new dictionary took the place of the old, which the cells were made from: removes their files, and
/// builds them anew with CREATE_CELLS_ON_IF_REORGANIZATION above 0. It does not matter in how many sets and
/// by how many processes the dictionary was loaded. Results as above.
int RenewCells(VelorAContext* ctx, velor_01::TVelorSpace* space);

}  // namespace velora
