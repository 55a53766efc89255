#include "format/xpft_parser.h"

#include <gtest/gtest.h>

#include <string>

#include "format/print_context.h"
#include "format/xpft_formatter.h"

namespace {

using xpft::XpftFormatter;
using xpft::XpftParser;

struct Compiled {
  std::shared_ptr<XpftFormatter> formatter;
  int code = 0;
  std::string error;
};

Compiled Compile(std::string_view text, bool keepSource = false, std::string_view name = {}) {
  Compiled result;
  result.formatter = XpftFormatter::GetFormatter(name, text, keepSource, result.code, result.error);
  return result;
}

std::string Print(const XpftFormatter* formatter) {
  if (formatter == nullptr) return "no formatter";
  xpft::PlainPrintContext out;
  out.Start();
  formatter->Print(&out);
  std::string text;
  out.GetText(text);
  return text;
}

/// The tree as text, or the error. The text must give the same tree again.
std::string Tree(std::string_view text, bool keepSource = false) {
  const Compiled compiled = Compile(text, keepSource);
  if (!compiled.formatter) return std::to_string(compiled.code) + ": " + compiled.error;
  const std::string printed = Print(compiled.formatter.get());
  EXPECT_EQ(Print(Compile(printed, keepSource).formatter.get()), printed) << text;
  return printed;
}

/// Code and message with its place, without the quoted source.
std::string Error(std::string_view text) {
  const Compiled compiled = Compile(text);
  EXPECT_EQ(compiled.formatter, nullptr) << text;
  const std::string source = ", fmt source: " + std::string(text);
  EXPECT_TRUE(compiled.error.ends_with(source)) << compiled.error;
  return std::to_string(compiled.code) + ": " +
         compiled.error.substr(0, compiled.error.size() - std::min(compiled.error.size(), source.size()));
}

struct Row {
  std::string_view text;
  std::string_view want;
};

TEST(Parser, NamesTheFirstMistakeAndItsPlace) {
  const Row rows[] = {
      // Tokens.
      {"v1,&(", "2: letter, digit, -, _,! expected at line 1, column 4"},
      {"@ x", "2: letter, digit, -, _ expected at line 1, column 1"},
      {"\x1C"
       "abc",
       "2: unexpected character  ascii code 0 at line 1, column 0"},
      {"v1 foo", "2: unexpected token FOO at line 1, column 4"},
      {"regreplacev(", "450: ( expected at line 1, column 11"},
      {"v1 ? v2", "3: unexpected character ? ascii code 63 at line 1, column 4"},
      {"v1\xD0", "3: unexpected character \xD0 ascii code -48 at line 1, column 3"},
      {"v12345678901234567890123456789012", "6000: too much characters for number at line 1, column 2"},
      {"e1:=0.1234567890123456789012345678901", "6000: too much characters for number at line 1, column 5"},
      {"v2147483648", "7000: number is bigger than int32: 2147483648 at line 1, column 2"},
      // The end of the list.
      {"v1 then", "6: unexpected THEN at line 1, column 4"},
      {"val('1')", "6: unexpected VAL at line 1, column 1"},
      {"v1)", "6: syntax error at line 1, column 3"},
      {"<tag", "6: syntax error at line 1, column 1"},
      {"<text>x", "6: syntax error at line 1, column 1"},
      {"v1^", "6: syntax error at line 1, column 3"},
      // Fields.
      {"v", "8: number expected at line 1, column 1"},
      {"c,x", "8: number expected at line 1, column 2"},
      {"v1*a", "8: number expected at line 1, column 4"},
      {"v1.a", "8: number expected at line 1, column 4"},
      {"mfn(e1)", "8: number expected at line 1, column 5"},
      {"v200[]", "8: numeric expression expected at line 1, column 5"},
      {"v1^a[],v2", "8: numeric expression expected at line 1, column 5"},
      {"if p(v1[]) then fi", "8: numeric expression expected at line 1, column 8"},
      {"v1['a']", "8: numeric expression expected at line 1, column 4"},
      {"v1[1..]", "8: numeric expression expected at line 1, column 7"},
      {"v1[1 2]", "81: ] expected at line 1, column 6"},
      {"v1[1.5]", "81: ] expected at line 1, column 5"},
      {"v1(2;3)", "7: ) expected at line 1, column 5"},
      {"v1+v2", "9: |..| literal expected at line 1, column 4"},
      {"((v1))", "-1: Nested repeatable format not allowed at line 1, column 2"},
      {"(s((v1)))", "-1: Nested repeatable format not allowed at line 1, column 4"},
      {"(v1", "7: ) expected at line 1, column 3"},
      // Control.
      {"if p(v1) v2 fi", "14: THEN expected at line 1, column 10"},
      {"if p(v1) then v2", "15: FI expected at line 1, column 16"},
      {"while e1=1 v1", "14: ( expected at line 1, column 12"},
      {"while e1=1 (v1", "15: ) expected at line 1, column 14"},
      {"select then", "-1: string or numeric expression expected at line 1, column 8"},
      {"select v1 v2", "-1: case expected at line 1, column 11"},
      {"select v1 case 1:", "-1: string expression expected at line 1, column 16"},
      {"select e1 case '1':", "8: numeric expression expected at line 1, column 16"},
      {"select v1 case 'a' v2", "-1: : expected at line 1, column 20"},
      {"select v1 case 'a': v2", "-1: endsel expected at line 1, column 22"},
      {"@a(v1", "454: ; expected at line 1, column 5"},
      {"@a(v1;)", "453: command list expected at line 1, column 7"},
      // Assignments.
      {"e1", "333: := expected at line 1, column 2"},
      {"e1:='a'", "333: numeric expression expected at line 1, column 5"},
      {"s1:=v1", "334: ( expected at line 1, column 5"},
      {"s1:=(v1", "336: ) expected at line 1, column 7"},
      {"v1:=v2", "335: ( expected at line 1, column 5"},
      {"v1:=(v2", "337: ) expected at line 1, column 7"},
      // Conditions and expressions.
      {"if v1 then fi", "16: <, >, <>, =, >= , <=, : expected at line 1, column 7"},
      {"if e1 : 2 then fi", "16: <, >, <>, =, >= , <= expected at line 1, column 7"},
      {"if v1=1 then fi", "17: string expression expected at line 1, column 7"},
      {"if 1='a' then fi", "3010: numeric expression expected at line 1, column 6"},
      {"if (v1=1) then fi", "3010: string expression expected at line 1, column 8"},
      {"if then fi", "19: a( ), p( ) expected at line 1, column 4"},
      {"if a v1 then fi", "20: ( expected at line 1, column 6"},
      {"if a('x') then fi", "220: field expression expected at line 1, column 6"},
      {"if a(v1|x|) then fi", "222: ) expected at line 1, column 8"},
      {"if (v1) then fi", "3000: boolean expression expected at line 1, column 9"},
      {"if () then fi", "3000: boolean expression expected at line 1, column 5"},
      {"if (v1='a' then fi", "7: ) expected at line 1, column 12"},
      {"if 'a'=(1) then fi", "20: string expression expected at line 1, column 9"},
      {"e1:=1+", "23: numeric expression expected at line 1, column 6"},
      {"e1:=(1", "22: ) expected at line 1, column 6"},
      {"if v1 in 'a' then fi", "450: [ expected at line 1, column 10"},
      {"if v1 in ('a') then fi", "20: IN expression expected at line 1, column 11"},
      {"if v1 in [] then fi", "-1: string expression expected at line 1, column 11"},
      {"if 1 in [] then fi", "8: numeric expression expected at line 1, column 10"},
      {"if v1 in ['a' 'b'] then fi", "222: ] expected at line 1, column 15"},
      {"if v1 in ['a'.x1] then fi", "123: point expected at line 1, column 15"},
      // Functions.
      {"s v1", "54: ( expected at line 1, column 3"},
      {"s(v1", "55: ) expected at line 1, column 4"},
      {"e1:=val v1", "21: ( expected at line 1, column 9"},
      {"e1:=val(v1", "7: ) expected at line 1, column 10"},
      {"e1:=nocc v1", "20: ( expected at line 1, column 10"},
      {"e1:=nocc(+v1.5)", "222: ) expected at line 1, column 13"},
      {"f('a')", "118: numeric expression expected at line 1, column 3"},
      {"f(1 2)", "22: comma expected at line 1, column 5"},
      {"f(1,)", "218: numeric expression expected at line 1, column 5"},
      {"f(1,2,)", "318: numeric expression expected at line 1, column 7"},
      {"ref-(1,v1)", "21: -> expected at line 1, column 5"},
      {"ref->(1)(1,v1)", "21: string expression expected at line 1, column 7"},
      {"ref(['a'(1,v1)", "5000: ] expected at line 1, column 9"},
      {"ref([1]1,v1)", "20: string expression expected at line 1, column 6"},
      {"ref->a(['b']1,v1)", "118: numeric expression expected at line 1, column 8"},
      {"ref(1 v1)", "22: comma expected at line 1, column 7"},
      {"e1:=lr((v1),)", "718: numeric expression expected at line 1, column 13"},
      {"e1:=lr((v1),1,)", "818: numeric expression expected at line 1, column 15"},
      {"e1:=math(1)", "453: string expression expected at line 1, column 10"},
      {"e1:=type v1", "850: ( expected at line 1, column 10"},
      {"e1:=type(,v1)", "853: string or numeric expression expected at line 1, column 10"},
      {"e1:=type(1 v1)", "851: comma expected at line 1, column 12"},
      {"date()", "1234: DATETIME, DATEONLY or number expected at line 1, column 6"},
      {"date(1", "1234: ) expected at line 1, column 6"},
      {"save(v1)", "501: UPDMST, UPDIF, UPDALL or number expected at line 1, column 6"},
      {"left v1", "400: ( expected at line 1, column 6"},
      {"left(,1)", "401: command expected at line 1, column 6"},
      {"left(;1)", "401: command list expected at line 1, column 6"},
      {"left(v1 v2,1)", "402: syntax error at line 1, column 9"},
      {"left(v1,'a')", "403: numeric expression expected at line 1, column 9"},
      {"mid(v1;1;)", "405: numeric expression expected at line 1, column 10"},
      {"left(v1,1,2)", "404: ) expected at line 1, column 10"},
      {"trim v1", "450: ( expected at line 1, column 6"},
      {"trim()", "451: command expected at line 1, column 6"},
      {"trim(;v1)", "451: command list expected at line 1, column 6"},
      {"trim(v1;)", "453: command list expected at line 1, column 9"},
      {"trim(v1,v2,v3)", "453: syntax error at line 1, column 14"},
      {"trim(v1;v2;v3)", "456: ) expected at line 1, column 11"},
      {"e1:=instr(v1)", "453: command expected at line 1, column 13"},
      {"replace(v1,v2)", "453: command expected at line 1, column 14"},
      {"replace(v1;v2)", "454: ; expected at line 1, column 14"},
      {"replace(v1;v2;)", "455: command list expected at line 1, column 15"},
      {"replace(v1,v2,v3,v4)", "456: syntax error at line 1, column 20"},
      {"sort v1", "500: ( expected at line 1, column 6"},
      {"sort(v1)", "501: numeric expression expected at line 1, column 6"},
      {"sort(1 2)", "502: comma expected at line 1, column 8"},
  };
  for (const Row& row : rows) EXPECT_EQ(Error(row.text), row.want) << row.text;
}

TEST(Parser, CountsLinesAndColumns) {
  EXPECT_EQ(Error("v1,\r\n v2 ?"), "3: unexpected character ? ascii code 63 at line 2, column 5");
  EXPECT_EQ(Error("v1,\n\r\r\n v2 ?"), "3: unexpected character ? ascii code 63 at line 4, column 5");
  EXPECT_EQ(Error("'a\nb'\t?"), "3: unexpected character ? ascii code 63 at line 2, column 3");
  EXPECT_EQ(Error("/* c ?\nv1 ?"), "3: unexpected character ? ascii code 63 at line 2, column 4");
}

TEST(Parser, QuotesTheSourceOrWhatIsNear) {
  EXPECT_EQ(Compile("e1", false, "name").error, "name: := expected at line 1, column 2, fmt source: e1");
  const std::string whole(1000, ' ');
  EXPECT_TRUE(Compile(whole.substr(2) + ")x").error.ends_with(", fmt source: " + whole.substr(2) + ")x"));
  // The quotation begins behind the first byte of the token, and keeps characters whole.
  EXPECT_EQ(Compile(whole + "foo'" + "Жабры в реке Ока и ещё тридцать" + "'").error,
            "unexpected token FOO at line 1, column 1001 near oo'Жабры в реке Ока и ещё трид");
  // Where less than three bytes are left it is the end of the text.
  const std::string end =
      "Ж\xD0"
      "23456789 123456789 123456'e1";
  EXPECT_EQ(Compile("'" + whole + end).error, ":= expected at line 1, column 1032 near " + end);
}

TEST(Parser, ReadsWhatThePrinterWrites) {
  const Row rows[] = {
      // Numbers behind a field are lengths and offsets.
      {"v200^a.5", "v200^a.5"},
      {"v200.5", "v200.5"},
      {"v200*2.5", "v200*2.5"},
      {"v200*0", "v200"},
      {"v200*0.3", "v200.3"},
      {"V1[1..LAST]^A[e1](2,4)|x|", "v1[1..last]^A[e1](2,4)|x|"},
      {"v1(3)", "v1(3,0)"},
      {"v1('a')", "v1, ( 'a' )"},
      {"g12[]^a:=(v1)", "g12[]^a:=(v1)"},
      // Line ends are nothing, comments end with their line.
      {"v1\n0", "v10"},
      {"m/* x */ y\r\npl,v1", "mpl, v1"},
      {"v1/*", "v1"},
      {"v1//*x", "v1, /"},
      {",,/*x\n,", ""},
      // Literals.
      {"'abc", "'abc'"},
      {"'a\r\nb'", "'ab'"},
      {"`it's`", "`it's`"},
      {"!xabcx", "!'abc'"},
      {"<TEXT>a'b</Text>,v1", "<text>a'b</text>, v1"},
      {"'a'.1", "'a'.1"},
      {"v1^'", "v1^'"},
      // What stands around a field.
      {"|a|+,v1+|b|\"c\"", "|a|+v1+|b|\"c\""},
      {"|a|,|b|v1", "|a|, |b|v1"},
      {"||v1||", "v1"},
      {"|a|,||,v1", "|a|v1"},
      {"\"a\",\"b\"#x3,mpl,v1\"c\"v2", "\"a\" \"b\" # x3 mpl v1\"c\", v2"},
      {"\"a\",'x'", "\"a\", 'x'"},
      {"d1\"x\"", "d1, \"x\""},
      {"|a|g1\"x\"", "|a|g1, \"x\""},
      {"c5x3/#%,x1", "c5 x3 / # %, x1"},
      // Parentheses say nothing about what is inside.
      {"if ((v1)='a' and (e1+1)*2=3) or not (a(v1)) then v2 fi",
       "if v1 = 'a' and (e1+1)*2 = 3 or not a(v1) then v2 fi"},
      {"if (a(v1)) or (a(v2)) and p(v3) then fi", "if a(v1) or a(v2) and p(v3) then fi"},
      {"if (a(v1) or a(v2)) and p(v3) then fi", "if (a(v1) or a(v2)) and p(v3) then fi"},
      {"if ((v1).2)='a' and v1.2='b' then fi", "if (v1).2 = 'a' and v1.2 = 'b' then fi"},
      {"if ('a'.2)*3='a' then fi", "if ('a'.2)*3 = 'a' then fi"},
      {"select ((v1|b|).2) case (v1^a.2)*3: endsel", "select (v1|b|).2 case (v1^a.2)*3: endsel"},
      {"v1[(2.5)..(3000000000)],v1^a[(1.5)*2-1]", "v1[(2.5)..(3000000000)], v1^a[(1.5*2-1)]"},
      {"if v1\"x\":'b' then fi", "if s(v1\"x\") : 'b' then fi"},
      {"if v1 in (['a'..'c',v1.3..v2.4,'b'.2..'c']) then fi",
       "if v1 in ['a'..'c',v1.3..v2.4,'b'.2..'c'] then fi"},
      {"if e1 in [1,2..3,1.5..2,-1] then fi", "if e1 in [1,2..3,1.5..2,-1] then fi"},
      {"select (v1) case ('a'):v2 elsecase v4 endsel", "select v1 case 'a': v2 elsecase v4 endsel"},
      {"e1:=-(2-3)*4-1-(5-1)", "e1:=-(2-3)*4-1-(5-1)"},
      {"e1:=9223372036854775807", "e1:=9.223372036854775807e+18"},
      {"e1:=5e", "e1:=0"},
      {"e1:=7e6794", "e1:=1e9999"},
      {"e1:=.", "e1:=0"},
      // Two spellings of lists.
      {"left(v1,5),left(v1,mfn;5),left('a;b',mfn)", "left(v1;5), left(v1, mfn;5), left('a;b';mfn)"},
      {"left(v1/*;\n,5),left(^;", "401: x"},
      {"mid(@a!b;1;2)", "mid(@a!b;1;2)"},
      {"left(@a\n!b;1)", "left(@a!b;1)"},
      {"e1:=7.5,e1:=5e", "e1:=7.5, e1:=0"},
      {"trim(v1,v2,v3;' '),trim(v1 v2)", "trim(v1, v2, v3;' '), trim(v1 v2)"},
      {"replace(v1,'a' 'b')", "replace(v1;'a';'b')"},
      // Databases.
      {"REF->Other_1(1,v2),ref([ 'other' ]1,v2)", "ref->Other_1(1,v2), ref(['other']1,v2)"},
      {"e1:=l->('a')(+v1)+math['sin'](1,e2)", "e1:=l->('a')(+v1)+math(['sin']1,e2)"},
      // Forms that depend on what is in the parentheses.
      {"date,date(datetime),date((e1+1)*2),date((v1))", "date, date(datetime), date((e1+1)*2), date(( v1 ))"},
      {"&Uf('a').3,@Name!(v1;v2),\x1Cmy name\x1D", "&Uf('a').3, @Name!(v1;v2), \x1Cmy name\x1D"},
      {"(f(rsum((v1)))),(fmt((v1)))", "( f(rsum(( v1 ))) ), ( fmt(( v1 )) )"},
  };
  for (const Row& row : rows) {
    std::string got = Tree(row.text);
    if (row.want.ends_with(": x")) got = got.substr(0, got.find(':')) + ": x";
    EXPECT_EQ(got, row.want) << row.text;
  }
}

TEST(Parser, KeepsCommentsAndLineEndsForThePrinter) {
  EXPECT_EQ(Tree("v1,/*one\r\n/*two\nv2/*end", true), "v1, /*one\r\n/*two\r\nv2, /*end\r\n");
  EXPECT_EQ(Tree("if p(v1) then /*nothing\n fi", true), "if p(v1) then /*nothing\r\nfi");
  // What is read twice, behind "(", counts once.
  EXPECT_EQ(Tree("v1(/*x\n'a')", true), "v1, ( /*x\r\n'a' )");
  EXPECT_EQ(Tree("'a\r\nb'", true), "'a\r\nb'");
  EXPECT_EQ(Tree("@a(/*x\n)", true).substr(0, 4), "453:");
}

TEST(Parser, WithoutCompatibility) {
  XpftParser parser;
  parser.SetVelorCompatibility(false);
  EXPECT_EQ(parser.format("", "v1 /* c\nv2"), nullptr);
  EXPECT_EQ(parser.GetErrorCode(), -1);
  EXPECT_TRUE(parser.GetErrorDescription().starts_with("end of comment not found at line 1, column 4"));
  EXPECT_EQ(Print(parser.format("", "v1\n5\x1Av2").get()), "no formatter");
  EXPECT_EQ(Print(parser.format("", "v1\nv2\x1Av3").get()), "v1, v2, v3");
  EXPECT_EQ(parser.GetErrorCode(), 0);
}

TEST(Parser, BareExpressions) {
  const Row rows[] = {
      {"a(v1) or v2='x'", "if a(v1) or v2 = 'x' then '1' else '0' fi"},
      {"(e1+1)*2", "f((e1+1)*2,0,0)"},
      {"v1", "no formatter"},
      {"a(v1) v2", "no formatter"},
      {"1 2", "no formatter"},
      {"", "no formatter"},
  };
  for (const Row& row : rows) {
    EXPECT_EQ(Print(XpftFormatter::GetPartialExpressionFormatter(row.text).get()), row.want) << row.text;
  }
}

TEST(Parser, EmptyTextsGiveEmptyFormats) {
  for (const std::string_view text :
       {std::string_view(), std::string_view("\0v1", 3), std::string_view(" \r\n")}) {
    const Compiled compiled = Compile(text);
    ASSERT_NE(compiled.formatter, nullptr);
    EXPECT_EQ(compiled.code, 0);
    EXPECT_TRUE(compiled.formatter->GetCmdList()->GetList().empty());
  }
}

std::string Repeat(std::string_view part, int count) {
  std::string text;
  for (int i = 0; i < count; ++i) text += part;
  return text;
}

TEST(Parser, BoundsTheDepthOfTrees) {
  const std::string_view openings[] = {"s(",
                                       "if p(v1) then ",
                                       "if (",
                                       "if not ",
                                       "e1:=(",
                                       "e1:=-(",
                                       "@a(",
                                       "&f(",
                                       "left(",
                                       "replace(v1,",
                                       "ref->('a')(1,",
                                       "ref(['a'.1",
                                       "v1:=(",
                                       "s1:=(",
                                       "select (",
                                       "while 1=1 (",
                                       "if v1=(",
                                       "if 'a' in (",
                                       "date((",
                                       "e1:=val(",
                                       "select v1 case 'a':",
                                       "v1[nocc(",
                                       "f(l->(s(",
                                       "sort(1,type(",
                                       "e1:=1+(",
                                       "if a(v1) and (",
                                       "math->x(",
                                       "trim(v1;",
                                       "fmt((",
                                       "if a(v1[nocc("};
  for (const std::string_view opening : openings) {
    const Compiled compiled = Compile(Repeat(opening, 100000));
    EXPECT_EQ(compiled.formatter, nullptr) << opening;
    EXPECT_NE(compiled.code, 0) << opening;
  }
  EXPECT_TRUE(Compile(Repeat("s(", 1000)).error.starts_with("format nested too deep at line 1, column "));
  EXPECT_EQ(Compile(Repeat("if not ", 1) + Repeat("not ", 100000) + "a(v1) then fi").code, 9000);
  EXPECT_NE(Compile(Repeat("if p(v1) then v1 else ", 200) + Repeat("fi ", 200)).formatter, nullptr);
}

TEST(Parser, BoundsChainsOfOperators) {
  for (const std::string_view link : {"+1", "-1", "*1", "/1"}) {
    EXPECT_NE(Compile("e1:=1" + Repeat(link, 9999)).formatter, nullptr) << link;
    EXPECT_EQ(Compile("e1:=1" + Repeat(link, 100000)).code, 9000) << link;
  }
  for (const std::string_view link : {" and a(v1)", " or a(v1)"}) {
    EXPECT_NE(Compile("if a(v1)" + Repeat(link, 9999) + " then fi").formatter, nullptr) << link;
    EXPECT_EQ(Compile("if a(v1)" + Repeat(link, 100000) + " then fi").code, 9000) << link;
  }
  // Commands stand side by side, however many there are.
  const std::string many = Repeat("e1:=e1+1,", 20000);
  EXPECT_NE(Compile(many).formatter, nullptr);
  EXPECT_NE(
      Compile("if a(v1) then " + many + " else (" + Repeat("if a(v1) and p(v2) then fi ", 2000) + ") fi")
          .formatter,
      nullptr);
  // What a list holds is below the operators around it.
  EXPECT_EQ(Compile("e1:=val(f(1" + Repeat("+1", 6000) + "))" + Repeat("+1", 6000)).code, 9000);
}

}  // namespace
