#include "search/boolean_step.h"

#include <algorithm>
#include <limits>

#include "search/bit_operations.h"
#include "search/near_terms.h"
#include "search/tmthrd_32.h"
#include "storage/codes.h"
#include "storage/master_file.h"

namespace Search18 {

using Bitarr::TBitList;

namespace {

constexpr int kNoSpaceForTerm = -1;
constexpr int kTagBits = 1000;
constexpr int kOccurrenceBits = 256;

/// Limit for reading: nothing beyond the highest number of the list counts.
int LimitOf(const TBitList* bits) {
  return bits == nullptr ? Tmthrd_32::kNoLimit : HighestNumber(*bits);
}

bool IsEmpty(const TBitList* bits) {
  return bits != nullptr && HighestNumber(*bits) == 0;
}

}  // namespace

BooleanStep::BooleanStep(velor_01::TVelorSpace* space, int op, int bits, bool useNew)
    : space_(space), op_(std::clamp(op, kOrOp, kSequenceOp)), bits_(bits), useNew_(useNew) {}

int BooleanStep::Run(std::span<const StepOperand> operands) {
  Terms terms;
  for (const StepOperand& operand : operands)
    if (!operand.set) terms.push_back(&operand.term);
  if (terms.size() < operands.size()) op_ = std::min(op_, kAndNotOp);
  found_ = MakeBits(terms.size() > 1);
  current_ = MakeBits(terms.size() > 1);

  for (const StepOperand& operand : operands)
    if (operand.set && !CombineSet(*operand.set, &operand == operands.data())) return velor_32::kNoMemory;
  if (terms.empty() || IsSettled()) return velor_32::kOk;
  if (space_ == nullptr) return kNoSpaceForTerm;
  database_ = backup::GetDbNameEK(space_);
  return CombineTerms(terms, !operands.front().set);
}

BooleanStep::Bits BooleanStep::MakeBits(bool withPlaces) const {
  Bits made;
  made.records = std::make_unique<TBitList>(bits_);
  if (withPlaces && op_ >= kSameFieldOp) made.tags = std::make_unique<TBitList>(kTagBits);
  if (withPlaces && op_ >= kSameOccurrenceOp) made.occurrences = std::make_unique<TBitList>(kOccurrenceBits);
  return made;
}

/// True when no further operand can add to the result.
bool BooleanStep::IsSettled() const {
  return isBounded_ &&
         (IsEmpty(found_.records.get()) || IsEmpty(found_.tags.get()) || IsEmpty(found_.occurrences.get()));
}

bool BooleanStep::CombineSet(const TBitList& set, bool isFirst) {
  TBitList* found = found_.records.get();
  const bool isBound = op_ == kAndOp || (op_ == kAndNotOp && isFirst);
  if (isBound && !isBounded_) {
    isBounded_ = true;
    return found->Assign(set);
  }
  if (!isBounded_) return MergeList(found, &set);
  if (op_ == kAndOp) {
    CrossList(found, &set);
  } else {
    NotList(found, &set);
  }
  return true;
}

int BooleanStep::CombineTerms(const Terms& terms, bool beginsWithTerm) {
  if (op_ == kOrOp) return FindAny(terms);
  if (op_ == kAndNotOp) return FindDifference(terms, beginsWithTerm);
  return FindCommon(terms);
}

int BooleanStep::FindAny(const Terms& terms) {
  for (const std::string* term : terms)
    if (const int rc = Read(*term, found_); rc < 0) return rc;
  return velor_32::kOk;
}

int BooleanStep::FindDifference(const Terms& terms, bool beginsWithTerm) {
  for (std::size_t i = 0; i < terms.size() && !IsSettled(); ++i) {
    current_.records->Clear();
    if (const int rc = Read(*terms[i], current_); rc < 0) return rc;
    // Sets behind a first term have been gathered, to be taken away from it.
    if (i == 0 && beginsWithTerm) {
      std::swap(found_, current_);
      isBounded_ = true;
    }
    NotList(found_.records.get(), current_.records.get());
  }
  return velor_32::kOk;
}

int BooleanStep::FindCommon(const Terms& terms) {
  for (const FoundTerm& term : RarestFirst(terms)) {
    if (IsSettled()) break;
    if (const int rc = ReadAndCross(term); rc < 0) return rc;
  }
  if (IsSettled()) {
    found_.records->Clear();
    return velor_32::kOk;
  }
  return op_ >= kSameFieldOp && terms.size() > 1 ? KeepTogether(terms) : velor_32::kOk;
}

/// Operands of many terms come last: they must be read to be counted, and cost least within narrow bounds.
std::vector<BooleanStep::FoundTerm> BooleanStep::RarestFirst(const Terms& terms) const {
  std::vector<FoundTerm> ordered;
  for (const std::string* term : terms)
    ordered.emplace_back(Tmthrd_32::FindOperand(space_, *term, useNew_), term);
  const auto rank = [](const FoundTerm& term) {
    return term.first.count < 0 ? std::numeric_limits<int>::max() : term.first.count;
  };
  std::ranges::stable_sort(ordered, {}, rank);
  return ordered;
}

int BooleanStep::Read(const std::string& term, const Bits& into, const Tmthrd_32::FoundOperand* found) {
  const TBitList* bounds = isBounded_ ? found_.records.get() : nullptr;
  return Tmthrd_32::TrmPostProc_Range(
      space_, database_, term, op_, into.records.get(), into.tags.get(), into.occurrences.get(),
      LimitOf(bounds), LimitOf(bounds ? found_.tags.get() : nullptr),
      LimitOf(bounds ? found_.occurrences.get() : nullptr), useNew_, bounds, found);
}

int BooleanStep::ReadAndCross(const FoundTerm& term) {
  if (!isBounded_) {
    const int rc = Read(*term.second, found_, &term.first);
    isBounded_ = true;
    return rc;
  }
  for (const BitList* bits : {&current_.records, &current_.tags, &current_.occurrences})
    if (*bits) (*bits)->Clear();
  if (const int rc = Read(*term.second, current_, &term.first); rc < 0) return rc;
  CrossList(found_.records.get(), current_.records.get());
  if (found_.tags) CrossList(found_.tags.get(), current_.tags.get());
  if (found_.occurrences) CrossList(found_.occurrences.get(), current_.occurrences.get());
  return velor_32::kOk;
}

/// Leaves the records in which the terms have a place in common; each term narrows the records for the next.
int BooleanStep::KeepTogether(const Terms& terms) {
  CommonPlaces places(static_cast<int>(terms.size()), op_);
  velor_01::TIntList postings;
  for (std::size_t i = 0; i < terms.size() && !IsSettled(); ++i) {
    postings.Clear();
    const int rc = Tmthrd_32::TrmPostCash(space_, *terms[i], found_.records.get(), found_.tags.get(),
                                          found_.occurrences.get(), &postings);
    if (rc < 0) return rc;
    places.Add(postings);
    if (!places.CopyRecords(found_.records.get())) return velor_32::kNoMemory;
  }
  return velor_32::kOk;
}

}  // namespace Search18
