#include <algorithm>
#include <climits>
#include <cmath>
#include <numbers>
#include <numeric>
#include <random>

#include "format/ast_numeric_functions.h"
#include "format/extended_number_cast.h"
#include "format/node_support.h"
#include "utils/string_utils.h"

// MATH. The functions sit in one table, a row each; a row is run only with a number of arguments that it
// takes.

namespace xpft::ast {

namespace {

using Arguments = std::vector<long double>;

/// One call: the arguments, and the message of an error.
struct Call {
  const Arguments& arguments;
  std::string& message;

  [[nodiscard]] long double operator[](std::size_t i) const { return arguments[i]; }
  [[nodiscard]] std::size_t size() const { return arguments.size(); }
};

constexpr int kNoLimit = INT_MAX;

template <long double (*function)(long double)>
long double One(Call& call) {
  return function(call[0]);
}

template <long double (*function)(long double, long double)>
long double Two(Call& call) {
  return function(call[0], call[1]);
}

// ---- constants, signs, whole numbers ----

long double E(Call&) {
  return std::numbers::e_v<long double>;
}
long double Pi(Call&) {
  return std::numbers::pi_v<long double>;
}

long double Sign(Call& call) {
  if (std::isnan(call[0])) call.message = "arithmetic operation with NAN";
  return static_cast<long double>((call[0] > 0) - (call[0] < 0));
}

// Whole numbers go through double precision: a value that double holds as a whole number is one.
long double Ceil(Call& call) {
  return std::ceil(static_cast<double>(call[0]));
}
long double Floor(Call& call) {
  return std::floor(static_cast<double>(call[0]));
}
long double Fmod(Call& call) {
  return std::fmod(static_cast<double>(call[0]), static_cast<double>(call[1]));
}

long double Isinf(Call& call) {
  return std::isinf(call[0]) ? 1 : 0;
}
long double Isnan(Call& call) {
  return std::isnan(call[0]) ? 1 : 0;
}

long double Div(Call& call) {
  return call[1] == 0 ? Sign(call) : std::trunc(call[0] / call[1]);
}
long double Fdiv(Call& call) {
  return call[0] / call[1];
}

/// The rest of the whole numbers; 0 where the divisor has no whole part.
long double Mod(Call& call) {
  const std::int64_t dividend = ToInt64(call[0]);
  const std::int64_t divisor = ToInt64(call[1]);
  const bool dividesAll = divisor == 0 || divisor == -1;  // -1 with the least number would overflow
  return dividesAll ? 0 : static_cast<long double>(dividend % divisor);
}

// ---- bits ----

long double And(Call& call) {
  return static_cast<long double>(ToInt64(call[0]) & ToInt64(call[1]));
}
long double Or(Call& call) {
  return static_cast<long double>(ToInt64(call[0]) | ToInt64(call[1]));
}
long double Xor(Call& call) {
  return static_cast<long double>(ToInt64(call[0]) ^ ToInt64(call[1]));
}
long double Not(Call& call) {
  return static_cast<long double>(~ToInt64(call[0]));
}

bool IsShift(std::int64_t count) {
  return count >= 0 && count < 64;
}
long double Shl(Call& call) {
  const std::int64_t count = ToInt64(call[1]);
  return IsShift(count) ? static_cast<long double>(ToInt64(call[0]) << count) : 0;
}
long double Shr(Call& call) {
  const std::int64_t count = ToInt64(call[1]);
  return IsShift(count) ? static_cast<long double>(ToInt64(call[0]) >> count) : 0;
}

// ---- rounding and chance ----

long double RoundHalfFromZero(long double value) {
  long double whole = 0;
  const long double fraction = std::modf(value, &whole);
  return std::fabs(fraction) < 0.5L ? whole : whole + std::copysign(1.0L, value);
}

/// ROUND(x, digits, mode): mode 1 takes a half away from zero, any other to the even neighbour.
long double Round(Call& call) {
  constexpr long double kAllDigitsWhole = 1e16L;  // from here on there is nothing behind the point to round
  const int digits = call.size() > 1 ? ToInt32(call[1]) : 0;
  if (digits < 0 || digits > 15) {
    call.message = "incorrect number of round digits: " + std::to_string(digits);
    return call[0];
  }
  if (!(std::fabs(call[0]) < kAllDigitsWhole)) return call[0];
  const long double scale = std::pow(10.0L, static_cast<long double>(digits));
  const long double scaled = call[0] * scale;
  const bool fromZero = call.size() > 2 && call[2] == 1;
  return (fromZero ? RoundHalfFromZero(scaled) : AbstractNumeric::RoundHalfToEven(scaled)) / scale;
}

long double Random(Call& call) {
  std::random_device device("default");
  std::mt19937 generator(device());
  const auto high = static_cast<long double>(generator());
  const auto low = static_cast<long double>(generator());
  const long double u = (high * 0x1p32L + low) * 0x1p-64L;  // exact, so below 1
  return call[0] + u * (call[1] - call[0]);
}

// ---- any number of arguments ----

long double Avg(Call& call) {
  if (call.size() == 0) return 0;
  return std::accumulate(call.arguments.begin(), call.arguments.end(), 0.0L) /
         static_cast<long double>(call.size());
}
long double Max(Call& call) {
  return call.size() == 0 ? 0 : *std::max_element(call.arguments.begin(), call.arguments.end());
}
long double Min(Call& call) {
  return call.size() == 0 ? 0 : *std::min_element(call.arguments.begin(), call.arguments.end());
}

struct Function {
  std::string_view name;
  int least;  // arguments
  int most;
  long double (*run)(Call& call);
};

constexpr Function kFunctions[] = {
    {"ABS", 1, 1, One<std::fabs>},
    {"ACOS", 1, 1, One<std::acos>},
    {"AND", 2, 2, And},
    {"ASIN", 1, 1, One<std::asin>},
    {"ATAN", 1, 1, One<std::atan>},
    {"ATAN2", 2, 2, Two<std::atan2>},
    {"AVG", 0, kNoLimit, Avg},
    {"CEIL", 1, 1, Ceil},
    {"COS", 1, 1, One<std::cos>},
    {"COSH", 1, 1, One<std::cosh>},
    {"DIV", 2, 2, Div},
    {"E", 0, 0, E},
    {"EXP", 1, 1, One<std::exp>},
    {"FDIV", 2, 2, Fdiv},
    {"FLOOR", 1, 1, Floor},
    {"FMOD", 2, 2, Fmod},
    {"ISINF", 1, 1, Isinf},
    {"ISNAN", 1, 1, Isnan},
    {"LOG", 1, 1, One<std::log>},
    {"LOG10", 1, 1, One<std::log10>},
    {"MAX", 0, kNoLimit, Max},
    {"MIN", 0, kNoLimit, Min},
    {"MOD", 2, 2, Mod},
    {"NOT", 1, 1, Not},
    {"OR", 2, 2, Or},
    {"PI", 0, 0, Pi},
    {"POW", 2, 2, Two<std::pow>},
    {"RANDOM", 2, 2, Random},
    {"ROUND", 1, 3, Round},
    {"SHL", 2, 2, Shl},
    {"SHR", 2, 2, Shr},
    {"SIGN", 1, 1, Sign},
    {"SIN", 1, 1, One<std::sin>},
    {"SINH", 1, 1, One<std::sinh>},
    {"SQRT", 1, 1, One<std::sqrt>},
    {"TAN", 1, 1, One<std::tan>},
    {"TANH", 1, 1, One<std::tanh>},
    {"TRUNC", 1, 1, One<std::trunc>},
    {"XOR", 2, 2, Xor},
};
static_assert(std::ranges::adjacent_find(kFunctions, std::ranges::greater_equal{}, &Function::name) ==
                  std::ranges::end(kFunctions),
              "rows ascend, no name stands twice");

const Function* FindFunction(std::string_view name) {
  const Function* row = std::ranges::lower_bound(kFunctions, name, {}, &Function::name);
  return row != std::ranges::end(kFunctions) && row->name == name ? row : nullptr;
}

}  // namespace

long double EvaluateMath(std::string_view name, const std::vector<long double>& arguments,
                         std::string& message) {
  const Function* function = FindFunction(name);
  if (function == nullptr) {
    message = "unknown function " + std::string(name);
    return 0;
  }
  const int count = static_cast<int>(arguments.size());
  if (count < function->least || count > function->most) {
    message = "incorrect number of arguments for function " + std::string(name) + ": have " +
              std::to_string(count) + ", expected " +
              std::to_string(std::clamp(count, function->least, function->most));
    return 0;
  }
  Call call{arguments, message};
  return function->run(call);
}

void NfncMath::Print(IPrintContext* out) const {
  out->Print("math");
  function_.PrintArrow(out);
  out->Print("(");
  function_.PrintBracket(out);
  for (std::size_t i = 0; i < arguments_.size(); ++i) {
    if (i > 0) out->Print(",");
    arguments_[i]->Print(out);
  }
  out->Print(")");
}

void NfncMath::GetFieldTags(IPftContext* ctx, std::vector<int>& tags) const {
  AddTags(ctx, tags, function_.expr.get());
  for (const Owned<INumeric>& argument : arguments_) AddTags(ctx, tags, argument.get());
}

long double NfncMath::GetNumVal(IPftContext* ctx) const {
  ScratchText name(ctx);
  utils::StringUtils::ToUpper(function_.Evaluate(ctx), *name);
  std::vector<long double> values;
  values.reserve(arguments_.size());
  for (const Owned<INumeric>& argument : arguments_) argument->GetNumVals(ctx, values);

  std::string message;
  const long double result = EvaluateMath(*name, values, message);
  if (!message.empty()) LogError(ctx, place_, message, 500);
  return result;
}

}  // namespace xpft::ast
