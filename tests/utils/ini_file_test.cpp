#include "utils/ini_file.h"

#include <gtest/gtest.h>

#include <chrono>
#include <map>
#include <random>
#include <string>
#include <vector>

#include "support/temp_dir.h"

namespace {

using utils::IniFile;
using Lines = std::vector<std::string>;
using Texts = std::map<std::string, std::string>;

std::shared_ptr<IniFile> ParseText(std::string_view text) {
  return IniFile::Parse(text, "main.ini", nullptr);
}

// Parses a text whose includes are the other texts.
std::shared_ptr<IniFile> ParseWith(std::string_view text, const Texts& includes) {
  return IniFile::Parse(text, "main.ini", [&](const std::string& name, std::string* out) {
    const auto hit = includes.find(name);
    if (hit == includes.end()) return false;
    *out = hit->second;
    return true;
  });
}

TEST(IniFile, ReadsLines) {
  const struct {
    const char* why;
    std::string text;
    const char* section;
    const char* key;
    std::string want;  // "-" when the key is not there
  } cases[] = {
      {"blanks around both go", "[s]\n  key = value \t", "s", "key", "value"},
      {"names are blind to case", "[Main]\nDataPath=/x", "MAIN", "DATAPATH", "/x"},
      {"Cyrillic names too", "[Раздел]\nКлюч=1", "РАЗДЕЛ", "ключ", "1"},
      {"cp1251 names by their bytes", "[\xD0]\nA\xCA=1", "\xD0", "a\xCA", "1"},
      {"an empty value is found", "[s]\nk=", "s", "k", ""},
      {"an empty key", "[s]\n=value", "s", "", "value"},
      {"the first = divides", "[s]\nk=a=b", "s", "k", "a=b"},
      {"no = is no key", "[s]\nk\n", "s", "k", "-"},
      {"before the first head", "k=1\n[s]\nk=2", "", "k", "1"},
      {"# comment", "[s]\n#k=1", "s", "#k", "-"},
      {"/* marks one line only", "[s]\n/* k=1\nk=2\n*/", "s", "k", "2"},
      {"; is no comment", "[s]\n;k=1", "s", ";k", "1"},
      {"# behind a value belongs to it", "[s]\nk=1 # one", "s", "k", "1 # one"},
      {"an indented # is a key", "[s]\n #k=1", "s", "#k", "1"},
      {"quotes are kept", "[s]\nk=\"a b\"", "s", "k", "\"a b\""},
      {"the last value wins", "[s]\nk=1\nK=2", "s", "k", "2"},
      {"a section again empties the first", "[Main]\na=1\n[MAIN]\nb=2", "main", "a", "-"},
      {"and is used itself", "[Main]\na=1\n[MAIN]\nb=2", "main", "b", "2"},
      {"brackets and blanks around a name", "[[ s ] ]\nk=1", "s", "k", "1"},
      {"an empty head is passed over", "[s]\n[]\n[ \t]\nk=1", "s", "k", "1"},
      {"an indented head is none", "[s]\n [t]\nk=1", "s", "k", "1"},
      {"all line ends", "[s]\ra=1\nb=2\r\nk=3", "s", "k", "3"},
      {"a byte-order mark", "\xEF\xBB\xBF[s]\nk=1", "s", "k", "1"},
      {"a NUL is a byte like others", std::string("[s]\nk=a\0b", 9), "s", "k", std::string("a\0b", 3)},
      {"a long line", "[s]\nk=" + std::string(100000, 'x'), "s", "k", std::string(100000, 'x')},
      {"no such section", "[s]\nk=1", "t", "k", "-"},
      {"nothing", "", "s", "k", "-"},
  };
  for (const auto& c : cases) {
    SCOPED_TRACE(c.why);
    const auto ini = ParseText(c.text);
    bool found = false;
    EXPECT_EQ(ini->Get(c.section, c.key, "-", &found), c.want);
    EXPECT_EQ(found, c.want != "-");
    EXPECT_EQ(ini->Get(c.section, c.key, "-"), c.want);
  }
}

TEST(IniFile, SectionsOfTheFile) {
  const auto ini = ParseText("a=1\n\n[One]\n# note\nb=2\n[@none]\n[two]\n");
  int line = -7;
  const utils::IniSection* section = ini->GetSection("ONE", &line);
  ASSERT_NE(section, nullptr);
  EXPECT_EQ(line, 2);
  EXPECT_EQ(section->GetName(), "one");
  EXPECT_EQ(section->Get("B", "x"), "2");
  EXPECT_EQ(section->Get("a", "x"), "x");
  EXPECT_TRUE(section->Contains("B"));
  EXPECT_NE(ini->GetSection("", &line), nullptr);
  EXPECT_EQ(line, -1);
  EXPECT_EQ(ini->GetSection("three"), nullptr);

  Lines lines = {"old"};
  EXPECT_TRUE(ini->GetSection("one", &lines));
  EXPECT_EQ(lines, (Lines{"# note", "b=2", "[@none]"}));
  EXPECT_TRUE(ini->GetSection("", &lines));
  EXPECT_EQ(lines, (Lines{"a=1", ""}));
  EXPECT_FALSE(ini->GetSection("three", &lines));
  EXPECT_TRUE(lines.empty());
}

TEST(IniFile, IncludesAnswerBehindTheFile) {
  const Texts includes = {{"common.ini", "[main]\nboth=common\nonly=common\nempty=\n[far]\nx=1"},
                          {"second.ini", "[main]\nonly=second\nlast=second"}};
  for (const char* text :
       {"[@Common]\n[@second.INI]\n[Main]\nboth=file", "[Main]\nboth=file\n[@Common]\n[@second]"}) {
    SCOPED_TRACE(text);
    const auto ini = ParseWith(text, includes);
    EXPECT_EQ(ini->Get("Main", "both", "-"), "file");
    EXPECT_EQ(ini->Get("Main", "only", "-"), "common") << "the first include wins";
    EXPECT_EQ(ini->Get("Main", "last", "-"), "second");
    EXPECT_EQ(ini->Get("Main", "empty", "-"), "") << "found, though empty";
    EXPECT_EQ(ini->Get("Far", "x", "-"), "1");
    EXPECT_EQ(ini->Get("Main", "none", "-"), "-");
    Lines lines;
    EXPECT_TRUE(ini->GetSection("far", &lines));
    EXPECT_EQ(lines, Lines{"x=1"});
  }
}

TEST(IniFile, AnIncludeLineDoesNotEndTheSection) {
  const auto ini = ParseWith("[s]\n[@a]\nk=1", {{"a.ini", "[t]\nk=2"}});
  EXPECT_EQ(ini->Get("s", "k", "-"), "1");
}

TEST(IniFile, IncludeCyclesAndNetsEnd) {
  Texts includes = {{"a.ini", "[@b]\n[@a]\n[s]\na=1"}, {"b.ini", "[@a]\n[s]\nb=2"}};
  const auto ini = ParseWith("[@a]\n[@b]", includes);
  EXPECT_EQ(ini->Get("s", "a", "-"), "1");
  EXPECT_EQ(ini->Get("s", "b", "-"), "2");
  EXPECT_EQ(ini->Get("s", "c", "-"), "-");

  // Twenty layers of ten files that all include the whole next layer: 10^20 roads to the bottom.
  includes.clear();
  for (int layer = 0; layer < 20; ++layer) {
    std::string next = "[s]\nk" + std::to_string(layer) + "=1\n";
    for (int i = 0; i < 10; ++i) next += "[@" + std::to_string(layer + 1) + "-" + std::to_string(i) + "]\n";
    for (int i = 0; i < 10; ++i) includes[std::to_string(layer) + "-" + std::to_string(i) + ".ini"] = next;
  }
  EXPECT_EQ(ParseWith("[@0-0]", includes)->Get("s", "k19", "-"), "1");
}

TEST(IniFile, AReaderThatInventsNamesForEver) {
  int calls = 0;
  const auto ini = IniFile::Parse("[@x]", "main.ini", [&](const std::string&, std::string* text) {
    ++calls;
    for (int i = 0; i < 3; ++i) *text += "[@x" + std::to_string(3 * calls + i) + "]\n";
    return true;
  });
  EXPECT_LE(calls, 1000);
  EXPECT_EQ(ini->Get("s", "k", "-"), "-");
}

TEST(IniFile, ManyIncludeLinesTakeLinearTime) {
  constexpr int kLines = 200000;
  std::string text;
  for (int i = 0; i < kLines; ++i) text += "[@x" + std::to_string(i) + "]\n[@x0]\n";
  const auto start = std::chrono::steady_clock::now();
  const auto ini = ParseWith(text + "[s]\nk=1", {{"x0.ini", "[s]\nlow=2"}});
  EXPECT_LT(std::chrono::steady_clock::now() - start, std::chrono::seconds(10));
  EXPECT_EQ(ini->Get("s", "k", "-"), "1");
  EXPECT_EQ(ini->Get("s", "low", "-"), "2");
}

TEST(IniFile, Files) {
  const test::TempDir dir;
  dir.Write("common.ini", "[main]\nx=common\ny=common");
  const std::string path = dir.Write("Main.ini", "\xEF\xBB\xBF[Main]\r\nx=file\r\n[@Common]\r\n[@missing]");
  const auto ini = IniFile::ParseFile(path, dir.Path());
  EXPECT_EQ(ini->GetFileName(), path);
  EXPECT_EQ(ini->Get("main", "x", ""), "file");
  EXPECT_EQ(ini->Get("main", "y", ""), "common");

  const auto missing = IniFile::ParseFile(dir.File("none.ini"), dir.Path());
  ASSERT_NE(missing, nullptr);
  EXPECT_EQ(missing->ToText(), "");
  EXPECT_TRUE(missing->Put("s", "k", "v"));
  EXPECT_TRUE(missing->Save());
  EXPECT_EQ(dir.Read("none.ini"), "[s]\r\nk=v");
  EXPECT_FALSE(ParseText("")->GetFileName().empty());
  EXPECT_FALSE(IniFile::Parse("", dir.File("no/such/dir.ini"), nullptr)->Save());
}

TEST(IniFile, RawLinesSurvive) {
  const std::string text = "# head\r\n\r\n/* x\r\n[ S ]\r\n  a = 1  \r\nnonsense\r\n[@inc]\r\n\r\n[]";
  EXPECT_EQ(ParseText(text)->ToText(), text);
  EXPECT_EQ(ParseText("a=1\nb=2\rc=3\n")->ToText(), "a=1\r\nb=2\r\nc=3");
}

TEST(IniFile, Put) {
  const struct {
    const char* why;
    const char* text;
    const char* section;
    const char* key;
    const char* value;
    const char* want;
  } cases[] = {
      {"a value in its place", "[s]\na=1\n# note\nb=2", "S", "A", "9", "[s]\r\na=9\r\n# note\r\nb=2"},
      {"the text before = stays", "[s]\n  Key = 1", "s", "KEY", "9", "[s]\r\n  Key =9"},
      {"behind the last item", "[s]\na=1\n# note\n\n[t]\nb=2", "s", "c", "9",
       "[s]\r\na=1\r\nc=9\r\n# note\r\n\r\n[t]\r\nb=2"},
      {"into an empty section", "[s]\n# note\n[t]\nb=2", "s", "c", "9", "[s]\r\nc=9\r\n# note\r\n[t]\r\nb=2"},
      {"before the first head", "[s]\na=1", "", "c", "9", "c=9\r\n[s]\r\na=1"},
      {"behind the items before the first head", "x=1\n\n[s]", "", "c", "9", "x=1\r\nc=9\r\n\r\n[s]"},
      {"a new section", "[s]\na=1\n", "New", "Key", "9", "[s]\r\na=1\r\n[New]\r\nKey=9"},
      {"into nothing", "", "New", "k", "9", "[New]\r\nk=9"},
      {"every line of a repeated key", "[s]\nk=1\nx=2\nK = 3\n[t]\nk=4", "s", "k", "9",
       "[s]\r\nk=9\r\nx=2\r\nK =9\r\n[t]\r\nk=4"},
      {"the later of two sections", "[s]\nk=1\n[S]\nk=2", "s", "k", "9", "[s]\r\nk=1\r\n[S]\r\nk=9"},
      {"line breaks and blanks of a value", "[s]", "s", "k", " a\r\nb \n", "[s]\r\nk=a  b"},
      {"an empty value", "[s]\nk=1", "s", "k", "", "[s]\r\nk="},
      {"a key that looks like a comment", "[s]", "s", "#k", "9", "[s]\r\n #k=9"},
      {"a key that looks like a head", "[s]", "s", "[k", "9", "[s]\r\n [k=9"},
  };
  for (const auto& c : cases) {
    SCOPED_TRACE(c.why);
    const auto ini = ParseText(c.text);
    EXPECT_TRUE(ini->Put(c.section, c.key, c.value));
    EXPECT_EQ(ini->ToText(), c.want);
    EXPECT_EQ(ParseText(c.want)->Get(c.section, c.key, "-"), ini->Get(c.section, c.key, "-"))
        << "reads back alike";
  }
}

TEST(IniFile, PutRefusesWhatWouldNotReadBack) {
  const std::pair<const char*, const char*> cases[] = {
      {"s", "a=b"}, {"s", "a\nb"}, {"@s", "k"}, {"[s]", "k"}, {" s", "k"}, {"s\r", "k"}, {"s\nt", "k"}};
  for (const auto& [section, key] : cases) {
    const auto ini = ParseText("x=1");
    EXPECT_FALSE(ini->Put(section, key, "v")) << section << ' ' << key;
    EXPECT_EQ(ini->ToText(), "x=1");
  }
}

TEST(IniFile, RandomPutsReadBackAsAMap) {
  std::mt19937 random(17);
  for (int round = 0; round < 30; ++round) {
    const auto ini =
        ParseWith("# top\ns1=x\n[s1]\n# c\nk1=1\nk1=2\n\n[@inc]\n[s2]\nk2=3\nk9=4\n[s1]\n#\nk3=5",
                  {{"inc.ini", "[s0]\nk=v"}});
    std::map<std::pair<std::string, std::string>, std::string> model = {
        {{"", "s1"}, "x"}, {{"s1", "k3"}, "5"}, {{"s2", "k2"}, "3"}, {{"s2", "k9"}, "4"}, {{"s0", "k"}, "v"}};
    for (int step = 0; step < 60; ++step) {
      const std::string section = random() % 6 == 0 ? "" : "s" + std::to_string(random() % 5);
      if (random() % 10 == 0) {
        ASSERT_TRUE(ini->PutSection(section, {"# new", "k1=a", "k1=b", "[bad]", "k7=c\r\nk8=d"}));
        std::erase_if(model, [&](const auto& entry) {
          return entry.first.first == section && entry.first.second != "k";  // the include keeps its k
        });
        for (const auto& [key, value] : Texts{{"k1", "b"}, {"k7", "c"}, {"k8", "d"}})
          model[{section, key}] = value;
      } else {
        const std::string key = "k" + std::to_string(random() % 12);
        ASSERT_TRUE(ini->Put(section, key, std::to_string(step)));
        model[{section, key}] = std::to_string(step);
      }
    }
    const auto again = ParseWith(ini->ToText(), {{"inc.ini", "[s0]\nk=v"}});
    const auto flat = ParseText(ini->ToText(true));
    for (const auto& [names, value] : model) {
      for (const auto& file : {ini, again, flat})
        ASSERT_EQ(file->Get(names.first, names.second, "-"), value) << names.first << ' ' << names.second;
    }
  }
}

TEST(IniFile, PutSectionReplacesTheLines) {
  const auto ini = ParseWith("[a]\nx=1\n# note\n[@inc]\n[b]\ny=2", {{"inc.ini", "[c]\nz=3"}});
  EXPECT_TRUE(ini->PutSection("A", {"k=9", "# own"}));
  EXPECT_EQ(ini->ToText(), "[a]\r\nk=9\r\n# own\r\n[@inc]\r\n[b]\r\ny=2")
      << "an include line is no part of a section";
  EXPECT_EQ(ini->Get("a", "x", "-"), "-");
  EXPECT_TRUE(ini->Put("b", "y", "4"));
  EXPECT_TRUE(ini->Put("", "top", "0"));
  EXPECT_TRUE(ini->PutSection("a", {}));
  EXPECT_TRUE(ini->PutSection("n", {"q=1"}));
  EXPECT_EQ(ini->ToText(), "top=0\r\n[a]\r\n[@inc]\r\n[b]\r\ny=4\r\n[n]\r\nq=1");
  EXPECT_EQ(ini->Get("c", "z", "-"), "3");
  EXPECT_FALSE(ini->PutSection("@n", {}));
}

TEST(IniFile, Merge) {
  const struct {
    const char* why;
    bool overwrite;
    const char* want;
  } cases[] = {
      {"keeps what is there", false, "[s]\r\na=1\r\nc=inc\r\n# end\r\n[@inc]\r\n[T]\r\nd=2\r\ne=3"},
      {"overwrites", true, "[s]\r\na=2\r\nc=inc\r\nb=2\r\n# end\r\n[@inc]\r\n[T]\r\nd=2\r\ne=3"},
  };
  for (const auto& c : cases) {
    SCOPED_TRACE(c.why);
    const auto ini = ParseWith("[s]\na=1\nc=inc\n# end\n[@inc]", {{"inc.ini", "[s]\nb=hidden"}});
    const auto other =
        ParseWith("[S]\na=2\nb=2\n[@low]\n[T]\nd=2", {{"low.ini", "[t]\nd=low\ne=3\n[s]\na=low"}});
    ini->Merge(*other, c.overwrite);
    EXPECT_EQ(ini->ToText(), c.want);
    ini->Merge(*ini, true);
    EXPECT_EQ(ini->ToText(), c.want);
  }
  const auto ini = ParseText("");
  ini->MergeSection(*ParseText("[a]\nx=1\n[b]\ny=2"), "B", false);
  ini->MergeSection(*ParseText("[a]"), "a", false);
  EXPECT_EQ(ini->ToText(), "[B]\r\ny=2");
}

TEST(IniFile, FlattenKeepsEveryAnswer) {
  const auto ini =
      ParseWith("[@one]\n[s]\n# c\na=file\n[@two]\n", {{"one.ini", "x=1\n[s]\na=1\nb=1\n #odd=1\n[@three]"},
                                                       {"two.ini", "[S]\nb=2\nc=2\n[U]\nu=2"},
                                                       {"three.ini", "[s]\nc=3"}});
  EXPECT_EQ(ini->ToText(true), "x=1\r\n[s]\r\n# c\r\na=file\r\nb=1\r\n #odd=1\r\nc=3\r\n[U]\r\nu=2");
  EXPECT_EQ(ini->FlattenFile()->GetFileName(), "main.ini");
}

TEST(IniFile, ClearForgetsAllButTheName) {
  const auto ini = ParseWith("k=1\n[@inc]\n[s]\nk=1", {{"inc.ini", "[t]\nk=1"}});
  ini->Clear();
  for (const char* section : {"", "s", "t"}) EXPECT_EQ(ini->Get(section, "k", "-"), "-");
  EXPECT_EQ(ini->ToText(), "");
  EXPECT_EQ(ini->GetFileName(), "main.ini");
  EXPECT_TRUE(ini->Put("", "k", "2"));
}

}  // namespace
