#pragma once

#include <string_view>

#include "storage/term_files.h"

/// Searching the dictionary and reading postings. Terms are UTF-8, at most 255 bytes, ordered by code points.
/// A `term` argument is a buffer of kTermBufferSize bytes with a zero-terminated text; it is overwritten with
/// the term that was found.
///
/// No function here takes a lock: a block that a writer is changing at this moment fails its checks, and the
/// result is then -401.
namespace velor_32 {

/// Finds a term. Trailing bytes below 33 do not count.
/// Result: 0 found; -202 not found, `term` is the next greater one ("" in an empty dictionary); -203 behind
/// the last term, which `term` then is; -204 below the first term of the first additional index; -401
/// inverted file missing or damaged; -100 without a space. The postings of the term found are ready to be
/// read; a term whose postings are damaged is found and has none, which Velorinitpost tells.
int Velorfind(TVelorSpace* space, char* term);

/// The same for a term as it stands. `followNext` false stays on the leaf where the term would be inserted.
int Velorfind0(TVelorSpace* space, char* term, bool followNext);

/// Step to the next term, or the one before. Result 0; -203 behind the last, -204 before the first (`term` is
/// "" then); -401.
int Velornxtterm(TVelorSpace* space, char* term);
int Velorprevterm(TVelorSpace* space, char* term);

/// Goes to the first posting of the current term. Result 0, -401, or -202 when a special block leads nowhere.
int Velorinitpost(TVelorSpace* space);
/// Takes the next posting. Result 0; -401 at the end, too.
int Velornxtpost(TVelorSpace* space);
/// Field n of the current posting, 1 to 8: mfn, tag, occ, pos and the four of a full-text database; -401
/// without one.
[[nodiscard]] int Velorposting(const TVelorSpace* space, int n);
/// Postings of the current term.
[[nodiscard]] int Velornposts(const TVelorSpace* space);

/// Whether this very posting of the term exists: 1, 0, or an error.
int VelorFindPosting(TVelorSpace* space, const char* term, const velor_01::TifpItemPosting& posting);

/// Binary search in a block. `index` receives the first key not below the search key, at most `count`; the
/// result compares the key there with the search key.
int findterm_in_block(const velor_01::TTermBlock& block, std::string_view key, int* index);

/// Binary search in a segment: the place, from 1, at which the posting is or belongs; `found` says which. -1
/// when it lies behind all of them, -401 on failure.
int findposting_in_segment(TVelorSpace* space, std::int64_t offset, const velor_01::TifpItemPosting& posting,
                           bool* found);
/// The same from a special block: `offset` is its place and receives that of the segment.
int findposting_in_special_segment(TVelorSpace* space, std::int64_t* offset,
                                   const velor_01::TifpItemPosting& posting, bool* found);

/// Offset of the segment that the current key leads to.
[[nodiscard]] std::int64_t CurrentTermOffset(const velor_01::TSpaceTrm& index);

}  // namespace velor_32
