#include "utils/bit_list.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <limits>
#include <random>
#include <vector>

namespace {

using Bitarr::TBitList;

std::vector<bool> ContentsOf(const TBitList& list) {
  std::vector<bool> bits;
  for (int i = 0; i < list.GetCount(); ++i) bits.push_back(list.Get(i));
  return bits;
}

TEST(TBitList, RoomAndPortionOfNewLists) {
  const struct {
    int n;
    int want;
  } cases[] = {{-1, 40008}, {0, 40008}, {1, 8}, {7, 8}, {8, 16}, {256, 264}, {1000, 1008}, {40000, 40008}};
  for (const auto& c : cases) {
    const TBitList list(c.n);
    EXPECT_EQ(list.GetPortion(), c.want) << c.n;
    EXPECT_EQ(list.GetCapacity(), c.want) << c.n;
    EXPECT_EQ(list.GetCount(), 0);
  }
}

TEST(TBitList, SetCapacityRoundsToThePortion) {
  TBitList list(15);  // portion 16
  list.Put(9, true);
  EXPECT_FALSE(list.SetCapacity(9));
  EXPECT_FALSE(list.SetCapacity(0));
  EXPECT_TRUE(list.SetCapacity(16));
  EXPECT_EQ(list.GetCapacity(), 16) << "equal to the capacity: nothing happens";
  EXPECT_TRUE(list.SetCapacity(17));
  EXPECT_EQ(list.GetCapacity(), 32);
  EXPECT_TRUE(list.SetCapacity(48));
  EXPECT_EQ(list.GetCapacity(), 64);
  EXPECT_TRUE(list.SetCapacity(10));
  EXPECT_EQ(list.GetCapacity(), 16);
  EXPECT_TRUE(list.Get(9));
  EXPECT_FALSE(list.SetCapacity(std::numeric_limits<int>::max()));
  EXPECT_EQ(list.GetCapacity(), 16);
}

TEST(TBitList, MostSignificantBitComesFirst) {
  TBitList list;
  list.Put(0, true);
  list.Put(10, true);
  ASSERT_EQ(list.Bytes().size(), 2u);
  EXPECT_EQ(list.Bytes()[0], 128);
  EXPECT_EQ(list.Bytes()[1], 32);
}

TEST(TBitList, IndexesOutsideAreFalse) {
  TBitList list;
  list.Put(3, true);
  EXPECT_FALSE(list.Get(4));
  EXPECT_FALSE(list.Get(40007));
  EXPECT_FALSE(list.Get(1000000));
  EXPECT_FALSE(list.Get(-1));
  EXPECT_FALSE(list.Put(-1, true));
  EXPECT_FALSE(list.Put(std::numeric_limits<int>::max(), true));
  EXPECT_FALSE(list.Put(std::numeric_limits<int>::max() - 1, true));
  EXPECT_EQ(list.GetCount(), 4);
}

TEST(TBitList, OneLargeNumberIsCheapAndKeepsTheOthers) {
  TBitList list(8);
  list.Put(3, true);
  EXPECT_TRUE(list.Put(2000000000, true));
  EXPECT_TRUE(list.Get(3));
  EXPECT_TRUE(list.Get(2000000000));
  EXPECT_FALSE(list.Get(1999999999));
}

TEST(TBitList, RandomOperationsMatchAVector) {
  std::mt19937 random(3);
  TBitList list(1);
  TBitList copy(1);
  std::vector<bool> model;
  for (int step = 0; step < 20000; ++step) {
    const int size = static_cast<int>(model.size());
    const int i = static_cast<int>(random() % (model.size() + 20));
    const bool value = random() % 2 == 0;
    switch (random() % 8) {
      case 0:
      case 1:
        EXPECT_TRUE(list.Put(i, value));
        if (i >= size) model.resize(i + 1);
        model[i] = value;
        break;
      case 2:
        EXPECT_TRUE(list.SetCount(i));
        model.resize(i);
        break;
      case 3:
        EXPECT_EQ(list.Insert(i, value), i <= size);
        if (i <= size) model.insert(model.begin() + i, value);
        break;
      case 4:
        EXPECT_EQ(list.Delete(i), i < size);
        if (i < size) model.erase(model.begin() + i);
        break;
      case 5:
        EXPECT_TRUE(copy.Assign(list));
        EXPECT_EQ(ContentsOf(copy), model);
        break;
      case 6: {
        const auto hit = std::find(model.begin(), model.end(), value);
        EXPECT_EQ(list.IndexOf(value), hit == model.end() ? -1 : hit - model.begin());
        break;
      }
      case 7:
        if (model.size() > 400) list.Clear(), model.clear();
        break;
    }
    ASSERT_EQ(ContentsOf(list), model) << "step " << step;
    const int tail = list.GetCount() & 7;
    if (tail != 0) {
      ASSERT_EQ(list.Bytes().back() & (0xFF >> tail), 0) << "bits behind the count";
    }
  }
}

}  // namespace
