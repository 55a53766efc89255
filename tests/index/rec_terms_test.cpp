// The terms of a record.

#include "index/rec_terms.h"

#include <gtest/gtest.h>

#include <sstream>

#include "storage/codes.h"
#include "storage/fields.h"
#include "storage/shelf.h"
#include "support/index_space.h"

namespace {

using recif::VeloraRecTermParams;
using velor_01::TIfpPostingList;
using velor_01::TStringList;

constexpr int kMfn = 7;

/// Record 7 in a space in memory, with the stop word THE.
class RecTermsTest : public testing::Test, public test::IndexSpace {
 protected:
  RecTermsTest() {
    space()->stopWords->Add("THE");
    velor_32::Velornewrec(space(), 0);
    velor_32::Velorchangemfn(space(), 0, kMfn);
  }
  void Line(int tag, int method, const std::string& format) { test::AddLine(space(), tag, method, format); }
  void Field(int tag, const std::string& text) { velor_32::Velorfldadd(space(), 0, tag, 0, text.c_str()); }

  /// "TERM tag/occ/pos" for each term; page terms have all their words.
  std::string Terms(const VeloraRecTermParams* params = nullptr, bool withFullText = true) {
    TStringList terms, ftTerms;
    TIfpPostingList postings, ftPostings;
    EXPECT_EQ(recif::MyIsisRecTerm(space(), 0, &terms, withFullText ? &ftTerms : nullptr, &postings,
                                   withFullText ? &ftPostings : nullptr, false, params),
              velor_32::kOk);
    std::ostringstream out;
    for (const auto& item : terms.Items()) {
      const auto posting = postings.Get(item.numObject);
      EXPECT_EQ(posting.mfn, kMfn);
      EXPECT_EQ(posting.wordsInPiece + posting.reserved + posting.page + posting.pageWord, 0);
      out << item.text << ' ' << posting.tag << '/' << posting.occ << '/' << posting.pos << '\n';
    }
    for (const auto& item : ftTerms.Items()) {
      const auto p = ftPostings.Get(item.numObject);
      EXPECT_EQ(p.mfn, kMfn);
      EXPECT_EQ(p.reserved, 0);
      out << "page: " << item.text << ' ' << p.tag << '/' << p.occ << '/' << p.pos << ' ' << p.wordsInPiece
          << ' ' << p.page << '/' << p.pageWord << '\n';
    }
    return out.str();
  }
  std::string TermsOf(int method, const std::string& text) {
    space()->fstLines->Clear();
    space()->fstMethods->Clear();
    space()->xpftFst.reset();
    Line(200, method, "v1");
    velor_32::Velornewrec(space(), 0);
    velor_32::Velorchangemfn(space(), 0, kMfn);
    Field(1, text);
    return Terms();
  }
};

TEST_F(RecTermsTest, Methods) {
  const struct {
    const char* why;
    int method;
    const char* text;
    const char* want;
  } cases[] = {
      {"whole lines", 0, "Red roan", "RED ROAN 200/1/1\n"},
      {"pieces", 0, "a%%b", "A 200/1/1\nB 200/3/1\n"},
      {"one piece", 0, "a%", "A 200/1/1\n"},
      {"empty first piece", 0, "%a", "A 200/2/1\n"},
      {"white space at the ends", 0, "  a b \t", "A B 200/1/1\n"},
      {"blanks only", 0, "   ", ""},
      {"stop word", 0, "the%The end", "THE END 200/2/1\n"},
      {"not with its blanks", 0, " the", "THE 200/1/1\n"},
      {"reserved", 1, "a", ""},
      {"angles", 2, "x<a><>y<b<c>><d", "A 200/1/1\nB<C 200/1/3\n"},
      {"opened at the end", 2, "<a><", "A 200/1/1\n"},
      {"slashes", 3, "/a/b/c/", "A 200/1/1\nC 200/1/2\n"},
      {"over line ends, of which a term file has its own", 6, "/T\n=/<red\r\noryx><\nroan\n>",
       "T =RED  ORYX 200/1/1\nT = ROAN 200/1/2\n"},
      {"words", 4, "The red-roan%oryx", "RED 200/1/2\nROAN 200/1/3\nORYX 200/2/1\n"},
      {"angles with prefix", 6, "/T=/<a>", "T=A 200/1/1\n"},
      {"slashes with prefix", 7, "!t=!/a/", "T=A 200/1/1\n"},
      {"words with prefix", 8, "/t=/the red%oryx", "T=RED 200/1/2\nT=ORYX 200/2/1\n"},
      {"empty prefix", 8, "//red", "RED 200/1/1\n"},
      {"prefix with a letter as delimiter", 8, "ТИТред", "ИРЕД 200/1/1\n"},
      {"stop word behind a prefix", 6, "/T=/<the>", ""},
      {"upper case makes the prefix shorter", 6, "/\u0131=/<the><xthe>", "I=THE 200/1/1\n"},
      {"prefix without an end", 8, "/T=red", ""},
      {"too short for a prefix", 8, "//", ""},
      {"too short in characters", 8, "жж", ""},
      {"prefix alone", 8, "/T=/", ""},
      {"files", 9, "/T=/scan.jpg", ""},
  };
  for (const auto& c : cases) {
    SCOPED_TRACE(c.why);
    EXPECT_EQ(TermsOf(c.method, c.text), c.want);
  }
}

TEST_F(RecTermsTest, LongTermsAreCutAtACharacter) {
  const std::string zh = test::Repeat("ж", 200), upper = test::Repeat("Ж", 126);
  EXPECT_EQ(TermsOf(0, zh), upper + " 200/1/1\n");
  EXPECT_EQ(TermsOf(4, "a" + zh), "A" + upper + " 200/1/1\n");
  EXPECT_EQ(TermsOf(8, "/TT/" + zh), "TT" + test::Repeat("Ж", 125) + " 200/1/1\n");
  EXPECT_EQ(TermsOf(0, std::string(252, 'a') + " b"), std::string(252, 'A') + " 200/1/1\n")
      << "cut first, then trimmed";
}

TEST_F(RecTermsTest, Stems) {
  space()->deflex = true;
  EXPECT_EQ(TermsOf(4, "Базами баз"), "БАЗ 200/1/1\nБАЗ 200/1/2\n");
}

TEST_F(RecTermsTest, LinesRunInOrder) {
  Field(200, "red");
  Field(300, "roan");
  Line(2, 0, "v300");
  Line(0, 0, "");
  Line(1, 0, "v200,| |d300");
  Line(3, 4, "(v200|%|)");
  EXPECT_EQ(Terms(), "ROAN 2/1/1\nRED 1/1/1\nRED 3/1/1\n");
  space()->fstLines->Delete(0);
  space()->fstMethods->Delete(0);
  space()->xpftFst.reset();
  EXPECT_EQ(Terms(), "RED 1/1/1\nRED 3/1/1\n") << "a narrowed table";
}

TEST_F(RecTermsTest, PagesOfAFullTextDatabase) {
  Field(1, "/T=/One the. Two%Three%%four");
  Line(5, 5, "v1");
  Line(6, 0, "'cat'");
  Line(7, 5, "'||five'");
  EXPECT_EQ(Terms(), "CAT 6/1/1\n") << "an ordinary database has none";

  space()->isFullText = true;
  const std::string catalog = "CAT 6/1/1\n";
  const std::string pages =
      "page: T=ONE 5/7/1 2 1/1\n"
      "page: T=TWO 5/7/3 2 1/3\n"
      "page: T=THREE 5/7/4 1 2/1\n"
      "page: T=FOUR 5/7/5 1 4/1\n"
      "page: FIVE 7/7/6 1 5/1\n";
  EXPECT_EQ(Terms(), catalog + pages);
  EXPECT_EQ(Terms(nullptr, false), catalog);

  VeloraRecTermParams params;
  EXPECT_EQ(Terms(&params), catalog + pages);
  params.select = recif::kCatalogLines;
  EXPECT_EQ(Terms(&params), catalog);
  params.select = recif::kFullTextLines;
  EXPECT_EQ(Terms(&params), pages);
  params = {.skipFullText = true};
  EXPECT_EQ(Terms(&params), catalog);
}

TEST_F(RecTermsTest, ListsAreAppendedTo) {
  Field(1, "a");
  Line(1, 0, "v1");
  TStringList terms;
  TIfpPostingList postings;
  EXPECT_EQ(recif::MyIsisRecTerm(space(), 0, &terms, &postings), velor_32::kOk);
  EXPECT_EQ(recif::MyIsisRecTerm(space(), 0, &terms, nullptr, &postings, nullptr, true, nullptr),
            velor_32::kOk);
  EXPECT_EQ(terms.GetNumObject(0), 0);
  EXPECT_EQ(terms.GetNumObject(1), 1);
  EXPECT_EQ(postings.GetObject(0), 0);
  EXPECT_EQ(postings.GetObject(1), 1);
}

TEST_F(RecTermsTest, BadCalls) {
  TStringList terms;
  TIfpPostingList postings;
  EXPECT_EQ(recif::MyIsisRecTerm(nullptr, 0, &terms, &postings), velor_32::kNoSpace);
  EXPECT_EQ(recif::MyIsisRecTerm(space(), 99, &terms, &postings), velor_32::kBadShelf);
}

TEST(StrToTerms, ReplaceTheList) {
  TStringList out;
  recif::StrToTerms0("a\r\n\rb", &out);
  EXPECT_EQ(out.GetCount(), 3);
  recif::StrToTerms2("<a<b><c>", &out);
  ASSERT_EQ(out.GetCount(), 2);
  EXPECT_STREQ(out.Get(0), "a<b");
  EXPECT_EQ(out.GetNumObject(1), 2);
  recif::StrToTerms3("/a/b/c/", &out);
  ASSERT_EQ(out.GetCount(), 2);
  EXPECT_STREQ(out.Get(1), "c");
}

}  // namespace
