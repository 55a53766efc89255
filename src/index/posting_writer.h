#pragma once

#include <cstdint>
#include <memory>
#include <string>

#include "index/build_files.h"
#include "storage/term_format.h"

namespace velora {

/// Gathers the postings of one term after the other and writes them to `.ifp`, packed.
///
/// Up to 255 postings lie in one segment. More of them begin with a special block: `used` entries, then zero
/// entries up to `capacity`, then the segments one behind the other. A segment has room for
/// S = ((count - 1) / 32768 + 1) * 4096 bytes, so that a search in a list of any length reads few blocks.
///
/// Up to a million postings are held in memory; what a term has beyond that goes to the spill file and is
/// read back at the end of the term.
class PostingWriter {
 public:
  PostingWriter(bool isFullText, std::string spillPath);
  ~PostingWriter();
  PostingWriter(const PostingWriter&) = delete;
  PostingWriter& operator=(const PostingWriter&) = delete;

  /// Creates the file. False when it does not open.
  [[nodiscard]] bool Create(const std::string& ifp);

  enum class Added { kYes, kFalling, kSpillFailed };

  /// Adds a posting of the current term. One that equals the last is dropped.
  /// kFalling: it belongs before the last. An exception are postings of one record with negative numbers,
  /// which the sort orders by their digits: they are put in their place.
  [[nodiscard]] Added Add(const velor_01::TifpItemPosting& posting);

  [[nodiscard]] bool hasPostings() const { return count_ > 0; }

  /// Writes the postings of the term and begins a new one. Gives the offset of its first segment, -1 when
  /// they could not be read back or are too many.
  [[nodiscard]] std::int64_t EndTerm();

  /// Writes the control record. False when anything was not written.
  [[nodiscard]] bool Finish(std::int32_t nodeCount, std::int32_t leafCount);

 private:
  [[nodiscard]] char* slot(std::int64_t i) const { return block_.get() + i * size_; }
  [[nodiscard]] Added PlaceBackwards(const char* image, const velor_01::TifpItemPosting& posting);
  [[nodiscard]] bool Spill();
  [[nodiscard]] bool ReadPosting(std::int64_t index, char* to) const;
  [[nodiscard]] bool CopyPostings(std::int64_t from, std::int64_t count);
  [[nodiscard]] bool WriteSegment(std::int64_t from, std::int64_t count, std::int64_t next);
  [[nodiscard]] bool WriteSpecial(std::int64_t count);
  void WriteHead(const velor_01::TifpHeader& head);

  const int size_;  // bytes of a posting
  const bool isFullText_;
  const std::string spillPath_;
  BuildFile ifp_;
  int spillFile_ = -1;
  std::unique_ptr<char[]> block_;
  std::int64_t count_ = 0;    // postings in the block
  std::int64_t spilled_ = 0;  // before them in the spill file
};

}  // namespace velora
