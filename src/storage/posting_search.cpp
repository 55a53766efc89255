#include <cstring>
#include <string>

#include "storage/codes.h"
#include "storage/edge.h"
#include "storage/term_read.h"
#include "utils/file_layer.h"

// The search for one posting of a term.

namespace velor_32 {

using velor_01::TifpHeader;
using velor_01::TifpItemPosting;
using velor_01::TifpSpecial;
using velor_01::TSpaceTrm;

namespace {

constexpr int kBehindSegment = -1;
constexpr std::int64_t kHeadSize = sizeof(TifpHeader);

/// Reads slot `place`, from 0, of a segment or of a special block.
bool ReadSlot(const TSpaceTrm& index, std::int64_t offset, int place, int size, char* slot) {
  return utils::ReadAt(index.ifp, offset + kHeadSize + std::int64_t{place} * size, slot,
                       static_cast<std::size_t>(size));
}

/// Walks a chain from its first segment: 1 found, 0 not.
int FindInChain(TVelorSpace* space, std::int64_t offset, const TifpItemPosting& posting) {
  TSpaceTrm* index = CurrentIndex(space);
  for (velor_01::CircleGuard chain; chain.Passes(offset);) {
    TifpHeader head;
    if (!ReadSegmentHead(index->ifp, offset, &head)) return kNoInvertedFile;
    bool found = false;
    const int rc = findposting_in_segment(space, offset, posting, &found);
    if (rc < kBehindSegment) return rc;
    if (found) return 1;
    if (head.nextHigh == velor_01::kLastSegment) return 0;
    offset = NextSegment(head);
  }
  return kNoInvertedFile;
}

/// Searches a segment under a special block, and those that follow it as long as they begin at or below the
/// posting: a segment is divided before the special block knows of its new half.
int FindFromSegment(TVelorSpace* space, std::int64_t* offset, const TifpItemPosting& posting, bool* found) {
  const TSpaceTrm& index = *CurrentIndex(space);
  for (velor_01::CircleGuard chain; chain.Passes(*offset);) {
    const int place = findposting_in_segment(space, *offset, posting, found);
    TifpHeader head;
    if (place != kBehindSegment || !ReadSegmentHead(index.ifp, *offset, &head) ||
        head.nextHigh == velor_01::kLastSegment)
      return place;
    char slot[velor_01::PostingSize(true)];
    TifpItemPosting first;
    const std::int64_t next = NextSegment(head);
    if (!ReadSegmentHead(index.ifp, next, &head) || head.used < 1 ||
        !ReadSlot(index, next, 0, velor_01::PostingSize(space->isFullText), slot) ||
        !DecodePosting(slot, space->isFullText, &first) || backup::ComparePostings(first, posting) > 0)
      return place;
    *offset = next;
  }
  return kNoInvertedFile;
}

}  // namespace

int findposting_in_segment(TVelorSpace* space, std::int64_t offset, const TifpItemPosting& posting,
                           bool* found) {
  *found = false;
  TSpaceTrm* index = CurrentIndex(space);
  TifpHeader head;
  if (!index || !ReadSegmentHead(index->ifp, offset, &head)) return kNoInvertedFile;
  const int size = velor_01::PostingSize(space->isFullText);
  char slot[velor_01::PostingSize(true)];
  int low = 1;
  int high = head.used;
  while (low <= high) {
    const int middle = low + (high - low) / 2;
    TifpItemPosting there;
    if (!ReadSlot(*index, offset, middle - 1, size, slot) || !DecodePosting(slot, space->isFullText, &there))
      return kNoInvertedFile;
    const int order = backup::ComparePostings(there, posting);
    *found |= order == 0;
    if (order < 0) {
      low = middle + 1;
    } else {
      high = middle - 1;
    }
  }
  return low > head.used ? kBehindSegment : low;
}

int findposting_in_special_segment(TVelorSpace* space, std::int64_t* offset, const TifpItemPosting& posting,
                                   bool* found) {
  *found = false;
  TSpaceTrm* index = CurrentIndex(space);
  TifpHeader head;
  if (!index || !ReadSegmentHead(index->ifp, *offset, &head) || head.used < 1) return kNoInvertedFile;
  const int size = velor_01::SpecialSize(space->isFullText);
  char slot[velor_01::SpecialSize(true)];
  // The last segment that begins at or before the posting; the first one when there is none.
  int low = 1;
  int high = head.used;
  while (low < high) {
    const int middle = low + (high - low + 1) / 2;
    TifpSpecial entry;
    if (!ReadSlot(*index, *offset, middle - 1, size, slot) || !DecodeSpecial(slot, space->isFullText, &entry))
      return kNoInvertedFile;
    if (backup::ComparePostings(entry.posting, posting) <= 0) {
      low = middle;
    } else {
      high = middle - 1;
    }
  }
  TifpSpecial entry;
  if (!ReadSlot(*index, *offset, low - 1, size, slot) || !DecodeSpecial(slot, space->isFullText, &entry) ||
      entry.offset < 1)
    return kNoInvertedFile;
  *offset = entry.offset;
  return FindFromSegment(space, offset, posting, found);
}

int VelorFindPosting(TVelorSpace* space, const char* term, const TifpItemPosting& posting) {
  if (!space || !term) return kNoSpace;
  return AtEdge([&] {
    char key[velor_01::kTermBufferSize] = {};
    std::strncpy(key, term, sizeof key - 1);
    const int rc = Velorfind0(space, key, false);
    if (rc != kOk) return rc <= kNoInvertedFile ? rc : 0;
    TSpaceTrm* index = CurrentIndex(space);
    std::int64_t offset = CurrentTermOffset(*index);
    TifpHeader head;
    if (!ReadSegmentHead(index->ifp, offset, &head)) return kNoInvertedFile;
    if (head.nextHigh != velor_01::kSpecialMark) return FindInChain(space, offset, posting);
    bool found = false;
    const int place = findposting_in_special_segment(space, &offset, posting, &found);
    if (place < kBehindSegment) return place;
    return found ? 1 : 0;
  });
}

}  // namespace velor_32
