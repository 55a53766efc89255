#include "search/operand.h"

#include <gtest/gtest.h>

#include <string>

namespace {

using Tmthrd_32::Operand;

/// "TERM", "TERM$", "FROM[...]TO", with "/tag,tag" behind.
std::string Shown(const Operand& operand) {
  std::string text = operand.term;
  if (operand.isTruncated) text += "$";
  if (operand.isRange) text += "[...]" + operand.last + (operand.isLastTruncated ? "$" : "");
  char mark = '/';
  for (const int tag : operand.tags) {
    text += mark + std::to_string(tag);
    mark = ',';
  }
  return text;
}

TEST(OperandTest, TakesFormsApart) {
  const struct {
    const char* text;
    const char* want;
  } cases[] = {
      {"K=HORSE", "K=HORSE"},
      {"\"RED ROAN\"", "RED ROAN"},
      {"HOR$", "HOR$"},
      {"\"HOR$\"", "HOR$"},
      {"\"HOR\"$", "HOR$"},
      {"$", "$"},
      {"\"A\"/(200,210)", "A/200,210"},
      {"\"A$\"/(200, x,-1,0, 7)", "A$/200,7"},
      {"\"A\"/(200", "A/20"},  // the last character closes, whatever it is
      {"\"A\"/(", "A/("},
      {"A/(200)", "A/(200)"},  // without quotes there is no qualification
      {"\"A", "A"},
      {"\"", "\""},
      {"\"\"", ""},
      {"A\"", "A\""},
      {"\"A \"B\" C\"/(1)", "A \"B\" C/1"},
      {"A[...]B", "A[...]B"},
      {"\"A A\"[...]\"B B\"/(3)", "A A[...]B B/3"},
      {"\"A\"/(4)[...]B$", "A[...]B$/4"},
      {"A$[...]", "A[...]"},
      {"\"A [...] B\"", "A [...] B"},  // quotes make it part of the term
      {"\"A[...]\"[...]\"B[...]\"$", "A[...][...]B[...]$"},
      {"", ""},
  };
  for (const auto& c : cases) {
    SCOPED_TRACE(c.text);
    EXPECT_EQ(Shown(Tmthrd_32::ParseOperand(c.text)), c.want);
  }
}

TEST(OperandTest, CutsLongTerms) {
  const std::string latin(300, 'A');
  EXPECT_EQ(Tmthrd_32::ParseOperand(latin).term, std::string(255, 'A'));
  EXPECT_EQ(Shown(Tmthrd_32::ParseOperand(latin + "$")), std::string(255, 'A') + "$");

  std::string cyrillic;
  for (int i = 0; i < 200; ++i) cyrillic += "Ж";
  EXPECT_EQ(Tmthrd_32::ParseOperand(cyrillic).term.size(), 255U);
  EXPECT_EQ(Tmthrd_32::ParseOperand(cyrillic + "$").term.size(), 254U);  // no half character
}

}  // namespace
