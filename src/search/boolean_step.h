#pragma once

#include <memory>
#include <span>
#include <string>
#include <utility>
#include <vector>

#include "search/tmthrd_32.h"
#include "storage/velor_space.h"
#include "utils/bit_list.h"

namespace Search18 {

/// Codes of the operators that combine records; near_terms.h has the others.
constexpr int kOrOp = 0;
constexpr int kAndOp = 1;
constexpr int kAndNotOp = 2;

/// An operand of a step: a term, or the set of records that an earlier step found.
struct StepOperand {
  std::string term;
  std::shared_ptr<const Bitarr::TBitList> set;  // null for a term
};

/// Runs one step of a search. An object serves one step.
///
/// Sets are combined first, for they need no reading; then the terms, for an AND the one with fewest postings
/// first. What was found so far bounds what is read of the terms that follow. (G), (F) and the distance
/// operators find the records that have all terms, and then look at the postings of these records alone.
class BooleanStep {
 public:
  ///   op      code of the operator, 0 to 6. Above 2 it is read as AND NOT when an operand is a set: a set
  ///           does not tell where in a record its terms stand
  ///   bits    size of the bit lists at first, in records
  ///   useNew  terms that end in "@" are expanded
  BooleanStep(velor_01::TVelorSpace* space, int op, int bits, bool useNew);

  /// Result 0, -1 when a term is to be read without a space, -100 without memory, or the failure of a read.
  int Run(std::span<const StepOperand> operands);

  /// The records found. To be called once, after a run with result 0.
  [[nodiscard]] std::unique_ptr<Bitarr::TBitList> TakeFound() { return std::move(found_.records); }

 private:
  using BitList = std::unique_ptr<Bitarr::TBitList>;
  using Terms = std::vector<const std::string*>;
  using FoundTerm = std::pair<Tmthrd_32::FoundOperand, const std::string*>;

  /// Bits of records, and of tags and occurrences where the operator compares them.
  struct Bits {
    BitList records;
    BitList tags;
    BitList occurrences;
  };

  [[nodiscard]] Bits MakeBits(bool withPlaces) const;
  [[nodiscard]] bool IsSettled() const;
  bool CombineSet(const Bitarr::TBitList& set, bool isFirst);
  int CombineTerms(const Terms& terms, bool beginsWithTerm);
  int FindAny(const Terms& terms);
  int FindDifference(const Terms& terms, bool beginsWithTerm);
  int FindCommon(const Terms& terms);
  int KeepTogether(const Terms& terms);
  [[nodiscard]] std::vector<FoundTerm> RarestFirst(const Terms& terms) const;
  int Read(const std::string& term, const Bits& into, const Tmthrd_32::FoundOperand* found = nullptr);
  int ReadAndCross(const FoundTerm& term);

  velor_01::TVelorSpace* space_;
  int op_;
  int bits_;
  bool useNew_;
  std::string database_;
  Bits found_;              // by the operands so far; for AND NOT first what is to be taken away
  bool isBounded_ = false;  // the result lies within found_
  Bits current_;            // of the term in hand
};

}  // namespace Search18
