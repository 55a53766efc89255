// What rows of formats cannot show: limits of a run, the group's state as functions from outside use it, the
// clean-up of markup.

#include <gtest/gtest.h>

#include <filesystem>

#include "format/ast_expr.h"
#include "format/ast_field.h"
#include "format/text_cleanup.h"
#include "format/velor64_context.h"
#include "format_runner.h"
#include "storage/process.h"

namespace {

using test::FormatRunner;

TEST(Run, EndsWhereFormatsIncludeThemselves) {
  FormatRunner runner({{{1, "a"}}});
  runner.dir().Write("loop.pft", "'x',@loop");
  runner.dir().Write("odd.pft", "s1:=('eval(s1)'),eval(s1)");
  for (const char* format : {"@loop", "@odd", "'y',@loop,'z'", "if p(v1) then @loop fi", "s(@loop)"}) {
    const test::Outcome outcome = runner.Run(format);
    EXPECT_EQ(outcome.error, 64) << format;
    EXPECT_NE(outcome.errorText.find("formats nested too deep"), std::string::npos) << outcome.errorText;
  }
  EXPECT_EQ(runner.Run("v1").text, "a");
}

TEST(Run, EndsWhenTheOutputIsTooLong) {
  FormatRunner runner({{{1, "a"}}});
  for (const char* format :
       {"x99999999,x99999999,v1", "c2000000000", "s1:=('0123456789'),while 1=1 (s1:=(s1,s1))"}) {
    const test::Outcome outcome = runner.Run(format);
    EXPECT_EQ(outcome.error, 63) << format;
    EXPECT_LE(outcome.text.size(), xpft::kMaxOutputBytes);
  }
}

TEST(Run, EndsWhenAStopIsAskedFor) {
  FormatRunner runner({{{1, "a"}}});
  app::StopProcess = 1;
  EXPECT_EQ(runner.Run("while 1=1 (v1)").text, "");
  app::StopProcess = 0;
}

TEST(Run, KeepsNoMoreErrorTextThanIsRead) {
  FormatRunner runner({{{1, "a"}}});
  const test::Outcome outcome = runner.Run("while e1<4000 (e1:=e1+1,s1:=(f(1e20,0,0))),e1:=1/0");
  EXPECT_NE(outcome.errorText.find("value overflow"), std::string::npos);
  EXPECT_LE(outcome.errorText.size(), 80'000u);
}

/// Text lengths at which anything that looks at the whole text for each of its parts takes hours.
TEST(Run, TakesLongTextsAsTheyCome) {
  constexpr std::size_t kLong = 4'000'000;
  std::string marked = "<" + std::string(kLong, '=');
  xpft::ast::ReplaceValue(marked, true);
  EXPECT_EQ(marked.size(), kLong);

  std::string joined;
  for (std::size_t i = 0; i < kLong / 8; ++i) joined += ".</b>.. - . - x";
  xpft::CleanupText(joined);
  EXPECT_EQ(joined.substr(0, 20), ".</b> - . - x.</b> -");

  using xpft::ast::FNumber;
  using xpft::ast::SubfieldRepeat;
  FormatRunner runner({{{1, "a"}}});
  xpft::Velor64Context context(runner.space());
  std::string field;
  for (std::size_t i = 0; i < kLong / 4; ++i) field += "^ab";
  const xpft::ast::SubfieldCmd all(
      'a', std::make_unique<SubfieldRepeat>(std::make_unique<FNumber>(2), false, nullptr, true));
  xpft::FieldSelectValues values;
  context.GetValues({field}, 1, nullptr, &all, nullptr, values);
  ASSERT_EQ(values.size(), 1u);
  EXPECT_EQ(values[0].text(), std::string(kLong / 4 - 1, 'b'));
}

TEST(Records, AlternateOnesStandBehindTheShelvesThatThereAre) {
  FormatRunner runner({{{1, "a"}}, {{1, "b"}}});
  xpft::Velor64Context context(runner.space());
  const int shelfCount = runner.space()->shelfCount;
  context.SetAltShelf(1'000'000);
  ASSERT_TRUE(context.LoadAltRecord(2));
  EXPECT_EQ(context.GetMfn(), 2);
  EXPECT_EQ(runner.space()->shelfCount, shelfCount + 1);
}

TEST(Records, AreNotThereWithoutADatabase) {
  FormatRunner runner({{{1, "a"}}});
  xpft::Velor64Context context(runner.ctx(), "nosuch");
  EXPECT_FALSE(context.LoadRecord(1));
  EXPECT_FALSE(context.LoadAltRecord(1));
  EXPECT_FALSE(context.NewAltRecord());
  EXPECT_FALSE(context.ExistsRecord());
  EXPECT_EQ(context.GetRepeatCount(1, nullptr, nullptr, nullptr, true), 0);
}

std::ptrdiff_t OpenFiles() {
  std::filesystem::directory_iterator files("/proc/self/fd");
  return std::distance(begin(files), end(files));
}

TEST(Records, OfOtherDatabasesDoNotKeepAllOfThemOpen) {
  FormatRunner runner({{{1, "a"}}});
  const std::ptrdiff_t before = OpenFiles();
  const std::string dir = runner.dir().Path();
  const test::Outcome outcome =
      runner.Run("s1:=('" + dir + "/'),while e1<60 (e1:=e1+1,s1:=(s1,'./'),ref->(s(s1,'oryx'))(1,v1))");
  EXPECT_EQ(outcome.text, std::string(60, 'a')) << outcome.errorText;
  EXPECT_LE(OpenFiles() - before, 50);
}

TEST(Group, GoesOnForOnePassAfterAnOutsidePrint) {
  FormatRunner runner({{{1, "a"}}});
  xpft::Velor64Context context(runner.space());
  context.BeginRepGroup();
  int passes = 0;
  do {
    context.StartRepGroup();
    if (passes < 2) context.PrintWithRepeatIncrement("x");
    context.NextRepGroup();
    ++passes;
  } while (context.GetHasMoreOccurrence());
  context.EndRepGroup();
  EXPECT_EQ(passes, 3);
  EXPECT_EQ(context.Output(), "xx");
}

TEST(Group, TellsOfALoopWithoutEnd) {
  FormatRunner runner({{{1, "a"}}});
  EXPECT_EQ(xpft::Velor64Context(runner.space()).GetRepGroupError(), " (более 5000) !!БЕСКОНЕЧНЫЙ ЦИКЛ!!");
}

TEST(State, IsPutBackWithItsOutput) {
  FormatRunner runner({{{1, "a"}}, {{1, "b"}}});
  xpft::Velor64Context context(runner.space());
  ASSERT_TRUE(context.LoadRecord(1));
  context.Print("outer");
  std::string inner;
  context.PushState(&inner);
  context.Start();
  ASSERT_TRUE(context.LoadAltRecord(2));
  context.Print("in");
  EXPECT_EQ(context.GetMfn(), 2);
  context.CloseAltRecord();
  context.ResetBuffer();
  context.Print("lost");
  context.PopState();
  EXPECT_EQ(context.GetMfn(), 1);
  EXPECT_EQ(context.GetCol(), 5);
  EXPECT_EQ(inner, "in");
  EXPECT_EQ(context.Output(), "outer");
  EXPECT_FALSE(context.LoadAltRecord(9));
}

TEST(Cleanup, TakesAwayWhatJoiningLeaves) {
  const struct {
    const char* text;
    const char* want;
  } cases[] = {
      {"M.. 1999.", "M. 1999."},
      {"etc... and", "etc... and"},
      {"a....b", "a....b"},
      {"<b>A.</b>.", "<b>A.</b>"},
      {"A.\\b0 .", "A.\\b0 "},
      {"A. - . - B", "A. - B"},
      {"A. - \\par", "A\\par"},
      {"A. - <br>", "A<br>"},
      {"A. - \rB", "A\rB"},
      {"A. - B", "A. - B"},
      {"head..&&&&&tail..", "head..&&&&&tail."},
      {".</b>...", ".</b>"},
      {".</b>.</b>.", ".</b></b>."},
      {". - . - . - \\par", "\\par"},
      {"", ""},
  };
  for (const auto& c : cases) {
    std::string text = c.text;
    xpft::CleanupText(text);
    EXPECT_EQ(text, c.want) << c.text;
  }
  std::string dots = ". - . - a..";
  xpft::CleanupDoubleDots(dots);
  EXPECT_EQ(dots, ". - . - a.");
}

TEST(Cleanup, StripsRichText) {
  const struct {
    const char* text;
    const char* want;
  } cases[] = {{"{\\rtf1 {\\b bold} x}", "bold x"},
               {"a\\par b", "a\rb"},
               {"\\{x\\}", "{x}"},
               {"\\fs16 a\\i0b", "ab"},
               {"end\\", "end"}};
  for (const auto& c : cases) {
    std::string text = c.text;
    xpft::StripRichTextFormat(text);
    EXPECT_EQ(text, c.want) << c.text;
  }
}

}  // namespace
