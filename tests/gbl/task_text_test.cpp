// The texts that corrections are made of: subfields of a field, lines of a task.

#include "gbl/task_text.h"

#include <gtest/gtest.h>

#include "gbl/subfield_text.h"
#include "utils/string_list.h"
#include "utils/string_utils.h"

namespace {

using std::wstring;

TEST(SubfieldText, FindsAndDeletes) {
  const struct {
    const char* why;
    wstring text;
    wchar_t code;
    wstring value, rest;
  } cases[] = {
      {"in the middle", L"^a1^b2^c3", L'b', L"2", L"^a1^c3"},
      {"code in the other case", L"^a1^b2^c3", L'B', L"2", L"^a1^c3"},
      {"upper case comes first", L"^b1^B2", L'b', L"2", L"^b1"},
      {"the first of its code", L"^a1^a2", L'a', L"1", L"^a2"},
      {"not there", L"^a1", L'z', L"", L"^a1"},
      {"without value", L"^a^b1", L'a', L"", L"^b1"},
      {"behind a text", L"x^a1", L'a', L"1", L"x"},
      {"the only one, without value", L"^a", L'a', L"", L""},
      {"a lone mark ends it", L"^a1^", L'a', L"1", L"^"},
      {"a digit", L"^11^22", L'1', L"1", L"^22"},
      {"beyond ASCII", L"^бx^a1", L'Б', L"x", L"^a1"},
      {"no subfields", L"abc", L'a', L"", L"abc"},
      {"no text", L"", L'a', L"", L""},
  };
  for (const auto& c : cases) {
    SCOPED_TRACE(c.why);
    EXPECT_EQ(global::getsubfield(c.text, c.code), c.value);
    wstring rest = c.text;
    global::delsubfield(rest, c.code);
    EXPECT_EQ(rest, c.rest);
  }
}

TEST(SubfieldText, WideStringReplace) {
  const struct {
    const char* why;
    wstring text, from, to;
    bool all, ignoreCase;
    wstring wanted;
  } cases[] = {
      {"all", L"abab", L"ab", L"x", true, false, L"xx"},
      {"the first", L"abab", L"ab", L"x", false, false, L"xab"},
      {"the first in either case", L"aBab", L"Ab", L"x", false, true, L"xab"},
      {"either case", L"AbcaB", L"ab", L"x", true, true, L"xcx"},
      {"one case", L"ABab", L"ab", L"x", true, false, L"ABx"},
      {"what is not replaced keeps its case", L"XabY", L"AB", L"q", true, true, L"XqY"},
      {"what was put in is not searched", L"aa", L"a", L"aa", true, false, L"aaaa"},
      {"places do not overlap", L"aaa", L"aa", L"b", true, false, L"ba"},
      {"beyond ASCII", L"РЫБА рыба", L"Рыба", L"кит", true, true, L"кит кит"},
      {"by nothing", L"abcb", L"b", L"", true, false, L"ac"},
      {"not there", L"abc", L"x", L"y", true, true, L"abc"},
      {"longer than the text", L"a", L"ab", L"y", true, true, L"a"},
      {"no text", L"", L"a", L"b", true, false, L""},
  };
  for (const auto& c : cases)
    EXPECT_EQ(global::WideStringReplace(c.text, c.from, c.to, c.all, c.ignoreCase), c.wanted) << c.why;
}

TEST(TaskText, ReplVal) {
  const struct {
    const char *text, *what, *with, *wanted;
  } cases[] = {
      {"a&&&b&&&", "&&&", "7", "a7b7"},
      {"aXbX", "X", "XX", "aXXbX"},  // only the first: what was put in holds what is looked for
      {"aXbX", "X", "X", "aXbX"},
      {"aXbX", "X", "", "ab"},
      {"abc", "X", "y", "abc"},
      {"", "X", "y", ""},
  };
  for (const auto& c : cases) {
    std::string text = c.text;
    global::ReplVal(text, c.what, c.with);
    EXPECT_EQ(text, c.wanted) << c.text;
  }
}

TEST(TaskText, RepToC0D0A) {
  std::string text = "a;b;c";
  global::RepToC0D0A(text, ";");
  EXPECT_EQ(text, "a\r\nb;c");
}

TEST(TaskText, ParseCommandsFindsTheEndOfABlock) {
  const struct {
    const char* why;
    const char* lines;  // parted by commas
    const char* stopWord;
    int start;
    bool stopAfterFirst;
    int wanted;
  } cases[] = {
      {"behind the word", "END,END", "END", 0, false, 1},
      {"from a line on", "END,x,END,x", "END", 1, false, 3},
      {"operands that read so", "ADD,END,END,END,END,END", "END", 0, false, 6},
      {"DELR has four", "DELR,END,END,END,END,END", "END", 0, false, 6},
      {"CHAC has four", "CHAC,END,END,END,END,END", "END", 0, false, 6},
      {"UNDEL has four", "UNDEL,END,END,END,END,END", "END", 0, false, 6},
      {"UNDOR is not known here", "UNDOR,END,END", "END", 0, false, 2},
      {"comments and other cases", "//END,end,,END", "END", 0, false, 4},
      {"UNTIL has one operand", "UNTIL,END,END", "END", 0, false, 3},
      {"UNTIL with its operand ends too", "x,UNTIL,'1',x", "UNTIL", 0, false, 3},
      {"FI ends", "END,FI,x", "FI", 0, false, 2},
      {"END within IF", "IF,'1',END,FI,END", "END", 0, false, 5},
      {"the operand of IF is looked at", "IF,FI,END,FI,END", "END", 0, false, 3},
      {"UNTIL of its REPEAT", "REPEAT,UNTIL,'1',END", "END", 0, false, 4},
      {"a block within", "NEWREC,'1',END,END", "END", 0, false, 4},
      {"the first block only", "NEWREC,'1',END,END", "END", 0, true, 3},
      {"NEWMFN opens one", "x,NEWMFN,'o',END,END", "END", 0, true, 4},
      {"the first block, from its own line", "CORREC,'o',,'k',,ADD,1,*,'x',-,END,x", "END", 0, true, 11},
      {"IF is a first block too", "IF,'1',FI,END", "END", 0, true, 3},
      {"blocks in blocks", "CORREC,'o',,'k',,IF,'1',NEWREC,'1',END,FI,END,x", "END", 0, true, 12},
      {"no end", "ADD,1", "END", 0, false, 5},
      {"no end of a block within", "IF,'1',END", "END", 0, false, 3},
      {"behind the last line", "x", "END", 3, false, 3},
  };
  for (const auto& c : cases) {
    velor_01::TStringList lines;
    for (const std::string& line : utils::StringUtils::Split(c.lines, ',')) lines.Add(line);
    EXPECT_EQ(global::ParseCommands(&lines, c.stopWord, c.start, c.stopAfterFirst), c.wanted) << c.why;
  }
}

}  // namespace
