// What the rows of cases/*.txt cannot tell of the functions: how they print themselves, which fields they may
// read, other databases, limits, and what depends on the process.

#include <gtest/gtest.h>

#include <clocale>
#include <cstdlib>
#include <ctime>

#include "format/ast_numeric_functions.h"
#include "format/ast_string_functions.h"
#include "format/print_context.h"
#include "format/xpft_formatter.h"
#include "format_runner.h"

namespace {

using xpft::XpftFormatter;

std::shared_ptr<XpftFormatter> Compile(const std::string& format) {
  int code = 0;
  std::string error;
  auto formatter = XpftFormatter::GetFormatter("", format, false, code, error);
  EXPECT_NE(formatter, nullptr) << error;
  return formatter;
}

std::string Printed(const XpftFormatter& formatter) {
  xpft::PlainPrintContext out;
  out.Start();
  formatter.Print(&out);
  std::string text;
  out.GetText(text);
  return text;
}

TEST(Functions, PrintWhatReadsBack) {
  struct {
    const char* source;
    const char* printed;  // null: as the source
  } const cases[] = {
      {"f(val(v1))", nullptr},
      {"f(rsum(+v1)+rmin(v1)+rmax(v1)+ravr(v1),1,2)", nullptr},
      {"f(+size('a')*seconds('b'))", nullptr},
      {"f(instr('a','b'))", "f(instr('a';'b'))"},
      {"f(nocc(v1[2]^a)+nocc(+g3)+occ+iocc+tag+argn)", nullptr},
      {"f(type(3,v1)+type('4',v2))", nullptr},
      {"f(l('T')+l->db(+'T')+npst(['d']'T'))", nullptr},
      {"f(npost(-'T'))", "f(npst(-'T'))"},
      {"f(lr->('d')(+('T' v1),1,2)+lr(('T')))", "f(lr->('d')(+('T', v1),1,2)+lr(('T')))"},
      {"f(math->pow(2,-3)+math(['abs']1))", nullptr},
      {"mfn,mfn(3),mfn(+3),maxmfn,ver", "mfn, mfn(3), mfn(+3), maxmfn, ver"},
      {"regmatch(1,'a','b')", "regmatch(1,'a';'b')"},
      {"save,save(updmst),delete(updif),delete(1+1)", "save, save(updmst), delete(updif), delete(1+1)"},
      {"s(v1),fmt((v1)),eval('v1'),cat('a')", "s(v1), fmt(( v1 )), eval('v1'), cat('a')"},
      {"citype(v1),md5(v1),filemd5(v1)", "citype(v1), md5(v1), filemd5(v1)"},
      {"filename(v1),filepath(v1),fileext(v1)", "filename(v1), filepath(v1), fileext(v1)"},
      {"getenv('A'),putenv('A=b'),newline(v1),arg(2)", "getenv('A'), putenv('A=b'), newline(v1), arg(2)"},
      {"mstname", "db"},
      {"date,date(datetime),date(dateonly),date(2),date('yyyy')",
       "date, date(datetime), date(dateonly), date(2), date('yyyy')"},
      {"datex(5)", nullptr},
      {"left(v1,2),right(v1 v2;3),mid(v1,1,2)", "left(v1;2), right(v1, v2;3), mid(v1;1;2)"},
      {"ss(1,2,v1)", nullptr},
      {"ss(1,2,v1).3", nullptr},
      {"trim(v1),ltrim(v1 x2 'a'),rtrim(v1,'b')", "trim(v1), ltrim(v1 x2 'a'), rtrim(v1;'b')"},
      {"replace(v1,'a','b'),regreplace(v1;'a';'b')", "replace(v1;'a';'b'), regreplace(v1;'a';'b')"},
      {"ref(1,v1),ref->db(1,v1),ref(['d']1,v1)", "ref(1,v1), ref->db(1,v1), ref(['d']1,v1)"},
      {"newrec(v1),newrec->('d')(v1)", "newrec(v1), newrec->('d')(v1)"},
      {"sort(srtnum,srtdesc,v1,v2),sort(1+1,2,v1)", "sort(srtnum,srtdesc,v1;v2), sort(1+1,2,v1)"},
      {"@a(v1;v2),@b-c!,&uf('x'),system('y'),trace('z')",
       "@a(v1;v2), @b-c!, &uf('x'), system('y'), trace('z')"},
      {"\x1C.a b\x1D", nullptr},
      {"proc('d1'),v1[]^a:=('x'),g2:=(v1,'y')", "proc('d1'), v1[]^a:=('x'), g2:=(v1, 'y')"},
  };
  for (const auto& c : cases) {
    SCOPED_TRACE(c.source);
    const auto formatter = Compile(c.source);
    if (!formatter) continue;
    const std::string printed = Printed(*formatter);
    EXPECT_EQ(printed, c.printed ? c.printed : c.source);
    const auto again = Compile(printed);
    ASSERT_NE(again, nullptr);
    EXPECT_EQ(Printed(*again), printed);
  }
}

TEST(Functions, TellTheFieldsThatTheyMayRead) {
  test::FormatRunner runner({{{1, "a"}}});
  runner.dir().Write("one.pft", "v1,@two");
  runner.dir().Write("two.pft", "v2,@one");
  struct {
    const char* format;
    std::vector<int> tags;
  } const cases[] = {
      {"f(rsum(v1)+instr(v2,v3)+nocc(v4))", {1, 2, 3, 4}},
      {"mid(v1,val(v2),3),replace(v3,v4,v5),sort(1,1,v6,v7)", {1, 2, 3, 4, 5, 6, 7}},
      {"v10:=(v1),proc(v2),trim(v3,v4)", {1, 2, 3, 4}},
      {"ref(val(v1),v2),newrec(v3)", {1}},  // those are fields of other records
      {"eval(v1)", {1, 0}},
      {"&uf(v1)", {1, 0}},
      {",@one(v3)", {3, 1, 2}},  // formats that include each other come to an end
  };
  auto* ctx = xpft::SpaceContext(runner.space());
  for (const auto& c : cases) {
    SCOPED_TRACE(c.format);
    std::vector<int> tags;
    Compile(c.format)->GetCmdList()->GetFieldTags(ctx, tags);
    EXPECT_EQ(tags, c.tags);
  }
  std::vector<int> tags;
  Compile(",@one")->GetCmdList()->GetFieldTags(nullptr, tags);
  EXPECT_EQ(tags, std::vector<int>{0});
}

TEST(Functions, AFormatThatIncludesItselfIsAnError) {
  test::FormatRunner runner({{{1, "a"}}});
  runner.dir().Write("self.pft", "'x',@self");
  EXPECT_EQ(runner.Run(",@self").error, 64);
  EXPECT_EQ(runner.Run("s1:=('eval(s1)'),eval(s1)").error, 64);
}

TEST(Functions, GrowingTextsEndInAnError) {
  test::FormatRunner runner({{{1, "a"}}});
  const test::Outcome outcome =
      runner.Run("s1:=('aaaaaaaaaa'),while 1=1 (s1:=(replace(s1,'a','aaaaaaaaaa')))");
  EXPECT_EQ(outcome.error, 63);
}

TEST(Functions, ReadRecordsOfAnotherDatabase) {
  test::FormatRunner runner({{{1, "here"}}});
  test::TestBase other;
  other.Record({{1, "there"}, {2, "x"}, {2, "y"}}).Record({{1, "last"}});
  other.WriteTo(runner.dir().File("other"));
  const std::string name = "'" + runner.dir().File("other") + "'";
  EXPECT_EQ(runner.Run("ref([" + name + "]1,v1,db),v1,db").text, "thereotherhereoryx");
  EXPECT_EQ(runner.Run("ref->(" + name + ")(2,v1),ref->(" + name + ")(9,v1)").text, "last");
  EXPECT_EQ(runner.Run("(v1,ref([" + name + "]1,(v2|;|)))").text, "herex;y;");
  EXPECT_EQ(runner.Run("newrec->(" + name + ")(v5:=('n'),v5,maxmfn),maxmfn").text, "n21");
}

// The program sets a locale in which all letters of Unicode count.
TEST(Functions, LettersAreThoseOfTheLocale) {
  const std::string before = std::setlocale(LC_CTYPE, nullptr);
  ASSERT_NE(std::setlocale(LC_CTYPE, "C.UTF-8"), nullptr);
  test::FormatRunner runner({{{1, "a"}}});
  EXPECT_EQ(xpft::ast::fmt_type_number(2, "абв"), 1);
  EXPECT_EQ(xpft::ast::fmt_type_number(1, "абв1"), 1);
  EXPECT_EQ(xpft::ast::fmt_type_number(2, "абв1"), 0);
  EXPECT_EQ(xpft::ast::fmt_type_number(2, "\xE0\xE1"),
            0);  // no UTF-8: bytes, of which only ASCII has letters
  EXPECT_EQ(runner.Run("citype('- книга, том')").text, "КНИГА");
  std::setlocale(LC_CTYPE, before.c_str());
}

TEST(Functions, TextsThatAreNoUtf8AreCp1251) {
  test::FormatRunner runner({{{1, "\xEF\xF0\xE8"}}});  // "при"
  EXPECT_EQ(runner.Run("f(size(v1),0,0)").text, "3");
  EXPECT_EQ(runner.Run("left(v1,2)").text, "пр");
  EXPECT_EQ(runner.Run("right(v1,1)").text, "и");
  EXPECT_EQ(runner.Run("f(instr(v1,'и'),0,0)").text, "3");
  EXPECT_EQ(runner.Run("replace(v1,'р','-')").text, "п-и");
  EXPECT_EQ(runner.Run("trim(v1,'ип')").text, "р");
}

TEST(Functions, DatesHaveFiveForms) {
  struct {
    int kind;
    const char* date;
  } const cases[] = {
      {0, "20240229 131415 4  59"},
      {1, "02-29-24  13:14:15"},
      {2, "02-29-24"},
      {3, "13:14:15"},
      {998, "29/02/24"},
      {999, "29/02/24 13:14:15"},
  };
  std::tm time{};
  time.tm_year = 124;
  time.tm_mon = 1;
  time.tm_mday = 29;
  time.tm_hour = 13;
  time.tm_min = 14;
  time.tm_sec = 15;
  time.tm_isdst = -1;
  const auto moment = static_cast<long double>(std::mktime(&time));
  std::string text;
  for (const auto& c : cases) {
    xpft::ast::fmt_get_date(c.kind, moment, text);
    EXPECT_EQ(text, c.date);
  }
}

}  // namespace
