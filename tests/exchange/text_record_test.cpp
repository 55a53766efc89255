#include "exchange/text_record.h"

#include <gtest/gtest.h>

#include "exchange/csv.h"
#include "storage/codes.h"
#include "storage/record_guid.h"
#include "storage/record_status.h"
#include "storage/shelf.h"
#include "support/memory_space.h"
#include "support/temp_dir.h"

namespace {

using test::Fields;
using velora::EncodingOption;

class TextRecordTest : public testing::Test, public test::MemorySpace {
 protected:
  std::string Write(bool header = false, bool guid = false, std::int32_t encoding = EncodingOption::kUtf8) {
    velora::TextEncoder encoder(encoding);
    std::string text;
    velora::AppendTextRecord(space(), 0, header, guid, encoder, &text);
    return text;
  }

  /// The records of a text, until reading says that there are no more.
  std::vector<Fields> ReadAll(const std::string& text, bool header = false, bool guid = false) {
    std::ifstream stream(dir_.Write("file.txt", text), std::ios::binary);
    std::vector<Fields> records;
    while (true) {
      velor_32::Velornewrec(space(), 0);
      if (!velora::RecTextRead(space(), 0, EncodingOption::kUtf8, header, guid, stream)) return records;
      records.push_back(test::FieldsOf(space(), 0));
    }
  }

  test::TempDir dir_;
};

TEST_F(TextRecordTest, WritingWithHeader) {
  test::SetFields(space(), 0, {{200, "^aОрикс"}, {300, "x"}});
  EXPECT_EQ(Write(), "#200: ^aОрикс\r\n#300: x\r\n*****\r\n");
  EXPECT_EQ(Write(true), "#0: 0#0\r\n#200: ^aОрикс\r\n#300: x\r\n*****\r\n");
  velor_32::Velorchangemfn(space(), 0, 17);
  velor_32::Velorreclock(space(), 0);
  velor_32::Velorrecdel(space(), 0);
  EXPECT_EQ(Write(true).substr(0, 15), "#0: 17#64#1\r\n#2");
  velor_32::Velorrecunactualize(space(), 0);
  EXPECT_EQ(Write(true).substr(0, 15), "#0: 17#64#8#1\r\n");
  EXPECT_EQ(Write(false, false, EncodingOption::kWindows),
            "#200: ^a\xCE\xF0\xE8\xEA\xF1\r\n#300: x\r\n*****\r\n");
}

TEST_F(TextRecordTest, Reading) {
  const struct {
    const char* why;
    const char* text;
    std::vector<Fields> want;
  } cases[] = {
      {"nothing", "", {}},
      {"two records", "#1: a\r\n*****\r\n#2: b\r\n*****\r\n", {{{1, "a"}}, {{2, "b"}}}},
      {"without CR", "#1: a\n*****\n", {{{1, "a"}}}},
      {"the last one without its end", "#1: a\r\n#1: b", {{{1, "a"}, {1, "b"}}}},
      {"a second ': ' belongs to the text", "#1: a: b\n*****\n", {{{1, "a: b"}}}},
      {"continuation lines", "#1: a\nb\n#abc: c\n#-1: d\n#5 : e\n*****\n", {{{1, "ab#abc: c#-1: d#5 : e"}}}},
      {"a continuation that looks like a field is one", "#1: a\n#2: b\n*****\n", {{{1, "a"}, {2, "b"}}}},
      {"empty lines are passed over", "\n\r\n#1: a\n\nb\n*****\n", {{{1, "ab"}}}},
      {"lines before the first field", "garbage\n#1: a\n*****\n", {{{1, "a"}}}},
      {"a field without text is dropped", "#1: \n#2: b\n*****\n", {{{2, "b"}}}},
      {"an empty record in the middle", "*****\n#1: a\n*****\n", {{}, {{1, "a"}}}},
      {"bytes that are no UTF-8 are dropped", "#1: a\xFF\n#2: b\n*****\n", {{{2, "b"}}}},
      {"except in the PDF field", "#27: a\xFF\n*****\n", {{{27, "a "}}}},
      {"the largest tag but one", "#2147483646: a\n*****\n", {{{2147483646, "a"}}}},
      {"a tag that is too large opens nothing", "#1: a\n#2147483648: b\n*****\n", {{{1, "a#2147483648: b"}}}},
      {"header and GUID are dropped unless asked for",
       "#0: 5#1\n#2147483647: {x}\n#1: a\n*****\n",
       {{{1, "a"}}}},
  };
  for (const auto& c : cases) {
    SCOPED_TRACE(c.why);
    EXPECT_EQ(ReadAll(c.text), c.want);
  }
}

TEST_F(TextRecordTest, HeaderGivesNumberAndStates) {
  std::ifstream stream(dir_.Write("file.txt", "#0: 5#65#8\n#1: a\n*****\n#0: 7\n"), std::ios::binary);
  ASSERT_TRUE(velora::RecTextRead(space(), 0, EncodingOption::kUtf8, true, false, stream));
  EXPECT_EQ(velor_32::Velormfn(space(), 0), 5);
  EXPECT_TRUE(velor_32::VelorIsDeleted(space(), 0)) << "a flag is tested as bits";
  EXPECT_TRUE(velor_32::VelorIsLocked(space(), 0));
  EXPECT_FALSE(velor_32::VelorIsActualized(space(), 0));
  velor_32::Velornewrec(space(), 0);
  EXPECT_TRUE(velora::RecTextRead(space(), 0, EncodingOption::kUtf8, true, false, stream))
      << "a number is enough";
  EXPECT_EQ(velor_32::Velormfn(space(), 0), 7);
  velor_32::Velornewrec(space(), 0);
  EXPECT_FALSE(velora::RecTextRead(space(), 0, EncodingOption::kUtf8, true, false, stream));
}

TEST_F(TextRecordTest, GuidsTravelWhereTheyAreKept) {
  const std::string guid = "{00000000-1111-4222-8333-444444444444}";
  const std::string text = "#2147483647: " + guid + "\r\n#1: a\r\n*****\r\n";
  context()->guidOption = 1;
  EXPECT_EQ(ReadAll(text, false, true), (std::vector<Fields>{{{1, "a"}}}));
  std::ifstream stream(dir_.Write("one.txt", text), std::ios::binary);
  velora::RecTextRead(space(), 0, EncodingOption::kUtf8, false, true, stream);
  EXPECT_EQ(Write(false, true), text);
  EXPECT_EQ(Write(false, false), "#1: a\r\n*****\r\n");
  context()->guidOption = 0;
  EXPECT_EQ(Write(false, true), "#1: a\r\n*****\r\n") << "a database without GUIDs";
}

TEST_F(TextRecordTest, OneLineOf100MB) {
  const std::string line(100000000, 'x');
  const std::vector<Fields> records = ReadAll("#1: " + line + "\n*****\n#2: b\n*****\n");
  ASSERT_EQ(records.size(), 2U);
  EXPECT_EQ(records[0][0].second.size(), line.size());
  EXPECT_EQ(records[1], (Fields{{2, "b"}}));
}

TEST_F(TextRecordTest, Csv) {
  const struct {
    const char* why;
    const char* csv;
    const char* want;
  } cases[] = {
      {"plain", "a;b\r\nc\r\n", "#1: a\r\n#2: b\r\n*****\r\n#1: c\r\n*****\r\n"},
      {"byte-order mark",
       "\xEF\xBB\xBF"
       "a\n",
       "#1: a\r\n*****\r\n"},
      {"quotes", "\"a;b\";\"say \"\"x\"\"\"\n", "#1: a;b\r\n#2: say \"x\"\r\n*****\r\n"},
      {"a quoted line end", "\"a\r\nb\";c\n", "#1: a b\r\n#2: c\r\n*****\r\n"},
      {"a quote opened in the last line", "a;\"b\";\"[\n", "#1: a\r\n#2: b\r\n#3: [\r\n*****\r\n"},
      {"an open quote runs to the end", "\"a\nb", "#1: a b\r\n*****\r\n"},
      {"a quote inside a plain field", "a\"b\n", "#1: a\"b\r\n*****\r\n"},
      {"text behind a closing quote", "\"a\"b;c\n", "#1: ab\r\n#2: c\r\n*****\r\n"},
      {"an empty field", "a;;c\n", "#1: a\r\n#2: \r\n#3: c\r\n*****\r\n"},
  };
  for (const auto& c : cases) {
    SCOPED_TRACE(c.why);
    EXPECT_TRUE(velora::CSVtoTXT(context(), dir_.Write("in.csv", c.csv), dir_.File("out.txt")));
    EXPECT_EQ(dir_.Read("out.txt"), c.want);
  }
  EXPECT_FALSE(velora::CSVtoTXT(context(), dir_.File("none.csv"), dir_.File("out.txt")));
}

}  // namespace
