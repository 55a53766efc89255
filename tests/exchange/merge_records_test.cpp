// Putting the fields of a record into another one, and the table that says which fields repeat.

#include "exchange/merge_records.h"

#include <gtest/gtest.h>

#include "storage/fields.h"
#include "storage/shelf.h"
#include "support/format_installation.h"
#include "support/memory_space.h"

namespace {

using test::Fields;

class MergeRecordsTest : public testing::Test, public test::MemorySpace {
 protected:
  MergeRecordsTest() { velor_32::VelorInitAltShelf(space(), 2); }
};

TEST_F(MergeRecordsTest, Fields) {
  velor_01::TStringList table;  // 100 and 110 do not repeat, 200 does, 300 has no row, 400 an incomplete one
  for (const char* line : {"100", "Number", "0"}) table.AddObject(line, line[0] == '1' ? 100 : 0);
  for (const char* line : {"200", "Title", "1"}) table.AddObject(line, line[0] == '2' ? 200 : 0);
  for (const char* line : {"110", "Code", ""}) table.AddObject(line, line[0] == '1' ? 110 : 0);
  for (const char* line : {"100", "Again", "1"}) table.AddObject(line, line[0] == '1' && line[1] ? 100 : 0);
  table.AddObject("400", 400);

  const struct {
    const char* why;
    Fields old, added, merged;
    bool isChanged;
  } rows[] = {
      {"nothing new", {{100, "a"}, {200, "b"}}, {}, {{100, "a"}, {200, "b"}}, false},
      {"into an empty one", {}, {{100, "a"}, {200, "b"}}, {{100, "a"}, {200, "b"}}, true},
      {"equal but for the case",
       {{100, "Ёж"}, {200, "red"}},
       {{200, "RED"}, {100, "ёЖ"}},
       {{100, "Ёж"}, {200, "red"}},
       false},
      {"equal text under another tag", {{200, "a"}}, {{300, "a"}}, {{200, "a"}, {300, "a"}}, true},
      {"the number is part of the key", {{20, "0: a"}}, {{200, ": a"}}, {{20, "0: a"}, {200, ": a"}}, true},
      {"one that repeats extends", {{200, "a"}}, {{200, "b"}, {200, "B"}}, {{200, "a"}, {200, "b"}}, true},
      {"no row: it repeats", {{300, "a"}}, {{300, "b"}}, {{300, "a"}, {300, "b"}}, true},
      {"half a row is none", {{400, "a"}}, {{400, "b"}}, {{400, "a"}, {400, "b"}}, true},
      {"one that does not replaces all",
       {{100, "a"}, {200, "x"}, {100, "b"}, {110, "c"}},
       {{100, "d"}},
       {{200, "x"}, {110, "c"}, {100, "d"}},
       true},
      {"one of two equal", {{100, "a"}, {100, "b"}}, {{100, "B"}}, {{100, "a"}, {100, "b"}}, false},
      {"the last of several stays",
       {{100, "a"}},
       {{100, "b"}, {200, "x"}, {100, "c"}},
       {{200, "x"}, {100, "c"}},
       true},
      {"what was replaced may come back", {{100, "a"}}, {{100, "b"}, {100, "a"}}, {{100, "a"}}, true},
  };
  for (const auto& row : rows) {
    SCOPED_TRACE(row.why);
    test::SetFields(space(), 0, row.added);
    test::SetFields(space(), 1, row.old);
    EXPECT_EQ(velora::MergeRecords(space(), 0, 1, &table), row.isChanged);
    EXPECT_EQ(test::FieldsOf(space(), 1), row.merged);
    EXPECT_EQ(test::FieldsOf(space(), 0), row.added);
  }
  EXPECT_FALSE(velora::MergeRecords(space(), 1, 1, &table));
  EXPECT_FALSE(velora::MergeRecords(space(), 0, 9, &table));
  EXPECT_FALSE(velora::MergeRecords(nullptr, 0, 1, &table));
}

TEST_F(MergeRecordsTest, AnEmptyFieldReplacesNothing) {
  velor_01::TStringList table;
  table.AddObject("100", 100);
  table.Add("");
  table.Add("0");
  test::SetFields(space(), 0, {});
  velor_32::Velorfldaddempty(space(), 0, 100, 0);
  test::SetFields(space(), 1, {{100, "a"}});
  EXPECT_FALSE(velora::MergeRecords(space(), 0, 1, &table));
  EXPECT_EQ(test::FieldsOf(space(), 1), (Fields{{100, "a"}}));
}

TEST(FieldTableTest, Loading) {
  const struct {
    const char* why;
    const char* settings;
    const char* file;
    const char* content;
    std::vector<int> single;  // of the tags 100, 110 and 200
  } rows[] = {
      {"no file", "", "datai/deposit/other.ws", "0\n100\n\n0\n", {}},
      {"shared",
       "DefFieldNumb=3\n",
       "datai/deposit/default.ws",
       "0\n100\n\n0\n200\n\n1\n110\n\n0\n",
       {100, 110}},
      {"the database's own", "DefFieldNumb=3\n", "datai/blank/default.ws", "0\n200\n\n0\n", {200}},
      {"a head", "DefFieldNumb=4\n", "datai/blank/default.ws", "1\nx\ny\n100\n\n\n\n200\n\n1\n\n", {100}},
      {"ten lines",
       "",
       "datai/blank/default.ws",
       "0\n100\n2\n0\n4\n5\n6\n7\n8\n9\n10\n 200\n2\n 0\n",
       {100, 200}},
      {"a wrong size",
       "DefFieldNumb=0\n",
       "datai/blank/default.ws",
       "0\n100\n2\n0\n4\n5\n6\n7\n8\n9\n10\n110\n\n\n",
       {100, 110}},
      {"a head longer than the file", "", "datai/blank/default.ws", "2147483647\n100\n\n0\n", {}},
      {"another name", "WSFDT=Fields\nDefFieldNumb=3\n", "datai/blank/fields.ws", "-5\n100\n\n0\n", {100}},
      {"empty", "", "datai/blank/default.ws", "", {}},
  };
  for (const auto& row : rows) {
    SCOPED_TRACE(row.why);
    test::FormatInstallation installation;
    const std::string ini =
        installation.Write("velora.ini", std::string("[MAIN]\nMULTILOAD=1\n") + row.settings);
    fmt_64::velor_MainIni_Init(installation.ctx(), ini);
    installation.Write(row.file, row.content);
    const velor_32::SpacePointer space =
        test::OpenSpace(installation.ctx(), installation.File("datai/blank/blank"));
    velor_01::TStringList lines;
    velora::LoadFieldTable(space.get(), &lines);
    const velora::FieldTable table(lines);
    std::vector<int> single;
    for (const int tag : {100, 110, 200})
      if (table.IsSingle(tag)) single.push_back(tag);
    EXPECT_EQ(single, row.single);
  }
}

}  // namespace
