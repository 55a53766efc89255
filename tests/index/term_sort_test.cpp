// Sorting of term files against std::sort in the order of the contract, in memory and in pieces.

#include <gtest/gtest.h>

#include <algorithm>
#include <filesystem>
#include <random>

#include "index/build_files.h"
#include "index/dict_load.h"
#include "index/lnk_sort.h"
#include "index/term_line.h"
#include "storage/app_paths.h"
#include "storage/process.h"
#include "support/context.h"
#include "support/temp_dir.h"
#include "utils/utf8_order.h"

namespace {

using Lines = std::vector<std::string>;

class Sort : public testing::Test {
 protected:
  Sort() : app_(app::velor_app_init()) { Configure("[MAIN]\nMULTILOAD=1\n"); }

  void Configure(const std::string& ini) {
    fmt_64::velor_MainIni_Init(app_.get(), dir_.Write("velora.ini", ini));
    settings_.reset(velora::VelorA_init(app_.get()));
  }

  /// Sorts a text; the result, and what was said on the standard error.
  std::string Run(const std::string& text, bool isFullText, std::int64_t memoryLimit) {
    dir_.Write("t.ln1", text);
    testing::internal::CaptureStderr();
    result_ =
        velora::VelorLnkSort(settings_.get(), dir_.File("t"), dir_.File("t"), {"", isFullText, memoryLimit});
    message_ = testing::internal::GetCapturedStderr();
    return dir_.Read("t.lk1");
  }

  test::TempDir dir_;
  test::ContextPointer app_;
  std::unique_ptr<velora::VelorAContext, velora::VelorACloser> settings_;
  int result_ = 0;
  std::string message_;
};

/// A line taken apart: the numbers as texts without signs, and the term.
struct Parts {
  Parts(const std::string& whole, int count) : line(whole) {
    std::size_t at = 0;
    for (int i = 0; i < count; ++i) {
      const std::size_t blank = line.find(' ', at);
      at += line[at] == '-' ? 1 : 0;
      numbers.push_back(line.substr(at, blank - at));
      at = blank + 1;
    }
    term = line.substr(at);
  }
  std::string line;
  Lines numbers;
  std::string term;
};

/// The order, written down as plainly as it can be.
bool IsBefore(const Parts& a, const Parts& b) {
  if (const int order = utils::CompareUtf8(a.term, b.term); order != 0) return order < 0;
  for (std::size_t i = 0; i < a.numbers.size(); ++i) {
    const std::string& x = a.numbers[i];
    const std::string& y = b.numbers[i];
    if (x.size() != y.size()) return x.size() < y.size();
    if (x != y) return x < y;
  }
  return a.line < b.line;
}

void SortPlainly(Lines* lines, bool isFullText) {
  std::vector<Parts> parts;
  for (const std::string& line : *lines) parts.emplace_back(line, velora::NumbersInLine(isFullText));
  std::sort(parts.begin(), parts.end(), IsBefore);
  for (std::size_t i = 0; i < parts.size(); ++i) (*lines)[i] = parts[i].line;
}

std::string Join(const Lines& lines) {
  std::string text;
  for (const std::string& line : lines) text += line + "\r\n";
  return text;
}

/// Lines of a few frequent and many rare terms, some of which are no UTF-8.
Lines MakeLines(std::mt19937& random, int count, bool isFullText, bool isDamaged) {
  const Lines letters = {"A", "B", " ", "Я", "Ж", "\xE2\x82\xAC", "\xF0\x9F\x98\x80"};
  Lines lines;
  for (int i = 0; i < count; ++i) {
    std::string line = std::to_string(random() % 2 == 0 ? i / 7 : static_cast<int>(random() % 1000));
    for (int n = 1; n < velora::NumbersInLine(isFullText); ++n)
      line += (isFullText && random() % 3 == 0 ? " -" : " ") + std::to_string(random() % 12);
    line += random() % 3 == 0 ? " K=" : " К=ПРЕФИКС";
    for (auto n = random() % 14; n > 0; --n) line += letters[std::min(random() % 7, random() % 7)];
    if (isDamaged && random() % 5 == 0) line += random() % 2 == 0 ? "\xC3" : "\xC3\x83";
    lines.push_back(line);
  }
  return lines;
}

TEST_F(Sort, GivesTheOrderOfTheContract) {
  struct {
    const char* why;
    int lines;
    bool isFullText;
    bool isDamaged;
    std::int64_t memoryLimit;
  } const cases[] = {
      {"nothing", 0, false, false, 1 << 20},
      {"one line", 1, false, false, 1 << 20},
      {"in memory", 8000, false, false, 1 << 30},
      {"long lines", 8000, true, false, 1 << 30},
      {"bytes that are no UTF-8", 5000, false, true, 1 << 30},
      {"in pieces", 8000, false, false, 200000},
      {"long lines in pieces", 8000, true, false, 100000},
      {"pieces of pieces", 8000, false, false, 20000},
      {"no UTF-8 in pieces", 8000, false, true, 100000},
      {"a limit below any piece", 3000, false, false, 1000},
  };
  for (const auto& c : cases) {
    SCOPED_TRACE(c.why);
    std::mt19937 random(11);
    Lines lines = MakeLines(random, c.lines, c.isFullText, c.isDamaged);
    const std::string sorted = Run(Join(lines), c.isFullText, c.memoryLimit);
    ASSERT_EQ(result_, 0) << message_;
    SortPlainly(&lines, c.isFullText);
    EXPECT_TRUE(sorted == Join(lines));
    EXPECT_EQ(message_, "");
    for (const auto& file : std::filesystem::directory_iterator(dir_.Path()))
      EXPECT_NE(file.path().extension(), ".srt") << file.path();
  }
}

// No bound can cut a piece whose lines have one term. A worker would come to the same piece again, and start
// others for it without end: none is started.
TEST_F(Sort, TakesAFileOfOneTerm) {
  for (const char* settings : {"MULTILOAD=1\n", "MULTILOAD=2\n[MULTILOAD]\nCMDLINE=/nonexistent\n"}) {
    SCOPED_TRACE(settings);
    Configure(std::string("[MAIN]\n") + settings);
    Lines lines;
    for (int i = 0; i < 30000; ++i) lines.push_back(std::to_string(i * 7919 % 30000) + " 1 1 1 ONE");
    const std::string sorted = Run(Join(lines), false, 50000);
    ASSERT_EQ(result_, 0);
    SortPlainly(&lines, false);
    EXPECT_TRUE(sorted == Join(lines));
  }
}

// So many lines are written by two processes.
TEST_F(Sort, WritesTheSameInOneProcessAndInTwo) {
  std::mt19937 random(11);
  for (const unsigned terms : {1U, 2U, 50000U}) {
    SCOPED_TRACE(terms);
    std::string text;
    for (int i = 0; i < 250000; ++i)
      text += std::to_string(random() % 1000) + " 1 1 " + std::to_string(i) + " T" +
              std::to_string(random() % terms) + "\n";
    Configure("[MAIN]\nMULTILOAD=1\n");
    const std::string byOne = Run(text, false, 100000000);
    ASSERT_EQ(result_, 0);
    Configure("[MAIN]\nMULTILOAD=2\n");
    EXPECT_TRUE(Run(text, false, 100000000) == byOne);
    EXPECT_EQ(result_, 0);
  }
}

TEST_F(Sort, PassesOverLinesThatAreNone) {
  struct {
    const char* why;
    std::string text;
    const char* sorted;
    const char* message;
  } const cases[] = {
      {"other line ends", "1 1 1 1 B\n\n1 1 1 1 A\r\r1 1 1 1 C", "1 1 1 1 A\r\n1 1 1 1 B\r\n1 1 1 1 C\r\n",
       ""},
      {"too few fields", "1 1 1 A\r\n1 1 1 1 \r\n1\r\n1 1 1 1 B\r\n", "1 1 1 1 B\r\n", ""},
      {"blanks in the term", "1 1 1 1 B  C \r\n1 1 1 1  A\r\n", "1 1 1 1  A\r\n1 1 1 1 B  C \r\n", ""},
      {"no number", "1 1 1 1 B\r\n1 1 1x 1 A\r\n", "1 1 1 1 B\r\n",
       "sorting: incorrect term line at offset 11\nsorting: incorrect term line 1 1 1x 1 A\n"},
      {"equal lines", "1 1 1 1 A\r\n1 1 1 1 A\r\n", "1 1 1 1 A\r\n1 1 1 1 A\r\n", ""},
      {"the longest term", "1 1 1 1 " + std::string(255, 'A'), nullptr, ""},
  };
  for (const auto& c : cases) {
    SCOPED_TRACE(c.why);
    EXPECT_EQ(Run(c.text, false, 1 << 20), c.sorted != nullptr ? c.sorted : c.text + "\r\n");
    EXPECT_EQ(message_, c.message);
    EXPECT_EQ(result_, 0);
  }
  Run("1 1 1 1 " + std::string(256, 'A'), false, 1 << 20);
  EXPECT_TRUE(message_.starts_with("sorting: incorrect term line at offset 0\n"));
}

TEST_F(Sort, TellsWhatItCannotDo) {
  velora::SortSettings settings;
  EXPECT_EQ(velora::VelorLnkSort(settings_.get(), dir_.File("missing"), dir_.File("out"), settings), -400);
  dir_.Write("t.ln1", "1 1 1 1 A\r\n");
  EXPECT_EQ(velora::VelorLnkSort(settings_.get(), dir_.File("t"), dir_.File("none/t"), settings),
            velora::kWriteFailed);
}

// The file is a hole in the disk, so that it is larger than the space without taking any.
TEST_F(Sort, AsksForFreeSpace) {
  dir_.Write("t.ln1", "1 1 1 1 A\r\n");
  const auto free = static_cast<std::int64_t>(std::filesystem::space(dir_.Path()).available);
  std::error_code failure;
  std::filesystem::resize_file(dir_.File("t.ln1"), static_cast<std::uintmax_t>(free) / 2, failure);
  if (failure) GTEST_SKIP() << failure.message();
  testing::internal::CaptureStderr();
  EXPECT_EQ(velora::VelorLnkSort(settings_.get(), dir_.File("t"), dir_.File("t"), {}), velora::kWriteFailed);
  EXPECT_EQ(testing::internal::GetCapturedStderr(), "Not enough disk free space\n");
  EXPECT_FALSE(std::filesystem::exists(dir_.File("t.lk1")));
}

TEST_F(Sort, StopsOnRequest) {
  const unsigned char stop = 1;
  app_->stopFlag = &stop;
  EXPECT_EQ(Run("1 1 1 1 A\r\n", false, 1 << 20), "");
  EXPECT_EQ(result_, velora::kStopped);
}

TEST(BuildFiles, MergesInUnits) {
  const test::TempDir dir;
  const std::string large(2500001, 'x');
  dir.Write("a", large);
  dir.Write("b", "end");
  for (const char* name : {"a", "b"}) EXPECT_EQ(velora::MergeFiles(dir.File(name), dir.File("whole")), 0);
  EXPECT_TRUE(dir.Read("whole") == large + "end");
  EXPECT_EQ(velora::MergeFiles(dir.File("none"), dir.File("whole")), -400);
}

}  // namespace
