// Dictionaries that were damaged, or whose writer was cut off between two writes, or that change while they
// are read.

#include <gtest/gtest.h>
#include <signal.h>
#include <sys/wait.h>
#include <unistd.h>

#include <chrono>
#include <cstring>
#include <filesystem>
#include <random>
#include <thread>

#include "storage/term_journal.h"
#include "storage/term_tree.h"
#include "support/dictionary.h"
#include "support/kill_at_write.h"

namespace {

using test::Change;
using test::Dictionary;
using test::MakeTerms;
using test::Model;
using test::TifpItemPosting;
using test::writesLeft;

// ---- damage ----

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
      if (round % 5 == 0) bytes.resize(random() % bytes.size());
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

/// Puts big-endian words into a file.
void Poke(const Dictionary& dictionary, const char* name, std::size_t offset,
          const std::vector<std::int32_t>& words) {
  std::string bytes = dictionary.dir().Read(name);
  ASSERT_LE(offset + 4 * words.size(), bytes.size());
  for (const std::int32_t word : words)
    for (int shift = 24; shift >= 0; shift -= 8)
      bytes[offset++] = static_cast<char>(static_cast<std::uint32_t>(word) >> shift);
  dictionary.dir().Write(name, bytes);
}

constexpr std::size_t kFirstSegment = sizeof(velor_01::Tifp_MaxFileSize);

/// The count of a term may say anything; the walk does not follow it round and round.
TEST(DamagedChains, ThatRunInACircleEndEveryWalk) {
  Dictionary dictionary;
  ASSERT_EQ(dictionary.Insert("A", {5, 1, 1, 1}), 0);
  Poke(dictionary, "d.ifp", kFirstSegment, {kFirstSegment, 0, 0x7FFFFFF0, 1, 1});
  const auto start = std::chrono::steady_clock::now();
  EXPECT_EQ(dictionary.Find("A"), "0 A");
  int count = 0;
  while (count < 1000 && velor_32::Velornxtpost(dictionary.space()) == 0) ++count;
  EXPECT_LT(count, 10);
  EXPECT_EQ(velor_32::VelorFindPosting(dictionary.space(), "A", {6, 1, 1, 1}), -401);
  EXPECT_EQ(dictionary.Insert("A", {6, 1, 1, 1}), -401);
  EXPECT_EQ(dictionary.Delete("A", {6, 1, 1, 1}), -401);
  EXPECT_LT(std::chrono::steady_clock::now() - start, std::chrono::seconds(2));
}

/// A term with damaged postings is there, and what is behind it is reached.
TEST(DamagedChains, HideNoTerms) {
  struct {
    const char* what;
    std::vector<std::int32_t> head;
  } const cases[] = {{"used above capacity", {-1, -1, 1, 2, 1}},
                     {"special block that leads nowhere", {-1, velor_01::kSpecialMark, 1, 1, 1}},
                     {"count without postings", {-1, -1, 1, 0, 1}}};
  for (const auto& c : cases) {
    Dictionary dictionary;
    for (const char* term : {"B", "C"}) ASSERT_EQ(dictionary.Insert(term, {0, 0, 0, 0}), 0);
    Poke(dictionary, "d.ifp", kFirstSegment, c.head);
    EXPECT_EQ(dictionary.Find("A"), "-202 B") << c.what;
    EXPECT_EQ(dictionary.Find("B"), "0 B") << c.what;
    EXPECT_TRUE(dictionary.ReadPostings().empty()) << c.what;
    EXPECT_EQ(dictionary.Next(), "0 C") << c.what;
    static_cast<void>(dictionary.Insert("B", {1, 1, 1, 1}));
    EXPECT_EQ(dictionary.Find("B"), "0 B") << c.what;
    EXPECT_EQ(dictionary.Next(), "0 C") << c.what;  // the term did not come into being once more
  }
}

/// Blocks that follow each other in a circle end a walk only because the keys of sound blocks ascend.
TEST(DamagedBlocks, WithDescendingKeysAreRefused) {
  Dictionary dictionary;
  for (const char* term : {"A", "C"}) ASSERT_EQ(dictionary.Insert(term, {1, 1, 1, 1}), 0);
  std::string leaves = dictionary.dir().Read("d.l01");
  std::swap(leaves[velor_01::kTermBlockSize - 1], leaves[velor_01::kTermBlockSize - 2]);
  dictionary.dir().Write("d.l01", leaves);
  Poke(dictionary, "d.l01", 4, {1, 1});  // the block before and the one behind it: itself
  EXPECT_EQ(dictionary.Find("D"), "-401 D");
  EXPECT_EQ(dictionary.Delete("D", {1, 1, 1, 1}), -401);
}

/// Keys that share their bytes would not fit into the halves of a divided block.
TEST(DamagedBlocks, WithKeysOnTopOfEachOtherAreRefused) {
  Dictionary dictionary;
  ASSERT_EQ(dictionary.Insert("A", {1, 1, 1, 1}), 0);
  constexpr int kKeys = 100;
  const std::string longest(255, 'A');
  std::string block(velor_01::kTermBlockSize, '\0');
  const auto put = [&](std::size_t at, std::uint32_t value, int bytes) {
    for (int i = 0; i < bytes; ++i)
      block[at + static_cast<std::size_t>(i)] = static_cast<char>(value >> 8 * (bytes - 1 - i));
  };
  put(0, 1, 4);
  put(4, 0xFFFFFFFF, 4);
  put(8, 0xFFFFFFFF, 4);
  put(12, kKeys, 2);
  put(14, 1300, 2);
  for (std::size_t i = 0; i < kKeys; ++i) {
    put(16 + 12 * i, 255, 2);
    put(18 + 12 * i, 2048 - 255, 2);
    put(20 + 12 * i, kFirstSegment, 4);
  }
  block.replace(block.size() - longest.size(), longest.size(), longest);
  std::string leaves = dictionary.dir().Read("d.l01");
  dictionary.dir().Write("d.l01", leaves.replace(0, block.size(), block));
  EXPECT_EQ(dictionary.Find("A"), "-401 A");
  EXPECT_EQ(dictionary.Insert(std::string(255, 'B'), {1, 1, 1, 1}), -401);
}

TEST(DamagedCounts, AreNotCountedOn) {
  constexpr std::int32_t kMost = 0x7FFFFFFF;
  Dictionary dictionary;
  ASSERT_EQ(dictionary.Insert("A", {5, 1, 1, 1}), 0);
  Poke(dictionary, "d.ifp", kFirstSegment, {-1, -1, kMost, 1, 1});
  EXPECT_EQ(dictionary.Insert("A", {6, 1, 1, 1}), -401);
  for (const std::int32_t size : {0, 19, 1 << 30}) {
    Poke(dictionary, "d.ifp", 0, {size});
    EXPECT_EQ(dictionary.Insert("B", {6, 1, 1, 1}), -401) << size;
  }
  EXPECT_LT(std::filesystem::file_size(dictionary.path() + ".ifp"), 2000000U);

  std::mt19937 random(3);
  for (const std::int32_t blocks : {-1, 1 << 20, kMost}) {
    Dictionary other;
    ASSERT_EQ(other.Insert("A", {5, 1, 1, 1}), 0);
    Poke(other, "d.ifp", 8, {blocks, blocks});
    int rc = 0;
    for (int i = 0; rc == 0 && i < 50; ++i)
      rc = other.Insert(std::string(200, 'B') + std::to_string(i), {6, 1, 1, 1});
    EXPECT_EQ(rc, -401) << blocks;
    EXPECT_LT(std::filesystem::file_size(other.path() + ".l01"), 3000000U);
  }
}

// ---- crashes ----

struct Insertion {
  std::string term;
  TifpItemPosting posting;
};

/// All that was inserted is found by a search, and by walks in both directions.
void ExpectWhole(const Dictionary& dictionary, const Model& model) {
  ASSERT_EQ(dictionary.Read(), test::WithoutEmpty(model));
  for (const auto& [term, postings] : model) {
    ASSERT_EQ(dictionary.Find(term), "0 " + term);
    for (const TifpItemPosting& posting : postings)
      ASSERT_EQ(velor_32::VelorFindPosting(dictionary.space(), term.c_str(), posting), 1) << term;
  }
  char term[velor_01::kTermBufferSize] = "\xF4\x8F\xBF\xBF";
  int rc = velor_32::Velorfind0(dictionary.space(), term, true);
  ASSERT_EQ(rc, -203);
  for (auto one = model.rbegin(); one != model.rend(); ++one) {
    ASSERT_EQ(term, one->first);
    rc = velor_32::Velorprevterm(dictionary.space(), term);
  }
  EXPECT_EQ(rc, -204);
}

/// Of three changes one is cut off somewhere, and made again by the next process. What earlier crashes
/// left behind stays.
void ChangeWithCrashes(Dictionary& dictionary, Model& model, const std::vector<Insertion>& list,
                       std::mt19937& random) {
  for (std::size_t i = 0; i < list.size(); ++i) {
    auto [term, posting] = list[i];
    const bool isDeletion = random() % 4 == 0;
    const auto known = model.find(term);
    if (isDeletion && known != model.end() && !known->second.empty()) {
      const auto near = known->second.lower_bound(posting);
      posting = near == known->second.end() ? *known->second.begin() : *near;
    }
    const auto change = isDeletion ? velor_32::DeleteTerm : velor_32::InsertTerm;
    if (random() % 3 == 0) {
      writesLeft = static_cast<std::int64_t>(random() % 9);
      static_cast<void>(change(dictionary.space(), term.c_str(), posting));
      writesLeft = -1;
      dictionary.Close();
      dictionary.Open();
    }
    const int rc = change(dictionary.space(), term.c_str(), posting);
    ASSERT_TRUE(rc == 0 || (isDeletion && rc == -203)) << rc;
    if (!isDeletion) {
      model[term].insert(posting);
    } else if (known != model.end()) {
      known->second.erase(posting);
    }
    if (i % 1000 == 0) ExpectWhole(dictionary, model);
    if (testing::Test::HasFailure()) return;
  }
  ExpectWhole(dictionary, model);
}

/// Divides leaves, nodes and the root, lets postings move and chains divide.
TEST(CutOffChanges, LeaveEveryTermAndGoOn) {
  std::mt19937 random(5);
  std::vector<Insertion> list;
  for (int i = 0; i < 3000; ++i) {
    std::string term = std::to_string(random() % 100000);
    if (i % 2 == 0) term.append(180 + random() % 60, 'X');
    list.push_back({term, {1, 1, 1, 1}});
    list.push_back({"A", {static_cast<int>(random() % 100000), 1, 1, 1}});
  }
  Dictionary dictionary;
  Model model;
  ChangeWithCrashes(dictionary, model, list, random);
}

TEST(CutOffChanges, UnderSpecialBlocksLoseNothing) {
  const std::string fixture = test::SharedData() + "/fixtures/dict/dict";
  if (!std::filesystem::exists(fixture + ".ifp")) GTEST_SKIP() << "no fixtures";
  Dictionary dictionary(fixture);
  Model model = dictionary.Read();
  ASSERT_FALSE(model.empty());
  const auto most = std::max_element(model.begin(), model.end(), [](const auto& a, const auto& b) {
    return a.second.size() < b.second.size();
  });
  std::mt19937 random(6);
  std::vector<Insertion> list;
  for (int i = 0; i < 5000; ++i)
    list.push_back(
        {most->first, {static_cast<int>(random() % 3000), 1, 1, static_cast<int>(random() % 100)}});
  ChangeWithCrashes(dictionary, model, list, random);
}

// ---- a writer killed, and one at work ----

/// Starts a process that inserts one list after the other until it is killed.
pid_t StartWriter(const std::string& path, const std::vector<Insertion>& list, std::size_t from) {
  const pid_t child = fork();
  if (child != 0) return child;
  alarm(60);
  test::MemorySpace own;
  if (velor_32::Velorinitterm_write(own.space(), path.c_str()) != 0) _exit(1);
  for (std::size_t i = from;; i = (i + 1) % list.size())
    if (velor_32::InsertTerm(own.space(), list[i].term.c_str(), list[i].posting) != 0) _exit(2);
}

std::vector<Insertion> MakeInsertions(std::mt19937& random) {
  std::vector<Insertion> list;
  const std::vector<std::string> terms = MakeTerms(random, 3000);
  for (int i = 0; i < 40000; ++i)
    list.push_back(
        {terms[random() % (i % 2 == 0 ? 10 : terms.size())], {static_cast<int>(random() % 9000), 1, 1, 1}});
  return list;
}

TEST(KilledWriters, LeaveAWholeDictionary) {
  std::mt19937 random(21);
  const std::vector<Insertion> list = MakeInsertions(random);
  Dictionary dictionary;
  Model whole;
  for (const Insertion& one : list) whole[one.term].insert(one.posting);
  for (int round = 0; round < 40; ++round) {
    dictionary.Close();
    const pid_t child = StartWriter(dictionary.path(), list, round * list.size() / 40);
    std::this_thread::sleep_for(std::chrono::microseconds(1000 + random() % 20000));
    ASSERT_EQ(kill(child, SIGKILL), 0);
    int status = 0;
    ASSERT_EQ(waitpid(child, &status, 0), child);
    ASSERT_TRUE(WIFSIGNALED(status)) << WEXITSTATUS(status);
    dictionary.Open();
    // As whoever takes the mutex of a dead writer over: a segment that lies on two pages may be half written.
    velor_32::UndoTermChange(*dictionary.space()->trmMain);
    for (const auto& [term, postings] : dictionary.Read(false))
      ASSERT_TRUE(std::includes(whole[term].begin(), whole[term].end(), postings.begin(), postings.end(),
                                test::PostingLess()));
  }
  for (const Insertion& one : list) ASSERT_EQ(dictionary.Insert(one.term, one.posting), 0);
  ExpectWhole(dictionary, whole);
}

TEST(ReadersBesideAWriter, MeetOnlyTheKnownCodes) {
  std::mt19937 random(22);
  const std::vector<Insertion> list = MakeInsertions(random);
  Dictionary dictionary;
  ASSERT_EQ(dictionary.Insert(list[0].term, list[0].posting), 0);
  const pid_t child = StartWriter(dictionary.path(), list, 0);
  const auto end = std::chrono::steady_clock::now() + std::chrono::seconds(2);
  const std::set<int> known = {0, -202, -203, -401};
  for (std::size_t i = 0; std::chrono::steady_clock::now() < end; i = (i + 7) % list.size()) {
    char term[velor_01::kTermBufferSize] = {};
    list[i].term.copy(term, sizeof term - 1);
    ASSERT_TRUE(known.contains(velor_32::Velorfind(dictionary.space(), term)));
    for (int step = 0; step < 20; ++step) {
      int rc = 0;
      while ((rc = velor_32::Velornxtpost(dictionary.space())) == 0) {
      }
      ASSERT_EQ(rc, -401);
      rc = step % 3 == 0 ? velor_32::Velorprevterm(dictionary.space(), term)
                         : velor_32::Velornxtterm(dictionary.space(), term);
      ASSERT_TRUE(rc == 0 || rc == -203 || rc == -204 || rc == -401) << rc;
      if (rc != 0) break;
    }
    const int rc = velor_32::VelorFindPosting(dictionary.space(), list[i].term.c_str(), list[i].posting);
    ASSERT_TRUE(rc == 0 || rc == 1 || rc == -401) << rc;
  }
  ASSERT_EQ(kill(child, SIGKILL), 0);
  int status = 0;
  ASSERT_EQ(waitpid(child, &status, 0), child);
  EXPECT_TRUE(WIFSIGNALED(status)) << WEXITSTATUS(status);
}

}  // namespace
