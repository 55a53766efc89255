// What rows of formats cannot show: limits of a run, the group's state as functions from outside use it, the
// clean-up of markup.

#include <gtest/gtest.h>

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
