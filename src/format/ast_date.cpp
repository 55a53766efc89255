#include <algorithm>
#include <cstdio>
#include <ctime>
#include <stdexcept>

#include "format/ast_string_functions.h"
#include "format/extended_number_cast.h"
#include "format/node_support.h"
#include "utils/date_time.h"

namespace xpft::ast {

namespace {

constexpr std::time_t kFirstMoment = 86400;
constexpr std::time_t kLastMoment = 2147408047;

std::tm LocalTime(long double ticks) {
  std::time_t moment = 0;
  if (ticks < 0) {
    moment = std::time(nullptr);
  } else {
    moment = std::clamp<std::time_t>(ToInt64(ticks), kFirstMoment, kLastMoment);
  }
  std::tm local{};
  localtime_r(&moment, &local);
  return local;
}

/// The time in a format of utils::DateTime.
void PrintNow(IPftContext* ctx, const std::string& format) {
  const utils::DateTime now = utils::DateTime::Now();
  if (format == "ticks") {
    ctx->Print(std::to_string(now.GetTicks()));
    return;
  }
  ScratchText text(ctx);
  try {
    now.ToString(format, &*text);
  } catch (const std::invalid_argument&) {
    return;
  }
  ctx->Print(*text);
}

}  // namespace

void fmt_get_date(int kind, long double ticks, std::string& out) {
  const std::tm t = LocalTime(ticks);
  const int month = t.tm_mon + 1;
  const int shortYear = t.tm_year % 100;
  char text[128] = "";
  switch (kind) {
    case 1:
      std::snprintf(text, sizeof text, "%02d-%02d-%02d  %02d:%02d:%02d", month, t.tm_mday, shortYear,
                    t.tm_hour, t.tm_min, t.tm_sec);
      break;
    case 2:
      std::snprintf(text, sizeof text, "%02d-%02d-%02d", month, t.tm_mday, shortYear);
      break;
    case 3:
      std::snprintf(text, sizeof text, "%02d:%02d:%02d", t.tm_hour, t.tm_min, t.tm_sec);
      break;
    case SfncDate::kDateOnly:
      std::snprintf(text, sizeof text, "%02d/%02d/%02d", t.tm_mday, month, shortYear);
      break;
    case SfncDate::kDateTime:
      std::snprintf(text, sizeof text, "%02d/%02d/%02d %02d:%02d:%02d", t.tm_mday, month, shortYear,
                    t.tm_hour, t.tm_min, t.tm_sec);
      break;
    default:
      std::snprintf(text, sizeof text, "%04d%02d%02d %02d%02d%02d %1d %3d", t.tm_year + 1900, month,
                    t.tm_mday, t.tm_hour, t.tm_min, t.tm_sec, t.tm_wday, t.tm_yday + 1);
      break;
  }
  out = text;
}

void SfncDate::Print(IPrintContext* out) const {
  out->Print("date");
  const char* word = kind_.value == kDateTime ? "datetime" : kind_.value == kDateOnly ? "dateonly" : nullptr;
  if (!format_ && !kind_.expr && !word) return;
  out->Print("(");
  if (format_ || kind_.expr) {
    PrintChild(out, format_.get());
    PrintChild(out, kind_.expr.get());
  } else {
    out->Print(word);
  }
  out->Print(")");
}

void SfncDate::GetFieldTags(IPftContext* ctx, std::vector<int>& tags) const {
  AddTags(ctx, tags, kind_.expr.get(), format_.get());
}

void SfncDate::DoCmd(IPftContext* ctx) const {
  ScratchText text(ctx);
  if (format_) {
    GetArguments(ctx, format_.get(), *text);
    PrintNow(ctx, *text);
    return;
  }
  fmt_get_date(kind_.Evaluate(ctx), -1, *text);
  ctx->Print(*text);
}

void SfncDateX::Print(IPrintContext* out) const {
  out->Print("datex(");
  PrintChild(out, kind().expr.get());
  out->Print(")");
}

void SfncDateX::DoCmd(IPftContext* ctx) const {
  ScratchText text(ctx);
  fmt_get_date(kPlain, kind().expr ? kind().expr->GetNumVal(ctx) : -1, *text);
  ctx->Print(*text);
}

}  // namespace xpft::ast
