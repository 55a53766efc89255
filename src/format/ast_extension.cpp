#include "format/ast_extension.h"

#include <algorithm>

#include "format/field_update_parser.h"
#include "format/node_support.h"
#include "format/xpft_formatter.h"
#include "utils/log_util.h"
#include "utils/string_utils.h"

// Included formats, external functions, the shell, the trace and PROC. Assignments are in ast_assign.cpp.

namespace xpft::ast {

namespace {

constexpr int kUnknownFormat = 2;
constexpr int kStopped = 999;  // a function that ends the run on purpose

int CodeOr(IPftContext* ctx, int code) {
  return ctx->GetErrorCode() != 0 ? ctx->GetErrorCode() : code;
}

}  // namespace

// ---- ExtFmt ----

void ExtFmt::Print(IPrintContext* out) const {
  const std::string_view name = std::string_view(name_).substr(std::min<std::size_t>(name_.size(), 1));
  const bool isWord = std::ranges::all_of(name, [](char c) {
    return (c >= '0' && c <= '9') || (c >= 'a' && c <= 'z') || (c >= 'A' && c <= 'Z') ||
           std::string_view("$-_!").find(c) != std::string_view::npos;
  });
  // A name of other characters stands between the bytes 28 and 29.
  out->Print(isWord ? name_ : '\x1C' + std::string(name) + '\x1D');
  if (!hasArgs_) return;
  out->Print("(");
  for (std::size_t i = 0; i < args_.size(); ++i) {
    if (i > 0) out->Print(";");
    PrintChild(out, args_[i].get());
  }
  out->Print(")");
}

namespace {

/// The included formats whose fields are being collected. Each is looked into once, so that formats that
/// include one another come to an end.
class IncludeWalk {
 public:
  explicit IncludeWalk(const std::string& name) {
    isOutermost_ = depth_++ == 0;
    isNew_ = std::ranges::find(names_, name) == names_.end();
    if (isNew_) names_.push_back(name);
  }
  ~IncludeWalk() {
    --depth_;
    if (isOutermost_) names_.clear();
  }
  IncludeWalk(const IncludeWalk&) = delete;
  IncludeWalk& operator=(const IncludeWalk&) = delete;

  [[nodiscard]] bool IsNew() const { return isNew_; }
  [[nodiscard]] static bool IsTooDeep() { return depth_ > kDeepest; }

 private:
  static constexpr int kDeepest = 50;
  static thread_local int depth_;
  static thread_local std::vector<std::string> names_;
  bool isOutermost_;
  bool isNew_;
};

thread_local int IncludeWalk::depth_ = 0;
thread_local std::vector<std::string> IncludeWalk::names_;

/// A compiled format, without a trace in the errors of the run; null when it does not compile.
std::shared_ptr<XpftFormatter> FindQuietly(IPftContext* ctx, const std::string& name) {
  const int code = ctx->GetErrorCode();
  const std::string text = ctx->GetErrorText();
  std::shared_ptr<XpftFormatter> formatter = ctx->GetPrintFormat(name, true);
  ctx->SetErrorCode(code);
  ctx->SetErrorText(text);
  return formatter;
}

}  // namespace

void ExtFmt::GetFieldTags(IPftContext* ctx, std::vector<int>& tags) const {
  for (const Owned<CommandList>& list : args_) AddTags(ctx, tags, list.get());
  const IncludeWalk walk(name_);
  if (!walk.IsNew()) return;
  const bool isKnown = ctx != nullptr && !IncludeWalk::IsTooDeep();
  const std::shared_ptr<XpftFormatter> formatter = isKnown ? FindQuietly(ctx, name_) : nullptr;
  // A file that is not there today may be there tomorrow, and read any field.
  if (formatter && !formatter->GetFullPath().empty()) {
    formatter->GetCmdList()->GetFieldTags(ctx, tags);
  } else {
    tags.push_back(0);
  }
}

void ExtFmt::DoCmd(IPftContext* ctx) const {
  if (!ctx->MayGoOn()) return;
  const std::shared_ptr<XpftFormatter> formatter = ctx->GetPrintFormat(name_, false);
  if (!formatter) {
    LogError(ctx, place_, "external format error: " + name_, CodeOr(ctx, kUnknownFormat));
    return;
  }

  std::vector<std::string> values(args_.size());
  for (std::size_t i = 0; i < args_.size(); ++i) GetArguments(ctx, args_[i].get(), values[i]);
  if (ctx->GetErrorCode() != 0) return;

  const std::vector<std::string>* outerArgs = ctx->GetArgs();
  const bool outerExtFmt = ctx->GetExtFmt();
  if (hasArgs_) ctx->SetArgs(&values);
  ctx->SetExtFmt(true);
  formatter->GetCmdList()->DoCmd(ctx);
  ctx->SetExtFmt(outerExtFmt);
  ctx->SetArgs(outerArgs);
}

// ---- ExtFunc ----

ExtFunc::ExtFunc(std::string name, Owned<CommandList> list, SourcePlace place)
    : name_(std::move(name)), list_(std::move(list)), place_(std::move(place)) {
  if (!list_ || list_->GetList().size() != 1) return;
  if (const auto* literal = dynamic_cast<const UncondLiter*>(list_->GetList().front().get()))
    constant_ = &literal->GetText();
}

bool ExtFunc::IsUnifor() const {
  return utils::StringUtils::EqualsNoCase(name_, "&uf") || utils::StringUtils::EqualsNoCase(name_, "&unifor");
}

void ExtFunc::Print(IPrintContext* out) const {
  out->Print(name_ + "(");
  PrintChild(out, list_.get());
  out->Print(")");
}

/// A function may read fields that its argument only names in its text.
void ExtFunc::GetFieldTags(IPftContext* ctx, std::vector<int>& tags) const {
  AddTags(ctx, tags, list_.get());
  tags.push_back(0);
}

void ExtFunc::DoCmd(IPftContext* ctx) const {
  const bool outerExtFmt = ctx->GetExtFmt();
  ctx->SetExtFmt(false);
  if (ctx->GetModeType() == 'p') {
    Call(ctx);
  } else {
    ScratchText text(ctx);
    ctx->PushState(&*text);
    ctx->Start();
    Call(ctx);
    ctx->PopState();
    ReplaceValue(*text, false);
    ctx->Print(*text);
  }
  ctx->SetExtFmt(outerExtFmt);
}

void ExtFunc::Call(IPftContext* ctx) const {
  ScratchText text(ctx);
  if (constant_ == nullptr) GetArguments(ctx, list_.get(), *text);
  const std::string& arguments = constant_ != nullptr ? *constant_ : *text;
  if (ctx->GetErrorCode() != 0) return;

  ctx->ExtFunc(std::string_view(name_).substr(1), arguments);
  const int code = ctx->GetErrorCode();
  if (code != 0 && code != kStopped)
    LogError(ctx, place_, "external function error: " + name_ + "(" + arguments + ")", code);
}

// ---- SYSTEM, TRACE, PROC ----

void SystemCmd::Print(IPrintContext* out) const {
  out->Print("system(");
  PrintChild(out, list_.get());
  out->Print(")");
}
void SystemCmd::GetFieldTags(IPftContext* ctx, std::vector<int>& tags) const {
  AddTags(ctx, tags, list_.get());
}
void SystemCmd::DoCmd(IPftContext* ctx) const {
  ScratchText command(ctx);
  GetArguments(ctx, list_.get(), *command);
  if (ctx->GetErrorCode() == 0) ctx->ExecuteShellCommand(*command);
}

void Trace::Print(IPrintContext* out) const {
  out->Print("trace(");
  PrintChild(out, list_.get());
  out->Print(")");
}
void Trace::GetFieldTags(IPftContext* ctx, std::vector<int>& tags) const {
  AddTags(ctx, tags, list_.get());
}
void Trace::DoCmd(IPftContext* ctx) const {
  ScratchText text(ctx);
  GetArguments(ctx, list_.get(), *text);
  const std::string source = place_.source ? *place_.source : std::string();
  utils::LogUtil::XpftTraceLog(source + ": " + *text + " at line " + std::to_string(place_.line) +
                               ", column " + std::to_string(place_.column));
}

void ProcFieldUpdate::Print(IPrintContext* out) const {
  out->Print("proc(");
  PrintChild(out, list_.get());
  out->Print(")");
}
void ProcFieldUpdate::GetFieldTags(IPftContext* ctx, std::vector<int>& tags) const {
  AddTags(ctx, tags, list_.get());
}
void ProcFieldUpdate::DoCmd(IPftContext* ctx) const {
  ScratchText text(ctx);
  GetArguments(ctx, list_.get(), *text);
  if (ctx->GetErrorCode() != 0) return;
  if (const Owned<FieldUpdateCmdList> updates = FieldUpdateParser::Parse(ctx, place_, *text))
    updates->DoCmd(ctx);
}

}  // namespace xpft::ast
