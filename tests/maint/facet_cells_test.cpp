// Facet cells: built from a dictionary, removed from it, counted for a list of hits.

#include "index/facet_cells.h"

#include <gtest/gtest.h>

#include "index/dict_build.h"
#include "maint/facet_cells_tool.h"
#include "search/facet_search.h"
#include "storage/app_paths.h"
#include "storage/database_lock.h"
#include "support/indexed_database.h"
#include "support/verify.h"

namespace {

using Counts = std::vector<std::pair<std::string, int>>;

class FacetCellsTest : public testing::Test, public test::IndexedDatabase {
 protected:
  FacetCellsTest() {
    Write("datai/blank/blank.fst", "1 0 (|A=|v1/)\n2 0 (|S=|v2/)\n");
    space_ = Open();
    Add(space_.get(), {{1, "Tolstoy"}, {2, "war"}, {2, "peace"}});
    Add(space_.get(), {{1, "Tolstoy"}, {2, "peace"}, {2, "x1"}});
    Add(space_.get(), {{1, "Gogol"}, {2, "\xD0\xB4\xD1\x83\xD1\x88\xD0\xB0"}, {2, " souls"}});
    EXPECT_NE(Actualize().find("Done"), std::string::npos);
    Write("datai/blank/blank.cells", "S=\nA=\n");
  }

  std::string Run(int (*tool)(app::VelorAppContext*, const std::string&, std::ostream&)) {
    std::ostringstream out;
    tool(ctx(), "Blank", out);
    space_ = Open();
    return out.str();
  }
  std::string CreateCells() { return Run(velor_server_proc::VelorCreateCells); }
  std::string DeleteCells() { return Run(velor_server_proc::VelorDeleteCells); }

  Counts Count(std::initializer_list<int> records, int limit = 10, const std::string& prefix = "",
               bool descending = true) {
    velor_01::TIntList list;
    for (int mfn : records) list.Add(mfn);
    velor_01::TStringList found;
    EXPECT_EQ(Search18::SearchCell(space_.get(), &list, &found, limit, prefix, descending), 0);
    Counts counts;
    for (const velor_01::TStringItem& item : found.Items()) counts.emplace_back(item.text, item.numObject);
    return counts;
  }

  velor_32::SpacePointer space_;
};

constexpr char kCreated[] = "OpenDB blank - Done\nCreateCells\nDone\n";

TEST_F(FacetCellsTest, CountsTheValuesOfARecordList) {
  EXPECT_EQ(CreateCells(), kCreated);
  EXPECT_EQ(test::Problems(test::Verify(DatabasePath())), "");
  // Texts of two characters and those that begin with a blank are no values.
  const std::string soul = "S=\xD0\x94\xD0\xA3\xD0\xA8\xD0\x90";
  EXPECT_EQ(Count({1, 2, 3}),
            (Counts{{"A=TOLSTOY", 2}, {"A=GOGOL", 1}, {"S=PEACE", 2}, {"S=WAR", 1}, {soul, 1}}));
  EXPECT_EQ(Count({3, 1}, 1, "A="), (Counts{{"A=GOGOL", 1}}));
  EXPECT_EQ(Count({1, 2, 3}, 1, "S=", false), (Counts{{"S=WAR", 1}}));
  EXPECT_EQ(Count({4}), Counts{});
  EXPECT_EQ(Count({1}, 10, "B="), Counts{});
}

TEST_F(FacetCellsTest, FollowsTheDictionaryWhenBuiltAgain) {
  EXPECT_EQ(CreateCells(), kCreated);
  Change(space_.get(), 3, {{1, "Abbott"}, {2, "souls"}});
  EXPECT_NE(Actualize().find("Done"), std::string::npos);
  Write("datai/blank/blank7.cell", "left by a longer list");
  EXPECT_EQ(CreateCells(), kCreated);
  EXPECT_FALSE(std::filesystem::exists(File("datai/blank/blank7.cell")));
  EXPECT_EQ(Count({1, 3}, 10, "A="), (Counts{{"A=ABBOTT", 1}, {"A=TOLSTOY", 1}}));
  std::set<std::string> cellTerms;
  for (const std::string& line : Dictionary())
    if (line.starts_with("=A=")) cellTerms.insert(line);
  EXPECT_EQ(cellTerms, (std::set<std::string>{"=A=1=ABBOTT 1 1 1 1", "=A=2=TOLSTOY 1 1 1 1"}));
}

TEST_F(FacetCellsTest, RareTermsAreDroppedByTheirPostings) {
  Write("velora.ini", "[Main]\nMAX_POSTINGS_NUMBER_IN_CELL=1\nMAX_LENGTH_CELL_TERM=0\n");
  fmt_64::velor_MainIni_Init(ctx(), File("velora.ini"));
  CreateCells();
  EXPECT_EQ(Count({1, 2, 3}), (Counts{{"A=TOLSTOY", 2}, {"S=PEACE", 2}}));
}

TEST_F(FacetCellsTest, DeletingLeavesTheDictionaryAsItWas) {
  const std::set<std::string> before = Dictionary();
  CreateCells();
  EXPECT_EQ(DeleteCells(), "OpenDB blank - Done\nDeleteCells\nDone\n");
  EXPECT_EQ(Dictionary(), before);
  EXPECT_FALSE(std::filesystem::exists(File("datai/blank/blank1.cell")));
  EXPECT_EQ(CreateCells(), kCreated);
  EXPECT_EQ(Count({3}, 10, "A="), (Counts{{"A=GOGOL", 1}}));
}

TEST_F(FacetCellsTest, BulkBuildMakesTheSameCells) {
  CreateCells();
  const Counts expected = Count({1, 2, 3});
  for (const char* sets : {"0", "1"}) {
    Write(
        "velora.ini",
        std::string("[Main]\nMULTILOAD=1\nCREATE_CELLS_ON_IF_REORGANIZATION=1\nCREATE_OLD_INVERTION_FILES=") +
            sets);
    fmt_64::velor_MainIni_Init(ctx(), File("velora.ini"));
    std::ostringstream out;
    EXPECT_EQ(velor_server_proc::VelorCreateDict(ctx(), "blank", velor_server_proc::DictOption::kAll, out),
              0);
    space_ = Open();
    EXPECT_EQ(Count({1, 2, 3}), expected) << sets;
  }
}

// The terms of a prefix may begin, or go on, in the next of ten sets.
TEST_F(FacetCellsTest, ReadsTenSetsAsItReadsOne) {
  std::string prefixes;
  for (char a = 'A'; a <= 'T'; ++a) {
    prefixes += std::string("A=NAME") + a + "\n";
    for (char b = 'A'; b <= 'C'; ++b) Add(space_.get(), {{1, std::string("NAME") + a + b + "XY"}});
  }
  Write("datai/blank/blank.cells", prefixes);
  for (const char* sets : {"0", "1"}) {
    Write("velora.ini", std::string("[Main]\nMULTILOAD=1\nCREATE_OLD_INVERTION_FILES=") + sets);
    fmt_64::velor_MainIni_Init(ctx(), File("velora.ini"));
    std::ostringstream out;
    EXPECT_EQ(velor_server_proc::VelorCreateDict(ctx(), "blank", velor_server_proc::DictOption::kAll, out),
              0);
    EXPECT_EQ(std::filesystem::exists(File("datai/blank/blank.inv")), *sets == '1');
    CreateCells();
    for (int cell = 1; cell <= 20; ++cell)
      EXPECT_EQ(std::filesystem::file_size(File("datai/blank/blank" + std::to_string(cell) + ".cell")), 24U)
          << sets << " " << cell;
  }
}

TEST_F(FacetCellsTest, WithoutPrefixesOrUnderALockNothingChanges) {
  CreateCells();
  const Counts expected = Count({1, 2, 3});
  ASSERT_EQ(velor_32::VelorLockDB(space_.get()), 0);
  EXPECT_EQ(CreateCells(), "OpenDB blank - Done\nCreateCells\nError -300\n");
  velor_32::VelorUnLockDB(space_.get());
  EXPECT_EQ(Count({1, 2, 3}), expected);
  std::filesystem::remove(File("datai/blank/blank.cells"));
  EXPECT_EQ(CreateCells(), kCreated);
  EXPECT_TRUE(std::filesystem::exists(File("datai/blank/blank1.cell")));
}

}  // namespace
