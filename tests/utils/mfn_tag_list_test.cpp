#include "utils/mfn_tag_list.h"

#include <gtest/gtest.h>
#include <sys/mman.h>
#include <unistd.h>

#include <algorithm>
#include <limits>
#include <random>
#include <string>
#include <thread>
#include <vector>

#include "support/temp_dir.h"
#include "utils/named_mutex.h"

namespace {

using ExtList::TMfnTag;
using ExtList::TMfnTagList;
using velor_01::TSortType;
using Pairs = std::vector<TMfnTag>;

Pairs ContentsOf(const TMfnTagList& list) {
  return {list.Items().begin(), list.Items().end()};
}

std::string Image(const Pairs& pairs) {
  return {reinterpret_cast<const char*>(pairs.data()), pairs.size() * sizeof(TMfnTag)};
}

TEST(TMfnTagList, RandomOperationsMatchAVector) {
  std::mt19937 random(8);
  for (const bool allow : {false, true}) {
    TMfnTagList list;
    list.SetDuplicate(allow);
    Pairs model;
    const auto contains = [&](int mfn) {
      return std::ranges::find(model, mfn, &TMfnTag::mfn) != model.end();
    };
    for (int step = 0; step < 10000; ++step) {
      const TMfnTag item{static_cast<int>(random() % 60), static_cast<int>(random() % 5)};
      const int size = static_cast<int>(model.size());
      const int i = static_cast<int>(random() % (model.size() + 3)) - 1;
      const bool isIndex = i >= 0 && i < size;
      switch (random() % 6) {
        case 0: {
          const bool takes = allow || !contains(item.mfn);
          EXPECT_EQ(list.AddItem(item.mfn, item.tag), takes);
          if (takes) model.push_back(item);
          break;
        }
        case 1: {
          const bool takes = i >= 0 && i <= size && (allow || !contains(item.mfn));
          EXPECT_EQ(list.Insert(i, item), takes);
          if (takes) model.insert(model.begin() + i, item);
          break;
        }
        case 2:
          EXPECT_EQ(list.Delete(i), isIndex);
          if (isIndex) model.erase(model.begin() + i);
          break;
        case 3: {
          const bool takes = isIndex && (allow || model[i].mfn == item.mfn || !contains(item.mfn));
          EXPECT_EQ(list.Put(i, item), takes);
          if (takes) model[i] = item;
          break;
        }
        case 4:
          EXPECT_EQ(list.IncTag(i), isIndex);
          if (isIndex) ++model[i].tag;
          break;
        case 5:
          if (model.size() > 55) list.Clear(), model.clear();
          break;
      }
      ASSERT_EQ(ContentsOf(list), model) << "step " << step;
      ASSERT_EQ(list.Contains(item.mfn), contains(item.mfn)) << "step " << step;
    }
  }
}

TEST(TMfnTagList, RoomDoubles) {
  TMfnTagList list;
  EXPECT_EQ(list.GetCapacity(), 1000);
  for (const int want : {1000, 2000, 4000, 8000}) {
    while (list.GetCount() < want) list.AddItem(list.GetCount(), 0);
    EXPECT_EQ(list.GetCapacity(), want);
  }
}

TEST(TMfnTagList, RoomGrowsByAFixedStepWhenLarge) {
  constexpr int kLimit = 10485760;
  TMfnTagList list;
  list.SetDuplicate(true);
  ASSERT_TRUE(list.SetCapacity(kLimit));
  for (int i = 0; i < kLimit; ++i) list.AddItem(i & 1023, 0);
  list.AddItem(1, 1);
  EXPECT_EQ(list.GetCapacity(), 2 * kLimit);
}

TEST(TMfnTagList, RecordNumbersOutOfRangeAreRefused) {
  TMfnTagList list;
  EXPECT_FALSE(list.AddItem(-1, 1));
  EXPECT_FALSE(list.AddItem(std::numeric_limits<int>::max(), 1));
  EXPECT_TRUE(list.AddItem(0, 1));
  EXPECT_TRUE(list.AddItem(100000000, 1));
  EXPECT_TRUE(list.Contains(100000000));
  list.Clear();
  EXPECT_FALSE(list.Contains(100000000)) << "a sparse set is emptied too";
  EXPECT_TRUE(list.AddItem(100000000, 2));
}

TEST(TMfnTagList, FindFirstOfDuplicates) {
  TMfnTagList list;
  list.SetDuplicate(true);
  for (const int mfn : {5, 3, 5, 9, 5}) list.AddItem(mfn, list.GetCount());
  const struct {
    const char* why;
    TSortType type;
    int mfn;
    bool useBits;
    bool want;
    int index;
  } cases[] = {
      {"first of three", TSortType::up, 5, false, true, 1},
      {"first of three from above", TSortType::down, 5, true, true, 1},
      {"place between", TSortType::up, 7, false, false, 4},
      {"place between from above", TSortType::down, 7, false, false, 1},
      {"behind the last", TSortType::up, 10, false, false, 5},
      {"the bits know it was never added", TSortType::up, 7, true, false, -1},
      {"no direction", static_cast<TSortType>(2), 5, false, false, -1},
  };
  for (const auto& c : cases) {
    SCOPED_TRACE(c.why);
    list.Sort(c.type);
    int index = -7;
    EXPECT_EQ(list.Find(c.mfn, c.useBits, &index, c.type), c.want);
    EXPECT_EQ(index, c.index);
  }
  list.Sort(TSortType::up);
  EXPECT_EQ(ContentsOf(list), (Pairs{{3, 1}, {5, 0}, {5, 2}, {5, 4}, {9, 3}}))
      << "equal numbers keep their sequence";
  list.SortByTag(TSortType::down);
  EXPECT_EQ(ContentsOf(list), (Pairs{{5, 4}, {9, 3}, {5, 2}, {3, 1}, {5, 0}}));
}

TEST(TMfnTagList, TagStopsAtItsLimit) {
  TMfnTagList list;
  list.AddItem(1, std::numeric_limits<int>::max());
  EXPECT_TRUE(list.IncTag(0));
  EXPECT_EQ(list.Get(0).tag, std::numeric_limits<int>::max());
}

TEST(CellFile, SavesAndLoadsTheBarePairs) {
  const test::TempDir dir;
  const std::string path = dir.File("oryx1.cell");
  TMfnTagList list;
  list.SetDuplicate(true);
  for (const auto& [mfn, tag] : Pairs{{1, 1}, {1, 2}, {7, 1}}) list.AddItem(mfn, tag);
  EXPECT_EQ(list.SaveToFileCellIndex0(path.c_str()), 0);
  EXPECT_EQ(dir.Read("oryx1.cell"), Image({{1, 1}, {1, 2}, {7, 1}}));

  EXPECT_EQ(list.SaveToFileCellIndex0(path.c_str()), 0) << "a second save appends";
  EXPECT_EQ(dir.Read("oryx1.cell").size(), 6 * sizeof(TMfnTag));

  TMfnTagList loaded;
  loaded.SetDuplicate(true);
  loaded.AddItem(99, 9);
  EXPECT_EQ(loaded.LoadFromFileCellIndex(path.c_str(), false), 0);
  EXPECT_EQ(loaded.GetCount(), 7);
  EXPECT_EQ(loaded.LoadFromFileCellIndex(path.c_str(), true), 0);
  EXPECT_EQ(ContentsOf(loaded), (Pairs{{1, 1}, {1, 2}, {7, 1}, {1, 1}, {1, 2}, {7, 1}}));
}

TEST(CellFile, MissingAndDamagedFiles) {
  const struct {
    const char* why;
    std::string bytes;
    Pairs want;
  } cases[] = {
      {"empty", "", {}},
      {"half a pair", "\1\0\0", {}},
      {"half a pair at the end", Image({{4, 1}}) + "\5\0\0\0\1", {{4, 1}}},
      {"negative record number", Image({{-5, 1}, {6, 1}}), {{6, 1}}},
      {"record number beyond the bit set", Image({{std::numeric_limits<int>::max(), 1}, {6, 1}}), {{6, 1}}},
      {"repeated record number without duplicates", Image({{6, 1}, {6, 2}}), {{6, 1}}},
  };
  const test::TempDir dir;
  for (const auto& c : cases) {
    SCOPED_TRACE(c.why);
    TMfnTagList list;
    list.AddItem(1, 1);
    EXPECT_EQ(list.LoadFromFileCellIndex(dir.Write("x.cell", c.bytes).c_str(), true), 0);
    EXPECT_EQ(ContentsOf(list), c.want);
  }
  TMfnTagList list;
  list.AddItem(1, 1);
  EXPECT_EQ(list.LoadFromFileCellIndex(dir.File("missing").c_str(), false), 0);
  EXPECT_EQ(list.GetCount(), 1);
  EXPECT_EQ(list.LoadFromFileCellIndex(nullptr, true), 0);
  EXPECT_EQ(list.GetCount(), 0);
}

TEST(CellFile, AppendingCutsOffAHalfPair) {
  const test::TempDir dir;
  const std::string path = dir.Write("x.cell", Image({{4, 1}}) + "junk");
  TMfnTagList list;
  list.AddItem(5, 2);
  EXPECT_EQ(list.SaveToFileCellIndex0(path.c_str()), 0);
  EXPECT_EQ(dir.Read("x.cell"), Image({{4, 1}, {5, 2}}));
}

TEST(CellFile, FailuresOfSaving) {
  const test::TempDir dir;
  TMfnTagList list;
  EXPECT_EQ(list.SaveToFileCellIndex0(dir.File("no/dir.cell").c_str()), TMfnTagList::kNoFile);
  EXPECT_EQ(list.SaveToFileCellIndex0(nullptr), TMfnTagList::kNoFile);
  EXPECT_EQ(list.SaveToFileCellIndexTime(nullptr, 1), TMfnTagList::kNoFile);
}

TEST(CellFile, SavingWaitsForTheMutexOfTheDatabase) {
  const test::TempDir dir;
  const std::string database = "CELLTEST" + std::to_string(getpid());
  const std::string path = dir.File(std::string("celltest") + std::to_string(getpid()) + "x12.cell");
  const std::string mutexName = "VELOR64_MUTEX" + database + "X";
  utils::NamedMutex mutex;
  ASSERT_TRUE(mutex.Create(mutexName.c_str()));
  ASSERT_TRUE(mutex.Wait());

  TMfnTagList list;
  list.AddItem(1, 1);
  int result = 0;
  std::thread([&] { result = list.SaveToFileCellIndexTime(path.c_str(), 0); }).join();
  EXPECT_EQ(result, TMfnTagList::kLocked);
  std::thread([&] { result = list.SaveToFileCellIndexTime(path.c_str(), 1, mutexName + "2"); }).join();
  EXPECT_EQ(result, 0) << "a name given is the one that is used";

  mutex.Release();
  EXPECT_EQ(list.SaveToFileCellIndex(path.c_str()), 0);
  EXPECT_TRUE(mutex.WaitTime(1)) << "the save has given it back";
  mutex.Release();
  mutex.Close();
  shm_unlink(mutexName.c_str());
  shm_unlink((mutexName + "2").c_str());
}

}  // namespace
