#include "utils/log_util.h"

#include <fcntl.h>
#include <gtest/gtest.h>
#include <sys/stat.h>
#include <sys/wait.h>
#include <unistd.h>

#include <ctime>

#include "support/temp_dir.h"
#include "utils/path_util.h"
#include "utils/string_utils.h"
#include "utils/text_util.h"

namespace {

using utils::LogUtil;

TEST(LogUtil, FormatTime) {
  const struct {
    std::int64_t milliseconds;
    const char* want;
  } cases[] = {
      {0, "00.000"},
      {5120, "05.120"},
      {59999, "59.999"},
      {65120, "01:05.120"},
      {3599999, "59:59.999"},
      {3600000, "01:00:00.000"},
      {7265120, "02:01:05.120"},
      {86400000, "1.00:00:00.000"},
      {93665120, "1.02:01:05.120"},
      {86400000LL * 1234, "1234.00:00:00.000"},
      {-5, "00.000"},
  };
  for (const auto& c : cases) EXPECT_EQ(LogUtil::FormatTime(c.milliseconds), c.want);

  const timeb start = {.time = 1000, .millitm = 900, .timezone = 0, .dstflag = 0};
  const timeb end = {.time = 1066, .millitm = 20, .timezone = 0, .dstflag = 0};
  EXPECT_EQ(LogUtil::FormatTime(start, end), "01:05.120");
}

/// A log of this test run alone, removed at the end.
class LogFile {
 public:
  explicit LogFile(bool withPid) : prefix_("test" + std::to_string(getpid())), withPid_(withPid) {}
  ~LogFile() { unlink(Path().c_str()); }

  const std::string& Prefix() const { return prefix_; }
  std::string Path() const { return LogUtil::GetLogPath(prefix_, withPid_); }
  std::string Text() const {
    std::string text;
    EXPECT_TRUE(utils::TextUtil::FileReadAllBytes(Path(), text)) << Path();
    return text;
  }

 private:
  std::string prefix_;
  bool withPid_;
};

/// The text with every digit put to '0'.
std::string Digits(std::string text) {
  for (char& c : text) c = c >= '0' && c <= '9' ? '0' : c;
  return text;
}

TEST(LogUtil, LinesCarryTheTime) {
  const LogFile log(false);
  LogUtil::Log(log.Prefix(), "first");
  LogUtil::Log(log.Prefix(), "continued", false);
  LogUtil::Log(log.Prefix(), "второй", true);
  EXPECT_EQ(Digits(log.Text()),
            "00.00.0000 00:00:00.000 - first\ncontinued\n00.00.0000 00:00:00.000 - второй\n");
}

TEST(LogUtil, DumpShowsNoMoreThanTheLimit) {
  const LogFile log(true);
  LogUtil::LogPid(log.Prefix(), "plain");
  EXPECT_TRUE(log.Text().ends_with(" - plain\n"));

  const LogFile shared(false);
  LogUtil::Log(shared.Prefix(), "dump", "AB\n\xFFxyz", 7, 5, 4);
  EXPECT_TRUE(
      shared.Text().ends_with("dump\n00000000  41 42 0A FF  AB..\n00000004  78  x\n... 7 bytes in all\n"))
      << shared.Text();
}

TEST(LogUtil, NameHasProgramPrefixDayAndProcess) {
  const std::string program = utils::PathUtil::GetExePathA();
  std::time_t now = std::time(nullptr);
  char day[16];
  std::strftime(day, sizeof day, "%d%m%Y", std::localtime(&now));
  EXPECT_EQ(LogUtil::GetLogPath("x", false), program + "_x_" + day + ".log");
  EXPECT_EQ(LogUtil::GetLogPath("x", true), program + "_x_" + day + "_" + std::to_string(getpid()) + ".log");
  EXPECT_EQ(LogUtil::GetLogPath("", false), program + "_" + day + ".log");
  EXPECT_EQ(LogUtil::GetLogPath("../../x", false), program + "_.._.._x_" + day + ".log")
      << "stays in its directory";
}

TEST(LogUtil, ProcessesDoNotTearLines) {
  const LogFile log(false);
  constexpr int kLines = 200;
  for (const char letter : {'a', 'b'}) {
    if (fork() == 0) {
      for (int i = 0; i < kLines; ++i) LogUtil::Log(log.Prefix(), std::string(300, letter), false);
      _exit(0);
    }
  }
  while (wait(nullptr) > 0) {
  }
  const std::string text = log.Text();
  const auto lines = utils::StringUtils::SplitLines(text);
  EXPECT_EQ(lines.size(), 2u * kLines);
  for (const auto line : lines) EXPECT_EQ(line, std::string(300, line.front()));
}

TEST(LogUtil, OldestLogsGoFirst) {
  const test::TempDir dir;
  for (const char* name : {"c.log", "b.log", "a.log", "d.txt"}) dir.Write(name, std::string(100, 'x'));
  const auto setAge = [&](const char* name, std::time_t age) {
    const timespec times[2] = {{std::time(nullptr) - age, 0}, {std::time(nullptr) - age, 0}};
    ASSERT_EQ(utimensat(AT_FDCWD, dir.File(name).c_str(), times, 0), 0);
  };
  setAge("c.log", 300);
  setAge("b.log", 200);
  setAge("a.log", 100);
  setAge("d.txt", 400);

  EXPECT_EQ(LogUtil::RemoveOldLogsSize(dir.Path(), 300, 0), 0) << "not above the size";
  EXPECT_EQ(LogUtil::RemoveOldLogsSize(dir.Path(), 250, 0), 1);
  EXPECT_FALSE(utils::PathUtil::IsFile(dir.File("c.log")));
  EXPECT_EQ(LogUtil::RemoveOldLogsSize(dir.Path(), 0, 1), 1) << "the newest is kept by the count";
  EXPECT_TRUE(utils::PathUtil::IsFile(dir.File("a.log")));
  EXPECT_TRUE(utils::PathUtil::IsFile(dir.File("d.txt")));
  EXPECT_EQ(LogUtil::RemoveOldLogsSize(dir.File("missing"), 0, 0), 0);
}

}  // namespace
