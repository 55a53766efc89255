// The language by example: the rows of cases/*.txt and of the guide to formats, each run with fields read in
// all three ways. README.md tells their form.

#include <gtest/gtest.h>

#include <memory>

#include "format_runner.h"
#include "printing.h"
#include "utils/string_utils.h"

namespace {

namespace fs = std::filesystem;
using utils::StringUtils;

struct Row {
  std::string format;
  std::string text;
  int error = 0;
  std::string errorText;  // a part of it
};

/// A row is "format => «text»", with " error N" or " error N: part of the message" behind it.
bool ParseRow(const std::string& line, Row* row) {
  const std::string open = " => «";
  const std::string close = "»";
  const std::size_t arrow = line.rfind(open);
  const std::size_t end = line.rfind(close);
  if (arrow == std::string::npos || end == std::string::npos || end < arrow) return false;
  row->format = StringUtils::ReplaceAll(line.substr(0, arrow), "¶", "\n");
  row->text = StringUtils::ReplaceAll(line.substr(arrow + open.size(), end - arrow - open.size()), "¶", "\r");
  row->text = StringUtils::ReplaceAll(row->text, "␛", "\x1B");
  const std::string rest = line.substr(end + close.size());
  if (!rest.starts_with(" error ")) return rest.empty();
  row->error = std::stoi(rest.substr(7));
  if (const std::size_t colon = rest.find(": "); colon != std::string::npos)
    row->errorText = rest.substr(colon + 2);
  return true;
}

class Script {
 public:
  /// `fencedOnly`: of a guide only the blocks that begin with ```format count.
  void Run(const fs::path& path, bool fencedOnly) {
    std::ifstream in(path);
    ASSERT_TRUE(in.good()) << path;
    bool isActive = !fencedOnly;
    int number = 0;
    for (std::string line; std::getline(in, line);) {
      ++number;
      SCOPED_TRACE(path.filename().string() + ":" + std::to_string(number));
      if (fencedOnly && line.starts_with("```")) {
        isActive = line == "```format";
      } else if (isActive) {
        RunLine(line);
      }
    }
    EXPECT_GT(rows_, 0) << path;
  }
  [[nodiscard]] int rows() const { return rows_; }

 private:
  void RunLine(const std::string& line) {
    if (line.empty() || line.starts_with("# ")) return;
    if (line == "record") {
      if (runner_) records_.clear();
      runner_.reset();
      records_.emplace_back();
    } else if (!runner_ && TakeField(line)) {
      return;
    } else if (TakeSetting(line)) {
      return;
    } else {
      RunRow(line);
    }
  }

  bool TakeField(const std::string& line) {
    const std::size_t colon = line.find(": ");
    if (colon == std::string::npos || records_.empty()) return false;
    if (line.find_first_not_of("0123456789") != colon) return false;
    records_.back().emplace_back(std::stoi(line), line.substr(colon + 2));
    return true;
  }

  /// "file NAME: text" writes a shared file, "limit N" bounds loops, "writing allowed".
  bool TakeSetting(const std::string& line) {
    if (line.starts_with("file ")) {
      const std::size_t colon = line.find(": ");
      Runner().dir().Write(line.substr(5, colon - 5),
                           StringUtils::ReplaceAll(line.substr(colon + 2), "¶", "\n"));
    } else if (line.starts_with("limit ")) {
      Runner().ctx()->maxRepeat = std::stoi(line.substr(6));
    } else if (line == "writing allowed") {
      Runner().ctx()->xpftUpdateEnabled = true;
    } else {
      return false;
    }
    return true;
  }

  void RunRow(const std::string& line) {
    Row row;
    ASSERT_TRUE(ParseRow(line, &row)) << "no row: " << line;
    ++rows_;
    for (int option = 0; option <= 2; ++option) {
      const test::Outcome outcome = Runner().Run(row.format, option);
      EXPECT_EQ(outcome.text, row.text) << row.format << "\n-xpft" << option << " " << outcome.errorText;
      EXPECT_EQ(outcome.error, row.error) << row.format << "\n" << outcome.errorText;
      EXPECT_NE(outcome.errorText.find(row.errorText), std::string::npos) << outcome.errorText;
    }
    for (const bool isPretty : {false, true}) CheckPrintedAnew(row, isPretty);
  }

  /// A format reads back as itself when it is printed.
  void CheckPrintedAnew(const Row& row, bool isPretty) {
    std::string printed;
    if (!test::PrintAnew(row.format, isPretty, &printed)) return;  // the row tells of a format in error
    std::string again;
    ASSERT_TRUE(test::PrintAnew(printed, isPretty, &again)) << row.format << "\n" << printed;
    EXPECT_EQ(again, printed) << row.format;
    const test::Outcome outcome = Runner().Run("," + printed);  // "@" in front would name a file
    EXPECT_EQ(outcome.text, row.text) << row.format << "\n" << printed;
    EXPECT_EQ(outcome.error, row.error) << row.format << "\n" << printed;
  }

  test::FormatRunner& Runner() {
    if (!runner_) runner_ = std::make_unique<test::FormatRunner>(records_);
    return *runner_;
  }

  std::vector<test::Fields> records_;
  std::unique_ptr<test::FormatRunner> runner_;  // null while its records are still told
  int rows_ = 0;
};

TEST(Language, RowsGiveTheTextThatTheyTell) {
  int rows = 0;
  for (const auto& entry : fs::directory_iterator(VELORA_SOURCE_DIR "/tests/format/cases")) {
    Script script;
    script.Run(entry.path(), false);
    rows += script.rows();
  }
  EXPECT_GE(rows, 300);
}

TEST(Language, TheExamplesOfTheGuideAreTrue) {
  Script script;
  script.Run(VELORA_SOURCE_DIR "/docs/formats.md", true);
}

}  // namespace
