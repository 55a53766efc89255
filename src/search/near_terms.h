#pragma once

#include <array>
#include <cstdint>
#include <vector>

#include "utils/bit_list.h"
#include "utils/int_list.h"

namespace Search18 {

/// Codes of the operators that compare more than records, as the evaluation knows them.
constexpr int kSameFieldOp = 3;
constexpr int kSameOccurrenceOp = 4;
constexpr int kNearOp = 5;      // in any order, within as many positions as there are terms
constexpr int kSequenceOp = 6;  // in the written order, one behind the other

/// Finds where all the terms of a step stand together as the operator wants it. The terms are added one by
/// one, so that memory is needed for one term and for what the terms before it have in common.
///
/// A term stands at a place: record, tag and, from (F) on, occurrence. For the distance operators each of its
/// positions there further stands for the starts at which a stretch of the occurrence would have the term
/// where the operator wants it. Terms stand together where they share a start.
///
/// Tmthrd_32::TrmPostCashProc reads the same levels for one record at a time, from the postings of all terms
/// at once and with a bit for each position. The result is equal; here one pass over the postings gives it,
/// and neither a position out of range nor a step of many terms costs memory.
class CommonPlaces {
 public:
  CommonPlaces(int terms, int op) : terms_(terms), op_(op) {}

  /// Adds the next term of the step. `postings`: quadruples (record, tag, occurrence, position), one behind
  /// the other, ascending, every number but the position above 0.
  void Add(const velor_01::TIntList& postings);

  /// Replaces the contents of `records` by the records with a common place. False when memory runs out.
  bool CopyRecords(Bitarr::TBitList* records) const;

 private:
  using Place = std::array<std::int32_t, 3>;
  /// Starts from `first` to `last`, counted from 0, at a place.
  struct Starts {
    Place place;
    std::int64_t first;
    std::int64_t last;
  };
  using List = std::vector<Starts>;  // ascending, without overlaps

  [[nodiscard]] Starts StartsOf(const std::int32_t* posting) const;
  [[nodiscard]] List ReadStarts(const velor_01::TIntList& postings) const;
  static List Intersect(const List& a, const List& b);

  int terms_;
  int op_;
  int added_ = 0;
  List common_;
};

}  // namespace Search18
