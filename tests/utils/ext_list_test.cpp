#include "utils/ext_list.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <random>
#include <vector>

namespace {

using ExtList::TExtInt;
using ExtList::TExtList;
using velor_01::TSortType;

std::vector<int> NumbersOf(const TExtList& list) {
  std::vector<int> numbers;
  for (const TExtInt& item : list.Items()) numbers.push_back(item.number);
  return numbers;
}

TEST(TExtList, SortsAreStable) {
  TExtList list;
  const long double scores[] = {0.5L, 2.0L, 0.5L, 1.0L, 2.0L};
  for (const long double score : scores) list.Add(score, list.GetCount());
  list.Sort(TSortType::down);
  EXPECT_EQ(NumbersOf(list), (std::vector<int>{1, 4, 3, 0, 2}));
  list.Sort(TSortType::up);
  EXPECT_EQ(NumbersOf(list), (std::vector<int>{0, 2, 3, 1, 4}));
  list.SortByInt(TSortType::down);
  EXPECT_EQ(NumbersOf(list), (std::vector<int>{4, 3, 2, 1, 0}));
  list.SortByInt(static_cast<TSortType>(3));
  EXPECT_EQ(NumbersOf(list), (std::vector<int>{4, 3, 2, 1, 0}));
}

TEST(TExtList, FindAgainstLinearSearch) {
  std::mt19937 random(9);
  for (const TSortType type : {TSortType::up, TSortType::down}) {
    for (int size = 0; size < 40; ++size) {
      TExtList list;
      for (int i = 0; i < size; ++i)
        list.Add(static_cast<long double>(random() % 10) / 3, static_cast<int>(random() % 10));
      const bool isUp = type == TSortType::up;
      for (int wanted = -1; wanted <= 10; ++wanted) {
        const long double score = static_cast<long double>(wanted) / 3;
        list.QuickSort(type);
        auto all = list.Items();
        auto place = std::ranges::find_if(
            all, [&](const TExtInt& x) { return isUp ? x.value >= score : x.value <= score; });
        int index = -7;
        EXPECT_EQ(list.Find(score, &index, type), place != all.end() && place->value == score);
        EXPECT_EQ(index, place - all.begin());

        list.SortByInt(type);
        place = std::ranges::find_if(
            all, [&](const TExtInt& x) { return isUp ? x.number >= wanted : x.number <= wanted; });
        EXPECT_EQ(list.FindByInt(wanted, &index, type), place != all.end() && place->number == wanted);
        EXPECT_EQ(index, place - all.begin());
      }
    }
  }
}

TEST(TExtList, ValuesThatAreNoNumbersStandLowest) {
  std::mt19937 random(4);
  TExtList list;
  for (int i = 0; i < 500; ++i)
    list.Add(i % 3 == 0 ? std::nanl("") : static_cast<long double>(random() % 100), i);
  list.QuickSort(TSortType::up);
  EXPECT_TRUE(std::isnan(list.Get(166).value));
  EXPECT_FALSE(std::isnan(list.Get(167).value));
  list.Sort(TSortType::down);
  EXPECT_TRUE(std::isnan(list.Get(499).value));
  EXPECT_EQ(list.IndexOf(std::nanl("")), 333);
}

TEST(TExtList, KeepsExtendedPrecision) {
  TExtList list;
  const long double score = 1.0L + 0x1p-60L;
  list.Add(score, 1);
  EXPECT_EQ(list.IndexOf(score), 0);
  EXPECT_EQ(list.IndexOf(1.0L), -1);
}

}  // namespace
