#pragma once

#include <cstdint>
#include <string>

#include "maint/file_window.h"
#include "storage/term_files.h"

namespace velora {

/// Looks at the posting chains of one `.ifp` file: heads and postings are what they should be, postings
/// ascend, and there are as many as the first head says. Memory is two windows, whatever the files say. All
/// the segments of sound chains together cannot be larger than the file, so that one that runs in a circle
/// ends, and chains that lead into each other cost no more than one pass.
class PostingCheck {
 public:
  /// `end` is where the part of the file in use ends.
  PostingCheck(int ifp, std::int64_t end, bool isFullText);

  /// The chain that begins at `offset` is in order.
  [[nodiscard]] bool IsSound(std::int64_t offset);

  /// Bytes that were gone through for chains that are not: there is no bound to them.
  [[nodiscard]] std::int64_t wasted() const { return wasted_; }

 private:
  bool ReadHead(std::int64_t offset, velor_01::TifpHeader* head);
  bool TakeSpace(std::int64_t offset, const velor_01::TifpHeader& head, int slotSize);
  bool CheckPostings(std::int64_t offset, const velor_01::TifpHeader& head);
  bool CheckSpecialBlock(std::int64_t offset, const velor_01::TifpHeader& head);
  bool CheckChain(std::int64_t offset, std::int64_t total);
  bool ReadSpecial(std::int64_t block, std::int32_t number, velor_01::TifpSpecial* special);

  FileWindow window_;
  FileWindow specials_;  // for special blocks, which are read in turn with the segments they name
  std::int64_t room_;    // bytes that no chain has taken yet
  std::int64_t wasted_ = 0;
  bool isFullText_;
  std::string last_;  // posting before, as in the file; empty before the first
};

}  // namespace velora
