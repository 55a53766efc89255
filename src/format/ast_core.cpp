#include "format/ast_core.h"

#include <algorithm>

#include "format/node_support.h"
#include "format/pft_context.h"
#include "utils/string_utils.h"

namespace xpft::ast {

namespace {

/// BREAK ends a group: at once when it stands in the group's own list, after the pass when it stands in an
/// IF. Outside a group it ends the run.
void DoBreak(IPftContext* ctx) {
  if (!ctx->GetIsRepGroupContext()) {
    ctx->SetBreak(true);
    return;
  }
  ctx->SetHasMoreOccurrence(false);
  if (!ctx->GetIfThenElse()) ctx->SetBreak(true);
}

/// The commands that act in a WHILE only. True when the list ends here.
bool EndsLoopPass(IPftContext* ctx, NodeType type) {
  if (!ctx->GetWhile()) return false;
  if (type == NodeType::kExit) ctx->SetExit(true);
  if (type == NodeType::kContinue) ctx->SetContinue(true);
  return ctx->GetExit() || ctx->GetContinue();
}

/// Place of "</text>" in any letter case, or npos.
std::size_t FindBlockEnd(std::string_view text) {
  constexpr std::string_view kEnd = "</text>";
  for (std::size_t i = text.find('<'); i != std::string_view::npos; i = text.find('<', i + 1))
    if (utils::StringUtils::StartsWithNoCase(text.substr(i), kEnd)) return i;
  return std::string_view::npos;
}

/// <text>...</text>. A text that holds the end of the block is put together from parts: line ends that are
/// dropped on reading can bring one about.
void PrintRaw(IPrintContext* out, std::string_view text) {
  std::size_t end = FindBlockEnd(text);
  if (end == std::string_view::npos) {
    out->Print("<text>" + std::string(text) + "</text>");
    return;
  }
  out->Print("s(");
  for (; end != std::string_view::npos; end = FindBlockEnd(text)) {
    out->Print("<text>" + std::string(text.substr(0, end + 1)) + "</text>,");
    out->PrintLineSep();
    text.remove_prefix(end + 1);
  }
  out->Print("<text>" + std::string(text) + "</text>)");
}

/// A literal in whichever of its delimiters it does not hold.
void PrintUnconditional(IPrintContext* out, const std::string& text) {
  for (const char* delimiter : {"'", "`"}) {
    if (text.find(delimiter) != std::string::npos) continue;
    out->Print(delimiter + text + delimiter);
    return;
  }
  PrintRaw(out, text);
}

/// A byte that the text does not hold: one that reads well, or else any. A literal that was read has one.
char FindDelimiter(const std::string& text) {
  for (const char c : std::string_view("'\"|~:;=-+*_0aA"))
    if (text.find(c) == std::string::npos) return c;
  int c = 255;
  while (c > 1 && text.find(static_cast<char>(c)) != std::string::npos) --c;
  return static_cast<char>(c);
}

}  // namespace

// ---- lists ----

void CommandList::Add(Owned<ICommand> command) {
  types_.push_back(command->GetType());
  commands_.push_back(std::move(command));
}

Owned<ICommand> CommandList::RemoveLast() {
  Owned<ICommand> last = std::move(commands_.back());
  commands_.pop_back();
  types_.pop_back();
  return last;
}

void CommandList::Print(IPrintContext* out) const {
  for (std::size_t i = 0; i < commands_.size(); ++i) {
    if (i > 0 && isRun_) out->Print(" ");
    if (i > 0 && !isRun_) {
      if (types_[i - 1] != NodeType::kComment) out->Print(",");
      out->PrintLineSep();
    }
    commands_[i]->Print(out);
  }
}

void CommandList::GetFieldTags(IPftContext* ctx, std::vector<int>& tags) const {
  for (const Owned<ICommand>& command : commands_) command->GetFieldTags(ctx, tags);
}

void CommandList::DoCmd(IPftContext* ctx) const {
  if (!ctx->MayGoOn()) return;
  for (std::size_t i = 0; i < commands_.size(); ++i) {
    if (types_[i] == NodeType::kBreak) {
      DoBreak(ctx);
      return;
    }
    if (EndsLoopPass(ctx, types_[i])) return;
    if (ctx->GetErrorCode() != 0 || ctx->GetBreak()) return;
    commands_[i]->DoCmd(ctx);
  }
}

void RepGroup::Print(IPrintContext* out) const {
  out->Print("(");
  PrintBlock(out, list_.get());
  out->Print(")");
}

void RepGroup::GetFieldTags(IPftContext* ctx, std::vector<int>& tags) const {
  AddTags(ctx, tags, list_.get());
}

void RepGroup::DoCmd(IPftContext* ctx) const {
  if (!list_) return;
  if (ctx->GetIsRepGroupContext()) {
    LogError(ctx, place_, "nested repeatable group not allowed", 2);
    return;
  }
  const int limit = ctx->GetGroupMaxOccurrence();
  ctx->BeginRepGroup();
  do {
    ctx->StartRepGroup();
    list_->DoCmd(ctx);
    ctx->NextRepGroup();
    if (limit > 0 && ctx->GetCurrentOccurrence() > limit) {
      LogError(ctx, place_, "infinite repeatable group detected", 57);
      break;
    }
  } while (ctx->GetErrorCode() == 0 && ctx->GetHasMoreOccurrence());
  ctx->EndRepGroup();
}

/// The text of a comment runs to the end of its line, whatever the form of the output.
void Comment::Print(IPrintContext* out) const {
  std::size_t begin = 0;
  while (true) {
    const std::size_t end = std::min(text_.find('\n', begin), text_.size());
    out->Print("/*" + text_.substr(begin, end - begin) + "\r\n");
    if (end == text_.size()) return;
    begin = end + 1;
  }
}

// ---- control ----

void IfThenElse::Print(IPrintContext* out) const {
  out->Print("if ");
  PrintChild(out, condition_.get());
  out->Print(" then");
  PrintBlock(out, then_.get());
  if (else_) {
    out->Print("else");
    PrintBlock(out, else_.get());
  }
  out->Print("fi");
}

void IfThenElse::GetFieldTags(IPftContext* ctx, std::vector<int>& tags) const {
  AddTags(ctx, tags, condition_.get(), then_.get(), else_.get());
}

void IfThenElse::DoCmd(IPftContext* ctx) const {
  if (!condition_) return;
  const CommandList* branch = condition_->GetBoolVal(ctx) ? then_.get() : else_.get();
  if (!branch) return;
  const bool outer = ctx->GetIfThenElse();
  ctx->SetIfThenElse(true);
  branch->DoCmd(ctx);
  ctx->SetIfThenElse(outer);
}

void While::Print(IPrintContext* out) const {
  out->Print("while (");  // "while e1<mfn (" would read as a call of mfn
  PrintChild(out, condition_.get());
  out->Print(") (");
  PrintBlock(out, body_.get());
  out->Print(")");
}

void While::GetFieldTags(IPftContext* ctx, std::vector<int>& tags) const {
  AddTags(ctx, tags, condition_.get(), body_.get());
}

void While::DoCmd(IPftContext* ctx) const {
  if (!condition_ || !body_) return;
  const bool outer = ctx->GetWhile();
  ctx->SetWhile(true);
  ctx->SetExit(false);
  const int limit = ctx->GetGroupMaxOccurrence();
  for (int n = 0; ctx->GetErrorCode() == 0 && ctx->MayGoOn(); ++n) {
    if (!condition_->GetBoolVal(ctx) || ctx->GetBreak() || ctx->GetExit()) break;
    ctx->SetContinue(false);
    body_->DoCmd(ctx);
    if (ctx->GetBreak() || ctx->GetExit()) break;
    if (limit > 0 && n == limit) {
      LogError(ctx, place_, "infinite loop detected", 57);
      break;
    }
  }
  ctx->SetWhile(outer);
  ctx->SetExit(false);
  ctx->SetContinue(false);
}

template <class Value>
void Select<Value>::Print(IPrintContext* out) const {
  out->Print("select ");
  PrintChild(out, selector_.get());
  out->IncreaseIndent();
  for (const Case& item : cases_) {
    out->NewLine();
    out->Print("case ");
    PrintChild(out, item.first.get());
    out->Print(":");
    PrintBlock(out, item.second.get());
  }
  if (else_) {
    out->NewLine();
    out->Print("elsecase");
    PrintBlock(out, else_.get());
  }
  out->DecreaseIndent();
  out->NewLine();
  out->Print("endsel");
}

template <class Value>
void Select<Value>::GetFieldTags(IPftContext* ctx, std::vector<int>& tags) const {
  AddTags(ctx, tags, selector_.get(), else_.get());
  for (const Case& item : cases_) AddTags(ctx, tags, item.first.get(), item.second.get());
}

template <>
const ICommand* Select<IString>::Choose(IPftContext* ctx) const {
  ScratchText selector(ctx);
  ScratchText value(ctx);
  selector_->GetStrVal(ctx, *selector);
  for (const Case& item : cases_) {
    item.first->GetStrVal(ctx, *value);
    if (*value == *selector) return item.second.get();
  }
  return else_.get();
}

template <>
const ICommand* Select<INumeric>::Choose(IPftContext* ctx) const {
  const long double selector = selector_->GetNumVal(ctx);
  for (const Case& item : cases_)
    if (item.first->GetNumVal(ctx) == selector) return item.second.get();
  return else_.get();
}

template <class Value>
void Select<Value>::DoCmd(IPftContext* ctx) const {
  if (!selector_) return;
  if (const ICommand* body = Choose(ctx)) body->DoCmd(ctx);
}

template class Select<IString>;
template class Select<INumeric>;

void Break::Print(IPrintContext* out) const {
  out->Print("break");
}
void Continue::Print(IPrintContext* out) const {
  out->Print("continue");
}
void Exit::Print(IPrintContext* out) const {
  out->Print("exit");
}

// ---- literals ----

void UncondLiter::Print(IPrintContext* out) const {
  if (raw_) {
    PrintRaw(out, text_);
  } else {
    PrintUnconditional(out, text_);
  }
}
void UncondLiter::DoCmd(IPftContext* ctx) const {
  ctx->Print(text_);
}
void UncondLiter::GetStrVal(IPftContext*, std::string& out) const {
  out = text_;
}

void EscLiter::Print(IPrintContext* out) const {
  const std::string text = text_.substr(1);
  const char delimiter = FindDelimiter(text);
  out->Print("!" + std::string(1, delimiter) + text + delimiter);
}
void EscLiter::DoCmd(IPftContext* ctx) const {
  ctx->Print(text_);
}
void EscLiter::GetStrVal(IPftContext*, std::string& out) const {
  out = text_;
}

void CondLiter::Print(IPrintContext* out) const {
  out->Print("\"" + text_ + "\"");
}
void CondLiter::DoCmd(IPftContext* ctx) const {
  ctx->Print(text_);
}

void RepLiter::Print(IPrintContext* out) const {
  out->Print("|" + text_ + "|");
}
void RepLiter::DoCmd(IPftContext* ctx) const {
  ctx->Print(text_);
}

// ---- spacing and modes ----

void CmdC::Print(IPrintContext* out) const {
  out->Print("c" + std::to_string(column_));
}
void CmdC::DoCmd(IPftContext* ctx) const {
  ctx->SetPrintPosition(column_);
}

void CmdX::Print(IPrintContext* out) const {
  out->Print("x" + std::to_string(count_));
}
void CmdX::DoCmd(IPftContext* ctx) const {
  ctx->InsertSpaces(count_);
}

void NewLine::Print(IPrintContext* out) const {
  out->Print("/");
}
void NewLine::DoCmd(IPftContext* ctx) const {
  ctx->NewLine();
}

void BlankLine::Print(IPrintContext* out) const {
  out->Print("#");
}
void BlankLine::DoCmd(IPftContext* ctx) const {
  ctx->UnconditionalBlankLine();
}

void SuppressedBlank::Print(IPrintContext* out) const {
  out->Print("%");
}
void SuppressedBlank::DoCmd(IPftContext* ctx) const {
  ctx->SuppressBlanks();
}

void ModeCmd::Print(IPrintContext* out) const {
  out->Print(std::string("m") + mode_ + (upper_ ? 'u' : 'l'));
}
void ModeCmd::DoCmd(IPftContext* ctx) const {
  ctx->SetModeType(mode_);
  ctx->SetIsUpperCase(upper_);
}

// ---- variables ----

void NVar::Print(IPrintContext* out) const {
  out->Print("e" + std::to_string(number_));
}
long double NVar::GetNumVal(IPftContext* ctx) const {
  return ctx->GetNumVar(number_);
}

void SVar::Print(IPrintContext* out) const {
  out->Print("s" + std::to_string(number_));
}
void SVar::DoCmd(IPftContext* ctx) const {
  ctx->Print(ctx->GetStrVar(number_));
}
void SVar::GetStrVal(IPftContext* ctx, std::string& out) const {
  out = ctx->GetStrVar(number_);
}

void NumVarAssign::Print(IPrintContext* out) const {
  out->Print("e" + std::to_string(number_) + ":=");
  PrintChild(out, value_.get());
}
void NumVarAssign::GetFieldTags(IPftContext* ctx, std::vector<int>& tags) const {
  AddTags(ctx, tags, value_.get());
}
void NumVarAssign::DoCmd(IPftContext* ctx) const {
  if (value_) ctx->SetNumVar(number_, value_->GetNumVal(ctx));
}

void StrVarAssign::Print(IPrintContext* out) const {
  out->Print("s" + std::to_string(number_) + ":=(");
  PrintChild(out, value_.get());
  out->Print(")");
}
void StrVarAssign::GetFieldTags(IPftContext* ctx, std::vector<int>& tags) const {
  AddTags(ctx, tags, value_.get());
}
void StrVarAssign::DoCmd(IPftContext* ctx) const {
  ScratchText text(ctx);
  GetArguments(ctx, value_.get(), *text);
  ctx->SetStrVar(number_, *text);
}

}  // namespace xpft::ast
