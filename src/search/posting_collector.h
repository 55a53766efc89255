#pragma once

#include <cstdint>
#include <span>
#include <tuple>
#include <vector>

#include "search/tmthrd_32.h"
#include "storage/posting_blocks.h"

namespace Tmthrd_32 {

/// A place at which a term stands, as the third pass of a search compares it.
struct Quadruple {
  std::int32_t mfn = 0;
  std::int32_t tag = 0;
  std::int32_t occ = 0;
  std::int32_t pos = 0;

  friend bool operator==(const Quadruple&, const Quadruple&) = default;
  friend bool operator<(const Quadruple& a, const Quadruple& b) {
    return std::tie(a.mfn, a.tag, a.occ, a.pos) < std::tie(b.mfn, b.tag, b.occ, b.pos);
  }
};

/// What a walk over postings wants, and where it puts it. Pointers that are null are not wanted.
struct Wanted {
  TBitList* mfnBits = nullptr;
  TBitList* tagBits = nullptr;
  TBitList* occBits = nullptr;
  std::vector<Quadruple>* places = nullptr;  // with record, tag and occurrence above 0

  int mfnLimit = kNoLimit;
  int tagLimit = kNoLimit;  // counts with tagBits only
  int occLimit = kNoLimit;  // counts with occBits only
  const TBitList* candidates = nullptr;
  const TBitList* tagsOf = nullptr;  // a posting with a tag or occurrence outside these is passed over
  const TBitList* occsOf = nullptr;
  std::vector<int> tags;  // of the qualification
};

/// Takes the postings of one term after the other. The bit lists grow in steps while it works and have their
/// true count after Finish.
class PostingCollector {
 public:
  PostingCollector(TVelorSpace* space, Wanted wanted);

  /// Takes the postings of a term from the file.
  void TakeTerm(velor_32::PostingBlocks& blocks);

  /// Takes the current posting of the space. False when no further one of the term can count.
  bool TakeCurrent(const velor_01::TifpItemPosting& posting);

  void Finish();

 private:
  [[nodiscard]] bool IsBehindLimit(std::int32_t mfn) const {
    return wanted_.mfnLimit >= 0 && mfn > wanted_.mfnLimit;
  }
  [[nodiscard]] bool PassesTag(std::int32_t tag) const;
  [[nodiscard]] bool Passes(const Quadruple& place) const;
  [[nodiscard]] std::int32_t NextCandidate(std::int64_t mfn) const;
  [[nodiscard]] bool TakePosting(const char* posting);
  [[nodiscard]] bool TakeAll(std::span<const char> postings);
  [[nodiscard]] bool TakeRecords(std::span<const char> postings);
  void TakeCandidates(velor_32::PostingBlocks& blocks);
  void Take(const Quadruple& place);
  void SetRecord(std::int32_t mfn);

  TVelorSpace* space_;
  Wanted wanted_;
  std::size_t postingSize_;
  bool isPlain_;              // only the records are wanted, whatever else the postings hold
  bool hasPages_;             // pages are collected on the way
  std::int32_t highest_ = 0;  // record in mfnBits
};

}  // namespace Tmthrd_32
