// The sample catalogue of the installation: its two files hold the same records, in good order.

#include <gtest/gtest.h>

#include <map>
#include <set>
#include <sstream>

#include "exchange/import.h"
#include "storage/record_read.h"
#include "support/installation.h"
#include "support/open_space.h"

namespace {

using test::Fields;
using velor_server_proc::VelorImportContext;

/// The records that an import of a sample file puts into an empty database.
std::vector<Fields> Imported(const std::string& name, std::int32_t format) {
  const test::Installation installation;
  std::ostringstream said;
  velor_server_proc::VelorImport(installation.ctx(), "blank", installation.File("sample/" + name), said,
                                 {.format = format});
  EXPECT_NE(said.str().find("\nDone\n"), std::string::npos) << said.str();

  const auto space = test::OpenSpace(installation.ctx(), installation.File("datai/blank/blank"));
  std::vector<Fields> records;
  if (!space) return records;
  const int nextMfn = velor_32::Velormaxmfn(space.get());
  for (int mfn = 1; mfn < nextMfn; ++mfn) {
    EXPECT_EQ(velor_32::VelorRecord(space.get(), 0, mfn), 0) << mfn;
    records.push_back(test::FieldsOf(space.get(), 0));
  }
  return records;
}

const std::vector<Fields>& Books() {
  static const std::vector<Fields> books = Imported("books.txt", VelorImportContext::kText);
  return books;
}

std::vector<std::string> Texts(const Fields& record, int tag) {
  std::vector<std::string> texts;
  for (const auto& [fieldTag, text] : record)
    if (fieldTag == tag) texts.push_back(text);
  return texts;
}

TEST(SampleTest, BothFilesHoldTheSameRecords) {
  const std::vector<Fields> fromIso = Imported("books.iso", VelorImportContext::kIso);
  ASSERT_EQ(Books().size(), fromIso.size());
  for (std::size_t i = 0; i < fromIso.size(); ++i) EXPECT_EQ(Books()[i], fromIso[i]) << "record " << i + 1;
}

TEST(SampleTest, EveryRecordHasWhatTheLayoutPromises) {
  std::set<std::string> shelfMarks;
  std::set<std::string> inventoryNumbers;
  std::map<std::string, int> languages;
  for (const Fields& record : Books()) {
    SCOPED_TRACE(record.empty() ? "an empty record" : record[1].second);
    for (const int once : {200, 210, 215, 675, 700, 903, 920})
      EXPECT_EQ(Texts(record, once).size(), 1U) << once;
    for (const int repeated : {101, 606, 610, 907, 910})
      EXPECT_FALSE(Texts(record, repeated).empty()) << repeated;
    for (const std::string& mark : Texts(record, 903)) EXPECT_TRUE(shelfMarks.insert(mark).second) << mark;
    for (const std::string& copy : Texts(record, 910)) {
      const std::string number = copy.substr(copy.find("^b"));
      EXPECT_TRUE(inventoryNumbers.insert(number.substr(0, number.find("^d"))).second) << copy;
    }
    for (const std::string& language : Texts(record, 101)) ++languages[language];
  }
  EXPECT_GE(Books().size(), 300U);
  EXPECT_GE(languages["rus"], 150);
  EXPECT_GE(languages["eng"], 150);
}

/// Check digit of an ISBN without its hyphens: weights 10 to 1 modulo 11, or 1 and 3 in turn modulo 10.
bool IsIsbn(const std::string& digits) {
  int sum = 0;
  for (std::size_t i = 0; i < digits.size(); ++i) {
    const int value = digits[i] == 'X' ? 10 : digits[i] - '0';
    sum += value * (digits.size() == 10 ? 10 - static_cast<int>(i) : i % 2 == 0 ? 1 : 3);
  }
  return digits.size() == 10 ? sum % 11 == 0 : digits.size() == 13 && sum % 10 == 0;
}

TEST(SampleTest, BookNumbersHaveTheirCheckDigit) {
  for (const Fields& record : Books())
    for (std::string number : Texts(record, 10)) {
      std::erase(number, '-');
      EXPECT_TRUE(IsIsbn(number.substr(2))) << number;
    }
}

}  // namespace
