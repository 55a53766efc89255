// Tables over records, the field lists of tables, and format files printed anew.

#include <gtest/gtest.h>

#include <sstream>

#include "format/fst2ifs.h"
#include "format/print_file.h"
#include "format/xpft_fst.h"
#include "format_runner.h"

namespace {

using test::FormatRunner;
using velor_01::TStringList;

TEST(ParseFstTest, Lines) {
  const struct {
    const char* line;
    int tag;
    const char* format;
  } rows[] = {
      {"200 0 v200, ' x'", 200, "v200, ' x'"},
      {"200,201,0 0 v200", 200, "v200"},
      {"200", 200, ""},
      {"200,7", 200, ""},
      {"200 0", 200, ""},
      {"200 0 ", 200, ""},
      {"", 0, ""},
      {"rem no table line", 0, "table line"},
      {"0 0 v0", 0, "v0"},
      {"-3 0 v1", -3, "v1"},
      {"99999999999 0 v1", 0, "v1"},
  };
  TStringList lines;
  for (const auto& row : rows) lines.Add(row.line);
  velor_server_proc::ParseFst(&lines);
  for (int i = 0; i < lines.GetCount(); ++i) {
    EXPECT_EQ(lines.GetNumObject(i), rows[i].tag) << rows[i].line;
    EXPECT_STREQ(lines.Get(i), rows[i].format) << rows[i].line;
  }
}

class TableTest : public testing::Test {
 protected:
  FormatRunner runner_{{{{200, "^aOryx^eред"}, {700, "Roan"}, {700, "Addax"}}, {{200, "^aGnu"}}}};
};

TEST_F(TableTest, OneOutputForEachLine) {
  runner_.dir().Write("file.pft", "'file'");
  TStringList table;
  const struct {
    const char* format;
    int tag;
    const char* text;
  } rows[] = {
      {"v200^a", 1, "Oryx"}, {"(v700/)", 2, "Roan\rAddax\r"},
      {"v200,(", 3, ""},     {"", 4, ""},
      {"v700", 0, ""},  // untagged
      {"@file", 5, "file"},  {"'\xCF'", 6, "П"},
      {"!'П'", 7, "П"},      {"mhu,v200^a", 8, "ORYX"},
      {"v200^a", 9, "Oryx"},  // the mode of the line before is gone
  };
  for (const auto& row : rows) table.AddObject(row.format, row.tag);
  xpft::XpftFst compiled(runner_.space(), &table, true);
  EXPECT_TRUE(compiled.GetHaveErrors());
  for (int times = 0; times < 2; ++times) {
    TStringList out;
    velor_32::VelorRecord(runner_.space(), 0, 1);
    compiled.Format(runner_.space(), 0, 1, &out);
    ASSERT_EQ(out.GetCount(), table.GetCount());
    for (int i = 0; i < out.GetCount(); ++i) EXPECT_STREQ(out.Get(i), rows[i].text) << rows[i].format;
  }
  TStringList other;
  velor_32::VelorRecord(runner_.space(), 0, 2);
  compiled.Format(runner_.space(), 0, 1, &other);
  EXPECT_STREQ(other.Get(0), "Gnu");
}

TEST_F(TableTest, AnErrorOfTheRunIsTold) {
  TStringList table;
  table.AddObject("&nosuch('x')", 1);
  table.AddObject("v200^a", 2);
  xpft::XpftFst compiled(runner_.space(), &table, true);
  EXPECT_FALSE(compiled.GetHaveErrors());
  TStringList out;
  velor_32::VelorRecord(runner_.space(), 0, 1);
  compiled.Format(runner_.space(), 0, 1, &out);
  EXPECT_TRUE(compiled.GetHaveErrors());
  EXPECT_STREQ(out.Get(1), "Oryx");
}

class Fst2IfsTest : public TableTest {
 protected:
  std::string Convert(const std::string& text) {
    said_.str("");
    const std::string in = runner_.dir().Write("in.fst", text);
    velor_32::VelorRecord(runner_.space(), 0, 1);
    xpft::XpftFst2Ifs(runner_.space(), 0, 1, in, runner_.dir().File("out.ifs"), said_);
    return runner_.dir().Read("out.ifs");
  }
  std::ostringstream said_;
};

TEST_F(Fst2IfsTest, Lines) {
  const struct {
    const char* why;
    const char* line;
    const char* wanted;
  } rows[] = {
      {"each field once, in order", "1 0 v200^a,v700,v200^e", "1,200,700 0 v200^a,v700,v200^e"},
      {"no field", "1 0 'x'", "1 0 'x'"},
      {"the whole record", "1 0 v200,v0", "1,0 0 v200,v0"},
      {"all branches", "1 4 if v1='a' then v2 else v3 fi", "1,1,2,3 4 if v1='a' then v2 else v3 fi"},
      {"an old list is replaced", "1,5,6 0 v200", "1,200 0 v200"},
      {"blanks in the format stay", "1 0 v200,  v700 ", "1,200,700 0 v200,  v700 "},
      {"no blank", "1", "1"},
      {"one blank", "1 0", "1 0"},
      {"tag 0", "0 0 v1", "0 0 v1"},
      {"no tag", "x 0 v1", "x 0 v1"},
      {"no method", "1 x v1", "1 x v1"},
      {"negative method", "1 -1 v1", "1 -1 v1"},
      {"a remark", "@1 0 v1", "@1 0 v1"},
      {"empty", "", ""},
  };
  for (const auto& row : rows) {
    SCOPED_TRACE(row.why);
    EXPECT_EQ(Convert(std::string(row.line) + "\n1 0 v9"), std::string(row.wanted) + "\r\n1,9 0 v9\r\n");
    EXPECT_EQ(said_.str(), "");
  }
  EXPECT_EQ(Convert("\xEF\xBB\xBF"
                    "1 0 v2\r\n"),
            "1,2 0 v2\r\n");
}

TEST_F(Fst2IfsTest, AWrongFormatEndsTheConversion) {
  EXPECT_EQ(Convert("1 0 v1\n2 0 v2,(\n3 0 v3"), "");
  EXPECT_EQ(said_.str(), "format not compiled: line 2 look at error.log\n");
}

TEST_F(Fst2IfsTest, AMissingInput) {
  xpft::XpftFst2Ifs(runner_.space(), 0, 1, "/nonexistent.fst", runner_.dir().File("o"), said_);
  EXPECT_EQ(said_.str(), "input file not found: /nonexistent.fst\n");
}

TEST(PrintFileTest, Outcomes) {
  const test::TempDir dir;
  std::ostringstream said;
  const auto print = [&](const std::string& text, bool pretty) {
    xpft::XpftPrintFile(dir.Write("in.pft", text), dir.File("out.pft"), pretty, said);
    return dir.Read("out.pft");
  };
  EXPECT_EQ(print("V200^A\r\n,'\xCF'", false), print("\xEF\xBB\xBF"
                                                     "v200^A,'П'",
                                                     false));
  EXPECT_EQ(said.str(), "");
  EXPECT_FALSE(xpft::XpftPrintFile(dir.File("none.pft"), "", false, said));
  EXPECT_EQ(said.str(), "input file not found: " + dir.File("none.pft") + "\n");
  said.str("");
  EXPECT_FALSE(xpft::XpftPrintFile(dir.Write("bad.pft", "v200,("), dir.File("bad.out"), false, said));
  EXPECT_NE(said.str(), "");
  EXPECT_EQ(dir.Read("bad.out"), "");
  said.str("");
  EXPECT_TRUE(xpft::XpftPrintFile(dir.Write("in.pft", "v200"), "", true, said));
  EXPECT_EQ(said.str(), "v200\n");
}

TEST(PrintFileTest, APrettyFormatReadsAsTheSameOne) {
  const test::TempDir dir;
  std::ostringstream said;
  const char* const formats[] = {
      "if v1='a' then if v2='b' then 'x' fi fi",
      "if a(v1) then x3 else mfn fi",
      "select v1 case 'a':'x' elsecase if v1='b' then mpl fi endsel, mfn",
      "while l(v1)=2 (if v1='a' then @na-me fi)",
      "if v1='a' then\r\n  mfn\r\n /* remark\r\nfi mpl /* another\r\n mfn",
      "(v1/),if v2='b'\r\n then v3^a*0.5(1,2)|, | fi",
  };
  for (const char* format : formats) {
    SCOPED_TRACE(format);
    const auto print = [&](const std::string& from, const std::string& to, bool pretty) {
      EXPECT_TRUE(xpft::XpftPrintFile(dir.File(from), dir.File(to), pretty, said)) << said.str();
      return dir.Read(to);
    };
    dir.Write("in", format);
    const std::string plain = print("in", "plain", false);
    const std::string pretty = print("in", "pretty", true);
    EXPECT_EQ(print("pretty", "again", true), pretty);
    EXPECT_EQ(print("pretty", "again", false), plain);
    EXPECT_EQ(print("plain", "again", true), pretty);
  }
}

}  // namespace
