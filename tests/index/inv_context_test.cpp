// Loading of tables and stop words into a space.

#include "index/inv_context.h"

#include <gtest/gtest.h>

#include <sstream>

#include "storage/codes.h"
#include "storage/database_open.h"
#include "support/format_installation.h"

namespace {

using velor_01::TIntList;
using velor_01::TStringList;

class InvContextTest : public testing::Test, public test::FormatInstallation {
 protected:
  InvContextTest() { indexing::InstallInvContext(); }

  /// Opens the database "blank" anew, which loads its tables.
  velor_32::TVelorSpace* Open() {
    std::ostringstream ignored;
    int result = 0;
    space_.reset(velor_server_proc::VelorOpenDb(ctx(), "blank", ignored, &result));
    EXPECT_EQ(result, 0);
    return space_.get();
  }
  void Table(const std::string& name, const std::string& text) { Write("datai/blank/" + name, text); }

  /// "tag method format" for each line of the table.
  std::string Lines() {
    std::string all;
    for (int i = 0; i < space_->fstLines->GetCount(); ++i)
      all += std::to_string(space_->fstLines->GetNumObject(i)) + " " +
             std::to_string(space_->fstMethods->Get(i)) + " " + space_->fstLines->Get(i) + "\n";
    return all;
  }
  /// "field: lines" for each field of the index.
  std::string Index() {
    std::string all;
    for (int i = 0; i < space_->fstDependTags->GetCount(); ++i) {
      all += std::to_string(space_->fstDependTags->Get(i)) + ":";
      for (const int line : static_cast<const TIntList*>(space_->fstDependLines->Get(i))->Items())
        all += " " + std::to_string(line);
      all += "\n";
    }
    return all;
  }

  velor_32::SpacePointer space_;
};

TEST_F(InvContextTest, LinesThatAreNoneKeepTheirPlace) {
  Table("blank.fst",
        "200 8 '/T=/',v200\n1 10 v1\n5 1 v5\n0 0 v1\n7 0\n8\n\n@9 0 v9\n1 -1 v1\n2  0 v2\n3 9 a b  c ");
  Open();
  EXPECT_EQ(Lines(),
            "200 8 '/T=/',v200\n0 0 \n5 1 v5\n0 0 \n0 0 \n0 0 \n0 0 \n0 0 \n0 0 \n0 0 \n3 9 a b  c \n");
  EXPECT_EQ(Index(), "");
  EXPECT_EQ(space_->fstAllLines->GetCount(), 11);
  EXPECT_EQ(space_->fstAllMethods->GetCount(), 11);
}

TEST_F(InvContextTest, FieldLists) {
  Table("blank.fst", "1 0 v1");
  Table("blank.ifs",
        "200,200,210 8 v200,v210\n"
        "300,0 0 v300\n"
        "210 0 v210\n"
        "211,210,210,x 0 v210\n"
        "noblank\n"
        "0 0 v9\n");
  Open();
  EXPECT_EQ(Lines(), "200 8 v200,v210\n300 0 v300\n210 0 v210\n211 0 v210\n0 0 \n0 0 \n");
  // Line 1 hangs on every field that another line names; line 3 names one that cannot be read, and so too.
  EXPECT_EQ(Index(), "200: 0 1 3\n210: 0 2 3 1\n");
}

TEST_F(InvContextTest, ATableOfUniversalLinesHasNoIndex) {
  Table("blank.ifs", "1,0 0 v1\n2,0 0 v2");
  Open();
  EXPECT_EQ(Index(), "");
  EXPECT_EQ(Lines(), "1 0 v1\n2 0 v2\n");
}

TEST_F(InvContextTest, AnEmptyFieldListFileCountsAsAbsent) {
  Table("blank.ifs", "");
  Table("blank.fst", "1 0 v1");
  Open();
  EXPECT_EQ(Lines(), "1 0 v1\n");
  EXPECT_EQ(Index(), "");
}

TEST_F(InvContextTest, AnIndexBeyondMeasureIsDropped) {
  std::string text;
  for (int i = 1; i <= 5000; ++i) text += "1,0," + std::to_string(i) + " 0 v1\n";
  Table("blank.ifs", text);
  Open();
  EXPECT_EQ(space_->fstLines->GetCount(), 5000);
  EXPECT_EQ(Index(), "");
}

TEST_F(InvContextTest, StopWordsAreSortedText) {
  Table("blank.stw", "\xCF\xCE\nAND\n\xC8\n");
  Open();
  ASSERT_EQ(space_->stopWords->GetCount(), 3);
  int index = 0;
  for (const char* word : {"AND", "И", "ПО"}) EXPECT_TRUE(space_->stopWords->Find(word, &index)) << word;
}

TEST_F(InvContextTest, InitialisingAnew) {
  Table("blank.fst", "1 0 v1");
  Table("other.ifs", "2,3 0 v3");
  Open();
  ctx()->mainIni->Put("MAIN", "DeflexKW", "1");
  EXPECT_FALSE(space_->deflex);
  EXPECT_EQ(velor_32::VelorInitInvContext(space_.get(), "other", nullptr, nullptr, nullptr, true), 0);
  EXPECT_EQ(Lines(), "2 0 v3\n");
  EXPECT_EQ(Index(), "3: 0\n");
  EXPECT_EQ(space_->fstName, "other");
  EXPECT_TRUE(space_->deflex);
  EXPECT_EQ(velor_32::VelorInitInvContext(space_.get(), nullptr, nullptr, nullptr, nullptr, false), 0);
  EXPECT_EQ(Lines(), "2 0 v3\n");
  EXPECT_EQ(velor_32::VelorInitInvContext(nullptr, "x", "x", nullptr, nullptr, false), velor_32::kNoSpace);
  EXPECT_TRUE(Open()->deflex);
}

TEST_F(InvContextTest, TablesMayBeIgnored) {
  app::velor_app_ignore_ifs(ctx(), true);
  Table("blank.fst", "1 0 v1");
  Table("blank.stw", "AND");
  Open();
  EXPECT_EQ(space_->fstLines, nullptr);
  EXPECT_EQ(space_->stopWords->GetCount(), 1);
}

}  // namespace
