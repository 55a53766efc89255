// Postings by whole segments, from dictionaries as the bulk build writes them: with special blocks.

#include "storage/posting_blocks.h"

#include <gtest/gtest.h>
#include <unistd.h>

#include <filesystem>
#include <random>
#include <string>
#include <vector>

#include "index/posting_writer.h"
#include "index/tree_writer.h"
#include "search/tmthrd_32.h"
#include "support/dictionary.h"
#include "utils/endian.h"
#include "utils/text_util.h"

namespace {

/// One dictionary with the terms T0, T1, ... of growing length, in the files of a database.
class BuiltDictionary {
 public:
  explicit BuiltDictionary(bool isFullText) {
    if (isFullText) dictionary_.MakeFullText();
    dictionary_.Close();
    velora::PostingWriter postings(isFullText, path() + ".spill");
    velora::TreeWriter tree;
    std::string failed;
    for (const char* extension : {".n01", ".l01", ".ifp"}) std::filesystem::remove(path() + extension);
    EXPECT_TRUE(postings.Create(path() + ".ifp"));
    EXPECT_TRUE(tree.Create(path() + ".l01", path() + ".n01", &failed));
    std::mt19937 random(11);
    for (const int records : {1, 255, 300, 5000, 40000}) {
      std::vector<int>& list = terms.emplace_back();
      for (int mfn = 1 + static_cast<int>(random() % 3); static_cast<int>(list.size()) < records;
           mfn += 1 + static_cast<int>(random() % 9)) {
        list.push_back(mfn);
        for (int pos = 1; pos <= 1 + static_cast<int>(random() % 2); ++pos)
          EXPECT_EQ(postings.Add({mfn, 200, 1, pos}), velora::PostingWriter::Added::kYes);
      }
      tree.Add("T" + std::to_string(terms.size() - 1), postings.EndTerm());
    }
    EXPECT_TRUE(tree.Finish());
    EXPECT_TRUE(postings.Finish(tree.nodeCount(), tree.leafCount()));
    dictionary_.Open();
  }

  [[nodiscard]] velor_32::TVelorSpace* space() const { return dictionary_.space(); }
  [[nodiscard]] std::string path() const { return dictionary_.path(); }
  void Reopen() {
    dictionary_.Close();
    dictionary_.Open();
  }
  [[nodiscard]] int Find(std::size_t i) const {
    char term[velor_01::kTermBufferSize] = {};
    ("T" + std::to_string(i)).copy(term, sizeof term - 1);
    return velor_32::Velorfind(space(), term);
  }

  std::vector<std::vector<int>> terms;  // the records of each

 private:
  test::Dictionary dictionary_;
};

std::vector<int> RecordsOf(std::span<const char> postings, bool isFullText) {
  std::vector<int> records;
  const auto size = static_cast<std::size_t>(velor_01::PostingSize(isFullText));
  for (std::size_t at = 0; at < postings.size(); at += size) {
    const auto mfn = static_cast<int>(utils::LoadBe32(postings.data() + at));
    if (records.empty() || records.back() != mfn) records.push_back(mfn);
  }
  return records;
}

TEST(PostingBlocksTest, GivesAllPostings) {
  for (const bool isFullText : {false, true}) {
    const BuiltDictionary built(isFullText);
    velor_32::PostingBlocks blocks(built.space());
    for (std::size_t i = 0; i < built.terms.size(); ++i) {
      SCOPED_TRACE(i);
      ASSERT_EQ(built.Find(i), 0);
      EXPECT_EQ(blocks.Start(), velor_32::Velornposts(built.space()));
      std::vector<int> records;
      for (auto part = blocks.Next(); !part.empty(); part = blocks.Next())
        for (const int mfn : RecordsOf(part, isFullText))
          if (records.empty() || records.back() != mfn) records.push_back(mfn);
      EXPECT_EQ(records, built.terms[i]);
    }
  }
}

TEST(PostingBlocksTest, PassesOverSegments) {
  const BuiltDictionary built(false);
  std::mt19937 random(12);
  velor_32::PostingBlocks blocks(built.space());
  for (std::size_t i = 0; i < built.terms.size(); ++i) {
    SCOPED_TRACE(i);
    const std::vector<int>& records = built.terms[i];
    ASSERT_EQ(built.Find(i), 0);
    ASSERT_GT(blocks.Start(), 0);
    std::size_t segments = 0;
    std::vector<int> part = {0};
    for (std::size_t k = random() % 100; k < records.size(); k += 1 + records.size() / 3) {
      if (records[k] <= part.back()) continue;  // in the segment that was given before
      part = RecordsOf(blocks.Next(records[k]), false);
      ++segments;
      ASSERT_FALSE(part.empty());
      EXPECT_TRUE(std::ranges::binary_search(part, records[k])) << k;
    }
    EXPECT_LE(segments, 3U);
  }
}

TEST(PostingBlocksTest, EndsAtDamage) {
  const BuiltDictionary built(false);
  std::mt19937 random(13);
  std::string whole;
  ASSERT_TRUE(utils::TextUtil::FileReadAllBytes(built.path() + ".ifp", whole));
  for (int round = 0; round < 300; ++round) {
    // Damage in the file that is open and mapped, as a writer in another process would do it.
    std::string damaged = whole;
    for (auto n = 1 + random() % 20; n > 0; --n)
      damaged[random() % damaged.size()] = static_cast<char>(random() % 2 == 0 ? 0xFF : random());
    const int file = backup::_lopen((built.path() + ".ifp").c_str(), 34);
    ASSERT_TRUE(utils::WriteAt(file, 0, damaged.data(), damaged.size()));
    backup::_lclose(file);

    Bitarr::TBitList candidates;
    for (int mfn = 1; mfn < 100000; mfn += 777) candidates.Put(mfn, true);
    for (const Bitarr::TBitList* only :
         {static_cast<const Bitarr::TBitList*>(nullptr), static_cast<const Bitarr::TBitList*>(&candidates)}) {
      Bitarr::TBitList records;
      EXPECT_EQ(Tmthrd_32::TrmPostProc_RangeNew(built.space(), "", "T$", 1, &records, nullptr, nullptr, -1,
                                                -1, -1, only),
                0);
    }
  }
}

TEST(PostingBlocksTest, SurvivesAFileThatIsCutUnderIt) {
  BuiltDictionary built(false);
  velor_32::PostingBlocks blocks(built.space());
  ASSERT_EQ(built.Find(4), 0);
  ASSERT_GT(blocks.Start(), 0);
  const std::size_t first = blocks.Next().size();
  ASSERT_GT(first, 0U);
  ASSERT_EQ(::truncate((built.path() + ".ifp").c_str(), 20), 0);
  std::size_t rest = 0;
  for (auto part = blocks.Next(); !part.empty(); part = blocks.Next()) rest += RecordsOf(part, false).size();
  EXPECT_LT(rest, built.terms[4].size());
  EXPECT_NE(built.Find(4), -202);
  EXPECT_EQ(blocks.Start(), 0);
}

}  // namespace
