#include "utils/plain_list.h"

#include <gtest/gtest.h>

#include <random>
#include <vector>

#include "utils/ext_list.h"
#include "utils/int_list.h"
#include "utils/list.h"
#include "utils/posting_list.h"

namespace {

using velor_01::TifpItemPosting;
using velor_01::TIfpPostingList;
using velor_01::TIntList;
using velor_01::TList;

std::vector<int> ContentsOf(const TIntList& list) {
  return {list.Items().begin(), list.Items().end()};
}

TEST(PlainList, RandomOperationsMatchAVector) {
  std::mt19937 random(11);
  TIntList list(3);
  std::vector<int> model;
  for (int step = 0; step < 20000; ++step) {
    const int value = static_cast<int>(random() % 100);
    const int i = static_cast<int>(random() % (model.size() + 3)) - 1;  // bad indexes on both sides
    const bool isIndex = i >= 0 && i < static_cast<int>(model.size());
    switch (random() % 8) {
      case 0:
      case 1:
        EXPECT_TRUE(list.Add(value));
        model.push_back(value);
        break;
      case 2:
      case 3: {
        const bool fits = i >= 0 && i <= static_cast<int>(model.size());
        EXPECT_EQ(list.Insert(i, value), fits);
        if (fits) model.insert(model.begin() + i, value);
        break;
      }
      case 4:
      case 5:
        EXPECT_EQ(list.Delete(i), isIndex);
        if (isIndex) model.erase(model.begin() + i);
        break;
      case 6:
        EXPECT_EQ(list.Put(i, value), isIndex);
        if (isIndex) model[i] = value;
        break;
      case 7:
        EXPECT_EQ(list.Get(i), isIndex ? model[i] : 0);
        if (model.size() > 500) list.Clear(), model.clear();
        break;
    }
    ASSERT_EQ(ContentsOf(list), model) << "step " << step;
  }
}

TEST(PlainList, GrowsByOnePortion) {
  TIntList list(10);
  EXPECT_EQ(list.GetCapacity(), 10);
  for (int i = 0; i < 10; ++i) list.Add(i);
  EXPECT_EQ(list.GetCapacity(), 10);
  list.Add(10);
  EXPECT_EQ(list.GetCapacity(), 20);
  list.Clear();
  EXPECT_EQ(list.GetCapacity(), 20);
  EXPECT_EQ(list.GetCount(), 0);

  EXPECT_EQ(TIntList().GetCapacity(), 1000);
  EXPECT_EQ(TIntList(0).GetPortion(), 1000);
  EXPECT_EQ(TList().GetPortion(), 1000);
}

TEST(PlainList, SetCapacityRefusesWhatIsTooSmall) {
  TIntList integers;
  ExtList::TExtList scores;
  for (int i = 0; i < 5; ++i) integers.Add(i), scores.Add(i, i);
  for (const int bad : {4, 0, -1}) {
    EXPECT_TRUE(integers.SetCapacity(bad)) << "integer lists call it done";
    EXPECT_FALSE(scores.SetCapacity(bad));
  }
  EXPECT_EQ(integers.GetCapacity(), 1000);
  EXPECT_EQ(scores.GetCapacity(), 1000);
  EXPECT_TRUE(integers.SetCapacity(5));
  EXPECT_TRUE(scores.SetCapacity(7));
  EXPECT_EQ(integers.GetCapacity(), 5);
  EXPECT_EQ(scores.GetCapacity(), 7);
  integers.Add(5);
  EXPECT_EQ(integers.GetCapacity(), 1005);
}

TEST(PlainList, AppendAndAssign) {
  TIntList a(2);
  TIntList b;
  for (int i = 0; i < 5; ++i) a.Add(i), b.Add(10 * i);
  EXPECT_TRUE(a.Append(b));
  EXPECT_EQ(ContentsOf(a), (std::vector<int>{0, 1, 2, 3, 4, 0, 10, 20, 30, 40}));
  EXPECT_TRUE(a.Append(a));
  EXPECT_EQ(a.GetCount(), 20);
  EXPECT_TRUE(a.Assign(b));
  EXPECT_EQ(ContentsOf(a), ContentsOf(b));
  EXPECT_TRUE(a.Assign(a));
  EXPECT_EQ(a.GetCount(), 5);
  EXPECT_TRUE(a.Assign(TIntList()));
  EXPECT_EQ(a.GetCount(), 0);
}

TEST(TList, HoldsPointersItDoesNotOwn) {
  int x = 1;
  int y = 1;
  TList list;
  EXPECT_TRUE(list.Add(&x));
  EXPECT_TRUE(list.Insert(1, &y)) << "an index equal to the count appends";
  EXPECT_FALSE(list.Insert(3, &y));
  EXPECT_EQ(list.Get(-1), nullptr);
  EXPECT_EQ(list.Get(2), nullptr);
  EXPECT_EQ(list.IndexOf(&y), 1);
  EXPECT_EQ(list.IndexOf(nullptr), -1);
}

TEST(TIfpPostingList, GrowsBy1000WhateverThePortionSays) {
  TIfpPostingList list;
  list.SetPortion(7);
  EXPECT_EQ(list.GetPortion(), 7);
  for (int i = 0; i < 1000; ++i) list.Add({.mfn = i});
  EXPECT_EQ(list.GetCapacity(), 1000);
  list.Add({.mfn = 1000});
  EXPECT_EQ(list.GetCapacity(), 2000);
  EXPECT_EQ(list.Get(1000).mfn, 1000);
}

TEST(TIfpPostingList, KeepsObjectsBesidePostings) {
  TIfpPostingList list;
  EXPECT_TRUE(list.Add({.mfn = 5}));
  EXPECT_TRUE(list.AddObject({.mfn = 6, .page = 2}, 1));
  EXPECT_TRUE(list.Insert(0, {.mfn = 4}));
  EXPECT_EQ(list.GetObject(2), 1);
  EXPECT_EQ(list.GetObject(0), 0);
  EXPECT_TRUE(list.PutObject(0, 9));
  EXPECT_TRUE(list.Put(0, {.mfn = 44}));
  EXPECT_EQ(list.GetObject(0), 9) << "Put replaces the posting only";
  EXPECT_EQ(list.IndexOf({.mfn = 6, .page = 2}), 2);
  EXPECT_EQ(list.IndexOf({.mfn = 6}), -1);
  EXPECT_FALSE(list.PutObject(3, 1));
  EXPECT_EQ(list.GetObject(3), 0);
  EXPECT_EQ(list.At(3), nullptr);
  EXPECT_EQ(list.Get(-1), TifpItemPosting{});
}

TEST(ComparePostings, EachWordInTurnAsUnsigned) {
  const TifpItemPosting base{10, 10, 10, 10, 10, 10, 10, 10};
  using Word = std::int32_t TifpItemPosting::*;
  constexpr Word kWords[] = {&TifpItemPosting::mfn,          &TifpItemPosting::tag,
                             &TifpItemPosting::occ,          &TifpItemPosting::pos,
                             &TifpItemPosting::wordsInPiece, &TifpItemPosting::reserved,
                             &TifpItemPosting::page,         &TifpItemPosting::pageWord};
  EXPECT_EQ(backup::ComparePostings(base, base), 0);
  for (std::size_t i = 0; i < std::size(kWords); ++i) {
    TifpItemPosting other = base;
    other.*kWords[i] = -1;                                    // the largest unsigned number
    if (i + 1 < std::size(kWords)) other.*kWords[i + 1] = 0;  // a later word must not matter
    EXPECT_LT(backup::ComparePostings(base, other), 0) << "word " << i;
    EXPECT_GT(backup::ComparePostings(other, base), 0) << "word " << i;
  }
}

}  // namespace
