// The dictionary against a model: random insertions and removals, read back by walking the terms, and damage.

#include <gtest/gtest.h>

#include <sys/mman.h>

#include <algorithm>
#include <cstring>
#include <filesystem>
#include <map>
#include <random>
#include <set>
#include <tuple>

#include "storage/codes.h"
#include "storage/term_journal.h"
#include "storage/term_read.h"
#include "storage/term_update.h"
#include "support/kill_at_write.h"
#include "support/memory_space.h"
#include "support/temp_dir.h"
#include "support/verify.h"

namespace {

using velor_01::TifpItemPosting;

struct Less {
  bool operator()(const TifpItemPosting& a, const TifpItemPosting& b) const {
    return backup::ComparePostings(a, b) < 0;
  }
};
using Postings = std::set<TifpItemPosting, Less>;
using Model = std::map<std::string, Postings>;

/// An inverted file in a directory of its own.
class Dictionary {
 public:
  explicit Dictionary(const std::string& copyOf = "") {
    test::TestBase().WriteTo(path());
    if (!copyOf.empty())
      for (const char* extension : {".n01", ".l01", ".ifp"}) {
        std::filesystem::remove(path() + extension);
        std::filesystem::copy_file(copyOf + extension, path() + extension);
        std::filesystem::permissions(path() + extension, std::filesystem::perms::owner_all);
      }
    Open();
  }
  void Open() { EXPECT_EQ(velor_32::Velorinitterm_write(space(), path().c_str()), 0); }
  [[nodiscard]] velor_32::TVelorSpace* space() const { return memory_.space(); }
  [[nodiscard]] std::string path() const { return dir_.File("d"); }
  [[nodiscard]] const test::TempDir& dir() const { return dir_; }

  /// All terms that have postings, by walking through the dictionary. The total of a term that is being
  /// changed may be too high.
  Model Read(bool hasTotals = true) {
    Model model;
    char term[velor_01::kTermBufferSize] = "\x01";
    for (int rc = velor_32::Velorfind0(space(), term, true); rc == 0 || rc == -202;) {
      if (*term == '\0') break;
      Postings postings;
      while (velor_32::Velornxtpost(space()) == 0) {
        const auto field = [&](int n) { return velor_32::Velorposting(space(), n); };
        postings.insert({field(1), field(2), field(3), field(4), 0, 0, 0, 0});
      }
      const int total = velor_32::Velornposts(space());
      EXPECT_TRUE(std::ssize(postings) == total || (!hasTotals && std::ssize(postings) < total)) << term;
      if (!postings.empty()) model[term] = postings;
      rc = velor_32::Velornxtterm(space(), term);
    }
    return model;
  }

 private:
  test::TempDir dir_;
  test::MemorySpace memory_;
};

/// Terms short and long, with common beginnings, in two alphabets.
std::vector<std::string> MakeTerms(std::mt19937& random, int count) {
  std::set<std::string> terms = {"A", std::string(255, 'Z'), std::string(254, 'Z') + "Y", "Я", "К=КНИГА"};
  while (static_cast<int>(terms.size()) < count) {
    std::string term = random() % 2 == 0 ? "PREFIX=" : "К=";
    for (auto n = random() % 12; n > 0; --n)
      term += random() % 2 == 0 ? std::string(1, static_cast<char>('A' + random() % 26)) : "Ж";
    if (random() % 20 == 0) term += std::string(random() % 200, 'L');
    terms.insert(term.substr(0, 255));
  }
  return {terms.begin(), terms.end()};
}

/// Applies random changes to the dictionary and to the model.
void Change(Dictionary& dictionary, Model& model, const std::vector<std::string>& terms, std::mt19937& random,
            int count) {
  for (int i = 0; i < count; ++i) {
    // Few terms get most of the postings.
    const std::string& term = terms[std::min(random() % terms.size(), random() % terms.size())];
    const TifpItemPosting posting{static_cast<int>(random() % 3000), 200, 1, static_cast<int>(random() % 3)};
    if (random() % 4 != 0) {
      ASSERT_EQ(velor_32::InsertTerm(dictionary.space(), term.c_str(), posting), 0) << term;
      model[term].insert(posting);
    } else {
      const bool isThere = model.contains(term) && !model[term].empty();
      const TifpItemPosting gone = isThere && random() % 2 == 0 ? *model[term].begin() : posting;
      const int rc = velor_32::DeleteTerm(dictionary.space(), term.c_str(), gone);
      ASSERT_TRUE(rc == 0 || (rc == -203 && !isThere)) << term << " " << rc;
      if (model.contains(term)) model[term].erase(gone);
    }
  }
}

Model WithoutEmpty(Model model) {
  std::erase_if(model, [](const auto& item) { return item.second.empty(); });
  return model;
}

std::string Findings(const Dictionary& dictionary) {
  return test::SharedData().empty() ? "" : test::Problems(test::Verify(dictionary.path()));
}

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
  const auto find = [&](const char* text) {
    char term[velor_01::kTermBufferSize] = {};
    std::strcpy(term, text);
    const int rc = velor_32::Velorfind(dictionary.space(), term);
    return std::to_string(rc) + " " + term;
  };
  EXPECT_EQ(find("X"), "-202 ");
  for (const char* term : {"B", "D", "Ё"}) velor_32::InsertTerm(dictionary.space(), term, {1, 2, 3, 4});
  const struct {
    const char* term;
    const char* want;
  } cases[] = {{"B", "0 B"}, {"B  ", "0 B"}, {"A", "-202 B"}, {"C", "-202 D"},
               {"D", "0 D"}, {"Ё", "0 Ё"},   {"я", "-203 Ё"}};
  for (const auto& c : cases) EXPECT_EQ(find(c.term), c.want);

  char term[velor_01::kTermBufferSize] = "D";
  EXPECT_EQ(velor_32::Velorfind(dictionary.space(), term), 0);
  EXPECT_EQ(velor_32::Velorprevterm(dictionary.space(), term), 0);
  EXPECT_STREQ(term, "B");
  EXPECT_EQ(velor_32::Velorprevterm(dictionary.space(), term), -204);
  EXPECT_STREQ(term, "");
  EXPECT_EQ(velor_32::Velornxtterm(dictionary.space(), term), 0);
  EXPECT_STREQ(term, "D");

  EXPECT_EQ(velor_32::DeleteTerm(dictionary.space(), "D", {1, 2, 3, 4}), 0);
  EXPECT_EQ(find("D"), "0 D");
  EXPECT_EQ(velor_32::Velornposts(dictionary.space()), 0);
  EXPECT_EQ(velor_32::Velornxtpost(dictionary.space()), -401);
  EXPECT_EQ(velor_32::VelorFindPosting(dictionary.space(), "B", {1, 2, 3, 4}), 1);
  EXPECT_EQ(velor_32::VelorFindPosting(dictionary.space(), "B", {1, 2, 3, 5}), 0);
  EXPECT_EQ(velor_32::VelorFindPosting(dictionary.space(), "D", {1, 2, 3, 4}), 0);
}

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

/// Any bytes give codes, and an end.
TEST(Terms, OfDamagedFilesEndEveryWalk) {
  std::mt19937 random(11);
  const std::vector<std::string> terms = MakeTerms(random, 400);
  for (int round = 0; round < 60; ++round) {
    Dictionary dictionary;
    Model model;
    Change(dictionary, model, terms, random, 1500);
    velor_32::Velorcloseterm(dictionary.space());
    for (const char* name : {"d.n01", "d.l01", "d.ifp"}) {
      std::string bytes = dictionary.dir().Read(name);
      const std::size_t size = std::min<std::size_t>(bytes.size(), 60000);
      for (int i = 0; i < 20; ++i) bytes[random() % size] = static_cast<char>(random());
      if (round % 30 == 29) bytes.resize(random() % bytes.size());
      dictionary.dir().Write(name, bytes);
    }
    dictionary.Open();
    char term[velor_01::kTermBufferSize] = "\x01";
    velor_32::Velorfind0(dictionary.space(), term, true);
    for (int i = 0; i < 5000 && velor_32::Velornxtterm(dictionary.space(), term) == 0; ++i)
      while (velor_32::Velornxtpost(dictionary.space()) == 0) {
      }
    for (int i = 0; i < 300; ++i) {
      const std::string& one = terms[random() % terms.size()];
      velor_32::InsertTerm(dictionary.space(), one.c_str(), {i, 1, 1, 1});
      velor_32::DeleteTerm(dictionary.space(), one.c_str(), {i, 1, 1, 1});
      velor_32::VelorFindPosting(dictionary.space(), one.c_str(), {i, 1, 1, 1});
    }
  }
}

}  // namespace
