// What the procedures get from a selection; its messages are in the case files.
#include "tool/mfn_selection.h"

#include <gtest/gtest.h>

#include <sstream>

#include "support/temp_dir.h"

namespace {

using tool::MfnSelection;
using tool::SelectionOptions;

TEST(SelectRecords, GivesRangeListOrSearch) {
  const test::TempDir dir;
  dir.Write("list.txt", "7\r\noops\r\n9");
  const std::string list = dir.File("list.txt");
  struct {
    const char* why;
    SelectionOptions options;
    int mode;
    int mfnFrom;
    int mfnTo;
    int listCount;
  } const cases[] = {
      {"nothing: all records", {}, MfnSelection::kRange, 0, 0, 0},
      {"two bounds", {.mfnFrom = 5, .mfnTo = 5}, MfnSelection::kRange, 5, 5, 0},
      {"one bound", {.mfnFrom = 10}, MfnSelection::kRange, 10, 0, 0},
      {"a range", {.range = "3-8"}, MfnSelection::kRange, 3, 8, 0},
      {"split at the first dash", {.range = "3-8-9"}, MfnSelection::kRange, 3, 0, 0},
      {"without a dash", {.range = "10"}, MfnSelection::kRange, 0, 0, 0},
      {"a list", {.listFile = list}, MfnSelection::kList, 0, 0, 2},
      {"a search", {.search = "K=RED"}, MfnSelection::kSearch, 0, 0, 0},
      {"a scan filters what else is there",
       {.listFile = list, .scan = "a(v1)"},
       MfnSelection::kList,
       0,
       0,
       2},
  };
  for (const auto& c : cases) {
    SCOPED_TRACE(c.why);
    MfnSelection selection;
    std::ostringstream out;
    ASSERT_TRUE(tool::SelectRecords("global", c.options, &selection, out)) << out.str();
    EXPECT_EQ(selection.mode, c.mode);
    EXPECT_EQ(selection.mfnFrom, c.mfnFrom);
    EXPECT_EQ(selection.mfnTo, c.mfnTo);
    EXPECT_EQ(selection.list ? selection.list->GetCount() : 0, c.listCount);
    EXPECT_EQ(selection.scan, c.options.scan);
  }
}

TEST(SelectRecords, ExpressionsMayBeInEitherEncoding) {
  struct {
    const char* why;
    const char* typed;
    const char* want;
  } const cases[] = {
      {"UTF-8 stays", "K=\xD0\x9A\xD0\x9E\xD0\xA2", "K=\xD0\x9A\xD0\x9E\xD0\xA2"},
      {"cp1251 is converted", "K=\xCA\xCE\xD2", "K=\xD0\x9A\xD0\x9E\xD0\xA2"},
  };
  for (const auto& c : cases) {
    SCOPED_TRACE(c.why);
    MfnSelection selection;
    std::ostringstream out;
    ASSERT_TRUE(tool::SelectRecords("global", {.search = c.typed, .scan = c.typed}, &selection, out));
    EXPECT_EQ(selection.search, c.want);
    EXPECT_EQ(selection.scan, c.want);
  }
}

}  // namespace
