#include "utils/log_util.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <cstdio>
#include <ctime>
#include <filesystem>
#include <vector>

#include "utils/path_util.h"

namespace {

namespace fs = std::filesystem;

constexpr mode_t kLogRights = 0664;
constexpr long kNanosPerMilli = 1000000;

struct Moment {
  std::tm local;
  int milliseconds;
};

Moment Now() {
  timespec now;
  clock_gettime(CLOCK_REALTIME, &now);
  Moment moment;
  localtime_r(&now.tv_sec, &moment.local);
  moment.milliseconds = static_cast<int>(now.tv_nsec / kNanosPerMilli);
  return moment;
}

std::string FormatDate(const Moment& moment, const char* format) {
  char text[32];
  return {text, std::strftime(text, sizeof text, format, &moment.local)};
}

std::string FormatStamp(const Moment& moment) {
  char fraction[8];
  std::snprintf(fraction, sizeof fraction, ".%03d", moment.milliseconds);
  return FormatDate(moment, "%d.%m.%Y %H:%M:%S") + fraction + " - ";
}

/// A prefix can come from the command line; it must not lead out of the log directory.
std::string FileNamePart(std::string_view prefix) {
  std::string part(prefix);
  std::replace_if(
      part.begin(), part.end(), [](char c) { return c == '/' || c == '\0'; }, '_');
  return part;
}

std::string LogPath(std::string_view prefix, bool withPid, const Moment& moment) {
  const std::string program = utils::PathUtil::GetExePathA();
  if (program.empty()) return {};

  std::string name = utils::PathUtil::GetFileNameWithoutExtension(program);
  if (!prefix.empty()) name += "_" + FileNamePart(prefix);
  name += "_" + FormatDate(moment, "%d%m%Y");
  if (withPid) name += "_" + std::to_string(getpid());
  return utils::PathUtil::Combine(utils::PathUtil::GetDirectoryName(program), name + ".log");
}

void AppendToFile(const std::string& path, const std::string& text) {
  if (path.empty()) return;
  const int handle = open(path.c_str(), O_WRONLY | O_CREAT | O_APPEND | O_CLOEXEC, kLogRights);
  if (handle < 0) return;
  // One call, never continued: a second one could land behind the line of another process.
  [[maybe_unused]] const ssize_t written = write(handle, text.data(), text.size());
  close(handle);
}

void WriteEntry(std::string_view prefix, bool withPid, std::string_view message, bool withTime) {
  const Moment now = Now();
  std::string line = withTime ? FormatStamp(now) : std::string();
  line += message;
  line += '\n';
  AppendToFile(LogPath(prefix, withPid, now), line);
}

/// One line of a dump: offset, the bytes in hexadecimal, the same as ASCII with dots for what cannot be
/// shown.
std::string DumpLine(int offset, const unsigned char* bytes, int length) {
  char cell[16];
  std::snprintf(cell, sizeof cell, "%08X ", static_cast<unsigned>(offset));
  std::string hex = cell;
  std::string ascii;
  for (int i = 0; i < length; ++i) {
    std::snprintf(cell, sizeof cell, " %02X", bytes[i]);
    hex += cell;
    ascii += bytes[i] >= 0x20 && bytes[i] < 0x7F ? static_cast<char>(bytes[i]) : '.';
  }
  return hex + "  " + ascii;
}

struct LogFile {
  fs::path path;
  std::int64_t size;
  fs::file_time_type written;
};

/// The plain *.log files of a directory, oldest first. What cannot be read is passed over.
std::vector<LogFile> FindLogs(const std::string& directory) {
  std::vector<LogFile> logs;
  std::error_code error;
  for (fs::directory_iterator at(directory, error), end; !error && at != end; at.increment(error)) {
    std::error_code missing;
    if (at->path().extension() != ".log" || at->symlink_status(missing).type() != fs::file_type::regular)
      continue;
    const auto size = static_cast<std::int64_t>(at->file_size(missing));
    const auto written = at->last_write_time(missing);
    if (!missing) logs.push_back({at->path(), size, written});
  }
  std::sort(logs.begin(), logs.end(), [](const LogFile& a, const LogFile& b) {
    return a.written != b.written ? a.written < b.written : a.path < b.path;
  });
  return logs;
}

}  // namespace

namespace utils {

void LogUtil::Log(std::string_view prefix, std::string_view message) {
  WriteEntry(prefix, false, message, true);
}

void LogUtil::Log(std::string_view prefix, std::string_view message, bool withTime) {
  WriteEntry(prefix, false, message, withTime);
}

void LogUtil::Log(std::string_view prefix, std::string_view message, const void* buffer, int length,
                  int limit, int count) {
  const int shown = buffer == nullptr ? 0 : std::max(0, std::min(length, limit));
  const int perLine = std::clamp(count, 1, 64);
  const auto* bytes = static_cast<const unsigned char*>(buffer);

  std::string text(message);
  for (int i = 0; i < shown; i += perLine) {
    text += '\n' + DumpLine(i, bytes + i, std::min(perLine, shown - i));
  }
  if (shown < length) text += "\n... " + std::to_string(length) + " bytes in all";
  WriteEntry(prefix, false, text, true);
}

void LogUtil::LogPid(std::string_view prefix, std::string_view message) {
  WriteEntry(prefix, true, message, true);
}

void LogUtil::LogPid(std::string_view prefix, std::string_view message, bool withTime) {
  WriteEntry(prefix, true, message, withTime);
}

void LogUtil::LogErrorPid(std::string_view prefix, std::string_view message) {
  LogPid(std::string(prefix) + "_error", message);
}

void LogUtil::XpftLog(std::string_view message) {
  Log("xpft", message);
}

void LogUtil::XpftErrorLog(std::string_view message) {
  Log("xpft_error", message);
}

void LogUtil::XpftTraceLog(std::string_view message) {
  Log("xpft_trace", message);
}

int LogUtil::RemoveOldLogsSize(const std::string& directory, std::int64_t size, int count) {
  const std::vector<LogFile> logs = FindLogs(directory);
  std::int64_t total = 0;
  for (const LogFile& log : logs) total += log.size;

  int removed = 0;
  std::int64_t left = static_cast<std::int64_t>(logs.size());
  for (const LogFile& log : logs) {
    if (total <= size || left <= count) break;
    std::error_code error;
    if (fs::remove(log.path, error)) ++removed;
    total -= log.size;
    --left;
  }
  return removed;
}

std::string LogUtil::FormatTime(std::int64_t milliseconds) {
  const std::int64_t span = std::max<std::int64_t>(milliseconds, 0);
  const std::int64_t days = span / 86400000;
  const int hours = static_cast<int>(span / 3600000 % 24);
  const int minutes = static_cast<int>(span / 60000 % 60);
  const int seconds = static_cast<int>(span / 1000 % 60);
  const bool hasHours = days > 0 || hours > 0;

  char part[16];
  std::string text;
  if (days > 0) text += std::to_string(days) + ".";
  if (hasHours) {
    std::snprintf(part, sizeof part, "%02d:", hours);
    text += part;
  }
  if (hasHours || minutes > 0) {
    std::snprintf(part, sizeof part, "%02d:", minutes);
    text += part;
  }
  std::snprintf(part, sizeof part, "%02d.%03d", seconds, static_cast<int>(span % 1000));
  return text += part;
}

std::string LogUtil::FormatTime(const timeb& start, const timeb& end) {
  const std::int64_t seconds = std::int64_t{end.time} - start.time;
  return FormatTime(seconds * 1000 + end.millitm - start.millitm);
}

std::string LogUtil::GetLogPath(std::string_view prefix, bool withPid) {
  return LogPath(prefix, withPid, Now());
}

}  // namespace utils
