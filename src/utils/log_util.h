#pragma once

#include <sys/timeb.h>

#include <cstdint>
#include <string>
#include <string_view>

/// The log files of the tools: one per program, prefix and day, and for the `...Pid` forms per process.
///
/// A log lies beside the executable and is named <program>_<prefix>_<ddMMyyyy>.log, the `...Pid` forms
/// <program>_<prefix>_<ddMMyyyy>_<process number>.log; an empty prefix is left out with its underscore. A
/// line is "dd.MM.yyyy HH:mm:ss.fff - " in local time, the message as given, and a line feed.
///
/// Each call opens the file, appends with one write and closes it, so lines of several processes do not mix
/// and a log may be removed at any time. A log that cannot be written is ignored: no call fails.
namespace utils {

class LogUtil {
 public:
  LogUtil() = delete;

  static void Log(std::string_view prefix, std::string_view message);

  /// `withTime` false leaves out the time stamp: the line continues the one before it.
  static void Log(std::string_view prefix, std::string_view message, bool withTime);

  /// The message, and below it a dump of a buffer in hexadecimal and ASCII.
  ///   buffer, length  what to show
  ///   limit           bytes shown at most; the rest is told by its length
  ///   count           bytes per line, 1 to 64
  static void Log(std::string_view prefix, std::string_view message, const void* buffer, int length,
                  int limit, int count);

  /// The same in the log of this process.
  static void LogPid(std::string_view prefix, std::string_view message);
  static void LogPid(std::string_view prefix, std::string_view message, bool withTime);

  /// An error, in the error log of this process: `prefix` gets "_error" behind it.
  static void LogErrorPid(std::string_view prefix, std::string_view message);

  /// The logs of the format language: its messages, its errors, its trace.
  static void XpftLog(std::string_view message);
  static void XpftErrorLog(std::string_view message);
  static void XpftTraceLog(std::string_view message);

  /// Removes the oldest files named *.log of a directory while their total is above `size` bytes and more
  /// than `count` of them are left. Only plain files directly in the directory are touched. Result: the
  /// number removed.
  static int RemoveOldLogsSize(const std::string& directory, std::int64_t size, int count);

  /// A span of time as [[days.]hours:][minutes:]seconds.milliseconds, for example "05.120", "01:05.120",
  /// "1.02:01:05.120". A negative span, which a clock set back can give, reads as zero.
  [[nodiscard]] static std::string FormatTime(std::int64_t milliseconds);

  /// The time from `start` to `end`.
  [[nodiscard]] static std::string FormatTime(const timeb& start, const timeb& end);

  /// Full path of the log that a message goes to now.
  [[nodiscard]] static std::string GetLogPath(std::string_view prefix, bool withPid);
};

}  // namespace utils
