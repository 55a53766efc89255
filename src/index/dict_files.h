#pragma once

#include <string>

#include "storage/velor_space.h"

/// The files of a dictionary that is being built, beside those in use (storage/term_swap.h).
///
/// A set is three files; the main set has the plain names, the additional ones "_1" to "_10" behind the
/// extension. While a set is made, each of its files has one more "_" at the end.
namespace velora {

constexpr int kMainSet = 0;

/// Names of the files in the making; `spill` is where the postings of a term go that are too many for memory.
struct NewSet {
  NewSet(const std::string& termPath, int part);
  std::string ifp;
  std::string l01;
  std::string n01;
  std::string spill;
};

/// Sorted terms of part k of a split file.
[[nodiscard]] std::string PartFile(const std::string& directory, const std::string& termPath, int part);

/// Cuts a sorted file into ten part files in `directory` and makes `<term path>.inv_`, the nine terms that
/// separate them. Each part gets the same number of terms.
/// Result 1; 0, and no files, when the file has fewer than ten terms; -400 when a file is not read or
/// written; -999.
int SplitLkFile(velor_01::TVelorSpace* space, const std::string& lk1, const std::string& directory);

/// Makes the new files of a set without terms. False when one is not written.
[[nodiscard]] bool MakeEmptySet(const std::string& termPath, int part);

/// Removes what a build left in the making.
void RemoveNewFiles(const std::string& termPath);

}  // namespace velora
