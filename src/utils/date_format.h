#pragma once

#include <string>
#include <string_view>

namespace utils {

/// A moment taken apart for printing.
struct DateParts {
  int year;           // 1 to 9999
  int month;          // 1 to 12
  int day;            // 1 to 31
  int dayOfWeek;      // 0 Sunday
  int hour;           // 0 to 23
  int minute;         // 0 to 59
  int second;         // 0 to 59
  int fractionTicks;  // 0 to 9999999, in 100 nanoseconds
  int offsetMinutes;  // of UTC
  bool isRussian;
};

/// Prints a moment in a format of DateTime, where the letters are told.
/// Throws std::invalid_argument for a format that cannot be read.
[[nodiscard]] std::string FormatDate(const DateParts& parts, std::string_view format);

}  // namespace utils
