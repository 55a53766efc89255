// Which record of the database a new one is merged with.

#include "exchange/record_merger.h"

#include <gtest/gtest.h>

#include "storage/codes.h"
#include "storage/record_lock.h"
#include "support/indexed_database.h"
#include "support/memory_space.h"

namespace {

using test::Fields;
using velora::RecordMerger;
using Outcome = RecordMerger::Outcome;

constexpr int kNewSlot = 0;
constexpr int kMergedSlot = 1;

class RecordMergerTest : public testing::Test, public test::IndexedDatabase {
 protected:
  RecordMergerTest() {
    Write("datai/blank/blank.fst", "1 0 'I='v10\n");
    Write("datai/deposit/bykey.pft", "'I='v10/'I=one'");
    space_ = Open();
    for (const std::string& key : {std::string("one"), std::string("erased"), std::string("gone"), kLong}) {
      velor_32::Velornewrec(space_.get(), 0);
      test::SetFields(space_.get(), 0, {{10, key}});
      Store(space_.get(), true);
    }
    Delete(space_.get(), 2);  // the index does not know yet
    EXPECT_EQ(velor_32::VelorRecPhysDelTime(space_.get(), 3, 5), 0);
  }

  Outcome Merge(RecordMerger& merger, const Fields& fields) {
    velor_32::Velornewrec(space_.get(), kNewSlot);
    test::SetFields(space_.get(), kNewSlot, fields);
    return merger.Merge(kNewSlot);
  }

  const std::string kLong = test::Repeat("ё", 200);  // twice as many bytes, more than a term has
  velor_32::SpacePointer space_;
};

TEST_F(RecordMergerTest, Partners) {
  const Fields one = {{10, "ONE"}, {20, "x"}};
  const struct {
    const char* why;
    const char* words;
    Fields fields;
    Outcome outcome;
    int mfn, error;
  } rows[] = {
      {"by a term in any case", "'I='v10", one, Outcome::kMerged, 1, 0},
      {"nothing new", "'I='v10", {{10, "one"}}, Outcome::kUnchanged, 1, 0},
      {"no such term", "'I='v10", {{10, "on"}}, Outcome::kNoPartner, 0, 0},
      {"no output", "v11", one, Outcome::kNoPartner, 0, 0},
      {"an empty first line", "#,'I='v10", one, Outcome::kNoPartner, 0, 0},
      {"the first line only", "'I='v10/'I=two'", one, Outcome::kMerged, 1, 0},
      {"a failing format", "'I='v10,&nosuch('')", one, Outcome::kNoPartner, 0, 0},
      {"a format file", "bykey", one, Outcome::kMerged, 1, 0},
      {"a term longer than terms are", "'I='v10", {{10, kLong}, {20, "x"}}, Outcome::kMerged, 4, 0},
      {"a term for all", "@i=one", {{20, "x"}}, Outcome::kMerged, 1, 0},
      {"a number for all", "@@1", {{20, "x"}}, Outcome::kMerged, 1, 0},
      {"a number that is printed", "'@'v30/'I='v10", {{10, "two"}, {30, "1"}}, Outcome::kMerged, 1, 0},
      {"a number that is none", "@@1x", {{20, "x"}}, Outcome::kNoPartner, 0, 0},
      {"below the numbers", "@@-1", {{20, "x"}}, Outcome::kNoPartner, 0, 0},
      {"above the numbers", "@@5", {{20, "x"}}, Outcome::kNoPartner, 5, velor_32::kMfnRange},
      {"logically deleted",
       "'I='v10",
       {{10, "erased"}, {20, "x"}},
       Outcome::kNoPartner,
       2,
       velor_32::kDeleted},
      {"physically deleted",
       "'I='v10",
       {{10, "gone"}, {20, "x"}},
       Outcome::kNoPartner,
       3,
       velor_32::kPhysicallyDeleted},
  };
  for (const auto& row : rows) {
    SCOPED_TRACE(row.why);
    RecordMerger merger(space_.get());
    EXPECT_EQ(merger.Prepare(row.words), 0);
    EXPECT_EQ(Merge(merger, row.fields), row.outcome);
    EXPECT_EQ(merger.mfn(), row.mfn);
    EXPECT_EQ(merger.error(), row.error);
  }
  EXPECT_NE(RecordMerger(space_.get()).Prepare("v10("), 0);
}

TEST_F(RecordMergerTest, ALockedPartnerIsNotWritten) {
  EXPECT_EQ(velor_32::VelorRecLockTime(space_.get(), kNewSlot, 1, 5), 0);
  RecordMerger merger(space_.get());
  EXPECT_EQ(merger.Prepare("@@1"), 0);
  EXPECT_EQ(Merge(merger, {{20, "x"}}), Outcome::kMerged);
  int result = 0;
  int ignored = 0;
  velor_32::VelorRecUpdateTime(space_.get(), kMergedSlot, false, false, 5, &result, &ignored);
  EXPECT_EQ(result, velor_32::kRecordLocked);
}

TEST_F(RecordMergerTest, ADamagedIndexIsNoNewRecord) {
  RecordMerger merger(space_.get());
  EXPECT_EQ(merger.Prepare("'I='v10"), 0);
  const std::string leaves = DatabasePath() + ".l01";
  std::filesystem::resize_file(leaves, 0);
  EXPECT_EQ(Merge(merger, {{10, "one"}, {20, "x"}}), Outcome::kFailed);
  EXPECT_EQ(merger.error(), velor_32::kNoInvertedFile);
}

}  // namespace
