// Corrections by example: the rows of cases/*.txt, each run with databases that stay open and with such that
// are put to sleep. README.md tells their form.

#include <gtest/gtest.h>

#include <algorithm>
#include <filesystem>
#include <fstream>

#include "gbl/correction.h"
#include "storage/master_file.h"
#include "task_world.h"

namespace {

namespace fs = std::filesystem;
using utils::StringUtils;
using velor_01::TVelorSpace;

struct Row {
  std::string title;
  std::vector<std::string> task;    // without the header line where that is "0"
  std::vector<std::string> wanted;  // what is told of the result
  bool isResult = false;            // from "=>" on

  void Take(const std::string& line) {
    isResult = isResult || line.starts_with("=>");
    if (isResult) {
      wanted.push_back(StringUtils::ReplaceAll(line, "␣", " "));
    } else {
      for (const std::string& one : StringUtils::Split(line, " / ")) task.push_back(TaskLine(one));
    }
  }

  [[nodiscard]] bool Tells(const std::string& what) const {
    return std::ranges::any_of(wanted, [&](const auto& line) { return line.starts_with(what); });
  }

  void FillTask(velor_01::TStringList* lines) const {
    const bool hasHeader = !task.empty() && task[0] == "HEADER";
    if (!hasHeader) lines->Add("0");
    for (std::size_t i = hasHeader ? 1 : 0; i < task.size(); ++i) lines->Add(task[i]);
  }

 private:
  static std::string TaskLine(std::string line) {
    line = StringUtils::ReplaceAll(StringUtils::ReplaceAll(line, "␣", " "), "∅", "");
    for (std::size_t at = 0; (at = line.find("\\x", at)) != std::string::npos; ++at)
      line.replace(at, 4, 1, static_cast<char>(std::stoi(line.substr(at + 2, 2), nullptr, 16)));
    return line;
  }
};

/// One run of a row, and what came of it in the form of the rows.
class Run {
 public:
  Run(const test::World& world, const Row& row, bool isLazy) : installation_(world, isLazy), row_(row) {
    before_ = Shown();
    row.FillTask(&task_);
    if (isLazy) velor_32::VelorLazy(space());
    Correct();
    EXPECT_EQ(space()->lazyMst, isLazy);
    EXPECT_FALSE(installation_.ctx()->xpftUpdateEnabled);
    EXPECT_FALSE(installation_.ctx()->ignoreIfs);
    for (void* changed : changedSpaces_.Items()) {
      const velor_32::SpacePointer owned(static_cast<TVelorSpace*>(changed));
      changed_ += "kept " + test::ShowRecord(owned.get(), 0) + "\n";
    }
  }

  [[nodiscard]] std::string Got() const {
    std::string got = Shown();
    if (!errors_.empty()) got += "errors " + errors_ + "\n";
    if (!protocol_.empty()) got += "protocol " + protocol_ + "\n";
    return got + done_ + changed_;
  }
  [[nodiscard]] std::string Wanted() const {
    std::string wanted;
    for (const std::string& line : row_.wanted) wanted += line == "=> same" ? before_ : line + "\n";
    return wanted;
  }

 private:
  static constexpr int kSlot = test::WorldInstallation::kSlot;

  [[nodiscard]] TVelorSpace* space() const { return installation_.space(); }
  [[nodiscard]] std::string Shown() const {
    const std::string fields = "=> " + test::ShowFields(test::FieldsOf(space(), kSlot)) + "\n";
    return velor_32::VelorIsDeleted(space(), kSlot) ? fields + "deleted\n" : fields;
  }

  /// With the callback unless the row tells only of spaces that the caller gets; with both the callback
  /// does not let them go.
  void Correct() {
    const bool isKept = row_.Tells("kept ");
    if (isKept && !row_.Tells("done ")) {
      global::IsisRecUpdateSpecial(space(), kSlot, &task_, &changedSpaces_, errors_, protocol_);
      return;
    }
    global::IsisRecUpdateSpecial(space(), kSlot, &task_, &changedSpaces_, errors_, protocol_,
                                 [&](TVelorSpace* other, int slot) {
                                   EXPECT_NE(other, space());
                                   done_ += "done " + test::ShowRecord(other, slot) + "\n";
                                   return !isKept;
                                 });
  }

  test::WorldInstallation installation_;
  const Row& row_;
  velor_01::TStringList task_;
  velor_01::TList changedSpaces_;
  std::string before_, errors_, protocol_, done_, changed_;
};

class Script {
 public:
  /// `inExamples`: the rows stand in the blocks "```example" of a text.
  void RunFile(const fs::path& path, bool inExamples = false) {
    std::ifstream in(path);
    int number = 0;
    bool isRow = !inExamples;
    for (std::string line; std::getline(in, line);) {
      ++number;
      SCOPED_TRACE(path.filename().string() + ":" + std::to_string(number));
      const bool isFence = line.starts_with("```");
      if (isFence) isRow = line == "```example";
      if (isRow) TakeLine(isFence ? "" : line);
    }
    Finish();
  }
  [[nodiscard]] int rows() const { return rows_; }

 private:
  void TakeLine(const std::string& line) {
    if (line.starts_with("  ")) {
      row_.Take(line.substr(2));
      return;
    }
    Finish();
    if (line.empty() || line.starts_with("# ")) return;
    test::World next = isWorldTold_ ? world_ : test::World();
    if (next.Take(line)) {
      world_ = std::move(next);
      isWorldTold_ = true;
    } else {
      row_.title = line;
      isWorldTold_ = false;
    }
  }

  void Finish() {
    if (row_.title.empty()) return;
    EXPECT_TRUE(row_.isResult) << "no result: " << row_.title;
    ++rows_;
    for (const bool isLazy : {false, true}) {
      const Run run(world_, row_, isLazy);
      EXPECT_EQ(run.Got(), run.Wanted()) << row_.title << (isLazy ? ", lazily" : "");
    }
    row_ = {};
  }

  test::World world_;
  bool isWorldTold_ = false;  // the line before told of it: a line of it now goes on
  Row row_;
  int rows_ = 0;
};

TEST(Task, RowsGiveWhatTheyTell) {
  int rows = 0;
  for (const auto& entry : fs::directory_iterator(VELORA_SOURCE_DIR "/tests/gbl/cases")) {
    Script script;
    script.RunFile(entry.path());
    rows += script.rows();
  }
  EXPECT_GE(rows, 380);
}

TEST(Task, TheExamplesOfTheGuideAreTrue) {
  Script script;
  script.RunFile(VELORA_SOURCE_DIR "/docs/correction.md", true);
  EXPECT_GE(script.rows(), 19);
}

}  // namespace
