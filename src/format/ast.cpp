#include "format/ast.h"

#include <cmath>

#include "format/ast_core.h"
#include "format/extended_number.h"
#include "format/pft_context.h"
#include "utils/log_util.h"

namespace xpft::ast {

namespace {

constexpr std::size_t kLongestNumber = 50;         // characters
constexpr std::size_t kLongestErrorText = 64'000;  // bytes; reports that stop nothing are not added above it

bool IsDigit(char c) {
  return c >= '0' && c <= '9';
}
bool IsSign(char c) {
  return c == '+' || c == '-';
}
bool IsDigitAt(std::string_view text, std::size_t i) {
  return i < text.size() && IsDigit(text[i]);
}

/// Length of "e", a sign perhaps, and digits at `i`; 0 when the three do not stand there.
std::size_t ExponentLength(std::string_view text, std::size_t i) {
  if (i >= text.size() || (text[i] != 'e' && text[i] != 'E')) return 0;
  std::size_t end = i + 1;
  if (end < text.size() && IsSign(text[end])) ++end;
  if (!IsDigitAt(text, end)) return 0;
  while (IsDigitAt(text, end)) ++end;
  return end - i;
}

/// Directs the output into a text, in lower and upper case as it comes, for the life of the object.
class Capture {
 public:
  Capture(IPftContext* ctx, std::string& out) : ctx_(ctx) {
    ctx_->PushState(&out);
    ctx_->Start();
    upper_ = ctx_->GetIsUpperCase();
    ctx_->SetIsUpperCase(false);
  }
  ~Capture() {
    ctx_->ResetBuffer();
    ctx_->SetIsUpperCase(upper_);
    ctx_->PopState();
  }
  Capture(const Capture&) = delete;
  Capture& operator=(const Capture&) = delete;

 private:
  IPftContext* ctx_;
  bool upper_;
};

}  // namespace

void PftExpr::GetFieldTags(IPftContext*, std::vector<int>&) const {}

void PftExpr::LogError(IPftContext* ctx, const std::string& source, const std::string& message, int line,
                       int column, int code) {
  std::string text = source.empty() ? "" : source + ": ";
  text += ctx->GetDbName() + ":" + std::to_string(ctx->GetMfn()) + " " + message;
  if (line > 0) text += " at line " + std::to_string(line) + ", column " + std::to_string(column);
  if (code != 0) ctx->SetErrorCode(code);
  const std::string& earlier = ctx->GetErrorText();
  if (code != 0 || earlier.size() < kLongestErrorText)
    ctx->SetErrorText(earlier.empty() ? text : earlier + "\r\n" + text);
  if (!ctx->GetNoErrorLog()) utils::LogUtil::XpftErrorLog(text);
}

void PftExpr::LogError(IPftContext* ctx, const SourcePlace& place, const std::string& message, int code) {
  LogError(ctx, place.source ? *place.source : std::string(), message, place.line, place.column, code);
}

void ICommand::GetArguments(IPftContext* ctx, const CommandList* list, std::string& out) {
  if (list == nullptr) {
    out.clear();
    return;
  }
  if (list->GetList().size() == 1)
    if (const auto* literal = dynamic_cast<const UncondLiter*>(list->GetList().front().get())) {
      out = literal->GetText();
      return;
    }
  const Capture capture(ctx, out);
  list->DoCmd(ctx);
}

void IStringCommand::GetStrVal(IPftContext* ctx, std::string& out) const {
  const Capture capture(ctx, out);
  DoCmd(ctx);
}

void AbstractNumeric::GetNumVals(IPftContext* ctx, std::vector<long double>& values) const {
  values.push_back(GetNumVal(ctx));
}

bool AbstractNumeric::FindNumericString(std::string_view text, std::size_t& position, std::string_view& out) {
  std::size_t begin = position;
  while (begin < text.size() && !IsDigit(text[begin]) && !(IsSign(text[begin]) && IsDigitAt(text, begin + 1)))
    ++begin;
  std::size_t end = begin;
  if (end < text.size() && IsSign(text[end])) ++end;
  while (end < text.size() && (IsDigit(text[end]) || text[end] == '.')) ++end;
  if (end > begin) end += ExponentLength(text, end);
  position = end;
  out = text.substr(begin, end - begin);
  if (out.empty()) return false;
  if (out.size() > kLongestNumber) out = {};
  return true;
}

bool AbstractNumeric::ParseNumericString(std::string_view text, long double& value) {
  if (ParseExtended(text, value)) return true;
  value = 0;
  return false;
}

long double AbstractNumeric::RoundHalfToEven(long double value) {
  const long double below = std::floor(value);
  const long double fraction = value - below;
  if (fraction < 0.5L) return below;
  if (fraction > 0.5L) return below + 1;
  return std::fmod(below, 2.0L) == 0 ? below : below + 1;
}

bool AbstractNumeric::IsNaN(long double value) {
  return std::isnan(value);
}

}  // namespace xpft::ast
