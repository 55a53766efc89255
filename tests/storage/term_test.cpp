// The dictionary against a model: random insertions and removals, read back by walking the terms.

#include <gtest/gtest.h>

#include <algorithm>
#include <cstring>
#include <filesystem>
#include <random>

#include "support/dictionary.h"

namespace {

using test::Change;
using test::Dictionary;
using test::Findings;
using test::MakeTerms;
using test::Model;
using test::WithoutEmpty;

TEST(Terms, EqualTheModelAfterEachBatchOfChanges) {
  std::mt19937 random(20261);
  const std::vector<std::string> terms = MakeTerms(random, 3000);
  Dictionary dictionary;
  Model model;
  for (int batch = 0; batch < 8; ++batch) {
    Change(dictionary, model, terms, random, 4000);
    ASSERT_EQ(dictionary.Read(), WithoutEmpty(model)) << batch;
  }
  EXPECT_EQ(Findings(dictionary), "");
}

TEST(Terms, OfFewWordsWithManyPostingsStayInOrder) {
  std::mt19937 random(7);
  Dictionary dictionary;
  Model model;
  Change(dictionary, model, {"A", "B", "C"}, random, 25000);
  EXPECT_EQ(dictionary.Read(), WithoutEmpty(model));
  EXPECT_EQ(Findings(dictionary), "");
}

TEST(Terms, OfAFullTextDatabaseKeepTheirEightFields) {
  std::mt19937 random(12);
  Dictionary dictionary;
  dictionary.MakeFullText();
  std::vector<std::string> terms = MakeTerms(random, 300);
  Model model;
  Change(dictionary, model, terms, random, 6000);
  Change(dictionary, model, {"A", "B"}, random, 6000);
  EXPECT_EQ(dictionary.Read(), WithoutEmpty(model));
  EXPECT_EQ(Findings(dictionary), "");
}

/// Sizes of files that keep none are those of the files.
TEST(Terms, TakeChangesWithoutControlRecord) {
  std::mt19937 random(13);
  Dictionary dictionary;
  dictionary.dir().Write("d.ifp", std::string("\0\0\0\x14", 4) + std::string(16, '\0'));
  std::vector<std::string> terms = MakeTerms(random, 800);
  Model model;
  Change(dictionary, model, terms, random, 6000);
  Change(dictionary, model, {"A"}, random, 3000);
  EXPECT_EQ(dictionary.Read(), WithoutEmpty(model));
  EXPECT_EQ(Findings(dictionary), "");
  const std::string ifp = dictionary.dir().Read("d.ifp");
  EXPECT_EQ(ifp.substr(0, 20), std::string("\0\0\0\x14", 4) + std::string(16, '\0'));
}

TEST(Terms, UnderSpecialBlocksTakeChanges) {
  const std::string fixture = test::SharedData() + "/fixtures/dict/dict";
  if (!std::filesystem::exists(fixture + ".ifp")) GTEST_SKIP() << "no fixtures";
  Dictionary dictionary(fixture);
  Model model = dictionary.Read();
  ASSERT_FALSE(model.empty());
  std::vector<std::string> terms;
  for (const auto& [term, postings] : model) terms.push_back(term);
  std::sort(terms.begin(), terms.end(),
            [&](const auto& a, const auto& b) { return model[a].size() > model[b].size(); });
  std::mt19937 random(3);
  Change(dictionary, model, terms, random, 3000);
  terms.resize(2);
  Change(dictionary, model, terms, random, 6000);
  EXPECT_EQ(dictionary.Read(), WithoutEmpty(model));
  EXPECT_EQ(Findings(dictionary), "");
}

TEST(Terms, AreFoundAsTheirNeighboursSay) {
  Dictionary dictionary;
  const auto find = [&](const char* text) { return dictionary.Find(text); };
  EXPECT_EQ(find("X"), "-202 ");
  for (const char* term : {"B", "D", "Ё"}) velor_32::InsertTerm(dictionary.space(), term, {1, 2, 3, 4});
  const struct {
    const char* term;
    const char* want;
  } cases[] = {{"B", "0 B"}, {"B  ", "0 B"}, {"A", "-202 B"}, {"C", "-202 D"},
               {"D", "0 D"}, {"Ё", "0 Ё"},   {"я", "-203 Ё"}};
  for (const auto& c : cases) EXPECT_EQ(find(c.term), c.want);

  EXPECT_EQ(find("D"), "0 D");
  EXPECT_EQ(dictionary.Previous(), "0 B");
  EXPECT_EQ(dictionary.Previous(), "-204 ");
  EXPECT_EQ(dictionary.Next(), "0 D");

  EXPECT_EQ(velor_32::DeleteTerm(dictionary.space(), "D", {1, 2, 3, 4}), 0);
  EXPECT_EQ(find("D"), "0 D");
  EXPECT_EQ(velor_32::Velornposts(dictionary.space()), 0);
  EXPECT_EQ(velor_32::Velornxtpost(dictionary.space()), -401);
  EXPECT_EQ(velor_32::VelorFindPosting(dictionary.space(), "B", {1, 2, 3, 4}), 1);
  EXPECT_EQ(velor_32::VelorFindPosting(dictionary.space(), "B", {1, 2, 3, 5}), 0);
  EXPECT_EQ(velor_32::VelorFindPosting(dictionary.space(), "D", {1, 2, 3, 4}), 0);
}

// ---- additional indexes ----

const std::vector<std::string> kSeparators = {"C", "E", "G", "I", "K", "M", "O", "Q", "S"};

/// Sets 1, 3 and 10 hold terms, the others are empty.
TEST(AdditionalIndexes, AreWalkedOverTheirBorders) {
  Dictionary dictionary;
  dictionary.MakeIndexes(kSeparators);
  for (const char* term : {"B", "C", "F", "G", "T", "Z"}) ASSERT_EQ(dictionary.Insert(term, {1, 2, 3, 4}), 0);
  const struct {
    const char* term;
    const char* want;
  } cases[] = {{"A", "-204 B"}, {"B", "0 B"},     {"BB", "-202 C"}, {"D", "-202 "},  {"EE", "-202 F"},
               {"F", "0 F"},    {"FF", "-202 G"}, {"SS", "-202 T"}, {"X", "-202 Z"}, {"ZZ", "-203 Z"}};
  for (const auto& c : cases) EXPECT_EQ(dictionary.Find(c.term), c.want) << c.term;

  EXPECT_EQ(dictionary.Find("B"), "0 B");
  for (const char* want : {"0 C", "0 F", "0 G", "0 T", "0 Z", "-203 "}) EXPECT_EQ(dictionary.Next(), want);
  for (const char* want : {"0 T", "0 G", "0 F", "0 C", "0 B", "-204 "})
    EXPECT_EQ(dictionary.Previous(), want);
  EXPECT_EQ(dictionary.Next(), "0 C");
  EXPECT_EQ(dictionary.ReadPostings().size(), 1U);
}

/// The end of the terms is not that of the last set.
TEST(AdditionalIndexes, OfWhichTheLastAreEmptyEndAndTurnBack) {
  Dictionary dictionary;
  dictionary.MakeIndexes(kSeparators);
  for (const char* term : {"F", "G"}) ASSERT_EQ(dictionary.Insert(term, {1, 2, 3, 4}), 0);
  EXPECT_EQ(dictionary.Find("F"), "0 F");
  for (const char* want : {"0 G", "-203 ", "-203 "}) EXPECT_EQ(dictionary.Next(), want);
  for (const char* want : {"0 F", "-204 ", "-204 "}) EXPECT_EQ(dictionary.Previous(), want);
  EXPECT_EQ(dictionary.Next(), "0 G");
}

TEST(AdditionalIndexes, EqualTheModelEachWithItsTerms) {
  std::mt19937 random(14);
  const std::vector<std::string> terms = MakeTerms(random, 3000);
  std::vector<std::string> separators;
  for (std::size_t k = 1; k < 10; ++k) separators.push_back(terms[k * terms.size() / 10]);
  Dictionary dictionary;
  dictionary.MakeIndexes(separators);
  Model model;
  Change(dictionary, model, terms, random, 12000);
  EXPECT_EQ(dictionary.Read(), WithoutEmpty(model));
  EXPECT_EQ(dictionary.dir().Read("d.ifp"), "");

  // Each set alone, as if it were the only one: its terms lie between its separators.
  std::size_t count = 0;
  for (int k = 1; k <= 10; ++k) {
    Dictionary part([&] {
      for (const char* extension : {".n01", ".l01", ".ifp"})
        std::filesystem::copy_file(dictionary.path() + extension + "_" + std::to_string(k),
                                   dictionary.dir().File("part" + std::to_string(k)) + extension);
      return dictionary.dir().File("part" + std::to_string(k));
    }());
    EXPECT_EQ(Findings(part), "") << k;
    const Model own = part.Read();
    ASSERT_FALSE(own.empty());
    const auto at = static_cast<std::size_t>(k);
    EXPECT_TRUE(k == 1 || own.begin()->first > separators[at - 2]) << k;
    EXPECT_TRUE(k == 10 || own.rbegin()->first <= separators[at - 1]) << k;
    count += own.size();
  }
  EXPECT_EQ(count, WithoutEmpty(model).size());
}

TEST(AdditionalIndexes, NeedNineSeparators) {
  for (const std::size_t lines : {0, 8, 10}) {
    Dictionary dictionary;
    dictionary.MakeIndexes(std::vector<std::string>(lines, "M"));
    EXPECT_EQ(dictionary.Insert("A", {1, 2, 3, 4}), 0);
    EXPECT_EQ(dictionary.Find("A"), "0 A");
    EXPECT_NE(dictionary.dir().Read("d.ifp"), "") << lines;
    EXPECT_EQ(dictionary.dir().Read("d.ifp_1"), "") << lines;
  }
}

}  // namespace
