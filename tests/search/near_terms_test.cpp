// Places in common, found by intervals, beside the plain reading of the operators: level by level, a bit for
// each number.

#include "search/near_terms.h"

#include <gtest/gtest.h>

#include <deque>
#include <random>
#include <set>
#include <tuple>
#include <vector>

#include "search/bit_operations.h"
#include "search/tmthrd_32.h"

namespace {

using Bitarr::TBitList;
using velor_01::TIntList;

using Terms = std::deque<TIntList>;

constexpr int kRecords = 30;

void FillWithPostings(TIntList& postings, std::mt19937& random) {
  std::set<std::tuple<int, int, int, int>> places;
  const auto upTo = [&](unsigned n) { return 1 + static_cast<int>(random() % n); };
  for (int n = upTo(150); n > 0; --n) places.insert({upTo(kRecords), upTo(3), upTo(3), upTo(20) - 1});
  for (const auto& [mfn, tag, occ, pos] : places)
    for (const int number : {mfn, tag, occ, pos}) postings.Add(number);
}

/// Reads the terms of a step level by level.
class Levels {
 public:
  Levels(const Terms& terms, int op) : terms_(terms), op_(op) {}

  [[nodiscard]] bool Keeps(int mfn) const {
    for (const int tag : Common(mfn, 0, 0))
      if (op_ == Search18::kSameFieldOp || KeepsTag(mfn, tag)) return true;
    return false;
  }

 private:
  [[nodiscard]] bool KeepsTag(int mfn, int tag) const {
    for (const int occ : Common(mfn, tag, 0))
      if (op_ == Search18::kSameOccurrenceOp || !Common(mfn, tag, occ).empty()) return true;
    return false;
  }

  [[nodiscard]] std::vector<int> Common(int mfn, int tag, int occ) const {
    TBitList common;
    for (std::size_t i = 0; i < terms_.size(); ++i) {
      const std::size_t index = op_ == Search18::kNearOp ? terms_.size() : i;
      TBitList own;
      Tmthrd_32::TrmPostCashProc(&terms_[i], &own, -1, mfn, tag, occ, 0, static_cast<int>(index),
                                 static_cast<unsigned char>(op_));
      if (i == 0) {
        common.Assign(own);
      } else {
        Search18::CrossList(&common, &own);
      }
    }
    TIntList numbers;
    Search18::BitToIntList(&common, &numbers);
    return {numbers.Items().begin(), numbers.Items().end()};
  }

  const Terms& terms_;
  int op_;
};

TEST(NearTerms, AgreeWithThePlainReading) {
  int kept[Search18::kSequenceOp + 1] = {};
  for (unsigned seed = 0; seed < 300; ++seed) {
    std::mt19937 random(seed);
    Terms terms;
    for (auto n = 2 + random() % 3; n > 0; --n) FillWithPostings(terms.emplace_back(), random);
    for (int op = Search18::kSameFieldOp; op <= Search18::kSequenceOp; ++op) {
      Search18::CommonPlaces places(static_cast<int>(terms.size()), op);
      for (const TIntList& postings : terms) places.Add(postings);
      TBitList found;
      ASSERT_TRUE(places.CopyRecords(&found));
      const Levels levels(terms, op);
      for (int mfn = 1; mfn <= kRecords; ++mfn) {
        kept[op] += found.Get(mfn - 1);
        EXPECT_EQ(found.Get(mfn - 1), levels.Keeps(mfn)) << "seed " << seed << " op " << op << " mfn " << mfn;
      }
    }
  }
  for (int op = Search18::kSameFieldOp; op <= Search18::kSequenceOp; ++op) EXPECT_GT(kept[op], 50) << op;
}

}  // namespace
