#include "utils/int_list.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <random>
#include <vector>

#include "support/temp_dir.h"

namespace {

using velor_01::TIntList;
using velor_01::TSortType;

std::vector<int> ContentsOf(const TIntList& list) {
  return {list.Items().begin(), list.Items().end()};
}

TEST(TIntList, FindAgainstLinearSearch) {
  std::mt19937 random(5);
  for (const TSortType type : {TSortType::up, TSortType::down}) {
    for (int size = 0; size < 60; ++size) {
      TIntList list;
      for (int i = 0; i < size; ++i) list.Add(static_cast<int>(random() % 20) * 2);
      list.Sort(type);
      for (int value = -1; value < 42; ++value) {
        const auto all = list.Items();
        const auto place = std::ranges::find_if(
            all, [&](int item) { return type == TSortType::up ? item >= value : item <= value; });
        int index = -7;
        EXPECT_EQ(list.Find(value, &index, type), place != all.end() && *place == value);
        EXPECT_EQ(index, place - all.begin());
      }
    }
  }
}

TEST(TIntList, FindOnAnEmptyListGivesPlaceZero) {
  int index = 5;
  EXPECT_FALSE(TIntList().Find(1, &index));
  EXPECT_EQ(index, 0);
  EXPECT_FALSE(TIntList().Find(1, &index, static_cast<TSortType>(2)));
  EXPECT_EQ(index, -1);
}

TEST(TIntList, UnknownDirectionSortsNothing) {
  TIntList list;
  for (const int value : {3, 1, 2}) list.Add(value);
  list.Sort(static_cast<TSortType>(7));
  EXPECT_EQ(ContentsOf(list), (std::vector<int>{3, 1, 2}));
  list.Sort(TSortType::down);
  EXPECT_EQ(ContentsOf(list), (std::vector<int>{3, 2, 1}));
  EXPECT_EQ(list.IndexOf(1), 2);
  EXPECT_EQ(list.IndexOf(9), -1);
}

TEST(TIntList, SetCountCutsAndFillsWithZeros) {
  TIntList list(2);
  list.Add(8);
  list.Add(9);
  EXPECT_TRUE(list.SetCount(1));
  EXPECT_TRUE(list.SetCount(5));
  EXPECT_EQ(ContentsOf(list), (std::vector<int>{8, 0, 0, 0, 0}));
  EXPECT_FALSE(list.SetCount(-1));
  EXPECT_EQ(list.GetCount(), 5);
}

TEST(TIntList, Parse) {
  const struct {
    const char* why;
    std::string text;
    std::vector<int> want;
  } cases[] = {
      {"all line ends", std::string("1\r2\n3\r\n4\0005", 10), {1, 2, 3, 4, 5}},
      {"empty lines do not end the list", "1\n\n\n2\r\n\r\n3", {1, 2, 3}},
      {"lines that are no number", "1\nx\n2x\n 3\n4 5\n6", {1, 6}},
      {"signs and limits", "-1\n2147483647\n-2147483648\n2147483648", {-1, 2147483647, -2147483647 - 1}},
      {"nothing", "", {}},
      {"only line ends", "\r\n\r\n", {}},
      {"a line longer than any number", std::string(100000, '1') + "\n7", {7}},
  };
  for (const auto& c : cases) {
    SCOPED_TRACE(c.why);
    TIntList list;
    list.Add(99);
    EXPECT_TRUE(list.Parse(c.text.data(), static_cast<std::int64_t>(c.text.size())));
    EXPECT_EQ(ContentsOf(list), c.want);
  }
  TIntList list;
  EXPECT_TRUE(list.Parse(nullptr, 5));
  EXPECT_EQ(list.GetCount(), 0);
}

TEST(TIntList, LoadFromFile) {
  const test::TempDir dir;
  TIntList list;
  EXPECT_TRUE(list.LoadFromFile(dir.Write("mfn.txt", "10\r\n20\r\n")));
  EXPECT_EQ(ContentsOf(list), (std::vector<int>{10, 20}));
  EXPECT_TRUE(list.LoadFromFile(dir.Write("marked.txt",
                                          "\xEF\xBB\xBF"
                                          "7\n")));
  ASSERT_EQ(list.GetCount(), 1) << "a byte-order mark does not cost the first number";
  EXPECT_EQ(list.Get(0), 7);
  EXPECT_FALSE(list.LoadFromFile(dir.File("missing.txt")));
  EXPECT_EQ(list.GetCount(), 0);
}

}  // namespace
