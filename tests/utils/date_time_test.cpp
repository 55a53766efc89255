#include "utils/date_time.h"

#include <gtest/gtest.h>

#include <chrono>
#include <functional>
#include <iostream>
#include <limits>
#include <random>
#include <sstream>
#include <stdexcept>
#include <string>

namespace {

using utils::DateTime;

constexpr std::int64_t kLowest = std::numeric_limits<std::int64_t>::min();
constexpr std::int64_t kHighest = std::numeric_limits<std::int64_t>::max();

// Collects what goes to the error stream while it lives.
class ErrorStream {
 public:
  ErrorStream() : old_(std::cerr.rdbuf(text_.rdbuf())) {}
  ~ErrorStream() { std::cerr.rdbuf(old_); }
  std::string Take() {
    std::string text = text_.str();
    text_.str("");
    return text;
  }

 private:
  std::ostringstream text_;
  std::streambuf* old_;
};

// What the exception of a call says; "" when there is none.
template <typename Exception>
std::string ErrorOf(const std::function<void()>& call) {
  try {
    call();
  } catch (const Exception& error) {
    return error.what();
  }
  return "";
}

TEST(DateTime, EveryDayOfTheCalendar) {
  // An independent count: days go by one after the other, months have the lengths of a written table.
  constexpr int kLengths[] = {31, 28, 31, 30, 31, 30, 31, 31, 30, 31, 30, 31};
  std::int64_t ticks = 0;
  int weekday = 1;  // 1 January of the year 1 is a Monday
  for (int year = 1; year <= 9999; ++year) {
    const bool isLeap = std::chrono::year(year).is_leap();
    ASSERT_EQ(DateTime::IsLeapYear(year), isLeap);
    int dayOfYear = 0;
    for (int month = 1; month <= 12; ++month) {
      const int length = kLengths[month - 1] + (month == 2 && isLeap ? 1 : 0);
      ASSERT_EQ(DateTime::DaysInMonth(year, month), length);
      for (int day = 1; day <= length; ++day) {
        const DateTime date(ticks + DateTime::kTicksPerDay - 1);
        ASSERT_EQ(date.GetYear() * 10000 + date.GetMonth() * 100 + date.GetDay(),
                  year * 10000 + month * 100 + day);
        ASSERT_EQ(date.GetDayOfYear(), ++dayOfYear);
        ASSERT_EQ(date.GetDayOfWeek(), weekday);
        ASSERT_EQ(DateTime(year, month, day).GetTicks(), ticks);
        ticks += DateTime::kTicksPerDay;
        weekday = (weekday + 1) % 7;
      }
    }
  }
  EXPECT_EQ(ticks - 1, DateTime::kMaxTicks);
}

TEST(DateTime, PartsOfTheTime) {
  const DateTime time(2024, 2, 29, 23, 58, 7, 45, 180);
  EXPECT_EQ(time.GetHour(), 23);
  EXPECT_EQ(time.GetMinute(), 58);
  EXPECT_EQ(time.GetSecond(), 7);
  EXPECT_EQ(time.GetMillisecond(), 45);
  EXPECT_EQ(time.GetUTCOffset(), 180);
  EXPECT_EQ(time.GetDate().GetTicks(), DateTime(2024, 2, 29).GetTicks());
  EXPECT_EQ(time.GetTimeOfDay(), ((23 * 60 + 58) * 60 + 7) * 10000000LL + 450000);
  EXPECT_EQ(DateTime::FromFileTime(0).GetTicks(), DateTime(1601, 1, 1).GetTicks());
  EXPECT_EQ(DateTime::FromFileTime(116444736000000000).GetTicks(), DateTime(1970, 1, 1).GetTicks());
}

TEST(DateTime, NowIsTheLocalTime) {
  const std::time_t before = std::time(nullptr);
  const DateTime now = DateTime::Now(true);
  const DateTime epoch(1970, 1, 1);
  const std::int64_t seconds =
      (now.GetTicks() - epoch.GetTicks()) / DateTime::kTicksPerSecond - now.GetUTCOffset() * 60;
  EXPECT_GE(seconds, before);
  EXPECT_LE(seconds, before + 60);
  EXPECT_EQ(DateTime::Now().GetUTCOffset(), 0);
}

TEST(DateTime, BadPartsAreHeldAtTheirLimits) {
  const struct {
    const char* why;
    int year, month, day, hour, minute, second, millisecond;
    DateTime want;
  } cases[] = {
      {"29 February of 1900", 1900, 2, 29, 0, 0, 0, 0, DateTime(1900, 2, 28)},
      {"31 April", 2001, 4, 31, 0, 0, 0, 0, DateTime(2001, 4, 30)},
      {"year 0", 0, 5, 5, 0, 0, 0, 0, DateTime(1, 5, 5)},
      {"year 10000", 10000, 1, 1, 0, 0, 0, 0, DateTime(9999, 1, 1)},
      {"month and day 0", 2001, 0, 0, 0, 0, 0, 0, DateTime(2001, 1, 1)},
      {"month 13", 2001, 13, 1, 0, 0, 0, 0, DateTime(2001, 12, 1)},
      {"hour 24", 2001, 1, 1, 24, 0, 0, 0, DateTime(2001, 1, 1, 23, 0, 0, 0)},
      {"times below 0", 2001, 1, 1, -1, -1, -1, -1, DateTime(2001, 1, 1)},
      {"minute 60, second 60, millisecond 1000", 2001, 1, 1, 0, 60, 60, 1000,
       DateTime(2001, 1, 1, 0, 59, 59, 999)},
  };
  ErrorStream errors;
  for (const auto& c : cases) {
    SCOPED_TRACE(c.why);
    const DateTime made(c.year, c.month, c.day, c.hour, c.minute, c.second, c.millisecond);
    EXPECT_EQ(made.GetTicks(), c.want.GetTicks());
    EXPECT_FALSE(DateTime::ValidDateTime(c.year, c.month, c.day, c.hour, c.minute, c.second, c.millisecond));
    std::ostringstream words;
    words << "DateTime parameters describe an unrepresentable DateTime, year " << c.year << " month "
          << c.month << ", day " << c.day << ", hour " << c.hour << ", minute " << c.minute << ", second "
          << c.second << ", millisecond " << c.millisecond << "\n";
    EXPECT_EQ(errors.Take(), words.str());
  }
  EXPECT_TRUE(DateTime::ValidDateTime(2000, 2, 29));
  EXPECT_EQ(DateTime::DaysInMonth(2000, 13), 0);
  constexpr int kMin = std::numeric_limits<int>::min();
  constexpr int kMax = std::numeric_limits<int>::max();
  EXPECT_EQ(DateTime(kMax, kMax, kMax, kMax, kMax, kMax, kMax, kMax).GetTicks(),
            DateTime(9999, 12, 31, 23, 59, 59, 999).GetTicks());
  EXPECT_EQ(DateTime(kMin, kMin, kMin, kMin, kMin, kMin, kMin, kMin).GetTicks(), 0);
  EXPECT_EQ(DateTime::AbsoluteDays(kMin, kMax, kMin), 334);
}

TEST(DateTime, BadTicksAreHeldAtTheirLimits) {
  ErrorStream errors;
  EXPECT_EQ(DateTime(-1).GetTicks(), 0);
  EXPECT_EQ(errors.Take(), "DateTime invalid ticks value -1\n");
  EXPECT_EQ(DateTime(DateTime::kMaxTicks + 1).GetTicks(), DateTime::kMaxTicks);
  EXPECT_EQ(errors.Take(), "DateTime invalid ticks value 3155378976000000000\n");
  EXPECT_EQ(DateTime(kLowest).GetTicks(), 0);
  EXPECT_EQ(DateTime(kHighest).ToString("yyyyMMdd HHmmss fffffff"), "99991231 235959 9999999");
  EXPECT_EQ(DateTime::FromFileTime(kHighest).GetTicks(), DateTime::kMaxTicks);
  EXPECT_EQ(DateTime::FromFileTime(kLowest).GetTicks(), 0);
  errors.Take();
  EXPECT_EQ(DateTime(DateTime::kMaxTicks).GetTicks(), DateTime::kMaxTicks);
  EXPECT_EQ(errors.Take(), "");
}

TEST(DateTime, AddMonthsHoldsTheDayDown) {
  const struct {
    DateTime from;
    int months;
    DateTime want;
  } cases[] = {
      {DateTime(2023, 1, 31), 1, DateTime(2023, 2, 28)},
      {DateTime(2024, 1, 31), 1, DateTime(2024, 2, 29)},
      {DateTime(2024, 3, 31), -1, DateTime(2024, 2, 29)},
      {DateTime(2024, 2, 29), 12, DateTime(2025, 2, 28)},
      {DateTime(2024, 12, 15), 1, DateTime(2025, 1, 15)},
      {DateTime(2024, 1, 15), -1, DateTime(2023, 12, 15)},
      {DateTime(2024, 5, 5), 0, DateTime(2024, 5, 5)},
      {DateTime(1, 1, 1), 9999 * 12 - 1, DateTime(9999, 12, 1)},
      {DateTime(9999, 12, 31), 1 - 9999 * 12, DateTime(1, 1, 31)},
  };
  for (const auto& c : cases)
    EXPECT_EQ(c.from.AddMonths(c.months).GetTicks(), c.want.GetTicks())
        << c.from.ToString("yyyy-MM-dd ") << c.months;
  EXPECT_EQ(DateTime(2024, 2, 29, 5, 6, 7, 8).AddYears(1).GetTicks(),
            DateTime(2025, 2, 28, 5, 6, 7, 8).GetTicks());
}

TEST(DateTime, RandomMonthsAgreeWithTheStandardCalendar) {
  using namespace std::chrono;
  std::mt19937 random(6);
  for (int step = 0; step < 20000; ++step) {
    const int y = static_cast<int>(random() % 7000) + 1500;
    const auto m = static_cast<unsigned>(random() % 12 + 1);
    const int d = static_cast<int>(random() % DateTime::DaysInMonth(y, static_cast<int>(m))) + 1;
    const int n = static_cast<int>(random() % 24001) - 12000;
    auto want = year(y) / month(m) / day(static_cast<unsigned>(d)) + months(n);
    if (!want.ok()) want = want.year() / want.month() / last;
    const DateTime got = DateTime(y, static_cast<int>(m), d).AddMonths(n);
    ASSERT_EQ(got.GetYear(), static_cast<int>(want.year()));
    ASSERT_EQ(got.GetMonth(), static_cast<int>(static_cast<unsigned>(want.month())));
    ASSERT_EQ(got.GetDay(), static_cast<int>(static_cast<unsigned>(want.day())));
  }
}

TEST(DateTime, ArithmeticKeepsOffsetAndLanguage) {
  DateTime time(2024, 12, 31, 23, 59, 59, 999, -150);
  time.SetRus(true);
  const std::pair<DateTime, const char*> cases[] = {
      {time.AddTicks(10000), "20250101 000000000"}, {time.AddMilliseconds(-999), "20241231 235959000"},
      {time.AddSeconds(1), "20250101 000000999"},   {time.AddMinutes(-60), "20241231 225959999"},
      {time.AddHours(24), "20250101 235959999"},    {time.AddDays(-366), "20231231 235959999"},
      {time.GetDate(), "20241231 000000000"},
  };
  for (const auto& [got, want] : cases) {
    EXPECT_EQ(got.ToString("yyyyMMdd HHmmssfff"), want);
    EXPECT_EQ(got.GetUTCOffset(), -150);
    EXPECT_TRUE(got.GetRus());
  }
}

TEST(DateTime, ArithmeticPastTheEndsThrows) {
  const DateTime first;
  const DateTime last(DateTime::kMaxTicks);
  const struct {
    std::function<void()> call;
    std::string want;
  } cases[] = {
      {[&] { (void)first.AddTicks(-1); }, "DateTime::AddTicks argument out of range -1"},
      {[&] { (void)last.AddTicks(kHighest); },
       "DateTime::AddTicks argument out of range 9223372036854775807"},
      {[&] { (void)first.AddTicks(kLowest); },
       "DateTime::AddTicks argument out of range -9223372036854775808"},
      {[&] { (void)first.AddMilliseconds(kHighest); },
       "DateTime::AddMilliseconds argument out of range 9223372036854775807"},
      {[&] { (void)last.AddDays(kLowest); },
       "DateTime::AddMilliseconds argument out of range -9223372036854775808"},
      {[&] { (void)last.AddMilliseconds(1); }, "DateTime::AddMilliseconds argument out of range 1"},
      {[&] { (void)last.AddHours(1); }, "DateTime::AddMilliseconds argument out of range 1"},
      {[&] { (void)first.AddMonths(-1); }, "DateTime::AddMonths argument out of range -1"},
      {[&] { (void)last.AddMonths(kHighest); },
       "DateTime::AddMonths argument out of range 9223372036854775807"},
  };
  for (const auto& c : cases) EXPECT_EQ(ErrorOf<std::out_of_range>(c.call), c.want);
  EXPECT_THROW((void)last.AddYears(kHighest), std::out_of_range);
  EXPECT_THROW((void)last.AddYears(kLowest), std::out_of_range);
  EXPECT_EQ(first.AddTicks(DateTime::kMaxTicks).GetTicks(), last.GetTicks());
}

TEST(DateTime, Comparison) {
  const DateTime a(2024, 1, 1, 0, 0, 0, 0, 60);
  const DateTime b(2024, 1, 2);
  EXPECT_EQ(DateTime::Compare(a, b), -1);
  EXPECT_EQ(b.CompareTo(a), 1);
  EXPECT_EQ(a.CompareTo(DateTime(2024, 1, 1)), 0) << "the offset is for printing only";
  EXPECT_TRUE(a.Equals(DateTime(2024, 1, 1)));
}

TEST(DateTime, FormatLetters) {
  const DateTime time = DateTime(2005, 3, 6, 8, 4, 9, 120, 210).AddTicks(3400);  // a Sunday
  const DateTime late(1999, 11, 25, 17, 30, 0, 0, -570);
  const struct {
    const char* format;
    const char* want;
    const char* wantLate;
  } cases[] = {
      {"d dd ddd dddd ddddd", "6 06 Sun Sunday Sunday", "25 25 Thu Thursday Thursday"},
      {"M MM MMM MMMM MMMMM", "3 03 Mar March March", "11 11 Nov November November"},
      {"y yy yyy yyyy yyyyy yyyyyy", "5 05 2005 2005 02005 002005", "99 99 1999 1999 01999 001999"},
      {"H HH HHH", "8 08 08", "17 17 17"},
      {"h hh hhh", "8 08 08", "5 05 05"},
      {"m mm mmm", "4 04 04", "30 30 30"},
      {"s ss sss", "9 09 09", "0 00 00"},
      {"f ff fff ffff fffff ffffff fffffff", "1 12 120 1203 12034 120340 1203400",
       "0 00 000 0000 00000 000000 0000000"},
      {"F.FF.FFF.FFFF.FFFFF.FFFFFF.FFFFFFF", "1.12.12.1203.12034.12034.12034", "......"},
      {"t tt ttt", "AM AM AM", "PM PM PM"},
      {"g gg", "C.E. C.E.", "C.E. C.E."},
      {"z zz zzz zzzz", "+3 +03 +03:30 +03:30", "-9 -09 -09:30 -09:30"},
      {"K|KK", "+03:30|+03:30+03:30", "-09:30|-09:30-09:30"},
      {"d/M//y:s", "6/3//5:9", "25/11//99:0"},
      {"'d'\"M'\"''y", "dM'5", "dM'99"},
      {"\\d\\\\\\'d", "d\\'6", "d\\'25"},
      {"%d%M%%-", "DateTime %% in date string %d%M%%-", "DateTime %% in date string %d%M%%-"},
      {"%dd%-%\"", "DateTime Un-ended quote \"", "DateTime Un-ended quote \""},
      {"%dd%-d", "66-6", "2525-25"},
      {"год: yyyy", "год: 2005", "год: 1999"},
      {"", "", ""},
      {"ddd, dd MMM yyyy HH:mm:ss zz00", "Sun, 06 Mar 2005 08:04:09 +0300",
       "Thu, 25 Nov 1999 17:30:00 -0900"},
      {"dd.MM.yyyy HH:mm:ss.fff", "06.03.2005 08:04:09.120", "25.11.1999 17:30:00.000"},
      {"yyyyMMddHHmmssfff", "20050306080409120", "19991125173000000"},
  };
  const auto format = [](const DateTime& value, const char* text) {
    std::string out = "old";
    const std::string error = ErrorOf<std::invalid_argument>([&] { value.ToString(text, &out); });
    EXPECT_EQ(out == "old", !error.empty());
    return error.empty() ? out : error;
  };
  for (const auto& c : cases) {
    EXPECT_EQ(format(time, c.format), c.want) << c.format;
    EXPECT_EQ(format(late, c.format), c.wantLate) << c.format;
  }
}

TEST(DateTime, TwelveHours) {
  const std::pair<int, const char*> cases[] = {{0, "12 AM"},  {1, "1 AM"},  {11, "11 AM"},
                                               {12, "12 PM"}, {13, "1 PM"}, {23, "11 PM"}};
  for (const auto& [hour, want] : cases) EXPECT_EQ(DateTime(2000, 1, 1, hour, 0, 0, 0).ToString("h t"), want);
}

TEST(DateTime, RussianNames) {
  DateTime time(2021, 5, 9);
  time.SetRus(true);
  const std::pair<const char*, const char*> cases[] = {
      {"dddd, d MMMM yyyy", "Воскресенье, 9 Мая 2021"},
      {"MMMM d", "Мая 9"},
      {"MMMM yyyy", "Май 2021"},
      {"dddd MMMM", "Воскресенье Май"},
      {"MMMM 'd'", "Май d"},
      {"d dddd MMMM ddd", "9 Воскресенье Май Вск"},
      {"dd.MM.yyyy", "09.05.2021"},
      {"d/M", "9.5"},
      {"ddd MMM", "Вск Май"},
  };
  for (const auto& [format, want] : cases) EXPECT_EQ(time.ToString(format), want) << format;

  std::string days;
  std::string months;
  for (int i = 0; i < 7; ++i) days += time.AddDays(i).ToString("ddd dddd ");
  for (int i = 0; i < 12; ++i) months += time.AddMonths(i - 4).ToString("MMMM ");
  EXPECT_EQ(days, "Вск Воскресенье Пн Понедельник Вт Вторник Ср Среда Чт Четверг Пт Пятница Сб Суббота ");
  EXPECT_EQ(months, "Январь Февраль Март Апрель Май Июнь Июль Август Сентябрь Октябрь Ноябрь Декабрь ");
  time.SetRus(false);
  EXPECT_EQ(time.ToString("dddd, d MMMM"), "Sunday, 9 May");
}

TEST(DateTime, FormatsThatCannotBeRead) {
  const std::pair<const char*, const char*> cases[] = {
      {"ffffffff", "DateTime Invalid Format String ffffffff"},
      {"yyyy FFFFFFFFF", "DateTime Invalid Format String yyyy FFFFFFFFF"},
      {"dd%", "DateTime % at end of date time string dd%"},
      {"%", "DateTime % at end of date time string %"},
      {"%%", "DateTime %% in date string %%"},
      {"d\\", "DateTime \\ at end of date time string d\\"},
      {"'abc", "DateTime Un-ended quote 'abc"},
      {"d\"x'", "DateTime Un-ended quote d\"x'"},
      {"%'", "DateTime Un-ended quote '"},
  };
  for (const auto& [format, want] : cases)
    EXPECT_EQ(ErrorOf<std::invalid_argument>([&] { (void)DateTime().ToString(format); }), want) << format;
}

TEST(DateTime, AnyFormatAndAnyTicksAreSafe) {
  std::mt19937_64 random(12);
  ErrorStream errors;
  constexpr std::string_view kBytes("dMyHhmsfFtgzK\"'\\%/: .x\0\xD0", 25);
  for (int step = 0; step < 20000; ++step) {
    std::string format(random() % 12, ' ');
    for (char& c : format) c = kBytes[random() % kBytes.size()];
    DateTime time(static_cast<std::int64_t>(random()));
    time.SetRus(step % 2 == 0);
    (void)ErrorOf<std::invalid_argument>([&] { (void)time.ToString(format); });
  }
  // Long formats take time in proportion: a month name looks for its day in one walk.
  std::string months;
  for (int i = 0; i < 100000; ++i) months += "MMMM ";
  EXPECT_EQ(DateTime().ToString(months).size(), 800000u);
}

}  // namespace
