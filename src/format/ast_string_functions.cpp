#include "format/ast_string_functions.h"

#include <cstdlib>
#include <cwctype>

#include "format/extended_number_cast.h"
#include "format/node_support.h"
#include "format/outside_group.h"
#include "format/xpft_formatter.h"
#include "utils/string_utils.h"
#include "utils/text_util.h"

// Functions over one text, and the few without. The others: ast_text_functions.cpp (parts of texts),
// ast_float.cpp (F), ast_date.cpp, ast_file_functions.cpp, ast_sort.cpp, ast_record_functions.cpp.

namespace xpft::ast {

void ListString::GetFieldTags(IPftContext* ctx, std::vector<int>& tags) const {
  AddTags(ctx, tags, list());
}

void ListString::Print(IPrintContext* out) const {
  out->Print(std::string(Name()) + "(");
  PrintChild(out, list());
  out->Print(")");
}

void SfncS::DoCmd(IPftContext* ctx) const {
  ScratchText text(ctx);
  GetArguments(ctx, list(), *text);
  ctx->Print(*text);
}

void SfncS::GetStrVal(IPftContext* ctx, std::string& out) const {
  GetArguments(ctx, list(), out);
}

void SfncFmt::DoCmd(IPftContext* ctx) const {
  ScratchText text(ctx);
  {
    const OutsideGroup outside(ctx);
    GetArguments(ctx, list(), *text);
  }
  ctx->SetBreak(false);
  ctx->Print(*text);
}

// ---- EVAL ----

/// What the text will hold is not known, so it may read any field.
void SfncEval::GetFieldTags(IPftContext* ctx, std::vector<int>& tags) const {
  ListString::GetFieldTags(ctx, tags);
  tags.push_back(0);
}

void SfncEval::DoCmd(IPftContext* ctx) const {
  ScratchText text(ctx);
  GetArguments(ctx, list(), *text);
  if (ctx->GetErrorCode() != 0 || !ctx->MayGoOn()) return;

  // A text beginning with "@" would be taken for the name of a file as a whole.
  if (text->starts_with('@')) text->insert(0, 1, ' ');
  const std::string earlierErrors = ctx->GetErrorText();
  if (const std::shared_ptr<XpftFormatter> formatter = ctx->GetPrintFormat(*text, true)) {
    formatter->GetCmdList()->DoCmd(ctx);
    return;
  }
  const int code = ctx->GetErrorCode() != 0 ? ctx->GetErrorCode() : 2;
  const std::string parserText = ctx->GetErrorText();
  ctx->SetErrorText(earlierErrors);
  LogError(ctx, place_, "eval format error: " + parserText, code);
}

// ---- texts made from texts ----

void SfncCitype::DoCmd(IPftContext* ctx) const {
  constexpr std::size_t kLongestCode = 10;
  ScratchText text(ctx);
  GetArguments(ctx, list(), *text);
  std::wstring code;
  for (const wchar_t c : utils::TextUtil::ReadAllText(*text)) {
    const bool isWord = std::iswalnum(static_cast<std::wint_t>(c)) != 0;
    if (!isWord && code.empty()) continue;
    if (!isWord || code.size() == kLongestCode) break;
    code += utils::StringUtils::ToUpper(c);
  }
  ctx->Print(utils::TextUtil::ConvertToUTF8(code));
}

void SfncEscNewLine::DoCmd(IPftContext* ctx) const {
  ScratchText text(ctx);
  GetArguments(ctx, list(), *text);
  std::size_t end = 0;  // of what is kept; it never passes what is read
  for (std::size_t i = 0; i < text->size(); ++i) {
    const char c = (*text)[i];
    const char next = c == '\\' && i + 1 < text->size() ? (*text)[i + 1] : ' ';
    if (next == '0') break;
    const std::size_t escape = std::string_view("nrtb").find(next);
    if (escape == std::string_view::npos) {
      (*text)[end++] = c;
      continue;
    }
    ++i;
    if (next != 'b') (*text)[end++] = "\n\r\t"[escape];
  }
  text->resize(end);
  ctx->Print(*text);
}

// ---- the environment ----

void SfncGetEnv::DoCmd(IPftContext* ctx) const {
  ScratchText name(ctx);
  GetArguments(ctx, list(), *name);
  if (const char* value = std::getenv(name->c_str())) ctx->Print(value);
}

/// NAME=value; a name alone takes the variable away.
void SfncPutEnv::DoCmd(IPftContext* ctx) const {
  ScratchText text(ctx);
  GetArguments(ctx, list(), *text);
  const std::size_t sign = text->find('=');
  const std::string name = text->substr(0, sign);
  if (sign == std::string::npos) {
    unsetenv(name.c_str());
  } else {
    setenv(name.c_str(), text->c_str() + sign + 1, 1);
  }
}

// ---- the run ----

void SfncArg::Print(IPrintContext* out) const {
  out->Print("arg(");
  PrintChild(out, number_.get());
  out->Print(")");
}

void SfncArg::GetFieldTags(IPftContext* ctx, std::vector<int>& tags) const {
  AddTags(ctx, tags, number_.get());
}

void SfncArg::DoCmd(IPftContext* ctx) const {
  const std::vector<std::string>* args = ctx->GetArgs();
  const int number = number_ ? ToInt32(number_->GetNumVal(ctx)) : 0;
  if (args == nullptr || number < 1 || static_cast<std::size_t>(number) > args->size()) return;
  ctx->Print((*args)[static_cast<std::size_t>(number) - 1]);
}

void SfncDb::Print(IPrintContext* out) const {
  out->Print("db");
}

void SfncDb::DoCmd(IPftContext* ctx) const {
  ctx->Print(ctx->GetDbName());
}

}  // namespace xpft::ast
