#pragma once

#include <cstdint>
#include <string>
#include <string_view>
#include <vector>

#include "storage/term_format.h"
#include "storage/velor_space.h"
#include "utils/file_layer.h"
#include "utils/file_map.h"
#include "utils/int_list.h"

/// The files of the inverted file, opened and closed, and their structures read and written. A database has
/// one main index, or ten additional ones beside an empty main index: `<path>.inv` with exactly nine lines
/// holds the terms that separate `<path>.n01_1` ... `_10`. Searching is in term_read.h, changing in
/// term_update.h.
namespace velor_01 {

/// Notices that a walk along a chain of offsets runs in a circle, within a few rounds of it.
class CircleGuard {
 public:
  /// False when the walk has been at `offset` before.
  [[nodiscard]] bool Passes(std::int64_t offset) {
    if (offset == mark_) return false;
    if (++steps_ < limit_) return true;
    mark_ = offset;  // the distance between marks doubles, until a circle fits between two
    steps_ = 0;
    limit_ *= 2;
    return true;
  }

 private:
  std::int64_t mark_ = -1;
  std::int64_t steps_ = 0;
  std::int64_t limit_ = 1;
};

/// An open term index and the place that the last search found.
struct TSpaceTrm {
  int n01 = -1;
  int l01 = -1;
  int ifp = -1;
  std::string path;    // with the suffix of an additional index
  std::string suffix;  // "" or "_<k>", behind the extensions
  TTermBlock nodeBlock;
  TTermBlock leafBlock;
  std::int32_t root = 0;
  TifpHeader segment;  // that the current posting lies in
  std::int64_t segmentOffset = 0;
  CircleGuard chain;  // of the segments met since the first posting
  TifpItemPosting posting;
  std::int32_t postIndex = -1;  // of the next posting in the segment, from 1; -1 without one
  std::int32_t postCount = 0;   // of the term
  bool isLoaded = false;        // `postings` holds the segment
  TIntList trail;               // block numbers and positions from the root to the leaf
  std::vector<char> postings;   // of the segment, as in the file
  utils::FileMap ifpMap;        // of `ifp`, made by a reader of whole segments
};

}  // namespace velor_01

namespace velor_32 {

/// Opens the indexes for reading, or for reading and writing. Result 0, -100, or -401 when a file does not
/// open.
int Velorinitterm(TVelorSpace* space, const char* path);
int Velorinitterm_write(TVelorSpace* space, const char* path);

/// Closes the term files and forgets their path.
void Velorcloseterm(TVelorSpace* space);

/// Closes one index and clears the pointer.
void CloseTermIndex(velor_01::TSpaceTrm*& index);

/// Closes the term files; the path stays, for a later return from lazy mode.
void CloseTermFiles(TVelorSpace* space);

/// The index that holds a term: 0 is the main one, 1 to 10 an additional one. The space keeps the number for
/// the calls that follow.
int VelorGetTermInvIndex(TVelorSpace* space, std::string_view term);

/// The index that the last call chose; null when it is not open.
[[nodiscard]] velor_01::TSpaceTrm* CurrentIndex(const TVelorSpace* space);

/// True when ten additional indexes are open.
[[nodiscard]] bool HasAdditionalIndexes(const TVelorSpace* space);

/// Reads block `number` of a file. False for a short read, a damaged block, or one with another number than
/// its own (the first block of `.n01` has the root's there).
[[nodiscard]] bool ReadTermBlock(int file, std::int32_t number, bool isInner, velor_01::TTermBlock* block);
[[nodiscard]] bool WriteTermBlock(int file, std::int32_t number, const velor_01::TTermBlock& block);

/// Reads or writes the head of a segment.
[[nodiscard]] bool ReadSegmentHead(int file, std::int64_t offset, velor_01::TifpHeader* head);
[[nodiscard]] bool WriteSegmentHead(int file, std::int64_t offset, const velor_01::TifpHeader& head);

/// Where the next segment of the chain lies.
[[nodiscard]] inline std::int64_t NextSegment(const velor_01::TifpHeader& head) {
  return backup::MakeInt64(static_cast<std::uint32_t>(head.nextLow),
                           static_cast<std::uint32_t>(head.nextHigh));
}

/// Converts one posting from its file form, and back. False for a posting that cannot be.
[[nodiscard]] bool DecodePosting(const char* from, bool isFullText, velor_01::TifpItemPosting* posting);
void EncodePosting(const velor_01::TifpItemPosting& posting, bool isFullText, char* to);
[[nodiscard]] bool DecodeSpecial(const char* from, bool isFullText, velor_01::TifpSpecial* special);
void EncodeSpecial(const velor_01::TifpSpecial& special, bool isFullText, char* to);

}  // namespace velor_32
