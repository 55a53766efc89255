// Records rebuilt by tables, and conditions on records.

#include "exchange/reformat.h"

#include <gtest/gtest.h>

#include "format/format_parts.h"
#include "format/record_filter.h"
#include "storage/codes.h"
#include "storage/shelf.h"
#include "support/format_installation.h"
#include "support/memory_space.h"

namespace {

using test::Fields;

class ReformatTest : public testing::Test, private test::FormatParts, public test::MemorySpace {
 protected:
  ReformatTest() { velor_32::VelorInitAltShelf(space(), 3); }

  Fields Reformat(const Fields& record, const std::vector<std::string>& lines, bool addRest = true) {
    velor_01::TStringList table;
    for (const std::string& line : lines) table.Add(line);
    velor_server_proc::ParseFst(&table);
    test::SetFields(space(), 0, record);
    velor_32::Velornewrec(space(), 1);
    velora::RecReformat(space(), 0, 1, 2, addRest, &table);
    return test::FieldsOf(space(), 1);
  }
};

TEST_F(ReformatTest, Tables) {
  const Fields record = {{200, "^aOryx^eред"}, {700, "Roan"}, {700, "Addax"}};
  const struct {
    const char* why;
    std::vector<std::string> lines;
    Fields wanted;
  } rows[] = {
      {"an empty table", {}, {}},
      {"a line is a field", {"1 0 v200^a", "2 0 (v700/)"}, {{1, "Oryx"}, {2, "Roan"}, {2, "Addax"}}},
      {"empty lines are none", {"1 0 #,v200^a,#,#", "2 0 v9"}, {{1, "Oryx"}}},
      {"one tag from two lines", {"1 0 v700[1]", "1 0 v700[2]"}, {{1, "Roan"}, {1, "Addax"}}},
      {"the rest comes last",
       {"0 0 (v0/)", "1 0 'x'"},
       {{1, "x"}, {200, "^aOryx^eред"}, {700, "Roan"}, {700, "Addax"}}},
      {"lines of the rest that open no field go on with the one before",
       {"0 0 'x'/'#5: y'/'#x: z'/'#0: n'/'#6: '/'#7:k'/'#8: '"},
       {{5, "y#x: z"}, {6, "#7:k"}}},
      {"no UTF-8", {"1 0 v700[1]*0.1,'x'", "2 0 !'\xFF'", "3 0 'z'"}, {{1, "Rx"}, {3, "z"}}},
      {"the number of the GUID", {"2147483647 0 'x'", "0 0 '#2147483647: x'", "1 0 'y'"}, {{1, "y"}}},
      {"a wrong format gives nothing", {"1 0 v200,(", "2 0 'y'"}, {{2, "y"}}},
      {"an error of the run ends the line", {"1 0 'x'/&nosuch('')", "2 0 'y'"}, {{1, "x"}, {2, "y"}}},
  };
  for (const auto& row : rows) {
    SCOPED_TRACE(row.why);
    EXPECT_EQ(Reformat(record, row.lines), row.wanted);
  }
  EXPECT_EQ(Reformat({{200, "one\ntwo\r\nthree"}}, {"0 0 (v0/)"}), (Fields{{200, "onetwothree"}}));
  EXPECT_EQ(Reformat(record, {"0 0 (v0/)", "1 0 'x'"}, false), (Fields{{1, "x"}}));
}

TEST(ScanFormatTest, Marks) {
  const struct {
    const char* expression;
    const char* format;
  } rows[] = {
      {"v200", "(IF v200 then '1' FI)"},        {"?v200", "(IF v200 then '1' FI)"},
      {"!v200", "(IF v200 then '1' FI)"},       {"|v200", "(IF v200 then '1' FI)"},
      {"?!|v200", "(IF v200 then '1' FI)"},     {"!?v200", "(IF ?v200 then '1' FI)"},
      {"if v1 then '1'fi", "if v1 then '1'fi"}, {"!IF v1 then '1' fi", "IF v1 then '1' fi"},
      {"??p(v1)", "(IF ?p(v1) then '1' FI)"},
  };
  for (const auto& row : rows)
    EXPECT_EQ(velora::ScanFormat(row.expression, "?!|"), row.format) << row.expression;
  EXPECT_EQ(velora::ScanFormat("|a|v200"), "(IF |a|v200 then '1' FI)") << "no mark of a correction";
}

class FilterTest : public testing::Test, public test::FormatInstallation {
 protected:
  FilterTest() : space_(test::OpenSpace(ctx(), File("datai/blank/blank"))) {
    Write("datai/deposit/isoryx.pft", "if v200='Oryx' then '1' fi");
    test::SetFields(space_.get(), 0, {{200, "Oryx"}});
    test::SetFields(space_.get(), 1, {{200, "Roan"}});
  }
  velor_32::SpacePointer space_;
};

TEST_F(FilterTest, TextsAndFiles) {
  const struct {
    const char* text;
    const char* format;
    bool first;
    bool second;
  } rows[] = {
      {"@isoryx", "@isoryx", true, false},
      {"isoryx", "@isoryx", true, false},
      {"@%5,isoryx", "@%5,isoryx", true, false},  // among the shared files
      {"if v200:'O' then '1' fi", "if v200:'O' then '1' fi", true, true},
      {"'0'", "'0'", false, false},
      {"' 1'", "' 1'", false, false},
      {"v9", "v9", false, false},
      {"'1',&nosuch('')", "'1',&nosuch('')", false, false},  // an error of the run
  };
  for (const auto& row : rows) {
    SCOPED_TRACE(row.text);
    const std::string format = velora::LookupFormat(space_.get(), row.text);
    EXPECT_EQ(format, row.format);
    velora::RecordFilter filter(space_.get());
    EXPECT_EQ(filter.Prepare(format), 0);
    EXPECT_EQ(filter.Passes(0), row.first);
    EXPECT_EQ(filter.Passes(1), row.second);
  }
  EXPECT_EQ(velora::LookupFormat(space_.get(), "@missing"), "");
  EXPECT_EQ(velora::LookupFormat(space_.get(), "@%2,isoryx"), "");  // not in the system directory
  EXPECT_EQ(velora::LookupFormat(space_.get(), "'\xCF'"), "'П'");
}

TEST_F(FilterTest, TwoFiltersOnOneSpace) {
  velora::RecordFilter oryx(space_.get());
  velora::RecordFilter roan(space_.get());
  velora::RecordFilter all(space_.get());
  EXPECT_EQ(oryx.Prepare("if v200='Oryx' then '1' fi"), 0);
  EXPECT_EQ(roan.Prepare("if v200='Roan' then '1' fi"), 0);
  EXPECT_TRUE(oryx.Passes(0));
  EXPECT_TRUE(roan.Passes(1));
  EXPECT_FALSE(oryx.Passes(1));
  EXPECT_TRUE(all.Passes(1));
  EXPECT_NE(roan.Prepare("v1,("), 0);
}

}  // namespace
