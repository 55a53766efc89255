#include "utils/string_list.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cstdlib>
#include <functional>
#include <memory>
#include <random>
#include <string>
#include <vector>

#include "support/list_contents.h"
#include "support/temp_dir.h"
#include "utils/posting_list.h"

namespace {

using test::ContentsOf;
using test::Texts;
using velor_01::TIfpPostingList;
using velor_01::TSortType;
using velor_01::TStringList;

void Fill(TStringList& list, const Texts& texts) {
  for (const auto& text : texts) list.Add(text);
}

TEST(TStringList, RandomOperationsMatchAVector) {
  struct Line {
    std::string text;
    int number;
    bool operator==(const Line&) const = default;
  };
  std::mt19937 random(21);
  TStringList list;
  list.SetCapacity(1);
  std::vector<Line> model;
  for (int step = 0; step < 20000; ++step) {
    const std::string text(random() % 4, static_cast<char>('a' + random() % 3));
    const int number = static_cast<int>(random() % 50);
    const int size = static_cast<int>(model.size());
    const int i = static_cast<int>(random() % (model.size() + 3)) - 1;
    const int j = static_cast<int>(random() % (model.size() + 1));
    const bool isIndex = i >= 0 && i < size;
    switch (random() % 10) {
      case 0:
      case 1:
      case 2:
        EXPECT_TRUE(list.AddObject(text, number));
        model.push_back({text, number});
        break;
      case 3:
        EXPECT_EQ(list.Insert(i, text), i >= 0 && i <= size);
        if (i >= 0 && i <= size) model.insert(model.begin() + i, {text, 0});
        break;
      case 4:
        EXPECT_EQ(list.Delete(i), isIndex);
        if (isIndex) model.erase(model.begin() + i);
        break;
      case 5:
        EXPECT_EQ(list.Put(i, text), isIndex);
        if (isIndex) model[i].text = text;
        break;
      case 6:
        EXPECT_EQ(list.Exchange(i, j), isIndex && j < size);
        if (isIndex && j < size) std::swap(model[i], model[j]);
        break;
      case 7: {
        list.Sort();
        std::ranges::stable_sort(model, {}, &Line::text);
        int index = -1;
        const auto place = std::ranges::lower_bound(model, text, {}, &Line::text);
        EXPECT_EQ(list.Find(text.c_str(), &index), place != model.end() && place->text == text);
        EXPECT_EQ(index, place - model.begin());
        break;
      }
      case 8:
        list.Reverse();
        std::ranges::reverse(model);
        break;
      case 9: {
        const auto hit = std::ranges::find(model, text, &Line::text);
        const int want = hit == model.end() ? -1 : static_cast<int>(hit - model.begin());
        EXPECT_EQ(list.IndexOf(text), want);
        EXPECT_EQ(list.IndexOf(text.c_str()), want);
        EXPECT_EQ(list.IndexOf((text + "tail").c_str(), static_cast<int>(text.size())), want);
        if (model.size() > 300) list.Clear(), model.clear();
        break;
      }
    }
    std::vector<Line> now;
    for (const auto& item : list.Items()) now.push_back({item.text, item.numObject});
    ASSERT_EQ(now, model) << "step " << step;
  }
}

TEST(TStringList, RoomGrowsByThePortion) {
  TStringList list;
  EXPECT_EQ(list.GetCapacity(), 1000);
  for (int i = 0; i < 1001; ++i) list.Add("x");
  EXPECT_EQ(list.GetCapacity(), 2000);
  EXPECT_FALSE(list.SetCapacity(1000));
  EXPECT_TRUE(list.SetCapacity(1001));
  EXPECT_EQ(list.GetCapacity(), 1001);
}

TEST(TStringList, NullAndBadIndexesAreHarmless) {
  TStringList list;
  EXPECT_TRUE(list.Add(static_cast<const char*>(nullptr)));
  EXPECT_STREQ(list.Get(0), "");
  EXPECT_EQ(list.IndexOf(static_cast<const char*>(nullptr)), 0);
  EXPECT_STREQ(list.Get(1), "");
  EXPECT_STREQ(list.Get(-1), "");
  EXPECT_EQ(list.GetObject(9), nullptr);
  EXPECT_EQ(list.GetNumObject(-9), 0);
  int index = 3;
  EXPECT_FALSE(list.Find(nullptr, &index));
  EXPECT_EQ(index, -1);
  EXPECT_FALSE(TStringList().Find("x", &index));
  EXPECT_EQ(index, 0);
}

TEST(TStringList, SortedListStaysSorted) {
  TStringList list(true);
  Fill(list, {"pear", "apple", "zebra", "apple", "fig"});
  EXPECT_EQ(ContentsOf(list), (Texts{"apple", "apple", "fig", "pear", "zebra"}))
      << "duplicates stand side by side";

  list.SetIgnoreDuplicates(true);
  EXPECT_FALSE(list.Add("fig"));
  EXPECT_FALSE(list.AddObject("fig", 5));
  EXPECT_TRUE(list.Add("date"));
  EXPECT_EQ(list.GetCount(), 6);
}

TEST(TStringList, DuplicatesCountOnlyInASortedList) {
  TStringList list;
  list.SetIgnoreDuplicates(true);
  Fill(list, {"b", "a", "b"});
  EXPECT_EQ(ContentsOf(list), (Texts{"b", "a", "b"}));
}

TEST(TStringList, AddPutsAnUnsortedRestInOrderToo) {
  TStringList list;
  Fill(list, {"c", "b", "a"});
  list.SetSorted(true);
  EXPECT_EQ(ContentsOf(list), (Texts{"a", "b", "c"}));
  list.Put(0, "x");
  list.Add("b");
  EXPECT_EQ(ContentsOf(list), (Texts{"b", "b", "c", "x"}));
}

TEST(TStringList, ObjectLandsOnItsTextInASortedList) {
  TStringList list(true);
  int thing = 0;
  list.AddObject("m", 1);
  list.AddObject("a", &thing, 2);
  list.AddObject("z", &thing);
  list.AddObject("a", 3);
  EXPECT_EQ(ContentsOf(list), (Texts{"a", "a", "m", "z"}));
  EXPECT_EQ(list.GetNumObject(0), 2) << "an equal text goes behind the earlier one";
  EXPECT_EQ(list.GetNumObject(1), 3);
  EXPECT_EQ(list.GetObject(3), &thing);
  EXPECT_EQ(list.IndexOfObject(1), 2);
  EXPECT_EQ(list.IndexOfObject(77), -1);
}

TEST(TStringList, Orders) {
  const Texts start = {"б", "B", "a", "\xE0", "aa"};
  const struct {
    const char* why;
    void (TStringList::*sort)(TSortType);
    TSortType type;
    Texts want;
  } cases[] = {
      {"bytes up", &TStringList::Sort, TSortType::up, {"B", "a", "aa", "б", "\xE0"}},
      {"bytes down", &TStringList::Sort, TSortType::down, {"\xE0", "б", "aa", "a", "B"}},
      {"a stray byte is its own code point",
       &TStringList::SortUtf8,
       TSortType::up,
       {"B", "a", "aa", "\xE0", "б"}},
      {"code points down", &TStringList::SortUtf8, TSortType::down, {"б", "\xE0", "aa", "a", "B"}},
      {"C locale", &TStringList::SortAnsi, TSortType::up, {"B", "a", "aa", "б", "\xE0"}},
      {"numbers", &TStringList::SortByObject, TSortType::down, {"aa", "\xE0", "a", "B", "б"}},
      {"no direction", &TStringList::Sort, static_cast<TSortType>(2), start},
  };
  for (const auto& c : cases) {
    SCOPED_TRACE(c.why);
    TStringList list;
    for (const auto& text : start) list.AddObject(text, list.GetCount());
    (list.*c.sort)(c.type);
    EXPECT_EQ(ContentsOf(list), c.want);
  }
}

TEST(TStringList, EqualItemsKeepTheirSequence) {
  for (const TSortType type : {TSortType::up, TSortType::down}) {
    TStringList list;
    for (int i = 0; i < 200; ++i) list.AddObject(i % 2 == 0 ? "a" : "b", i);
    list.Sort(type);
    for (int i = 1; i < 100; ++i) EXPECT_LT(list.GetNumObject(i - 1), list.GetNumObject(i));
  }
}

TEST(TStringList, FindUtf8FollowsSortUtf8) {
  TStringList list;
  Fill(list, {"я", "\xE0", "а", "z", "я"});
  list.SortUtf8();
  int index = -1;
  EXPECT_TRUE(list.FindUTF8("я", &index));
  EXPECT_EQ(index, 3) << "the first of two";
  EXPECT_FALSE(list.FindUTF8("б", &index));
  EXPECT_EQ(index, 3);
}

TEST(TStringList, IndexOfNoCaseReadsUtf8) {
  TStringList list;
  Fill(list, {"Oryx", "Орикс"});
  EXPECT_EQ(list.IndexOfNoCase("ORYX"), 0);
  EXPECT_EQ(list.IndexOfNoCase("оРИКС"), 1);
  EXPECT_EQ(list.IndexOfNoCase("Ory"), -1);
}

TEST(TStringList, SortWithPostings) {
  TIfpPostingList postings;
  for (const int mfn : {30, 10, 20, 5}) postings.Add({.mfn = mfn});
  TStringList list;
  for (const int number : {0, 1, 2, 99}) list.AddObject("same", number);  // 99 has no posting
  list.AddObject("first", 3);
  EXPECT_TRUE(list.Sort_with_Postings(postings));
  std::vector<int> order;
  for (const auto& item : list.Items()) order.push_back(item.numObject);
  EXPECT_EQ(order, (std::vector<int>{99, 1, 2, 0, 3})) << "four items take part, the fifth stays where it is";
}

TEST(TStringList, TextSplitting) {
  const struct {
    const char* why;
    std::string text;
    Texts want;
  } cases[] = {
      {"all line ends", "a\rb\nc\r\nd", {"a", "b", "c", "d"}},
      {"empty lines count", "\n\na\r\n\r\n", {"", "", "a", ""}},
      {"no trailing item", "a\r\n", {"a"}},
      {"nothing", "", {}},
      {"a NUL ends the text", std::string("a\nb\0c\nd", 7), {"a", "b"}},
      {"a mark only at the start of a file",
       "a\n\xEF\xBB\xBF"
       "b",
       {"a",
        "\xEF\xBB\xBF"
        "b"}},
  };
  const test::TempDir dir;
  for (const auto& c : cases) {
    SCOPED_TRACE(c.why);
    TStringList list;
    list.Add("before");
    EXPECT_TRUE(list.SetText(c.text));
    EXPECT_EQ(ContentsOf(list), c.want);
    EXPECT_TRUE(list.LoadFromFile(dir.Write("list.txt", "\xEF\xBB\xBF" + c.text)));
    EXPECT_EQ(ContentsOf(list), c.want);
  }
}

TEST(TStringList, SetTextFromItsOwnItem) {
  TStringList list;
  list.Add("one\ntwo");
  EXPECT_TRUE(list.SetText(list.Get(0)));
  EXPECT_EQ(ContentsOf(list), (Texts{"one", "two"}));
}

TEST(TStringList, LoadingSortsOnceAndKeepsDuplicates) {
  const test::TempDir dir;
  TStringList list(true);
  list.SetIgnoreDuplicates(true);
  EXPECT_TRUE(list.LoadFromFile(dir.Write("list.txt", "c\na\nc\n")));
  EXPECT_EQ(ContentsOf(list), (Texts{"a", "c", "c"}));
  EXPECT_TRUE(list.GetSorted());
  EXPECT_FALSE(list.LoadFromFile(dir.File("missing")));
  EXPECT_EQ(list.GetCount(), 0);
}

TEST(TStringList, SaveAndTextAreCrLfLines) {
  const test::TempDir dir;
  TStringList list;
  EXPECT_TRUE(list.SaveToFile(dir.File("out.txt")));
  EXPECT_EQ(dir.Read("out.txt"), "");
  Fill(list, {"a", "", "b"});
  EXPECT_TRUE(list.SaveToFile(dir.File("out.txt")));
  EXPECT_EQ(dir.Read("out.txt"), "a\r\n\r\nb\r\n");
  EXPECT_FALSE(list.SaveToFile(dir.File("no/such/dir")));

  std::int64_t size = 0;
  const std::unique_ptr<char, decltype(&std::free)> text(list.GetTextWithSize(&size), &std::free);
  EXPECT_EQ(std::string(text.get()), "a\r\n\r\nb\r\n");
  EXPECT_EQ(size, 8);
  EXPECT_EQ(list.GetTextSize(), 8);
}

TEST(TStringList, EnsureUtf8ConvertsOnlyWhatIsNot) {
  TStringList list;
  Fill(list, {"plain", "\xEF\xF0\xE8", "уже", ""});
  EXPECT_TRUE(list.EnsureUtf8());
  EXPECT_EQ(ContentsOf(list), (Texts{"plain", "при", "уже", ""}));
}

TEST(TStringList, AppendAndAssignCarryObjects) {
  TStringList a;
  TStringList b(true);
  a.AddObject("y", 1);
  a.AddObject("x", 2);
  b.Add("z");
  EXPECT_TRUE(b.Append(a));
  EXPECT_EQ(ContentsOf(b), (Texts{"x", "y", "z"}));
  EXPECT_EQ(b.GetNumObject(0), 2);
  EXPECT_TRUE(a.Append(a));
  EXPECT_EQ(ContentsOf(a), (Texts{"y", "x", "y", "x"}));
  EXPECT_TRUE(a.Assign(b));
  EXPECT_EQ(ContentsOf(a), ContentsOf(b));
  EXPECT_EQ(a.GetNumObject(0), 2);
  EXPECT_TRUE(a.Assign(a));
  EXPECT_EQ(a.GetCount(), 3);
}

// Counts what a derived list hears of changes.
class Listener : public TStringList {
 public:
  void Changed() noexcept override { ++calls; }
  int calls = 0;
};

TEST(TStringList, EveryMutationTellsTheDerivedList) {
  Listener list;
  list.Add("unheard");
  EXPECT_EQ(list.calls, 0);
  list.SetChanged(true);
  TStringList other;
  other.Add("o");
  const std::pair<const char*, std::function<void()>> mutations[] = {
      {"Add", [&] { list.Add("a"); }},
      {"AddObject", [&] { list.AddObject("a", 1); }},
      {"Insert", [&] { list.Insert(0, "i"); }},
      {"Put", [&] { list.Put(0, "p"); }},
      {"PutObject", [&] { list.PutObject(0, 3); }},
      {"PutObject", [&] { list.PutObject(0, nullptr); }},
      {"Exchange", [&] { list.Exchange(0, 1); }},
      {"Reverse", [&] { list.Reverse(); }},
      {"Sort", [&] { list.Sort(); }},
      {"Append", [&] { list.Append(other); }},
      {"Assign", [&] { list.Assign(other); }},
      {"SetText", [&] { list.SetText("q\nr"); }},
      {"EnsureUtf8", [&] { list.EnsureUtf8(); }},
      {"Delete", [&] { list.Delete(0); }},
      {"Clear", [&] { list.Clear(); }},
      {"SetSorted", [&] { list.SetSorted(true); }},
      {"Add to a sorted list", [&] { list.Add("z"); }},
  };
  for (const auto& [name, mutate] : mutations) {
    const int before = list.calls;
    mutate();
    EXPECT_GT(list.calls, before) << name;
  }
}

}  // namespace
