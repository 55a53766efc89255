#include "search/tmthrd_32.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <array>
#include <functional>
#include <set>
#include <string>
#include <vector>

#include "search/posting_cache.h"
#include "search/term_cache.h"
#include "storage/app_context.h"
#include "support/dictionary.h"
#include "utils/utf8_order.h"

namespace {

using Bitarr::TBitList;
using test::Model;
using Quad = std::array<int, 4>;
using Tmthrd_32::kNoLimit;

std::set<int> Numbers(const TBitList& bits) {
  std::set<int> numbers;
  for (int i = 0; i < bits.GetCount(); ++i)
    if (bits.Get(i)) numbers.insert(i + 1);
  return numbers;
}

void Load(const std::set<int>& numbers, TBitList* bits) {
  bits->Clear();
  for (const int n : numbers) bits->Put(n - 1, true);
}

/// A dictionary of few terms with many postings, as an update makes it, and what it holds.
struct TermsTest : testing::Test {
  test::Dictionary dictionary;
  Model model;

  velor_32::TVelorSpace* space() const { return dictionary.space(); }

  void Add(const std::string& term, int mfn, int tag = 200, int occ = 1, int pos = 1) {
    const velor_01::TifpItemPosting posting{mfn, tag, occ, pos};
    ASSERT_EQ(dictionary.Insert(term, posting), 0);
    model[term].insert(posting);
  }

  void Fill(unsigned seed) {
    std::mt19937 random(seed);
    const std::vector<std::string> terms = {"A", "AB", "ABC", "ABD", "ABD E", "B", "ЖУК", "ЖУКИ"};
    for (int i = 0; i < 6000; ++i) {
      const std::string& term = terms[std::min(random() % terms.size(), random() % terms.size())];
      Add(term, static_cast<int>(random() % 900), static_cast<int>(200 + random() % 3),
          static_cast<int>(1 + random() % 2), static_cast<int>(random() % 4));
    }
  }

  [[nodiscard]] std::set<int> Records(const std::function<bool(const std::string&)>& isTerm,
                                      const std::function<bool(const Quad&)>& counts) const {
    std::set<int> records;
    for (const auto& [term, postings] : model)
      for (const auto& p : postings)
        if (isTerm(term) && counts({p.mfn, p.tag, p.occ, p.pos}) && p.mfn > 0) records.insert(p.mfn);
    return records;
  }

  [[nodiscard]] std::set<int> Search(const std::string& operand, const TBitList* candidates = nullptr,
                                     int mfnLimit = kNoLimit, const std::string& db = {}) const {
    TBitList records(40000);
    EXPECT_EQ(Tmthrd_32::TrmPostProc_RangeNew(space(), db, operand, 1, &records, nullptr, nullptr, mfnLimit,
                                              kNoLimit, kNoLimit, candidates),
              0);
    return Numbers(records);
  }
};

const auto kEvery = [](const Quad&) { return true; };

TEST_F(TermsTest, FindsTheTermsOfAnOperand) {
  Fill(1);
  const struct {
    const char* operand;
    std::function<bool(const std::string&)> isTerm;
    std::function<bool(const Quad&)> counts = kEvery;
  } cases[] = {
      {"AB", [](const auto& t) { return t == "AB"; }},
      {"\"ABD E\"", [](const auto& t) { return t == "ABD E"; }},
      {"AB$", [](const auto& t) { return t.starts_with("AB"); }},
      {"\"ABD $\"", [](const auto& t) { return t == "ABD E"; }},
      {"ЖУК$", [](const auto& t) { return t.starts_with("ЖУК"); }},
      {"$", [](const auto&) { return true; }},
      {"AAA$", [](const auto&) { return false; }},
      {"ABA[...]B", [](const auto& t) { return t >= "ABA" && t <= "B"; }},
      {"A[...]ABC", [](const auto& t) { return t >= "A" && t <= "ABC"; }},
      {"A[...]AB$", [](const auto& t) { return t < "AC"; }},
      {"B[...]A", [](const auto&) { return false; }},
      {"C[...]Я", [](const auto& t) { return t > "C"; }},
      {"\"AB\"/(201)", [](const auto& t) { return t == "AB"; }, [](const Quad& q) { return q[1] == 201; }},
      {"\"AB\"/(999)", [](const auto&) { return false; }},
      {"AB@", [](const auto&) { return false; }},  // without a morphology database the sign is a letter
      {"", [](const auto&) { return false; }},
  };
  for (const auto& c : cases) {
    SCOPED_TRACE(c.operand);
    const std::set<int> all = Records(c.isTerm, c.counts);
    EXPECT_EQ(Search(c.operand), all);

    const auto upTo = [&](int limit) { return std::set<int>(all.begin(), all.upper_bound(limit)); };
    EXPECT_EQ(Search(c.operand, nullptr, 300), upTo(300));
    EXPECT_EQ(Search(c.operand, nullptr, 0), upTo(0));
  }
}

TEST_F(TermsTest, CountsPostings) {
  Fill(2);
  const auto count = [&](const char* operand) {
    return Tmthrd_32::FindOperand(space(), operand, true).count;
  };
  EXPECT_EQ(count("\"ABC\"/(200)"), static_cast<int>(model["ABC"].size()));
  EXPECT_EQ(count("NONE"), 0);
  EXPECT_EQ(count("ABC$"), -1);
  EXPECT_EQ(count("A[...]B"), -1);
  EXPECT_EQ(Tmthrd_32::FindOperand(nullptr, "A", true).count, -1);
  EXPECT_EQ(Tmthrd_32::TrmPostProc_Range(nullptr, "", "A", 0, nullptr, nullptr, nullptr, -1, -1, -1, true),
            -1);
}

TEST_F(TermsTest, ReadsFromWhereItWasFound) {
  Fill(8);
  const char* const operands[] = {"AB", "\"AB\"/(201)", "NONE", "AB$"};
  std::vector<Tmthrd_32::FoundOperand> found;
  for (const char* operand : operands) found.push_back(Tmthrd_32::FindOperand(space(), operand, true));
  for (std::size_t i = 0; i < found.size(); ++i) {
    TBitList records;
    Tmthrd_32::TrmPostProc_Range(space(), "", operands[i], 1, &records, nullptr, nullptr, kNoLimit, kNoLimit,
                                 kNoLimit, true, nullptr, &found[i]);
    EXPECT_EQ(Numbers(records), Search(operands[i])) << operands[i];
  }
}

TEST_F(TermsTest, GivesCandidatesOnly) {
  Fill(3);
  std::mt19937 random(3);
  for (const int share : {1, 5, 300, 100000}) {
    std::set<int> wanted;
    for (int mfn = 1; mfn < 900; ++mfn)
      if (random() % static_cast<unsigned>(share) == 0) wanted.insert(mfn);
    TBitList candidates;
    Load(wanted, &candidates);
    for (const char* operand : {"A", "AB", "ЖУК$", "\"A\"/(202)"}) {
      SCOPED_TRACE(operand + std::string(" 1 of ") + std::to_string(share));
      std::set<int> want;
      std::ranges::set_intersection(Search(operand), wanted, std::inserter(want, want.end()));
      EXPECT_EQ(Search(operand, &candidates), want);
      EXPECT_EQ(Search(operand, &candidates, 450), std::set<int>(want.begin(), want.upper_bound(450)));
    }
  }
}

TEST_F(TermsTest, SetsTagsAndOccurrences) {
  Fill(4);
  for (const int tagLimit : {kNoLimit, 201, 0}) {
    TBitList records;
    TBitList tags(1000);
    TBitList occurrences(256);
    Tmthrd_32::TrmPostProc_RangeNew(space(), "", "AB", 4, &records, &tags, &occurrences, kNoLimit, tagLimit,
                                    1);
    std::set<int> want;
    for (const auto& p : model["AB"])
      if ((tagLimit < 0 || p.tag <= tagLimit) && p.occ <= 1 && p.mfn > 0) want.insert(p.mfn);
    EXPECT_EQ(Numbers(records), want) << tagLimit;
    EXPECT_EQ(Numbers(tags).contains(202), tagLimit < 0);
    EXPECT_EQ(Numbers(occurrences), want.empty() ? std::set<int>() : std::set<int>({1}));
  }
}

TEST_F(TermsTest, CollectsQuadruplesOnce) {
  Fill(5);
  Add("ABX", 7, 200, 1, 1);
  Add("ABY", 7, 200, 1, 1);
  TBitList records;
  Load({7, 8, 9, 500}, &records);
  TBitList tags;
  Load({200, 202}, &tags);
  std::set<Quad> want;
  for (const auto& [term, postings] : model)
    for (const auto& p : postings)
      if (term.starts_with("AB") && p.mfn > 0 && records.Get(p.mfn - 1) && p.tag != 201)
        want.insert({p.mfn, p.tag, p.occ, p.pos});

  velor_01::TIntList list;
  ASSERT_EQ(Tmthrd_32::TrmPostCash(space(), "AB$", &records, &tags, nullptr, &list), 0);
  std::vector<Quad> got;
  for (int i = 0; i + 3 < list.GetCount(); i += 4)
    got.push_back({list.Get(i), list.Get(i + 1), list.Get(i + 2), list.Get(i + 3)});
  EXPECT_EQ(got, std::vector<Quad>(want.begin(), want.end()));
}

TEST_F(TermsTest, CacheGivesWhatTheDictionaryGives) {
  Fill(6);
  space()->app->useTermCache = true;
  const char* operands[] = {"AB", "AB$", "NONE", "ABD[...]B", "\"A\"/(201)"};
  std::vector<std::set<int>> first;
  for (const char* operand : operands) first.push_back(Search(operand));
  for (int round = 0; round < 2; ++round)
    for (std::size_t i = 0; i < std::size(operands); ++i)
      EXPECT_EQ(Search(operands[i], nullptr, kNoLimit, "db"), first[i]) << operands[i] << round;

  trmcache::TrmCache& cache = *space()->app->termCache;
  EXPECT_TRUE(cache.ContainsTerm("db", "AB"));
  EXPECT_FALSE(cache.ContainsTerm("other", "AB"));
  std::set<int> docs;
  for (const auto& p : model["AB"]) docs.insert(p.mfn);
  EXPECT_EQ(cache.CountDocs("db", "AB"), static_cast<int>(docs.size()));
  EXPECT_EQ(cache.GetResult("db", "NONE", 5), -202);
  EXPECT_FALSE(cache.ContainsTerm("db", "A[...]B"));
  ASSERT_NE(cache.SubTerms("db", "AB\x01"), nullptr);
  EXPECT_EQ(cache.SubTerms("db", "AB\x01")->size(), 4U);

  // What is in memory is not looked for in the dictionary again.
  Add("AB", 5000);
  EXPECT_FALSE(Search("AB", nullptr, kNoLimit, "db").contains(5000));
  EXPECT_TRUE(Search("AB", nullptr, 6000, "db").contains(5000));  // a limited search reads anew
}

TEST_F(TermsTest, ALimitedSearchEntersNoCache) {
  Fill(7);
  space()->app->useTermCache = true;
  EXPECT_FALSE(Search("AB", nullptr, 100, "db").empty());
  EXPECT_EQ(space()->app->termCache->FindTerm("db", "AB"), nullptr);
}

TEST_F(TermsTest, FindsTermsThatDifferInBlanksAtTheEnd) {
  Add("AB ", 3);
  char term[velor_01::kTermBufferSize] = "AB ";
  EXPECT_EQ(Tmthrd_32::isisfindNew(space(), term, "AB ", "", true), 0);
  EXPECT_EQ(Search("\"AB \""), std::set<int>({3}));
  EXPECT_EQ(Search("AB"), std::set<int>());
}

TEST_F(TermsTest, WalksThroughTenIndexes) {
  // The terms of "B" lie in three indexes, one of them empty.
  dictionary.MakeIndexes({"A", "B1", "B3", "B5", "C", "D", "E", "F", "G"});
  Add("A", 1);
  Add("B2", 2);
  Add("B6", 3);
  Add("Z", 4);
  EXPECT_EQ(Search("B$"), std::set<int>({2, 3}));
  EXPECT_EQ(Search("AA[...]Y"), std::set<int>({2, 3}));
  EXPECT_EQ(Search("$"), std::set<int>({1, 2, 3, 4}));
}

TEST_F(TermsTest, LongPrefixFindsLongTerms) {
  const std::string longest(255, 'Q');
  Add(longest, 9);
  EXPECT_EQ(Search(std::string(300, 'Q') + "$"), std::set<int>({9}));
  EXPECT_EQ(Search(std::string(300, 'Q')), std::set<int>({9}));
}

TEST(QuadrupleTest, SetsBitsOfTheLevelAskedFor) {
  velor_01::TIntList list;
  for (const int n : {2, 200, 1, 5, 2, 200, 3, 1, 2, 210, 1, 9, 4, 200, 2, 3, 9, 1, 1, 1}) list.Add(n);
  const struct {
    const char* why;
    int limit, mfn, tag, occ, index;
    unsigned char op;
    std::set<int> want;
  } cases[] = {
      {"records", -1, 0, 0, 0, 0, 1, {2, 4, 9}},
      {"records up to a limit", 4, 0, 0, 0, 0, 1, {2, 4}},
      {"nothing", 0, 0, 0, 0, 0, 1, {}},
      {"tags", -1, 2, 0, 0, 0, 3, {200, 210}},
      {"no such record", -1, 3, 0, 0, 0, 3, {}},
      {"occurrences", -1, 2, 200, 0, 0, 4, {1, 3}},
      {"a position", -1, 2, 200, 1, 0, 6, {5}},
      {"a position less two", -1, 2, 200, 1, 2, 6, {3}},
      {"three downwards", -1, 2, 200, 1, 3, 5, {3, 4, 5}},
      {"not below the first", -1, 2, 200, 3, 3, 5, {1}},
  };
  for (const auto& c : cases) {
    SCOPED_TRACE(c.why);
    TBitList bits;
    Tmthrd_32::TrmPostCashProc(&list, &bits, c.limit, c.mfn, c.tag, c.occ, 0, c.index, c.op);
    EXPECT_EQ(Numbers(bits), c.want);
  }
}

TEST(FlexListTest, ReadsEndings) {
  const struct {
    const char* term;
    const char* rest;
    std::vector<std::string> forms;
  } cases[] = {
      {"КНИГ$А,И, У", "КНИГ", {"КНИГА", "КНИГИ", "КНИГУ"}},
      {"HORSE", "HORSE", {}},
      {"HORSE$", "HORSE", {}},
      {"HORSE$,S", "HORSE", {"HORSE", "HORSES"}},
  };
  for (const auto& c : cases) {
    std::string term = c.term;
    velor_01::TStringList forms;
    Tmthrd_32::InitFlexList(term, &forms);
    EXPECT_EQ(term, c.rest);
    ASSERT_EQ(forms.GetCount(), static_cast<int>(c.forms.size())) << c.term;
    for (int i = 0; i < forms.GetCount(); ++i) EXPECT_EQ(forms.Get(i), c.forms[static_cast<std::size_t>(i)]);
  }
}

}  // namespace
