#include "utils/date_format.h"

#include <algorithm>
#include <array>
#include <cstdlib>
#include <stdexcept>
#include <vector>

namespace utils {

namespace {

struct Names {
  std::array<std::string_view, 7> days, shortDays;
  std::array<std::string_view, 12> months, genitiveMonths, shortMonths;
};

constexpr Names kEnglish = {
    {"Sunday", "Monday", "Tuesday", "Wednesday", "Thursday", "Friday", "Saturday"},
    {"Sun", "Mon", "Tue", "Wed", "Thu", "Fri", "Sat"},
    {"January", "February", "March", "April", "May", "June", "July", "August", "September", "October",
     "November", "December"},
    {"January", "February", "March", "April", "May", "June", "July", "August", "September", "October",
     "November", "December"},
    {"Jan", "Feb", "Mar", "Apr", "May", "Jun", "Jul", "Aug", "Sep", "Oct", "Nov", "Dec"},
};

constexpr Names kRussian = {
    {"Воскресенье", "Понедельник", "Вторник", "Среда", "Четверг", "Пятница", "Суббота"},
    {"Вск", "Пн", "Вт", "Ср", "Чт", "Пт", "Сб"},
    {"Январь", "Февраль", "Март", "Апрель", "Май", "Июнь", "Июль", "Август", "Сентябрь", "Октябрь", "Ноябрь",
     "Декабрь"},
    {"Января", "Февраля", "Марта", "Апреля", "Мая", "Июня", "Июля", "Августа", "Сентября", "Октября",
     "Ноября", "Декабря"},
    {"Янв", "Фев", "Мар", "Апр", "Май", "Июн", "Июл", "Авг", "Сен", "Окт", "Ноя", "Дек"},
};

constexpr std::size_t kTickDigits = 7;

// One token of a format: a run of one letter, or text to copy.
struct Token {
  char letter = 0;        // 0 for text
  std::size_t count = 0;  // length of the run
  std::string_view text;
};

[[noreturn]] void ThrowFormat(const char* words, std::string_view format) {
  throw std::invalid_argument(words + std::string(format));
}

std::size_t CountRepeat(std::string_view format, std::size_t at) {
  const std::size_t end = format.find_first_not_of(format[at], at);
  return std::min(end, format.size()) - at;
}

// The text between the quote at `at` and the next one of its kind.
std::string_view ParseQuotedString(std::string_view format, std::size_t at) {
  const std::size_t end = format.find(format[at], at + 1);
  if (end == std::string_view::npos) ThrowFormat("DateTime Un-ended quote ", format);
  return format.substr(at + 1, end - at - 1);
}

// Takes the format apart. Each step appends one token and gives the bytes it used.
class Tokenizer {
 public:
  explicit Tokenizer(std::string_view format) : format_(format) {}

  std::vector<Token> Run() {
    for (std::size_t at = 0; at < format_.size();) at += Next(at);
    return std::move(tokens_);
  }

 private:
  std::size_t Next(std::size_t at) {
    switch (const char c = format_[at]) {
      case '"':
      case '\'': {
        const std::string_view quoted = ParseQuotedString(format_, at);
        tokens_.push_back({0, 0, quoted});
        return quoted.size() + 2;
      }
      case '\\':
        if (at + 1 == format_.size()) ThrowFormat("DateTime \\ at end of date time string ", format_);
        tokens_.push_back({0, 0, format_.substr(at + 1, 1)});
        return 2;
      case '%':
        return NextSingle(at);
      default:
        return NextRun(c, at, CountRepeat(format_, at));
    }
  }

  // The character behind a "%" is a whole format of one letter.
  std::size_t NextSingle(std::size_t at) {
    if (at + 1 == format_.size()) ThrowFormat("DateTime % at end of date time string ", format_);
    if (format_[at + 1] == '%') ThrowFormat("DateTime %% in date string ", format_);
    for (const Token& token : Tokenizer(format_.substr(at + 1, 1)).Run()) tokens_.push_back(token);
    return 2;
  }

  std::size_t NextRun(char c, std::size_t at, std::size_t count) {
    constexpr std::string_view kLetters = "dMyHhmsfFtgz";
    constexpr std::string_view kSingles = "K/:";
    const bool isFraction = c == 'f' || c == 'F';
    if (isFraction && count > kTickDigits) ThrowFormat("DateTime Invalid Format String ", format_);
    if (kSingles.find(c) != std::string_view::npos) {
      tokens_.insert(tokens_.end(), count, Token{c, 1, {}});
    } else if (kLetters.find(c) != std::string_view::npos) {
      tokens_.push_back({c, count, {}});
    } else {
      tokens_.push_back({0, 0, format_.substr(at, count)});
    }
    return count;
  }

  std::string_view format_;
  std::vector<Token> tokens_;
};

class Printer {
 public:
  explicit Printer(const DateParts& parts) : parts_(parts), names_(parts.isRussian ? kRussian : kEnglish) {}

  std::string Run(const std::vector<Token>& tokens) {
    const std::vector<bool> genitive = MarkGenitive(tokens);
    for (std::size_t i = 0; i < tokens.size(); ++i) Print(tokens[i], genitive[i]);
    return std::move(out_);
  }

 private:
  // For each token whether the nearest run of "d" before or behind it is a day number: "5 января", but
  // "январь".
  static std::vector<bool> MarkGenitive(const std::vector<Token>& tokens) {
    std::vector<bool> genitive(tokens.size(), false);
    const auto walk = [&](auto first, auto last) {
      bool isNearDay = false;
      for (auto token = first; token != last; ++token) {
        if (token->letter == 'd') isNearDay = token->count <= 2;
        if (isNearDay) genitive[&*token - tokens.data()] = true;
      }
    };
    walk(tokens.begin(), tokens.end());
    walk(tokens.rbegin(), tokens.rend());
    return genitive;
  }

  void Print(const Token& token, bool isGenitive) {
    const std::size_t n = token.count;
    switch (token.letter) {
      case 'd':
        return PrintDay(n);
      case 'M':
        return PrintMonth(n, isGenitive);
      case 'y':
        return n <= 2 ? ZeroPad(parts_.year % 100, n) : ZeroPad(parts_.year, n);
      case 'H':
        return ZeroPad(parts_.hour, std::min<std::size_t>(n, 2));
      case 'h':
        return ZeroPad((parts_.hour + 11) % 12 + 1, std::min<std::size_t>(n, 2));
      case 'm':
        return ZeroPad(parts_.minute, std::min<std::size_t>(n, 2));
      case 's':
        return ZeroPad(parts_.second, std::min<std::size_t>(n, 2));
      case 'f':
        return Append(Fraction(n));
      case 'F':
        return PrintShortFraction(n);
      case 't':
        return Append(parts_.hour < 12 ? "AM" : "PM");
      case 'g':
        return Append("C.E.");
      case 'z':
        return PrintOffset(std::min<std::size_t>(n, 2), n > 2);
      case 'K':
        return PrintOffset(2, true);
      case '/':
        return Append(parts_.isRussian ? "." : "/");
      case ':':
        return Append(":");
      default:
        return Append(token.text);
    }
  }

  void Append(std::string_view text) { out_ += text; }

  void ZeroPad(int value, std::size_t width) {
    const std::string digits = std::to_string(value);
    out_.append(width - std::min(width, digits.size()), '0').append(digits);
  }

  void PrintDay(std::size_t n) {
    if (n <= 2) return ZeroPad(parts_.day, n);
    Append((n == 3 ? names_.shortDays : names_.days)[parts_.dayOfWeek]);
  }

  void PrintMonth(std::size_t n, bool isGenitive) {
    if (n <= 2) return ZeroPad(parts_.month, n);
    const auto& fullNames = isGenitive ? names_.genitiveMonths : names_.months;
    Append((n == 3 ? names_.shortMonths : fullNames)[parts_.month - 1]);
  }

  std::string Fraction(std::size_t digits) const {
    const std::string all = std::to_string(parts_.fractionTicks);
    return (std::string(kTickDigits - all.size(), '0') + all).substr(0, digits);
  }

  void PrintShortFraction(std::size_t n) {
    const std::string digits = Fraction(n);
    Append(std::string_view(digits).substr(0, digits.find_last_not_of('0') + 1));
  }

  void PrintOffset(std::size_t hourWidth, bool withMinutes) {
    const int minutes = std::abs(parts_.offsetMinutes);
    Append(parts_.offsetMinutes < 0 ? "-" : "+");
    ZeroPad(minutes / 60, hourWidth);
    if (!withMinutes) return;
    Append(":");
    ZeroPad(minutes % 60, 2);
  }

  const DateParts& parts_;
  const Names& names_;
  std::string out_;
};

}  // namespace

std::string FormatDate(const DateParts& parts, std::string_view format) {
  return Printer(parts).Run(Tokenizer(format).Run());
}

}  // namespace utils
