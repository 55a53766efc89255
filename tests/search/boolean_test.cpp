// Steps and whole expressions over a small dictionary whose places are told in the table below.

#include <gtest/gtest.h>

#include <string>

#include "search/rang_search.h"
#include "search/search18.h"
#include "storage/process.h"
#include "support/dictionary.h"
#include "support/format_installation.h"
#include "support/list_contents.h"
#include "support/open_space.h"

namespace {

using velor_01::TIntList;
using velor_01::TStringList;

std::string Numbers(const TIntList& list) {
  std::string shown;
  for (const int number : list.Items()) shown += (shown.empty() ? "" : " ") + std::to_string(number);
  return shown;
}

/// Terms with their postings: record, tag, occurrence, position.
class Catalogue : public test::Dictionary {
 public:
  Catalogue() {
    Put("A", {{1, 200, 1, 1}, {2, 200, 1, 1}, {3, 200, 1, 1}, {4, 200, 1, 5}, {5, 200, 1, 2}});
    Put("B", {{2, 200, 1, 2}, {3, 200, 2, 1}, {4, 210, 1, 1}, {5, 200, 1, 1}, {6, 200, 1, 1}});
    Put("C", {{3, 200, 1, 3}, {6, 200, 1, 2}, {7, 300, 1, 1}});
    Put("K=X+Y", {{8, 1, 1, 1}});
  }
  std::string Search(const std::string& expression, bool reverse = false) const {
    TIntList result;
    EXPECT_EQ(Search18::FreeVelorSearchNew(space(), expression, &result, reverse), 0);
    return Numbers(result);
  }

 private:
  void Put(const char* term, const std::vector<test::TifpItemPosting>& postings) const {
    for (const auto& posting : postings) EXPECT_EQ(Insert(term, posting), 0);
  }
};

TEST(BooleanSearch, FindsRecords) {
  const Catalogue catalogue;
  const struct {
    const char* why;
    const char* expression;
    const char* want;
  } cases[] = {
      {"nothing asked", "", ""},
      {"a term", "A", "1 2 3 4 5"},
      {"no such term", "NONE", ""},
      {"or", "A + C", "1 2 3 4 5 6 7"},
      {"or with nothing", "NONE + C", "3 6 7"},
      {"and", "A * B", "2 3 4 5"},
      {"and of three", "A * B * C", "3"},
      {"and with nothing", "A * NONE * B", ""},
      {"and not", "A ^ B", "1"},
      {"and not of nothing", "A ^ NONE", "1 2 3 4 5"},
      {"nothing and not", "NONE ^ A", ""},
      {"all later ones go", "A ^ C ^ B", "1"},
      {"no first operand", "^ A", "1 2 3 4 5"},
      {"the same field", "A (G) B", "2 3 5"},
      {"the same occurrence", "A (F) B", "2 5"},
      {"near, in any order", "A . B", "2 5"},
      {"too far apart", "A . C", ""},
      {"three within three", "A . B . C", ""},
      {"field operators of one operand", "(G) A", "1 2 3 4 5"},
      {"a group makes a field operator take away", "(A + B) (F) C", "1 2 4 5"},
      {"also behind a term", "A (G) (B * C)", "1 2 4 5"},
      {"groups", "(A + B) * (C + NONE)", "3 6"},
      {"a group is taken away", "A ^ (B + C)", "1"},
      {"from a group a term and a group", "(A + B) ^ C ^ (A * B)", "1"},
      {"groups and terms in an and", "A * (B + C) * B", "2 3 4 5"},
      {"an empty group's result", "(NONE) * A", ""},
      {"quoted", "\"K=X+Y\" + \"C\"", "3 6 7 8"},
      {"steps by number", "A * B + #1", "2 3 4 5"},
      {"the same step twice", "A * B + #1 * #1", "2 3 4 5"},
      {"a step that is none", "#7 + C", "3 6 7"},
      {"a word with the mark of steps", "#X", ""},
      {"open ends", "((A * \"C", "3"},
  };
  for (const auto& c : cases) {
    SCOPED_TRACE(c.why);
    EXPECT_EQ(catalogue.Search(c.expression), c.want);
  }
  EXPECT_EQ(catalogue.Search("A * B", true), "5 4 3 2");
}

TEST(BooleanSearch, TakesWildExpressions) {
  const Catalogue catalogue;
  EXPECT_EQ(catalogue.Search(test::Repeat("A+", 10000) + "C"), "1 2 3 4 5 6 7");
  EXPECT_EQ(catalogue.Search(test::Repeat("A*B^NONE*", 3000) + "A"), "2 3 4 5");
  EXPECT_EQ(catalogue.Search(test::Repeat("A . ", 1000) + "B"), "2 5");
  EXPECT_EQ(catalogue.Search(test::Repeat("(", 50000) + "C" + test::Repeat(")", 50000)), "3 6 7");
  EXPECT_EQ(catalogue.Search(test::Repeat("(A*", 5000) + "C"), "3");
}

TEST(BooleanSearch, RunsSingleSteps) {
  const Catalogue catalogue;
  TIntList set;
  for (const int number : {5, 3, 0, -2, 2}) set.Add(number);
  const struct {
    const char* why;
    std::vector<const char*> operands;
    unsigned char op;
    const char* want;
  } cases[] = {
      {"none", {}, 1, ""},
      {"sets alone", {"#1", "#2"}, 0, "2 3 5"},
      {"words in sequence", {"A", "B"}, 6, "2"},
      {"the other way round", {"B", "A"}, 6, "5"},
      {"higher codes are sequence", {"B", "A"}, 200, "5"},
      {"a set and a term", {"C", "#1"}, 1, "3"},
      {"a term but for a set", {"A", "#1"}, 2, "1 4"},
      {"a set but for terms", {"#1", "C", "A"}, 2, ""},
  };
  for (const auto& c : cases) {
    SCOPED_TRACE(c.why);
    TStringList operands;
    for (const char* text : c.operands) operands.AddObject(text, *text == '#' ? &set : nullptr);
    TIntList result;
    EXPECT_EQ(Search18::VelorSearchNew(catalogue.space(), &operands, c.op, 40000, &result), 0);
    EXPECT_EQ(Numbers(result), c.want);
  }
}

TEST(BooleanSearch, NeedsASpaceForTermsOnly) {
  TIntList set;
  set.Add(3);
  TStringList operands;
  operands.AddObject("#1", &set);
  operands.Add("#2");  // without records: passed over
  TIntList result;
  EXPECT_EQ(Search18::VelorSearch_Range(nullptr, &operands, 1, 0, &result), 0);
  EXPECT_EQ(Numbers(result), "3");
  operands.Add("A");
  EXPECT_EQ(Search18::VelorSearch_Range(nullptr, &operands, 1, 0, &result), -1);
  EXPECT_EQ(Search18::FreeVelorSearchNew(nullptr, "A", &result), -1);
  EXPECT_EQ(Search18::VelorFreeVelorSearch(nullptr, "A", &result), -100);
  EXPECT_EQ(result.GetCount(), 0);
}

TEST(BooleanSearch, FindsNothingInDamagedFiles) {
  for (const char* extension : {".n01", ".l01", ".ifp"}) {
    const Catalogue catalogue;
    std::filesystem::resize_file(catalogue.path() + extension, 3);
    for (const char* expression : {"A", "A * B", "A (F) B", "A$ + C", "A[...]C ^ B"})
      EXPECT_EQ(catalogue.Search(expression), "") << extension << " " << expression;
  }
}

TEST(BooleanSearch, LocksAndTakesCp1251) {
  app::SetAppPrefix("s" + std::to_string(getpid()));
  const Catalogue catalogue;
  ASSERT_EQ(catalogue.Insert("ЖУК", {9, 1, 1, 1}), 0);
  TIntList result;
  EXPECT_EQ(Search18::VelorFreeVelorSearch(catalogue.space(), "\xC6\xD3\xCA + C", &result, true, true), 0);
  EXPECT_EQ(Numbers(result), "9 7 6 3");
  unlink(("/dev/shm/" + std::string(app::AppPrefixText()) + "VELOR64_MUTEX").c_str());
  app::SetAppPrefix("");
}

TEST(BitOperations, KeepTheCountsTold) {
  Bitarr::TBitList a(8);
  Bitarr::TBitList b(8);
  TIntList list;
  for (const int number : {1, 64, 65, 130}) b.Put(number - 1, true);
  EXPECT_TRUE(MergeList(&a, &b));
  Search18::BitToIntList(&a, &list);
  EXPECT_EQ(Numbers(list), "1 64 65 130");
  b.Clear();
  b.Put(64, true);
  b.SetCount(100);
  Search18::CrossList(&a, &b);
  EXPECT_EQ(a.GetCount(), 100);
  EXPECT_EQ(Search18::HighestNumber(a), 65);
  EXPECT_TRUE(MergeList(&b, &a));
  EXPECT_EQ(b.GetCount(), 100);
  b.SetCount(200);
  Search18::NotList(&a, &b);
  EXPECT_EQ(a.GetCount(), 100);
  EXPECT_EQ(Search18::HighestNumber(a), 0);
}

TEST(RangSearch, ReadsFlags) {
  const struct {
    const char* flags;
    bool any;
    bool all;
  } cases[] = {{"1", false, true},   {"11", true, true}, {"10", true, true},    {"01", false, false},
               {"101", true, false}, {"", false, true},  {nullptr, false, true}};
  for (const auto& c : cases) {
    EXPECT_EQ(RangSearch::IsSequenceTrue(c.flags, false), c.any) << (c.flags ? c.flags : "null");
    EXPECT_EQ(RangSearch::IsSequenceTrue(c.flags, true), c.all) << (c.flags ? c.flags : "null");
  }
}

TEST(SearchScan, FiltersByAFormat) {
  const test::FormatParts parts;
  const test::TempDir dir;
  test::TestBase()
      .Record({{1, "1"}})
      .Record({{1, "0"}})
      .Record({{1, "01"}})
      .Record({{1, "010"}})
      .Record({{1, "1"}}, 1, 1)  // deleted
      .Record({{1, "1"}, {2, "x"}})
      .WriteTo(dir.File("d"));
  const test::Context context = test::MakeContext();
  const velor_32::SpacePointer space = test::OpenSpace(context.get(), dir.File("d"));
  const struct {
    const char* why;
    const char* format;
    int result;
    const char* want;
  } cases[] = {
      {"no format", "", 0, "9 6 5 4 3 2 1 0"},
      {"one flag, and rows whose last does not count", "v1", 0, "6 4 1"},
      {"a condition", "if p(v2) then '1' fi", 0, "6"},
      {"empty output", "v3", 0, ""},
  };
  for (const auto& c : cases) {
    SCOPED_TRACE(c.why);
    TIntList list;
    for (int mfn = 9; mfn >= 0; --mfn)
      if (mfn < 7 || mfn == 9) list.Add(mfn);
    EXPECT_EQ(SearchScan(space.get(), c.format, &list, 0), c.result);
    EXPECT_EQ(Numbers(list), c.want);
    EXPECT_EQ(context->recordCacheOpt, app::RecordCacheOpt::kOption2);
  }
  TIntList list;
  list.Add(1);
  EXPECT_NE(SearchScan(space.get(), "v1(", &list, 0), 0);
  EXPECT_EQ(list.GetCount(), 0);
}

}  // namespace
