#pragma once

#include <cstdint>
#include <string>
#include <string_view>

#include "index/term_sort.h"
#include "storage/maintenance_context.h"

/// Sorting of a term file of any size within the memory that is allowed: at once, or in pieces, one after the
/// other or by worker processes.
namespace velora {

/// What a sort must know beside its files.
struct SortSettings {
  std::string database;  // for the workers
  bool isFullText = false;
  std::int64_t memoryLimit = TTerms::DefaultMemoryLimit();
};

/// Sorts <inStem>.ln1 into <outStem>.lk1. The output appears when it is whole; the input stays.
/// Result 0; -400 when the input is not read; -516 when the output is not written or the disk is too full;
/// -999 on a stop request; with workers also what ended one of them.
int VelorLnkSort(VelorAContext* ctx, const std::string& inStem, const std::string& outStem,
                 const SortSettings& settings);

/// Sorts a file into another, with pieces in `directory` where they are needed. CheckFreeSpaceSort of section
/// MAIN, if it is not 0, asks for free space of three times the input on the disk of `directory`; "Not enough
/// disk free space" goes to the standard error and the log where there is less. Results as above.
int VelorLnkSort0(VelorAContext* ctx, const std::string& inputFile, const std::string& outputFile,
                  const std::string& directory, const SortSettings& settings);

}  // namespace velora
