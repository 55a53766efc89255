#pragma once

#include "storage/term_read.h"

namespace velor_32 {

/// Finds the first term not below `term`, also where it lies in a later one of ten additional indexes, and
/// some of these are empty. `term` is a buffer as in term_read.h. Result 0, also when the term itself is not
/// there; -203 when there is none; -401, -100.
int FindFirstTerm(TVelorSpace* space, char* term);

}  // namespace velor_32
