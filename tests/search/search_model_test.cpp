// Expressions made at random, over catalogues made at random: the search finds what sets of postings say,
// combined without any cleverness.

#include <gtest/gtest.h>

#include <algorithm>
#include <memory>
#include <random>
#include <set>
#include <string>
#include <tuple>
#include <vector>

#include "search/search18.h"
#include "support/dictionary.h"

namespace {

using Records = std::set<int>;
using test::Postings;

/// What an operand says: the terms from `from` to `to`, of these only postings with one of `tags`.
struct Operand {
  std::string text;
  std::string from;
  std::string to;
  std::set<int> tags;
};

/// A step: operands joined by one operator. An operand is a term, or a step of its own in brackets.
struct Node {
  bool isTerm = true;
  Operand term;
  int op = 0;
  std::string spelling;
  std::vector<Node> children;
};

class Catalogue {
 public:
  Catalogue(unsigned seed, bool isFullText) {
    if (isFullText) dictionary_.MakeFullText();
    std::mt19937 random(seed);
    const auto below = [&](unsigned n) { return static_cast<int>(random() % n); };
    for (const char* term : {"A", "AB", "ABA", "ABB", "B", "BA", "K=A", "K=AB", "Ж", "ЖЖ", "ЖК", "Я"}) {
      // Frequencies from a handful to some per record, so that there are chains of segments, too.
      const int count = 3 << below(11);
      const int records = 20 << below(7);
      for (int i = 0; i < count; ++i) {
        const test::TifpItemPosting posting{1 + below(records), 200 + 10 * below(3), 1 + below(3),
                                            1 + below(12)};
        if (model_[term].insert(posting).second) {
          EXPECT_EQ(dictionary_.Insert(term, posting), 0);
        }
      }
    }
  }

  Records Find(const std::string& expression) const {
    velor_01::TIntList result;
    EXPECT_EQ(Search18::FreeVelorSearchNew(dictionary_.space(), expression, &result), 0);
    const auto numbers = result.Items();
    EXPECT_TRUE(std::ranges::is_sorted(numbers));
    return {numbers.begin(), numbers.end()};
  }

  Records Expected(const Node& node) const {
    if (node.isTerm) return RecordsOf(Read(node.term));
    const bool hasStep = std::ranges::any_of(node.children, [](const Node& child) { return !child.isTerm; });
    const int op = hasStep ? std::min(node.op, 2) : node.op;
    if (op > 2 && node.children.size() > 1) return Together(node, op);
    Records all = Expected(node.children.front());
    for (std::size_t i = 1; i < node.children.size(); ++i) {
      const Records other = Expected(node.children[i]);
      if (op == 0) all.insert(other.begin(), other.end());
      if (op > 0) std::erase_if(all, [&](int mfn) { return other.contains(mfn) == (op == 2); });
    }
    return all;
  }

 private:
  Postings Read(const Operand& operand) const {
    Postings read;
    for (const auto& [term, postings] : model_) {
      if (term < operand.from || term > operand.to) continue;
      for (const auto& posting : postings)
        if (operand.tags.empty() || operand.tags.contains(posting.tag)) read.insert(posting);
    }
    return read;
  }
  static Records RecordsOf(const Postings& postings) {
    Records records;
    for (const auto& posting : postings) records.insert(posting.mfn);
    return records;
  }

  /// The places of a term in the sense of the operator: record, tag, occurrence, start of a stretch.
  using Places = std::set<std::tuple<int, int, int, int>>;
  static Places PlacesOf(const Postings& postings, int op, int terms) {
    Places places;
    for (const auto& p : postings) {
      if (op == 3) places.insert({p.mfn, p.tag, 0, 0});
      if (op == 4) places.insert({p.mfn, p.tag, p.occ, 0});
      for (int start = p.pos - terms; op == 5 && start < p.pos; ++start)
        if (start >= 0) places.insert({p.mfn, p.tag, p.occ, start});
    }
    return places;
  }
  Records Together(const Node& node, int op) const {
    const int terms = static_cast<int>(node.children.size());
    Places common = PlacesOf(Read(node.children.front().term), op, terms);
    for (const Node& child : node.children) {
      const Places own = PlacesOf(Read(child.term), op, terms);
      std::erase_if(common, [&](const auto& place) { return !own.contains(place); });
    }
    Records records;
    for (const auto& place : common) records.insert(std::get<0>(place));
    return records;
  }

  test::Dictionary dictionary_;
  test::Model model_;
};

/// Makes expressions, and prints them as a person might write them.
class Maker {
 public:
  explicit Maker(unsigned seed) : random_(seed) {}

  Node Make(int depth) {
    if (depth <= 0 || Below(4) == 0) return MakeTerm();
    Node node;
    node.isTerm = false;
    node.op = Below(6);
    node.spelling = Spelling(node.op);
    for (int n = 2 + Below(3); n > 0; --n) node.children.push_back(Make(depth - 1 - Below(2)));
    return node;
  }

  /// A step as operand gets brackets unless it binds closer, or is a first operand on the same level: then
  /// the brackets may be missing.
  std::string Print(const Node& node) {
    if (node.isTerm) return node.term.text;
    std::string text;
    for (const Node& child : node.children) {
      const bool isFirst = &child == &node.children.front();
      const std::string operand = Print(child);
      text +=
          (isFirst ? "" : node.spelling) + (NeedsBrackets(node, child, isFirst) || (!child.isTerm && Below(2))
                                                ? "(" + Blank() + operand + Blank() + ")"
                                                : operand);
    }
    return text;
  }

 private:
  int Below(int n) { return n < 1 ? 0 : static_cast<int>(random_() % static_cast<unsigned>(n)); }
  std::string Blank() { return Below(2) ? " " : ""; }

  Node MakeTerm() {
    static const std::vector<std::string> kTerms = {"A",    "AB", "ABA", "ABB", "B", "BA", "K=A",
                                                    "K=AB", "Ж",  "ЖЖ",  "ЖК",  "Я", "AC", "ZZ"};
    const std::string& term = kTerms[static_cast<std::size_t>(Below(static_cast<int>(kTerms.size())))];
    const std::string& other = kTerms[static_cast<std::size_t>(Below(static_cast<int>(kTerms.size())))];
    Node node;
    node.term = {term, term, term, {}};
    const int kind = Below(8);
    if (kind == 0) node.term = {term + "$", term, term + "\xFF", {}};
    if (kind == 1) node.term = {term + "[...]" + other, term, other, {}};
    if (kind == 2) node.term = {"\"" + term + "\"/(200,220)", term, term, {200, 220}};
    if (kind == 3) node.term = {"\"" + term + "$\"/(210)", term, term + "\xFF", {210}};
    if (kind == 4) node.term.text = "\"" + term + "\"";
    return node;
  }

  std::string Spelling(int op) {
    static const std::vector<std::string> kSpellings = {"+", "*", "^", "(G)", "(F)"};
    if (op < 5) return Blank() + kSpellings[static_cast<std::size_t>(op)] + Blank();
    return " " + std::string(1 + static_cast<std::size_t>(Below(10)), Below(2) ? '.' : '$') + " ";
  }

  static int Level(int op) { return op < 2 ? op : op - 1; }
  static bool NeedsBrackets(const Node& node, const Node& child, bool isFirst) {
    if (child.isTerm) return false;
    const int own = Level(node.op);
    const int inner = Level(child.op);
    // A run of the same operator would be one step.
    return inner < own || (inner == own && (!isFirst || Trimmed(child) == Trimmed(node)));
  }
  static std::string Trimmed(const Node& node) {
    std::string text = node.spelling;
    std::erase(text, ' ');
    return text;
  }

  std::mt19937 random_;
};

TEST(SearchModel, FindsWhatSetsOfPostingsSay) {
  int found = 0;
  for (unsigned seed = 1; seed <= 6; ++seed) {
    const Catalogue catalogue(seed, seed % 3 == 0);
    Maker maker(seed);
    for (int i = 0; i < 1000; ++i) {
      const Node node = maker.Make(1 + i % 3);
      const std::string expression = maker.Print(node);
      const Records want = catalogue.Expected(node);
      ASSERT_EQ(catalogue.Find(expression), want) << "seed " << seed << ": " << expression;
      found += want.empty() ? 0 : 1;
    }
  }
  EXPECT_GT(found, 2000) << "the expressions are worth their name";
}

}  // namespace
