// A writer of the dictionary that is killed at any of its writes: readers find the terms before or after the
// change it was at, and the next writer starts from there.

#include <gtest/gtest.h>
#include <sys/mman.h>

#include <algorithm>
#include <cstring>
#include <filesystem>
#include <random>

#include "storage/term_journal.h"
#include "support/dictionary.h"
#include "support/kill_at_write.h"

namespace {

using test::Dictionary;
using test::Findings;
using test::Model;
using test::WithoutEmpty;
using velor_01::TifpItemPosting;

/// One insertion or removal.
struct Step {
  std::string term;
  TifpItemPosting posting;
  bool isRemoval = false;

  void Apply(velor_32::TVelorSpace* space) const {
    isRemoval ? velor_32::DeleteTerm(space, term.c_str(), posting)
              : velor_32::InsertTerm(space, term.c_str(), posting);
  }
  void Apply(Model* model) const {
    if (isRemoval) {
      (*model)[term].erase(posting);
    } else {
      (*model)[term].insert(posting);
    }
  }
};

/// A run of steps whose writer is killed again and again.
class KilledWriter {
 public:
  KilledWriter(const std::string& copyOf, std::uint32_t seed) : dictionary_(copyOf), random_(seed) {
    done_ = static_cast<int*>(
        ::mmap(nullptr, sizeof(int), PROT_READ | PROT_WRITE, MAP_SHARED | MAP_ANONYMOUS, -1, 0));
    model_ = dictionary_.Read();
  }
  ~KilledWriter() { ::munmap(done_, sizeof(int)); }
  KilledWriter(const KilledWriter&) = delete;
  KilledWriter& operator=(const KilledWriter&) = delete;

  /// Does the steps in a child that dies at a random write, and looks at what it left.
  void Run(const std::vector<Step>& steps, bool isTorn) {
    *done_ = 0;
    const bool isDead = test::DiesAtWrite({static_cast<int>(random_() % 40), isTorn}, [&] {
      dictionary_.Open();
      for (const Step& step : steps) {
        step.Apply(dictionary_.space());
        ++*done_;
      }
    });
    Model before = model_;
    for (int i = 0; i < *done_; ++i) steps[static_cast<std::size_t>(i)].Apply(&before);
    Model after = before;
    if (isDead) steps[static_cast<std::size_t>(*done_)].Apply(&after);
    dictionary_.Open();
    if (!isTorn) ExpectOneOf(before, after, "before the mending");
    FindAll(before);
    velor_32::UndoTermChange(*dictionary_.space()->trmMain);
    ExpectOneOf(before, after, "mended");
    const std::string files = Files();
    velor_32::UndoTermChange(*dictionary_.space()->trmMain);
    EXPECT_TRUE(Files() == files) << "there is nothing left to mend";
    model_ = WithoutEmpty(dictionary_.Read());
  }

  /// Gives terms so many postings that they are chains.
  void Grow(const std::vector<std::string>& terms) {
    for (int i = 0; i < 700; ++i)
      for (const std::string& term : terms) {
        const Step step = {term, {static_cast<int>(random_() % 3000), 1, 1, 1}};
        step.Apply(dictionary_.space());
        step.Apply(&model_);
      }
  }

  const Dictionary& dictionary() const { return dictionary_; }
  const Model& model() const { return model_; }
  std::mt19937& random() { return random_; }

 private:
  void ExpectOneOf(const Model& before, const Model& after, const char* when) {
    const Model now = WithoutEmpty(dictionary_.Read(false));
    EXPECT_TRUE(now == WithoutEmpty(before) || now == WithoutEmpty(after)) << when;
  }
  /// Every term that was there is found by a search, forwards and backwards.
  void FindAll(const Model& before) {
    char term[velor_01::kTermBufferSize] = {};
    for (const auto& [text, postings] : WithoutEmpty(before)) {
      std::strcpy(term, text.c_str());
      ASSERT_EQ(velor_32::Velorfind(dictionary_.space(), term), 0) << text;
    }
    std::size_t back = 1;
    while (velor_32::Velorprevterm(dictionary_.space(), term) == 0 && *term != '\0') ++back;
    EXPECT_GE(back, WithoutEmpty(before).size());
  }
  std::string Files() const {
    return dictionary_.dir().Read("d.n01") + dictionary_.dir().Read("d.l01") +
           dictionary_.dir().Read("d.ifp");
  }

  Dictionary dictionary_;
  std::mt19937 random_;
  int* done_ = nullptr;  // steps that the child ended
  Model model_;
};

/// Steps of long terms, so that blocks are divided often, or of the given terms.
std::vector<Step> MakeSteps(std::mt19937& random, const std::vector<std::string>& terms) {
  std::vector<Step> steps;
  for (int i = 0; i < 60; ++i) {
    const std::string term = terms.empty()
                                 ? std::to_string(random() % 100000) + std::string(150 + random() % 90, 'L')
                                 : terms[random() % terms.size()];
    steps.push_back(
        {term, {static_cast<int>(random() % 3000), 1, 1, static_cast<int>(random() % 4)}, random() % 5 == 0});
  }
  return steps;
}

TEST(Terms, OfAKilledWriterAreThoseBeforeOrAfterTheChange) {
  const std::string fixture = test::SharedData() + "/fixtures/dict/dict";
  const struct {
    const char* why;
    std::vector<std::string> terms;
    std::string copyOf;
    int rounds;
  } cases[] = {
      {"divided blocks", {}, "", 90}, {"chains", {"A", "B"}, "", 90}, {"special blocks", {"-"}, fixture, 40}};
  for (const auto& c : cases) {
    SCOPED_TRACE(c.why);
    if (!c.copyOf.empty() && !std::filesystem::exists(fixture + ".ifp")) continue;
    KilledWriter writer(c.copyOf, 23);
    std::vector<std::string> terms = c.terms;
    if (!c.copyOf.empty())
      terms = {
          std::max_element(writer.model().begin(), writer.model().end(), [](const auto& a, const auto& b) {
            return a.second.size() < b.second.size();
          })->first};
    if (c.terms.size() == 2) writer.Grow(c.terms);
    for (int round = 0; round < c.rounds && !testing::Test::HasFailure(); ++round) {
      SCOPED_TRACE(round);
      writer.Run(MakeSteps(writer.random(), terms), round % 2 == 1);
      if (round % 30 == 29) {
        EXPECT_EQ(Findings(writer.dictionary()), "");
      }
    }
    EXPECT_EQ(Findings(writer.dictionary()), "");
  }
}

}  // namespace
