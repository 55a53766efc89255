// Formats printed anew: what is printed reads as the same format, on one line as well as pretty.

#include <gtest/gtest.h>

#include <ctime>
#include <random>

#include "format_runner.h"
#include "printing.h"

namespace {

using test::PrintAnew;

/// Makes formats by a small grammar.
class FormatMaker {
 public:
  explicit FormatMaker(unsigned seed) : random_(seed) {}

  std::string List(int depth) {
    std::string text = Command(depth);
    for (int more = Roll(4); more > 0; --more) text += Pick({",", " ", " , ", ",\r\n"}) + Command(depth);
    return text;
  }

 private:
  using Choices = std::initializer_list<const char*>;

  int Roll(int sides) { return static_cast<int>(random_() % static_cast<unsigned>(sides)); }
  std::string Pick(Choices choices) { return choices.begin()[Roll(static_cast<int>(choices.size()))]; }

  std::string Field() {
    return Pick({"v1", "V2", "v3", "g1", "v1^a", "v2^*", "v3^B"}) +
           Pick({"", "", "[1]", "[last]", "[2..last]", "[1..e1]"});
  }
  std::string Literal() {
    return Pick({"'a'", "'a\"b'", "'|'", "'a<b>'", "!'q'", "!\"it's\"", "<text>it's \"so\" |</text>", "''",
                 "'a\r\nb'", "'/*'"});
  }
  std::string Affix() { return Pick({"|-|", "|'|", "\"c\"", "\"it's\"", "|\"|", "\"|\"", "||"}); }

  std::string Number(int depth) {
    switch (depth < 1 ? Roll(4) : Roll(9)) {
      case 0:
        return Pick({"1", "2.5", "0", "1e3", "12", ".5"});
      case 1:
        return Pick({"e1", "e2", "occ", "iocc", "mfn"});
      case 2:
        return "val(" + Field() + ")";
      case 3:
        return Pick({"size(", "nocc("}) + Pick({"v1)", "v2)"});
      case 4:
        return "(" + Number(depth - 1) + ")";
      case 5:
        return "-" + Pick({"1", "e1", "(e1+1)", "val(v2)"});
      case 6:
        return Pick({"rsum(", "rmax("}) + Text(depth - 1) + ")";
      default:
        return Number(depth - 1) + Pick({"+", "-", "*", "/", " - ", " + "}) + Number(depth - 1);
    }
  }

  std::string Text(int depth) {
    switch (depth < 1 ? Roll(2) : Roll(6)) {
      case 0:
        return Field();
      case 1:
        return Literal();
      case 2:
        return "f(" + Number(depth - 1) + Pick({"", ",0,0", ",5,2"}) + ")";
      case 3:
        return Pick({"s(", "trim(", "citype("}) + Text(depth - 1) + ")";
      case 4:
        return Pick({"left(", "right("}) + Text(depth - 1) + ",2)";
      default:
        return "replace(" + Text(depth - 1) + ",'a','b')";
    }
  }

  std::string Condition(int depth) {
    switch (depth < 1 ? Roll(3) : Roll(8)) {
      case 0:
        return Pick({"p(", "a("}) + Pick({"v1)", "v3)", "v2^a)", "+v1)"});
      case 1:
        return Text(0) + Pick({"=", "<>", ":", "<", ">="}) + Text(0);
      case 2:
        return Number(0) + Pick({"=", "<>", "<", " >= "}) + Number(0);
      case 3:
        return "not " + Condition(depth - 1);
      case 4:
        return "(" + Condition(depth - 1) + ")";
      case 5:
        return Number(depth - 1) + "=" + Number(depth - 1);
      default:
        return Condition(depth - 1) + Pick({" and ", " or "}) + Condition(depth - 1);
    }
  }

  std::string Block(int depth) {
    switch (Roll(6)) {
      case 0:
        return "if " + Condition(depth) + " then " + List(depth - 1) + " fi";
      case 1:
        return "if " + Condition(depth) + " then " + List(depth - 1) + " else " + List(depth - 1) + " fi";
      case 2:
        return "select " + Field() + " case 'a': " + List(depth - 1) + " elsecase " + List(depth - 1) +
               " endsel";
      case 3:
        return "select " + Number(0) + " case 1: " + List(depth - 1) + " case 2:" + List(depth - 1) +
               " endsel";
      case 4:
        return "while " + Condition(depth) + " (" + List(depth - 1) + ")";
      default:
        return "(" + List(depth - 1) + ")";
    }
  }

  std::string Command(int depth) {
    if (depth > 0 && Roll(3) == 0) return Block(depth);
    switch (Roll(12)) {
      case 0:
        return Affix() + Field();
      case 1:
        return Field() + Affix();
      case 2:
        return Pick({"|-|", "|'|+", "\"c\"", "||", "|\"|+"}) + Field() +
               Pick({"*1", ".2", "*1.2", "(2,1)", ""}) + Affix();
      case 3:
        return Pick({"/", "#", "%", "x1", "c5", "mpl", "mhu", "mdl", "x2/"});
      case 4:
        return "/* it's a \"note\" |\r\n";
      case 5:
        return "e1:=" + Number(depth);
      case 6:
        return "s1:=(" + List(0) + ")";
      case 7:
        return Pick({"d1", "n3", "d1\"x\"", "\"x\"d1", "\"none\"n9", "|x|+v1"});
      case 8:
        return Pick({"s1", "break", "exit", "continue", "@none", "mfn", "date", "mfn(3)"});
      case 9:
        return Literal();
      default:
        return Text(depth);
    }
  }

  std::mt19937 random_;
};

TEST(Print, MadeFormatsReadBackAndGiveTheSame) {
  constexpr int kFormats = 2000;
  test::FormatRunner runner({{{1, "^aone^bb"}, {1, "a"}, {1, "it's"}, {2, "^a2"}, {2, "12"}}});
  runner.ctx()->maxRepeat = 5;
  FormatMaker maker(20240501);
  int compiled = 0;
  for (int i = 0; i < kFormats; ++i) {
    const std::string format = maker.List(3);
    std::string plain;
    if (!PrintAnew(format, false, &plain)) continue;
    ++compiled;
    SCOPED_TRACE(format + "\n----\n" + plain);
    std::string pretty;
    std::string again;
    std::string wanted;
    std::string got;
    PrintAnew(format, true, &pretty);
    for (const std::string& printed : {plain, pretty}) {
      ASSERT_TRUE(PrintAnew(printed, false, &again)) << printed;
      EXPECT_EQ(again, plain) << printed;
      ASSERT_TRUE(PrintAnew(printed, true, &again));
      EXPECT_EQ(again, pretty);
      std::time_t second = 0;
      do {  // some print the time: both runs are to fall into one second
        second = std::time(nullptr);
        wanted = runner.Run("," + format).text;
        got = runner.Run("," + printed).text;
      } while (std::time(nullptr) != second);
      EXPECT_EQ(got, wanted) << printed;
    }
    if (HasFailure()) break;
  }
  EXPECT_GT(compiled, kFormats / 2);
}

}  // namespace
