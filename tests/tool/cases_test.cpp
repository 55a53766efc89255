// Runs the program as a user does: each file of cases/ is one test.
//
// A case file holds these lines, in the order in which things happen:
//   # ...            a remark
//   share            copies the starting installation beside the program
//   > name           a file beside the program, with the lines "| ..." that follow
//   show name        a file as it is now; its lines stand below, each behind "= ", with CR as "\\r"; the name
//                    may be a pattern, and the first file of it is shown
//   $ words          a command line behind the program's name; double quotes group words
// Below a command line stands what it writes: standard output as it is, then "[err] ..." for each line of
// standard error, then "[status n]" unless the status is 0. The test's directory reads "{dir}", a time reads
// "{time}".
//
// With VELORA_REWRITE_CASES=1 in the environment the files get the output of the run; the difference is then
// reviewed.
#include <glob.h>
#include <gtest/gtest.h>

#include <algorithm>
#include <filesystem>
#include <fstream>
#include <sstream>

#include "support/program_runner.h"

namespace {

using test::ProgramDir;
using test::RunResult;

const std::string kCaseDirectory = VELORA_SOURCE_DIR "/tests/tool/cases";

std::vector<std::string> ListCases() {
  std::vector<std::string> names;
  for (const auto& entry : std::filesystem::directory_iterator(kCaseDirectory)) {
    if (entry.path().extension() == ".txt") names.push_back(entry.path().stem());
  }
  std::sort(names.begin(), names.end());
  return names;
}

std::string ReadCase(const std::string& path) {
  std::ifstream file(path, std::ios::binary);
  return {std::istreambuf_iterator<char>(file), {}};
}

std::vector<std::string> SplitWords(const std::string& line) {
  std::vector<std::string> words;
  bool isQuoted = false;
  bool isOpen = false;
  for (char c : line) {
    if (c == '"') {
      isQuoted = !isQuoted;
      if (!isOpen) words.emplace_back();
      isOpen = true;
    } else if (c == ' ' && !isQuoted) {
      isOpen = false;
    } else {
      if (!isOpen) words.emplace_back();
      isOpen = true;
      words.back() += c;
    }
  }
  return words;
}

std::string ReplaceAll(std::string text, const std::string& from, const std::string& to) {
  for (std::size_t at = 0; (at = text.find(from, at)) != std::string::npos; at += to.size()) {
    text.replace(at, from.size(), to);
  }
  return text;
}

class CaseRun {
 public:
  // Gives the case file as it would have to read for the program as it is.
  std::string Play(const std::string& text) {
    std::istringstream lines(text);
    for (std::string line; std::getline(lines, line);) PlayLine(line);
    FlushFile();
    return played_.str();
  }

 private:
  void PlayLine(const std::string& line) {
    if (line.starts_with("| ") || line == "|") {
      fileContent_ += line.substr(std::min<std::size_t>(2, line.size())) + "\n";
      played_ << line << '\n';
      return;
    }
    FlushFile();
    if (line.starts_with("$")) {
      played_ << line << '\n';
      RunProgram(SplitWords(ReplaceAll(line.substr(1), "{dir}", dir_.Path())));
    } else if (line.starts_with("show ")) {
      played_ << line << '\n';
      ShowFile(line.substr(5));
    } else if (line.starts_with("#") || line.starts_with("> ") || line == "share") {
      played_ << line << '\n';
      if (line == "share") dir_.CopyShare();
      if (line.starts_with("> ")) fileName_ = line.substr(2);
    }
  }

  void FlushFile() {
    if (!fileName_.empty()) {
      std::filesystem::create_directories(std::filesystem::path(dir_.File(fileName_)).parent_path());
      dir_.Write(fileName_, fileContent_);
    }
    fileName_.clear();
    fileContent_.clear();
  }

  void RunProgram(const std::vector<std::string>& words) {
    const RunResult result = dir_.Run(words);
    played_ << Normalise(result.out);
    std::istringstream errors(Normalise(result.err));
    for (std::string line; std::getline(errors, line);) played_ << "[err] " << line << '\n';
    if (result.status != 0) played_ << "[status " << result.status << "]\n";
  }

  void ShowFile(const std::string& name) {
    std::istringstream lines(ReplaceAll(dir_.Read(FirstFile(name)), "\r", "\\r"));
    for (std::string line; std::getline(lines, line);) played_ << "= " << line << '\n';
  }

  std::string FirstFile(const std::string& pattern) const {
    glob_t found{};
    const bool isFound = ::glob(dir_.File(pattern).c_str(), 0, nullptr, &found) == 0;
    std::string name = isFound ? found.gl_pathv[0] + dir_.Path().size() : pattern;
    ::globfree(&found);
    return name;
  }

  std::string Normalise(const std::string& text) const {
    std::string shown;
    std::istringstream lines(ReplaceAll(text, dir_.Path(), "{dir}"));
    for (std::string line; std::getline(lines, line);) {
      const bool endsInLineFeed = !lines.eof();
      shown += IsTime(line) ? "time {time}" : line;
      if (endsInLineFeed) shown += '\n';
    }
    return shown;
  }

  // "time " and [[days.]hours:][minutes:]seconds.milliseconds
  static bool IsTime(const std::string& line) {
    if (!line.starts_with("time ") || line.size() < 11 || line[line.size() - 4] != '.') return false;
    return line.find_first_not_of("0123456789.:", 5) == std::string::npos;
  }

  ProgramDir dir_;
  std::string fileName_;
  std::string fileContent_;
  std::ostringstream played_;
};

class ToolCase : public testing::TestWithParam<std::string> {};

TEST_P(ToolCase, PrintsWhatTheFileSays) {
  const std::string path = kCaseDirectory + "/" + GetParam() + ".txt";
  const std::string expected = ReadCase(path);
  const std::string played = CaseRun().Play(expected);
  if (std::getenv("VELORA_REWRITE_CASES") != nullptr) {
    std::ofstream(path, std::ios::binary) << played;
  } else {
    EXPECT_EQ(played, expected);
  }
}

INSTANTIATE_TEST_SUITE_P(Files, ToolCase, testing::ValuesIn(ListCases()),
                         [](const auto& param) { return param.param; });

}  // namespace
