#include "search/tokenizer.h"

#include <gtest/gtest.h>

#include <chrono>
#include <string>

#include "support/memory_space.h"

namespace {

using velor_01::TStringList;

/// The steps as "A B/0; #1 C/1": operands, code.
std::string Steps(const std::string& expression, int firstStep = 1) {
  TStringList steps;
  tokenizer::UnpackSearchExpression(expression, &steps, firstStep);
  std::string shown;
  for (int i = 0; i < steps.GetCount(); ++i) {
    std::string text = steps.Get(i);
    for (std::size_t at = 0; (at = text.find("\r\n", at)) != std::string::npos;) text.replace(at, 2, "|");
    shown += (i == 0 ? "" : "; ") + text + "/" + std::to_string(steps.GetNumObject(i));
  }
  return shown;
}

TEST(Tokenizer, MakesSteps) {
  const struct {
    const char* why;
    const char* expression;
    const char* want;
  } cases[] = {
      {"nothing", "", ""},
      {"blanks", "   ", ""},
      {"a term", "A", "A/0"},
      {"blanks around", "  A B  ", "A B/0"},
      {"or", "A + B", "A|B/0"},
      {"three of a kind", "A + B + C", "A|B|C/0"},
      {"no blanks needed", "A*B^C", "A|B/1; #1|C/2"},
      {"and binds closer", "A + B * C", "B|C/1; A|#1/0"},
      {"group first", "(A + B) * C", "A|B/0; #1|C/1"},
      {"one level, left to right", "A * B ^ C", "A|B/1; #1|C/2"},
      {"change and back", "A ^ B * C * D ^ E", "A|B/2; #1|C|D/1; #2|E/2"},
      {"all later ones are subtracted", "A ^ B ^ C", "A|B|C/2"},
      {"fields", "A(G)B", "A|B/3"},
      {"occurrences bind closer than fields", "A (G) B (F) C", "B|C/4; A|#1/3"},
      {"distance binds closest", "A (F) B . C", "B|C/9; A|#1/4"},
      {"spelling of a distance", "A .. B", "A|B/10"},
      {"ten points", "A .......... B", "A|B/18"},
      {"eleven points are none", "A ........... B", "A ........... B/0"},
      {"dollars", "A $ B $ C", "A|B|C/19"},
      {"ten dollars", "A $$$$$$$$$$ B", "A|B/28"},
      {"distances change", "A . B $ C", "A|B/9; #1|C/19"},
      {"a blank for two operators", "A . . B", "A|B/9"},
      {"a point needs blanks", "A.B", "A.B/0"},
      {"truncation", "A$ * B", "A$|B/1"},
      {"all terms", " $ ", "$/0"},
      {"quotes keep operators", "\"A + B\"", "\"A + B\"/0"},
      {"quotes keep brackets", "\"A (F) (B\" * C", "\"A (F) (B\"|C/1"},
      {"qualification", "\"A\"/(200,210)", "\"A\"/(200,210)/0"},
      {"qualification in a group", "(\"A\"/(200) + B) * C", "\"A\"/(200)|B/0; #1|C/1"},
      {"field operator behind a slash", "A/(F)B", "A/|B/4"},
      {"range", "\"A\"[...]\"B\" + C", "\"A\"[...]\"B\"|C/0"},
      {"empty group", "()", ""},
      {"group of blanks", "A * ( ) + B", "A|B/0"},
      {"group of operators", "(+*^) A", "A/0"},
      {"group of one", "(A) * B", "A/0; #1|B/1"},
      {"groups in groups", "((A))", "A/0; #1/0; #2/0"},
      {"a group all over", "(A + B)", "A|B/0; #1/0"},
      {"sibling groups", "(A+B)*(C+D)", "A|B/0; C|D/0; #1|#2/1"},
      {"no first operand", "^ A", "A/0"},
      {"no last operand", "A * B ^", "A|B/1"},
      {"the operator in front of an operand counts", "A * ^ B", "A|B/2"},
      {"group left open", "(A + B", "A|B/0; #1/0"},
      {"group never opened", "A) * B", "A|B/1"},
      {"quote left open", "A * \"B + (C", "A|\"B + (C/1"},
      {"qualification left open", "A/(1 + B", "A/(1 + B/0"},
      {"line ends", "A\r\n+\nB", "A|B/0"},
      {"group in front of a digit", "(A)0 * B", "A/0; #1 0|B/1"},
      {"group inside a term", "K=(A+B)", "A|B/0; K=#1/0"},
  };
  for (const auto& c : cases) {
    SCOPED_TRACE(c.why);
    EXPECT_EQ(Steps(c.expression), c.want);
  }
  EXPECT_EQ(Steps("(A + B) * C", 5), "A|B/0; #5|C/1");
  EXPECT_EQ(Steps(std::string("A\0+B", 4)), "A|B/0");
}

TEST(Tokenizer, TakesWildExpressions) {
  const struct {
    const char* why;
    std::string expression;
    int steps;
  } cases[] = {
      {"operands", test::Repeat("A*", 10000) + "A", 1},
      {"changing operators", test::Repeat("A*B^", 5000) + "A", 10000},
      {"depth", test::Repeat("(", 100000) + "A" + test::Repeat(")", 100000), 100001},
      {"depth left open", test::Repeat("(A+", 20000) + "A", 20001},
      {"closing brackets", test::Repeat(")", 100000), 0},
      {"quotes", test::Repeat("\"", 99999), 1},
  };
  for (const auto& c : cases) {
    SCOPED_TRACE(c.why);
    TStringList steps;
    const auto start = std::chrono::steady_clock::now();
    tokenizer::UnpackSearchExpression(c.expression, &steps, 1);
    EXPECT_LT(std::chrono::steady_clock::now() - start, std::chrono::seconds(20));
    EXPECT_EQ(steps.GetCount(), c.steps);
  }
}

TEST(Tokenizer, GivesTheWordsOfAnExpression) {
  const struct {
    const char* why;
    const char* expression;
    const char* want;  // words, prefix, text
  } cases[] = {
      {"words without marks", "\"K=RED\"/(200) * K=ORY$ + K=ROAN@", "RED,ORY,ROAN,|K=|RED ORY ROAN"},
      {"each once", "RED + RED * BLUE", "RED,BLUE,||RED BLUE"},
      {"what is subtracted does not count", "(A + B) ^ (C * D) ^ E", "A,B,||A B"},
      {"a range has no word", "A[...]B + C", "C,||C"},
      {"nothing", "", "||"},
  };
  for (const auto& c : cases) {
    SCOPED_TRACE(c.why);
    TStringList words;
    std::string prefix = "old";
    std::string text = "old";
    tokenizer::ConvertToFullText(&words, c.expression, prefix, text);
    std::string shown;
    for (const auto& item : words.Items()) (shown += item.text) += ',';
    ((shown += '|') += prefix) += '|';
    EXPECT_EQ(shown += text, c.want);
  }
}

}  // namespace
