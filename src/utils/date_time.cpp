#include "utils/date_time.h"

#include <time.h>

#include <algorithm>
#include <array>
#include <iostream>
#include <stdexcept>
#include <string>
#include <utility>

#include "utils/date_format.h"

namespace utils {

namespace {

constexpr int kFirstYear = 1;
constexpr int kLastYear = 9999;
constexpr int kMaxOffsetMinutes = 14 * 60;
constexpr std::int64_t kFileTimeStart = 504911232000000000;  // ticks of 1 January 1601

constexpr int kDaysPerYear = 365;
constexpr int kDaysPer4Years = 4 * kDaysPerYear + 1;
constexpr int kDaysPer100Years = 25 * kDaysPer4Years - 1;
constexpr int kDaysPer400Years = 4 * kDaysPer100Years + 1;

// Days of a common year before the first of each month.
constexpr std::array<int, 13> kDaysBefore = {0, 31, 59, 90, 120, 151, 181, 212, 243, 273, 304, 334, 365};

// Days of the year before a month, 1 to 13.
int DaysBeforeMonth(int year, int month) {
  return kDaysBefore[month - 1] + (month > 2 && DateTime::IsLeapYear(year) ? 1 : 0);
}

void WarnOfParts(int year, int month, int day, int hour, int minute, int second, int millisecond) {
  std::cerr << "DateTime parameters describe an unrepresentable DateTime, year " << year << " month " << month
            << ", day " << day << ", hour " << hour << ", minute " << minute << ", second " << second
            << ", millisecond " << millisecond << '\n';
}

[[noreturn]] void ThrowRange(const char* words, std::int64_t argument) {
  throw std::out_of_range(words + std::to_string(argument));
}

}  // namespace

DateTime::DateTime(std::int64_t tickCount) {
  const std::int64_t held = std::clamp(tickCount, std::int64_t{0}, kMaxTicks);
  if (held != tickCount) std::cerr << "DateTime invalid ticks value " << tickCount << '\n';
  data_ = static_cast<std::uint64_t>(held);
}

DateTime::DateTime(int year, int month, int day) {
  Init(year, month, day, 0, 0, 0, 0, 0);
}

DateTime::DateTime(int year, int month, int day, int hour, int minute, int second, int millisecond,
                   int offset) {
  Init(year, month, day, hour, minute, second, millisecond, offset);
}

void DateTime::Init(int year, int month, int day, int hour, int minute, int second, int millisecond,
                    int offset) {
  if (!ValidDateTime(year, month, day, hour, minute, second, millisecond))
    WarnOfParts(year, month, day, hour, minute, second, millisecond);
  const std::int64_t ticks =
      AbsoluteDays(year, month, day) * kTicksPerDay + std::clamp(hour, 0, 23) * kTicksPerHour +
      std::clamp(minute, 0, 59) * kTicksPerMinute + std::clamp(second, 0, 59) * kTicksPerSecond +
      std::clamp(millisecond, 0, 999) * kTicksPerMillisecond;
  data_ = static_cast<std::uint64_t>(ticks);
  offsetMinutes_ = std::clamp(offset, -kMaxOffsetMinutes, kMaxOffsetMinutes);
}

DateTime DateTime::Now(bool withOffset) {
  timespec now{};
  clock_gettime(CLOCK_REALTIME, &now);
  tm local{};
  localtime_r(&now.tv_sec, &local);
  const int second = std::min(local.tm_sec, 59);  // a leap second is the second before it
  const int millisecond = static_cast<int>(now.tv_nsec / 1000000);
  const int offset = withOffset ? static_cast<int>(local.tm_gmtoff / 60) : 0;
  return {local.tm_year + 1900, local.tm_mon + 1, local.tm_mday, local.tm_hour,
          local.tm_min,         second,           millisecond,   offset};
}

DateTime DateTime::FromFileTime(std::int64_t value) {
  std::int64_t ticks = 0;
  if (__builtin_add_overflow(value, kFileTimeStart, &ticks))
    ticks = value;  // far beyond either end, as the sum
  return DateTime(ticks);
}

DateTime::Date DateTime::SplitDate() const {
  int days = static_cast<int>(GetTicks() / kTicksPerDay);
  const int eras = days / kDaysPer400Years;
  days -= eras * kDaysPer400Years;
  const int centuries =
      std::min(days / kDaysPer100Years, 3);  // the last day of an era would make a fifth century
  days -= centuries * kDaysPer100Years;
  const int quads = days / kDaysPer4Years;
  days -= quads * kDaysPer4Years;
  const int years = std::min(days / kDaysPerYear, 3);  // and 31 December of a leap year a fifth year
  days -= years * kDaysPerYear;

  const int year = eras * 400 + centuries * 100 + quads * 4 + years + 1;
  int month = days / 31 + 1;  // right or one too small
  if (days >= DaysBeforeMonth(year, month + 1)) ++month;
  return {year, month, days - DaysBeforeMonth(year, month) + 1, days + 1};
}

int DateTime::GetYear() const {
  return SplitDate().year;
}
int DateTime::GetMonth() const {
  return SplitDate().month;
}
int DateTime::GetDay() const {
  return SplitDate().day;
}
int DateTime::GetDayOfYear() const {
  return SplitDate().dayOfYear;
}
int DateTime::GetDayOfWeek() const {
  return static_cast<int>((GetTicks() / kTicksPerDay + 1) % 7);
}
int DateTime::GetHour() const {
  return static_cast<int>(GetTimeOfDay() / kTicksPerHour);
}
int DateTime::GetMinute() const {
  return static_cast<int>(GetTimeOfDay() / kTicksPerMinute % 60);
}
int DateTime::GetSecond() const {
  return static_cast<int>(GetTimeOfDay() / kTicksPerSecond % 60);
}
int DateTime::GetMillisecond() const {
  return static_cast<int>(GetTimeOfDay() / kTicksPerMillisecond % 1000);
}
std::int64_t DateTime::GetTimeOfDay() const {
  return GetTicks() % kTicksPerDay;
}
DateTime DateTime::GetDate() const {
  return WithTicks(GetTicks() - GetTimeOfDay());
}

bool DateTime::IsLeapYear(int year) {
  return year % 4 == 0 && (year % 100 != 0 || year % 400 == 0);
}

int DateTime::DaysInMonth(int year, int month) {
  if (month < 1 || month > 12) return 0;
  return DaysBeforeMonth(year, month + 1) - DaysBeforeMonth(year, month);
}

bool DateTime::ValidDateTime(int year, int month, int day, int hour, int minute, int second,
                             int millisecond) {
  const auto isIn = [](int value, int low, int high) { return low <= value && value <= high; };
  return isIn(year, kFirstYear, kLastYear) && isIn(day, 1, DaysInMonth(year, month)) && isIn(hour, 0, 23) &&
         isIn(minute, 0, 59) && isIn(second, 0, 59) && isIn(millisecond, 0, 999);
}

int DateTime::AbsoluteDays(int year, int month, int day) {
  const int y = std::clamp(year, kFirstYear, kLastYear);
  const int m = std::clamp(month, 1, 12);
  const int d = std::clamp(day, 1, DaysInMonth(y, m));
  const int before = y - 1;
  return before * kDaysPerYear + before / 4 - before / 100 + before / 400 + DaysBeforeMonth(y, m) + d - 1;
}

DateTime DateTime::WithTicks(std::int64_t tickCount) const {
  DateTime result = *this;
  result.data_ = static_cast<std::uint64_t>(tickCount);
  return result;
}

DateTime DateTime::AddTicks(std::int64_t n) const {
  const std::int64_t ticks = GetTicks();
  if (n < -ticks || n > kMaxTicks - ticks) ThrowRange("DateTime::AddTicks argument out of range ", n);
  return WithTicks(ticks + n);
}

DateTime DateTime::AddUnits(std::int64_t n, std::int64_t ticksPerUnit) const {
  std::int64_t delta = 0;
  const std::int64_t ticks = GetTicks();
  if (__builtin_mul_overflow(n, ticksPerUnit, &delta) || delta < -ticks || delta > kMaxTicks - ticks)
    ThrowRange("DateTime::AddMilliseconds argument out of range ", n);
  return WithTicks(ticks + delta);
}

DateTime DateTime::AddMilliseconds(std::int64_t n) const {
  return AddUnits(n, kTicksPerMillisecond);
}
DateTime DateTime::AddSeconds(std::int64_t n) const {
  return AddUnits(n, kTicksPerSecond);
}
DateTime DateTime::AddMinutes(std::int64_t n) const {
  return AddUnits(n, kTicksPerMinute);
}
DateTime DateTime::AddHours(std::int64_t n) const {
  return AddUnits(n, kTicksPerHour);
}
DateTime DateTime::AddDays(std::int64_t n) const {
  return AddUnits(n, kTicksPerDay);
}

DateTime DateTime::AddMonths(std::int64_t n) const {
  constexpr std::int64_t kMonths = std::int64_t{12} * kLastYear;
  const Date date = SplitDate();
  const std::int64_t monthNow = std::int64_t{12} * (date.year - 1) + date.month - 1;  // from 0
  const std::int64_t month = monthNow + std::clamp(n, -kMonths, kMonths);
  if (month < 0 || month >= kMonths) ThrowRange("DateTime::AddMonths argument out of range ", n);

  const int y = static_cast<int>(month / 12) + 1;
  const int m = static_cast<int>(month % 12) + 1;
  const int d = std::min(date.day, DaysInMonth(y, m));
  return WithTicks(AbsoluteDays(y, m, d) * kTicksPerDay + GetTimeOfDay());
}

DateTime DateTime::AddYears(std::int64_t n) const {
  return AddMonths(std::clamp<std::int64_t>(n, -kLastYear, kLastYear) * 12);
}

int DateTime::Compare(const DateTime& a, const DateTime& b) {
  if (a.Equals(b)) return 0;
  return a.GetTicks() < b.GetTicks() ? -1 : 1;
}

void DateTime::ToString(std::string_view format, std::string* out) const {
  *out = ToString(format);
}

std::string DateTime::ToString(std::string_view format) const {
  const Date date = SplitDate();
  const DateParts parts = {
      .year = date.year,
      .month = date.month,
      .day = date.day,
      .dayOfWeek = GetDayOfWeek(),
      .hour = GetHour(),
      .minute = GetMinute(),
      .second = GetSecond(),
      .fractionTicks = static_cast<int>(GetTicks() % kTicksPerSecond),
      .offsetMinutes = offsetMinutes_,
      .isRussian = isRussian_,
  };
  return FormatDate(parts, format);
}

}  // namespace utils
