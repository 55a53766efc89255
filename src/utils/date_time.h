#pragma once

#include <cstdint>
#include <string>
#include <string_view>

namespace utils {

/// A moment of the proleptic Gregorian calendar, years 1 to 9999, counted in ticks of 100 nanoseconds since
/// 1 January of the year 1. It carries a UTC offset for printing and a flag that selects Russian names;
/// neither takes part in comparisons. A value class: the arithmetic gives new values, with the offset and the
/// flag of the old one.
///
/// Errors. A constructor never fails: what it cannot represent is held at its limit, and the error stream
/// gets a line that begins "DateTime ". Arithmetic that would leave the calendar throws std::out_of_range, a
/// format that cannot be read throws std::invalid_argument; what() holds the words and the argument.
///
/// Formats. A run of one letter is a token:
///
///   d dd ddd dddd      day of the month, 1 or 2 digits; short name of the day; full name
///   M MM MMM MMMM      month, 1 or 2 digits; short name; full name, in the genitive when the nearest run of
///   d before
///                      or behind it is a day number (d or dd)
///   y yy yyy...        year modulo 100, 1 or 2 digits; whole year with as many digits as letters
///   H HH, h hh         hour from 0 to 23, hour from 1 to 12
///   m mm, s ss         minute, second
///   f..., F...         fraction of the second, as many digits as letters, 7 at most; F without trailing
///   zeros t..., g...         AM or PM; the era, C.E. z zz zzz...        UTC offset: +3, +03, +03:00 K UTC
///   offset, +03:00 / :                date separator ("." in Russian), time separator
///   "..." '...'        the text between the quotes
///   \c                 the character c;   %c  the token of the one letter c
///
/// Any other byte is copied, so formats may hold UTF-8 text.
class DateTime {
 public:
  static constexpr std::int64_t kTicksPerMillisecond = 10000;
  static constexpr std::int64_t kTicksPerSecond = 10000000;
  static constexpr std::int64_t kTicksPerMinute = 60 * kTicksPerSecond;
  static constexpr std::int64_t kTicksPerHour = 60 * kTicksPerMinute;
  static constexpr std::int64_t kTicksPerDay = 864000000000;
  static constexpr std::int64_t kMaxTicks = 3155378975999999999;

  /// 1 January of the year 1, midnight.
  DateTime() = default;
  /// Ticks outside 0 to kMaxTicks become the nearer end.
  explicit DateTime(std::int64_t tickCount);
  /// Month and day count from 1. Parts that make no date are each brought to the nearest value they may have.
  DateTime(int year, int month, int day);
  /// `offset` is the UTC offset in minutes, between -840 and 840.
  DateTime(int year, int month, int day, int hour, int minute, int second, int millisecond, int offset = 0);

  /// The local time, to the millisecond; with the offset of the time zone when `withOffset` is set, otherwise
  /// 0.
  [[nodiscard]] static DateTime Now(bool withOffset = false);
  /// From a count of 100-nanosecond units since 1 January 1601.
  [[nodiscard]] static DateTime FromFileTime(std::int64_t value);

  [[nodiscard]] std::int64_t GetTicks() const { return static_cast<std::int64_t>(data_ & kTicksMask); }
  [[nodiscard]] int GetYear() const;
  [[nodiscard]] int GetMonth() const;      ///< 1 to 12
  [[nodiscard]] int GetDay() const;        ///< 1 to 31
  [[nodiscard]] int GetDayOfWeek() const;  ///< 0 Sunday to 6 Saturday
  [[nodiscard]] int GetDayOfYear() const;  ///< 1 to 366
  [[nodiscard]] int GetHour() const;
  [[nodiscard]] int GetMinute() const;
  [[nodiscard]] int GetSecond() const;
  [[nodiscard]] int GetMillisecond() const;
  [[nodiscard]] DateTime GetDate() const;           ///< midnight of the day
  [[nodiscard]] std::int64_t GetTimeOfDay() const;  ///< ticks since midnight
  [[nodiscard]] int GetUTCOffset() const { return offsetMinutes_; }
  [[nodiscard]] bool GetRus() const { return isRussian_; }
  void SetRus(bool on) { isRussian_ = on; }

  [[nodiscard]] static bool IsLeapYear(int year);
  /// 28 to 31; 0 when there is no such month.
  [[nodiscard]] static int DaysInMonth(int year, int month);
  [[nodiscard]] static bool ValidDateTime(int year, int month, int day, int hour = 0, int minute = 0,
                                          int second = 0, int millisecond = 0);
  /// Days from 1 January of the year 1 to a date; parts that make no date are held at their limits.
  [[nodiscard]] static int AbsoluteDays(int year, int month, int day);

  [[nodiscard]] DateTime AddTicks(std::int64_t n) const;
  [[nodiscard]] DateTime AddMilliseconds(std::int64_t n) const;
  [[nodiscard]] DateTime AddSeconds(std::int64_t n) const;
  [[nodiscard]] DateTime AddMinutes(std::int64_t n) const;
  [[nodiscard]] DateTime AddHours(std::int64_t n) const;
  [[nodiscard]] DateTime AddDays(std::int64_t n) const;
  /// The day is held down to the length of the new month: 31 January and a month is the last of February.
  [[nodiscard]] DateTime AddMonths(std::int64_t n) const;
  [[nodiscard]] DateTime AddYears(std::int64_t n) const;

  /// -1, 0 or 1.
  [[nodiscard]] static int Compare(const DateTime& a, const DateTime& b);
  [[nodiscard]] int CompareTo(const DateTime& other) const { return Compare(*this, other); }
  [[nodiscard]] bool Equals(const DateTime& other) const { return GetTicks() == other.GetTicks(); }

  /// Replaces `out` by the formatted time; an exception leaves it as it was.
  void ToString(std::string_view format, std::string* out) const;
  [[nodiscard]] std::string ToString(std::string_view format) const;

 private:
  static constexpr std::uint64_t kTicksMask = (std::uint64_t{1} << 62) - 1;

  struct Date {
    int year, month, day, dayOfYear;
  };
  void Init(int year, int month, int day, int hour, int minute, int second, int millisecond, int offset);
  [[nodiscard]] Date SplitDate() const;
  [[nodiscard]] DateTime WithTicks(std::int64_t tickCount) const;
  [[nodiscard]] DateTime AddUnits(std::int64_t n, std::int64_t ticksPerUnit) const;

  std::uint64_t data_ = 0;  // ticks in the low 62 bits
  int offsetMinutes_ = 0;
  bool isRussian_ = false;
};

}  // namespace utils
