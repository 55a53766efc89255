#pragma once

#include <algorithm>
#include <array>
#include <cstdint>

#include "storage/record_format.h"
#include "utils/file_layer.h"

namespace velor_32 {

/// Reads the entries of records `first` to `last` of one cross-reference file in large blocks and gives each,
/// in host order, to visit(mfn, entry), mfn being the number within the file, until that returns false.
/// Result: the number of the first entry that was not given; last + 1 when all were. The file may end before.
template <class Visit>
std::int64_t VisitXrfEntries(int xrfFile, std::int64_t first, std::int64_t last, Visit&& visit) {
  constexpr std::int64_t kBlockEntries = 3200;
  std::array<velor_01::TNew_Xrf, kBlockEntries> block;
  while (first <= last) {
    const std::int64_t wanted = std::min(kBlockEntries, last - first + 1);
    const std::int64_t bytes = utils::ReadSomeAt(xrfFile, velor_01::kXrfEntrySize * (first - 1), block.data(),
                                                 static_cast<std::size_t>(wanted * velor_01::kXrfEntrySize));
    const std::int64_t got = std::max<std::int64_t>(bytes, 0) / velor_01::kXrfEntrySize;
    for (std::int64_t i = 0; i < got; ++i) {
      velor_01::TNew_Xrf& entry = block[static_cast<std::size_t>(i)];
      backup::ntoh_velor_struct(&entry, backup::kXrfStruct);
      if (!visit(static_cast<int>(first + i), entry)) return first + i;
    }
    first += got;
    if (got < wanted) break;
  }
  return first;
}

}  // namespace velor_32
