#pragma once

#include <string>

#include "storage/velor_space.h"

/// The files of a dictionary that is being built, and the moment when they take the place of the old ones.
///
/// A set is three files; the main set has the plain names, the additional ones "_1" to "_10" behind the
/// extension. While a set is made, each of its files has one more "_" at the end. Readers that have the old
/// files open go on reading them: new files come by renaming.
namespace velora {

constexpr int kMainSet = 0;

/// "", or "_<k>" for additional set k.
[[nodiscard]] std::string SetSuffix(int part);

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

/// Lets new sets take the place of the dictionary in use: the main one, or the ten with their separators.
/// A crash in between leaves the old dictionary, the new one, or an empty one, never a mixture; the next
/// build mends it. Result 0 or -401.
int PutInPlace(const std::string& termPath, bool isSplit);

/// Removes what a build left in the making.
void RemoveNewFiles(const std::string& termPath);

}  // namespace velora
