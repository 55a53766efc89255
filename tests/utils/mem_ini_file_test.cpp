#include "utils/mem_ini_file.h"

#include <gtest/gtest.h>

#include <map>
#include <random>
#include <string>
#include <vector>

#include "support/list_contents.h"
#include "support/temp_dir.h"

namespace {

using IniFiles::THashedStringList;
using IniFiles::TMemIniFile;
using IniFiles::TStringHash;
using test::ContentsOf;
using test::Texts;
using velor_01::TStringList;

void Load(TMemIniFile& ini, const char* text) {
  TStringList list;
  list.SetText(text);
  ini.LoadValuesFromList(list);
}

std::string TextOf(const TMemIniFile& ini) {
  TStringList list;
  ini.GetStrings(&list);
  std::string text;
  for (const auto& line : ContentsOf(list)) text += line + "\n";
  return text;
}

TEST(TStringHash, HashOf) {
  EXPECT_EQ(TStringHash::HashOf(""), 0u);
  EXPECT_EQ(TStringHash::HashOf("A"), 65u);
  EXPECT_EQ(TStringHash::HashOf("AB"), (65u * 4) ^ 66u);
  EXPECT_EQ(TStringHash::HashOf("\xFF"), 255u) << "bytes count without a sign";
  // Fifteen bytes push the first out of the word; where the top bit is set the shift brings in ones.
  std::uint32_t want = 0;
  for (const unsigned char c : std::string("\xFF\xFE\xFD\x01\x02\x03\x80\x90\xA0\xB0zyxwvut"))
    want = c ^ ((want * 4) | ((want >> 30) | (want >= 0x80000000u ? 0xFFFFFFFCu : 0u)));
  EXPECT_EQ(TStringHash::HashOf("\xFF\xFE\xFD\x01\x02\x03\x80\x90\xA0\xB0zyxwvut"), want);
}

TEST(TStringHash, RandomOperationsMatchAMultimap) {
  std::mt19937 random(2);
  TStringHash hash(4);
  std::map<std::string, std::vector<int>> model;  // the last value of a key answers
  for (int step = 0; step < 5000; ++step) {
    const std::string key = std::to_string(random() % 30);
    auto& values = model[key];
    switch (random() % 4) {
      case 0:
        hash.Add(key, step);
        values.push_back(step);
        break;
      case 1:
        hash.Remove(key);
        if (!values.empty()) values.pop_back();
        break;
      case 2:
        EXPECT_EQ(hash.Modify(key, step), !values.empty());
        if (!values.empty()) values.back() = step;
        break;
      case 3:
        if (step % 500 == 0) hash.Clear(), model.clear();
        break;
    }
    ASSERT_EQ(hash.ValueOf(key), model[key].empty() ? -1 : model[key].back());
  }
}

TEST(THashedStringList, IndexesFollowEveryChange) {
  THashedStringList list;
  list.Add("Ключ=1");
  list.Add("b");
  list.Add("B=2");
  EXPECT_EQ(list.IndexOfName("КЛЮЧ"), 0);
  EXPECT_EQ(list.IndexOf("B"), 1);
  EXPECT_EQ(list.IndexOf("КЛЮЧ=1"), 0);
  EXPECT_EQ(list.IndexOfName("b"), 2) << "a line without = has no name";
  list.Delete(0);
  EXPECT_EQ(list.IndexOfName("ключ"), -1);
  EXPECT_EQ(list.IndexOfName("b"), 1);
  list.Insert(0, "b=first");
  EXPECT_EQ(list.IndexOfName("B"), 0) << "the first of equal names";
  list.Put(0, "c=3");
  EXPECT_EQ(list.IndexOfName("c"), 0);
  EXPECT_EQ(list.IndexOf("nothing"), -1);
}

TEST(TMemIniFile, SetStrings) {
  const struct {
    const char* why;
    const char* text;
    const char* want;
  } cases[] = {
      {"comments, blanks and lines before a section go", "x=1\n;c\n[A]\n;c\n\nk=1\n", "[A]\nk=1\n\n"},
      {"lines are kept as they are", "[a]\n k = 1 \nword\n#x", "[a]\n k = 1 \nword\n#x\n\n"},
      {"names are not folded or trimmed", "[ Aa ]\nk=1", "[ Aa ]\nk=1\n\n"},
      {"a head must close", "[a]\n[b\nc]\n[", "[a]\n[b\nc]\n[\n\n"},
      {"an empty name and an empty section", "[]\n[b]", "[]\n\n[b]\n\n"},
      {"both of two sections are kept", "[a]\nk=1\n[A]\nk=2", "[a]\nk=1\n\n[A]\nk=2\n\n"},
      {"nothing", "", ""},
  };
  for (const auto& c : cases) {
    SCOPED_TRACE(c.why);
    TMemIniFile ini;
    Load(ini, "[old]\nx=1");
    Load(ini, c.text);
    EXPECT_EQ(TextOf(ini), c.want);
    EXPECT_EQ(ini.Empty(), *c.want == 0);
  }
}

TEST(TMemIniFile, Reading) {
  TMemIniFile ini;
  Load(ini,
       "[Main]\nName=a=b\nempty=\nn=-12\nzero=0\nbad=12x\nword\nNAME=second\nbig=9000000000\n[main]\nn=7");
  const struct {
    const char* section;
    const char* key;
    const char* want;
  } texts[] = {
      {"MAIN", "name", "a=b"}, {"main", "empty", ""}, {"main", "word", "def"}, {"no", "name", "def"}};
  for (const auto& c : texts) EXPECT_EQ(ini.ReadString(c.section, c.key, "def"), c.want) << c.key;

  const struct {
    const char* key;
    long integer;
    bool boolean;
  } numbers[] = {{"n", -12, true},   {"zero", 0, false}, {"bad", 5, true},
                 {"empty", 5, true}, {"none", 5, true},  {"big", 9000000000, true}};
  for (const auto& c : numbers) {
    EXPECT_EQ(ini.ReadInteger("main", c.key, 5), c.integer) << c.key;
    EXPECT_EQ(ini.ReadBool("main", c.key, true), c.boolean) << c.key;
  }
  EXPECT_FALSE(ini.ReadBool("main", "bad", false));

  EXPECT_TRUE(ini.SectionExists("mAiN"));
  EXPECT_FALSE(ini.SectionExists("mai"));
  EXPECT_TRUE(ini.ValueExists("main", "EMPTY"));
  EXPECT_FALSE(ini.ValueExists("main", "word"));
  EXPECT_FALSE(ini.ValueExists("none", "n"));

  TStringList list;
  list.Add("old");
  ini.ReadSection("main", &list);
  EXPECT_EQ(ContentsOf(list), (Texts{"Name", "empty", "n", "zero", "bad", "NAME", "big"}));
  ini.ReadSections(&list);
  EXPECT_EQ(ContentsOf(list), (Texts{"Main", "main"}));
  ini.ReadSectionValues("MAIN", &list);
  EXPECT_EQ(list.GetCount(), 8);
  ini.ReadSectionValues("none", &list);
  EXPECT_EQ(list.GetCount(), 0);
}

TEST(TMemIniFile, Writing) {
  TMemIniFile ini;
  ini.WriteString("Web", "title", "Каталог");
  ini.WriteInteger("web", "n", -3);
  ini.WriteBool("WEB", "on", true);
  ini.WriteBool("web", "off", false);
  ini.WriteString("web", "TITLE", "x y");
  ini.WriteString("other", "k", "");
  EXPECT_EQ(TextOf(ini), "[Web]\nTITLE=x y\nn=-3\non=1\noff=0\n\n[other]\nk=\n\n");

  ini.DeleteKey("web", "N");
  ini.DeleteKey("web", "none");
  ini.DeleteKey("none", "n");
  ini.EraseSection("OTHER");
  ini.EraseSection("none");
  EXPECT_EQ(TextOf(ini), "[Web]\nTITLE=x y\non=1\noff=0\n\n");
  ini.Clear();
  EXPECT_TRUE(ini.Empty());
  ini.WriteString("web", "k", "again");
  EXPECT_EQ(ini.ReadString("web", "k", ""), "again");
}

TEST(TMemIniFile, Files) {
  const test::TempDir dir;
  TMemIniFile ini(dir.Write("web.ini", "\xEF\xBB\xBF[a]\r\nk=1\r\n"));
  EXPECT_EQ(ini.ReadString("a", "k", ""), "1");
  ini.WriteString("b", "k", "2");
  EXPECT_TRUE(ini.UpdateFile());
  EXPECT_EQ(dir.Read("web.ini"), "[a]\r\nk=1\r\n\r\n[b]\r\nk=2\r\n\r\n");
  ini.WriteString("a", "k", "lost");
  ini.LoadValues();
  EXPECT_EQ(TMemIniFile(ini.GetFileName()).ReadString("b", "k", ""), "2");
  EXPECT_EQ(ini.ReadString("a", "k", ""), "1");

  EXPECT_TRUE(TMemIniFile(dir.File("missing.ini")).Empty());
  EXPECT_FALSE(TMemIniFile().UpdateFile());
}

}  // namespace
