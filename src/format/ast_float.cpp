#include <algorithm>
#include <cmath>
#include <cstdio>
#include <limits>

#include "format/ast_string_functions.h"
#include "format/extended_number_cast.h"
#include "format/node_support.h"

// F: numbers as text.

namespace xpft::ast {

namespace {

constexpr int kNotGiven = -1;
constexpr int kWidest = 10000;     // columns or decimals; keeps a wild number from filling the memory
constexpr int kWidestNarrow = 48;  // columns of the narrow form
constexpr int kMostDecimals = 51;  // of the narrow form
constexpr int kCutDecimals = 45;   // what more decimals become

/// "NAN", "INF" or "-INF"; null for a finite value.
const char* WordFor(long double value) {
  if (std::isnan(value)) return "NAN";
  if (!std::isinf(value)) return nullptr;
  return value > 0 ? "INF" : "-INF";
}

/// `form` takes a width, a precision and the value.
std::string Formatted(const char* form, int width, int precision, long double value) {
  const int size = std::snprintf(nullptr, 0, form, width, precision, value);
  std::string text(static_cast<std::size_t>(std::max(size, 0)) + 1, '\0');
  std::snprintf(text.data(), text.size(), form, width, precision, value);
  text.pop_back();
  return text;
}

int Parameter(IPftContext* ctx, const INumeric* number) {
  return number ? std::clamp(ToInt32(number->GetNumVal(ctx)), 0, kWidest) : kNotGiven;
}

bool IsRoundedWhole(long double value) {
  return std::fabs(value - 1) < static_cast<long double>(std::numeric_limits<int>::max());
}

}  // namespace

std::string FormatExtended(long double value, int width, int decimals) {
  constexpr int kDefaultWidth = 23;
  constexpr int kDefaultPrecision = 15;
  constexpr int kPrecision = 6;
  if (const char* word = WordFor(value)) return word;
  if (value == 0) return {};
  if (width < 0) return Formatted("%*.*Le", kDefaultWidth, kDefaultPrecision, value);
  width = std::min(width, kWidest);
  if (decimals < 0) return Formatted("%*.*Le", width, kPrecision, value);
  if (decimals == 0 && IsRoundedWhole(value)) value = AbstractNumeric::RoundHalfToEven(value);
  return Formatted("%*.*Lf", width, std::min(decimals, kWidest), value);
}

void fmt_float_numb(long double value, int width, int decimals, char fill, std::string& out) {
  constexpr int kDefaultWidth = 16;
  constexpr int kDefaultPrecision = 10;
  constexpr int kFrame = 6;  // what a sign, a point and an exponent take
  const auto narrow = static_cast<long double>(static_cast<float>(value));
  width = std::min(width, kWidestNarrow);
  if (width < 0) {
    out = Formatted("%*.*LE", kDefaultWidth, kDefaultPrecision, narrow);
  } else if (decimals < 0) {
    out = Formatted("% *.*LE", width, std::max(width - kFrame, 0), narrow);
  } else {
    out = Formatted("%*.*Lf", width, decimals > kMostDecimals ? kCutDecimals : decimals, narrow);
  }
  const std::size_t blanks = std::min(out.find_first_not_of(' '), out.size());
  std::fill_n(out.begin(), blanks, fill);
}

void SfncF::Print(IPrintContext* out) const {
  out->Print(notPlus_ ? "f(" : "f(+");
  PrintChild(out, value_.get());
  for (const INumeric* parameter : {width_.get(), decimals_.get()}) {
    if (parameter == nullptr) break;
    out->Print(",");
    parameter->Print(out);
  }
  out->Print(")");
}

void SfncF::GetFieldTags(IPftContext* ctx, std::vector<int>& tags) const {
  AddTags(ctx, tags, value_.get(), width_.get(), decimals_.get());
}

void SfncF::DoCmd(IPftContext* ctx) const {
  if (!value_) return;
  const long double value = value_->GetNumVal(ctx);
  const int width = Parameter(ctx, width_.get());
  const int decimals = Parameter(ctx, decimals_.get());
  if (const char* word = WordFor(value)) {
    ctx->Print(word);
  } else if (!notPlus_) {
    ScratchText text(ctx);
    fmt_float_numb(value, width, decimals, ' ', *text);
    ctx->Print(*text);
  } else {
    if (width >= 0 && decimals == 0 && !IsRoundedWhole(value))
      LogError(ctx, place_, "value overflow: " + Formatted("%*.*Lf", 0, 6, value), 0);
    ctx->Print(FormatExtended(value, width, decimals));
  }
}

}  // namespace xpft::ast
