#include "exchange/iso_record.h"

#include <gtest/gtest.h>

#include <cstdlib>
#include <random>

#include "exchange/iso_file.h"
#include "support/memory_space.h"
#include "support/temp_dir.h"

namespace {

using test::Fields;
using velora::EncodingOption;
using velora::IsoFileReader;

class IsoRecordTest : public testing::Test, public test::MemorySpace {
 protected:
  ~IsoRecordTest() override { std::free(buffer_); }

  /// The record in ISO form, or "" when it is refused.
  std::string Write(const Fields& fields, EncodingOption::Type encoding = EncodingOption::kUtf8) {
    test::SetFields(space(), 0, fields);
    if (velora::RecIsoWriteBuf(space(), 0, buffer_, size_, velora::kRecordTerminator,
                               velora::kFieldTerminator, encoding) != 0)
      return "";
    return buffer_;
  }

  /// The fields of a record in ISO form; `lost` receives the number of those dropped.
  Fields Read(std::string record, EncodingOption::Type encoding = EncodingOption::kUtf8,
              int* lost = nullptr) {
    const int rc = velora::RecIsoReadBuf(space(), 0, record.data(), encoding);
    EXPECT_GE(rc, 0);
    if (lost) *lost = rc;
    return test::FieldsOf(space(), 0);
  }

  char* buffer_ = static_cast<char*>(std::malloc(32001));
  unsigned long size_ = 32000;
};

TEST_F(IsoRecordTest, TheFormByteForByte) {
  EXPECT_EQ(Write({{1, "id"}, {200, "^aT"}}),
            "000570000022000490004500"
            "001000300000"
            "200000400003"
            "\x1E"
            "id\x1E^aT\x1E\x1D");
  EXPECT_EQ(Write({}), "000260000022000250004500\x1E\x1D");
}

TEST_F(IsoRecordTest, LimitsOfTheForm) {
  const auto entry = [](const std::string& record) { return record.substr(24, 12); };
  EXPECT_EQ(entry(Write({{1, std::string(9998, 'a')}})), "001999900000");
  const std::string cut = Write({{1, std::string(9999, 'a')}});
  EXPECT_EQ(entry(cut), "001999900000");
  EXPECT_EQ(cut.size(), 24U + 12 + 1 + 9999 + 1);
  EXPECT_EQ(Read(Write({{1, "x" + test::Repeat("я", 5000)}})), (Fields{{1, "x" + test::Repeat("я", 4998)}}))
      << "cut between characters";
  EXPECT_EQ(Read(Write({{1000, "text"}, {2147483646, "big"}})),
            (Fields{{998, "1000: text"}, {998, "2147483646: big"}}));
  EXPECT_NE(Write(Fields(10, {1, std::string(9900, 'a')})), "") << "below 99999 bytes";
  EXPECT_EQ(Write(Fields(10, {1, std::string(9998, 'a')})), "") << "above";
  EXPECT_EQ(Write({{1, std::string(100000, 'a')}}), "");
  EXPECT_EQ(Write(Fields(8000, {1, "x"})), "") << "a directory of 96000 bytes and 16000 bytes of data";
}

TEST_F(IsoRecordTest, Encodings) {
  const Fields fields = {{200, "Чехов"}};
  EXPECT_EQ(Write(fields, EncodingOption::kWindows).substr(37), "\xD7\xE5\xF5\xEE\xE2\x1E\x1D");
  EXPECT_EQ(Write(fields, EncodingOption::kDos).substr(37), "\x97\xA5\xE5\xAE\xA2\x1E\x1D");
  for (const auto encoding : {EncodingOption::kDos, EncodingOption::kWindows, EncodingOption::kUtf8})
    EXPECT_EQ(Read(Write(fields, encoding), encoding), fields);
  int lost = 0;
  EXPECT_EQ(Read(Write(fields, EncodingOption::kWindows), EncodingOption::kUtf8, &lost), Fields{});
  EXPECT_EQ(lost, 1) << "bytes that are no UTF-8 are dropped";
}

TEST_F(IsoRecordTest, DamagedRecordsLoseTheirDamagedFieldsOnly) {
  const std::string good = Write({{1, "one"}, {2, "two"}, {3, "three"}});
  const struct {
    const char* why;
    std::size_t at;
    const char* text;
    Fields want;
  } cases[] = {
      {"tag that is no number", 24, "A01", {{2, "two"}, {3, "three"}}},
      {"tag 0", 36, "000", {{1, "one"}, {3, "three"}}},
      {"length past the record", 39, "9999", {{1, "one"}, {3, "three"}}},
      {"position past the record", 43, "99999", {{1, "one"}, {3, "three"}}},
      {"length 0", 39, "0000", {{1, "one"}, {3, "three"}}},
      {"base address that is no number", 12, "0006x", {}},
      {"base address past the record", 12, "99999", {}},
      {"base address within the leader", 12, "00024", {}},
  };
  for (const auto& c : cases) {
    SCOPED_TRACE(c.why);
    std::string bad = good;
    bad.replace(c.at, std::string(c.text).size(), c.text);
    EXPECT_EQ(Read(bad), c.want);
  }
}

TEST_F(IsoRecordTest, RandomRecordsMakeARoundTrip) {
  std::mt19937 random(13);
  for (int round = 0; round < 300; ++round) {
    Fields fields;
    for (auto i = random() % 40; i > 0; --i)
      fields.emplace_back(1 + static_cast<int>(random() % 999),
                          test::Repeat(random() % 2 ? "ж" : "x", 1 + random() % (random() % 9 ? 50 : 2000)));
    ASSERT_EQ(Read(Write(fields)), fields);
  }
}

/// What a file is cut into.
std::vector<std::string> Cut(const std::string& bytes) {
  const test::TempDir dir;
  IsoFileReader reader;
  EXPECT_TRUE(reader.Open(dir.Write("file.iso", bytes)));
  std::vector<std::string> pieces;
  while (true) {
    char* record = nullptr;
    std::size_t length = 0;
    switch (reader.Next(&record, &length)) {
      case IsoFileReader::Outcome::kRecord:
        pieces.emplace_back(record, length);
        break;
      case IsoFileReader::Outcome::kTooLong:
        pieces.emplace_back("(too long)");
        break;
      case IsoFileReader::Outcome::kTruncated:
        pieces.emplace_back("(truncated)");
        break;
      case IsoFileReader::Outcome::kEnd:
        return pieces;
    }
  }
}

TEST_F(IsoRecordTest, AFileIsCutIntoItsRecords) {
  using Pieces = std::vector<std::string>;
  const std::string a = Write({{1, "aaaa"}});
  const std::string b = Write({{2, "bbbbbb"}});
  const auto withLength = [](std::string record, const std::string& length) {
    return record.replace(0, 5, length);
  };
  const auto digits = [](std::size_t length) { return std::to_string(100000 + length).substr(1); };
  const std::string bare = b.substr(0, b.size() - 1);  // without its terminator
  const std::string whole = withLength(bare, digits(bare.size()));
  std::string odd = a;
  odd.replace(12, 5, "xxxxx").back() = '!';
  const std::string greedy = withLength(a, digits(a.size() + b.size()));
  const struct {
    const char* why;
    std::string file;
    Pieces want;
  } cases[] = {
      {"nothing", "", {}},
      {"two records", a + b, {a, b}},
      {"line ends and zeros between them", "\r\n" + a + "\n" + std::string(3, '\0') + b + "\r\n", {a, b}},
      {"a length too short", withLength(a, "00030") + b, {withLength(a, "00030"), b}},
      {"a length too long", withLength(a, "00050") + b, {withLength(a, "00050"), b}},
      {"a length that reaches to the end of the next record", greedy + b, {greedy, b}},
      {"a length that is no number", withLength(a, "0x038") + b, {withLength(a, "0x038"), b}},
      {"a length of 99999", withLength(a, "99999") + b, {withLength(a, "99999"), b}},
      {"the last record without its terminator", a + bare, {a, "(truncated)"}},
      {"the same, its length telling the truth", a + whole, {a, whole}},
      {"another terminator byte and no base address", odd + b, {odd, b}},
      {"cut in the leader", a + b.substr(0, 10), {a, "(truncated)"}},
      {"garbage behind", a + "garbage", {a, "(truncated)"}},
  };
  for (const auto& c : cases) {
    SCOPED_TRACE(c.why);
    EXPECT_EQ(Cut(c.file), c.want);
  }
}

TEST_F(IsoRecordTest, ZeroBytesBecomeBlanks) {
  std::string record = Write({{1, "a-b"}});
  record[record.find('-')] = '\0';
  ASSERT_EQ(Cut(record).size(), 1U);
  EXPECT_EQ(Read(Cut(record)[0]), (Fields{{1, "a b"}}));
}

TEST_F(IsoRecordTest, ARecordWithoutEndIsPassedOver) {
  const std::string a = Write({{1, "aaaa"}});
  const std::string flood(IsoFileReader::kLongestRecord + 1000000, 'x');
  EXPECT_EQ(Cut(a + flood + velora::kRecordTerminator + a), (std::vector<std::string>{a, "(too long)", a}));
}

}  // namespace
