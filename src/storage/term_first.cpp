#include "storage/term_first.h"

#include <algorithm>
#include <cstring>
#include <string>

#include "storage/codes.h"
#include "utils/string_list.h"

namespace velor_32 {

int FindFirstTerm(TVelorSpace* space, char* term) {
  if (!space || !term) return kNoSpace;
  int rc = Velorfind0(space, term, true);
  for (int k = space->termIndex; rc == kTermNotFound && *term == '\0'; ++k) {
    if (k < 1 || k >= velor_01::kMaxTermIndexes) return kBehindLastTerm;
    // This index is empty. The next begins behind the separator.
    std::string next = space->termSeparators->Get(k - 1);
    next.resize(std::min<std::size_t>(next.size(), velor_01::kLongestTerm - 1));
    std::memset(term, 0, velor_01::kTermBufferSize);
    next.append(1, velor_01::kLowestKey).copy(term, velor_01::kLongestTerm);
    rc = Velorfind0(space, term, true);
  }
  if (rc == kBehindLastTerm) rc = Velornxtterm(space, term);
  return rc == kTermNotFound || rc == kBelowFirstTerm ? kOk : rc;
}

}  // namespace velor_32
