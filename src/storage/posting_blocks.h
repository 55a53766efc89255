#pragma once

#include <cstdint>
#include <span>
#include <vector>

#include "storage/term_files.h"

/// The postings of a term, segment by segment, as they lie in the file.
///
/// Velornxtpost gives postings one by one. A search that reads millions takes them from here: the caller
/// decodes straight from the bytes of the file, and says from which record on it wants to go on, so that
/// segments before it are passed over by the first record of each, unread.
namespace velor_32 {

class PostingBlocks {
 public:
  explicit PostingBlocks(TVelorSpace* space) : space_(space) {}

  /// Goes to the first segment of the term that the last search or step found.
  /// Result: postings of the term as its first head tells; 0 for none, also where they are damaged.
  int Start();

  /// The same for a term whose offset an earlier search gave (CurrentTermOffset).
  int StartAt(std::int64_t offset);

  /// Bytes of the next segment that has postings, a whole number of them; empty behind the last one and where
  /// the chain is damaged. Segments that only have records below `mfn` are passed over, where that can be
  /// told. The bytes are good until the next call; a writer may be changing them.
  [[nodiscard]] std::span<const char> Next(std::int32_t mfn = 0);

 private:
  [[nodiscard]] const char* Bytes(std::int64_t offset, std::size_t len, std::vector<char>& copy) const;
  [[nodiscard]] bool ReadHead(std::int64_t offset, velor_01::TifpHeader* head);
  [[nodiscard]] bool EndsBelow(std::int32_t mfn);
  [[nodiscard]] bool Ascends(const char* postings);
  [[nodiscard]] std::int64_t EntryOffset(std::size_t i) const;
  void JumpTowards(std::int32_t mfn);
  void FollowEntries();

  TVelorSpace* space_;
  velor_01::TSpaceTrm* index_ = nullptr;
  std::size_t postingSize_ = 0;
  std::size_t entrySize_ = 0;
  std::int64_t next_ = 0;  // offset of the segment to come, below 1 for none
  velor_01::CircleGuard chain_;
  const char* entries_ = nullptr;                 // of the special block
  std::size_t entryCount_ = 0;                    // 0 without one
  std::size_t entry_ = 0;                         // the last one that lies at or before next_
  char first_[velor_01::PostingSize(true)] = {};  // posting of the last segment given
  // Without a map of the file the bytes are read here.
  std::vector<char> headCopy_;
  std::vector<char> entryCopy_;
  std::vector<char> postingCopy_;
};

}  // namespace velor_32
