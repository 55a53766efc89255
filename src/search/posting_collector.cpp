#include "search/posting_collector.h"

#include <algorithm>
#include <bit>
#include <cstring>
#include <limits>
#include <utility>

#include "search/posting_cache.h"
#include "storage/app_context.h"
#include "storage/term_files.h"
#include "utils/endian.h"

namespace Tmthrd_32 {

namespace {

constexpr std::int32_t kNoRecord = 0;
constexpr std::int32_t kGrowth = 8192;  // bits that a list of records gets beyond those it needs

std::int32_t Word(const char* posting, std::size_t i) {
  return static_cast<std::int32_t>(utils::LoadBe32(posting + 4 * i));
}

/// What no sound posting is: a negative record number or position.
bool IsDamaged(const char* posting) {
  return (Word(posting, 0) | Word(posting, 3)) < 0;
}

void SetBit(TBitList* bits, std::int32_t number) {
  if (bits != nullptr && number > 0) bits->Put(number - 1, true);
}

/// The first posting from `i` on that is not of a record below `mfn`: in steps that double, then halve, so
/// that near ones cost little and far ones are reached without reading those between.
std::size_t Gallop(std::span<const char> postings, std::size_t size, std::size_t i, std::int32_t mfn) {
  const std::size_t count = postings.size() / size;
  const auto isBelow = [&](std::size_t k) {
    return utils::LoadBe32(postings.data() + k * size) < static_cast<std::uint32_t>(mfn);
  };
  if (i >= count || !isBelow(i)) return i;
  std::size_t low = i;  // is below
  std::size_t step = 1;
  while (low + step < count && isBelow(low + step)) {
    low += step;
    step *= 2;
  }
  std::size_t high = std::min(low + step, count);
  while (high - low > 1) {
    const std::size_t middle = low + (high - low) / 2;
    (isBelow(middle) ? low : high) = middle;
  }
  return high;
}

}  // namespace

PostingCollector::PostingCollector(TVelorSpace* space, Wanted wanted)
    : space_(space),
      wanted_(std::move(wanted)),
      postingSize_(static_cast<std::size_t>(velor_01::PostingSize(space->isFullText))),
      hasPages_(CollectsPages(space)) {
  isPlain_ = wanted_.tags.empty() && !wanted_.tagBits && !wanted_.occBits && !wanted_.places &&
             !wanted_.tagsOf && !wanted_.occsOf && !hasPages_;
  if (wanted_.mfnBits) highest_ = wanted_.mfnBits->GetCount();
}

bool PostingCollector::PassesTag(std::int32_t tag) const {
  if (!wanted_.tags.empty() && std::ranges::find(wanted_.tags, tag) == wanted_.tags.end()) return false;
  if (wanted_.tagBits && wanted_.tagLimit >= 0 && tag > wanted_.tagLimit) return false;
  return !wanted_.tagsOf || wanted_.tagsOf->Get(tag - 1);
}

bool PostingCollector::Passes(const Quadruple& place) const {
  if (!PassesTag(place.tag)) return false;
  if (wanted_.occBits && wanted_.occLimit >= 0 && place.occ > wanted_.occLimit) return false;
  return !wanted_.occsOf || wanted_.occsOf->Get(place.occ - 1);
}

/// The first candidate from `mfn` on that is not behind the limit; kNoRecord when there is none.
std::int32_t PostingCollector::NextCandidate(std::int64_t mfn) const {
  const auto bytes = wanted_.candidates->Bytes();
  std::size_t at = static_cast<std::size_t>(mfn - 1) / 8;
  if (mfn < 1 || at >= bytes.size()) return kNoRecord;
  std::uint8_t byte = static_cast<std::uint8_t>(bytes[at] & (0xFF >> ((mfn - 1) & 7)));
  if (byte == 0) {
    ++at;
    for (std::uint64_t word = 0; at + sizeof word <= bytes.size(); at += sizeof word) {
      std::memcpy(&word, &bytes[at], sizeof word);
      if (word != 0) break;
    }
    while (at < bytes.size() && bytes[at] == 0) ++at;
    if (at == bytes.size()) return kNoRecord;
    byte = bytes[at];
  }
  const auto found = static_cast<std::int32_t>(at * 8) + std::countl_zero(byte) + 1;
  return IsBehindLimit(found) ? kNoRecord : found;
}

void PostingCollector::SetRecord(std::int32_t mfn) {
  if (mfn < 1) return;
  TBitList& bits = *wanted_.mfnBits;
  if (mfn > bits.GetCount()) {
    const std::int32_t most = std::numeric_limits<std::int32_t>::max() - kGrowth;
    if (!bits.SetCount(std::min(mfn, most) + kGrowth) && !bits.SetCount(mfn)) return;
  }
  bits.Bytes()[static_cast<std::size_t>(mfn - 1) >> 3] |= static_cast<std::uint8_t>(0x80 >> ((mfn - 1) & 7));
  highest_ = std::max(highest_, mfn);
}

void PostingCollector::Take(const Quadruple& place) {
  if (wanted_.mfnBits) SetRecord(place.mfn);
  SetBit(wanted_.tagBits, place.tag);
  SetBit(wanted_.occBits, place.occ);
  if (wanted_.places && place.mfn > 0 && place.tag > 0 && place.occ > 0) wanted_.places->push_back(place);
}

/// Takes a posting of a record that is wanted. False for a damaged one.
bool PostingCollector::TakePosting(const char* posting) {
  if (IsDamaged(posting)) return false;
  const Quadruple place{Word(posting, 0), Word(posting, 1), Word(posting, 2), Word(posting, 3)};
  if (hasPages_ && !AddPage(space_, place.mfn, place.tag, Word(posting, kPageField - 1))) return true;
  if (Passes(place)) Take(place);
  return true;
}

/// False when the term is to end here: behind the limit, or at damage.
bool PostingCollector::TakeAll(std::span<const char> postings) {
  for (std::size_t at = 0; at < postings.size(); at += postingSize_) {
    const char* const posting = postings.data() + at;
    if (IsBehindLimit(Word(posting, 0)) || !TakePosting(posting)) return false;
  }
  return true;
}

/// The same where nothing but the record counts: the common case, and the one that reads most.
bool PostingCollector::TakeRecords(std::span<const char> postings) {
  const std::uint32_t limit = wanted_.mfnLimit >= 0 ? static_cast<std::uint32_t>(wanted_.mfnLimit)
                                                    : std::numeric_limits<std::int32_t>::max();
  std::int32_t last = kNoRecord;
  for (std::size_t at = 0; at < postings.size(); at += postingSize_) {
    const char* const posting = postings.data() + at;
    const std::int32_t mfn = Word(posting, 0);
    if (static_cast<std::uint32_t>(mfn) > limit || Word(posting, 3) < 0) return false;
    if (mfn == last) continue;
    SetRecord(mfn);
    last = mfn;
  }
  return true;
}

/// Takes the postings of candidates only, going from one candidate to the next.
void PostingCollector::TakeCandidates(velor_32::PostingBlocks& blocks) {
  for (std::int32_t want = NextCandidate(1); want != kNoRecord;) {
    const std::span<const char> postings = blocks.Next(want);
    const std::size_t count = postings.size() / postingSize_;
    if (count == 0) return;
    for (std::size_t i = 0; want != kNoRecord;) {
      i = Gallop(postings, postingSize_, i, want);
      if (i == count) break;
      const char* const posting = postings.data() + i * postingSize_;
      if (Word(posting, 0) != want) {
        if (IsDamaged(posting)) return;
        want = NextCandidate(Word(posting, 0));
        continue;
      }
      if (!TakePosting(posting)) return;
      if (isPlain_) want = NextCandidate(std::int64_t{want} + 1);
      ++i;
    }
  }
}

void PostingCollector::TakeTerm(velor_32::PostingBlocks& blocks) {
  if (wanted_.candidates) return TakeCandidates(blocks);
  const bool takesRecords = isPlain_ && wanted_.mfnBits != nullptr;
  for (;;) {
    const std::span<const char> postings = blocks.Next();
    if (postings.empty()) return;
    if (!(takesRecords ? TakeRecords(postings) : TakeAll(postings))) return;
  }
}

bool PostingCollector::TakeCurrent(const velor_01::TifpItemPosting& posting) {
  if (IsBehindLimit(posting.mfn)) return false;
  if (wanted_.candidates && !wanted_.candidates->Get(posting.mfn - 1)) return true;
  const Quadruple place{posting.mfn, posting.tag, posting.occ, posting.pos};
  if (hasPages_ && !AddPage(space_, place.mfn, place.tag, posting.page)) return true;
  if (Passes(place)) Take(place);
  return true;
}

void PostingCollector::Finish() {
  if (wanted_.mfnBits) wanted_.mfnBits->SetCount(highest_);
}

}  // namespace Tmthrd_32
