#include "format/ast_string_functions.h"
#include "format/char_text.h"
#include "format/extended_number_cast.h"
#include "format/node_support.h"

// Parts of texts, counted in characters: LEFT, RIGHT, MID, SS, TRIM, REPLACE.

namespace xpft::ast {

namespace {

/// Prints a call whose first argument is a list that may hold several commands.
void PrintCall(IPrintContext* out, const char* name, std::initializer_list<const PftExpr*> arguments) {
  out->Print(name);
  const char* separator = "(";
  for (const PftExpr* argument : arguments) {
    out->Print(separator);
    PrintChild(out, argument);
    separator = ";";
  }
  out->Print(")");
}

int Evaluate(IPftContext* ctx, const INumeric* number) {
  return number ? ToInt32(number->GetNumVal(ctx)) : 0;
}

/// Prints take(text) for the text of a list.
template <class Take>
void PrintPart(IPftContext* ctx, const CommandList* list, Take&& take) {
  ScratchText text(ctx);
  ICommand::GetArguments(ctx, list, *text);
  std::string converted;
  ctx->Print(take(AsUtf8(*text, converted)));
}

}  // namespace

void PrintListPair(IPrintContext* out, const CommandList* first, const CommandList* second) {
  if (second != nullptr) {
    PrintChild(out, first);
    out->Print(";");
    second->Print(out);
    return;
  }
  if (first == nullptr) return;
  for (const Owned<ICommand>& command : first->GetList()) {
    if (&command != &first->GetList().front()) out->Print(" ");
    command->Print(out);
  }
}

// ---- LEFT, RIGHT ----

void SfncLeft::Print(IPrintContext* out) const {
  PrintCall(out, "left", {text_.get(), count_.get()});
}
void SfncLeft::GetFieldTags(IPftContext* ctx, std::vector<int>& tags) const {
  AddTags(ctx, tags, text_.get(), count_.get());
}
void SfncLeft::DoCmd(IPftContext* ctx) const {
  PrintPart(ctx, text_.get(),
            [&](std::string_view text) { return LeftChars(text, Evaluate(ctx, count_.get())); });
}

void SfncRight::Print(IPrintContext* out) const {
  PrintCall(out, "right", {text_.get(), count_.get()});
}
void SfncRight::GetFieldTags(IPftContext* ctx, std::vector<int>& tags) const {
  AddTags(ctx, tags, text_.get(), count_.get());
}
void SfncRight::DoCmd(IPftContext* ctx) const {
  PrintPart(ctx, text_.get(),
            [&](std::string_view text) { return RightChars(text, Evaluate(ctx, count_.get())); });
}

// ---- MID, SS ----

void SfncMid::Print(IPrintContext* out) const {
  PrintCall(out, "mid", {text_.get(), start_.get(), count_.get()});
}
void SfncMid::GetFieldTags(IPftContext* ctx, std::vector<int>& tags) const {
  AddTags(ctx, tags, text_.get(), start_.get(), count_.get());
}
void SfncMid::DoCmd(IPftContext* ctx) const {
  PrintPart(ctx, text_.get(), [&](std::string_view text) {
    const int start = Evaluate(ctx, start_.get());
    return MidChars(text, start, Evaluate(ctx, count_.get()));
  });
}

void SfncSS::Print(IPrintContext* out) const {
  out->Print("ss(");
  PrintChild(out, start_.get());
  out->Print(",");
  PrintChild(out, count_.get());
  out->Print(",");
  PrintChild(out, text_.get());
  out->Print(")");
}
void SfncSS::GetFieldTags(IPftContext* ctx, std::vector<int>& tags) const {
  AddTags(ctx, tags, start_.get(), count_.get(), text_.get());
}
void SfncSS::DoCmd(IPftContext* ctx) const {
  const int start = Evaluate(ctx, start_.get());
  const int count = Evaluate(ctx, count_.get());
  PrintPart(ctx, text_.get(), [&](std::string_view text) { return MidChars(text, start, count); });
}

// ---- TRIM ----

void SfncTrim::Print(IPrintContext* out) const {
  out->Print(left_ && right_ ? "trim(" : left_ ? "ltrim(" : "rtrim(");
  PrintListPair(out, text_.get(), characters_.get());
  out->Print(")");
}

void SfncTrim::GetFieldTags(IPftContext* ctx, std::vector<int>& tags) const {
  AddTags(ctx, tags, text_.get(), characters_.get());
}

void SfncTrim::DoCmd(IPftContext* ctx) const {
  PrintPart(ctx, text_.get(), [&](std::string_view text) {
    if (!characters_) return TrimChars(text, " ", left_, right_);
    ScratchText characters(ctx);
    GetArguments(ctx, characters_.get(), *characters);
    std::string converted;
    return TrimChars(text, AsUtf8(*characters, converted), left_, right_);
  });
}

// ---- REPLACE ----

void SfncReplace::Print(IPrintContext* out) const {
  PrintCall(out, Name(), {text_.get(), from_.get(), to_.get()});
}

void SfncReplace::GetFieldTags(IPftContext* ctx, std::vector<int>& tags) const {
  AddTags(ctx, tags, text_.get(), from_.get(), to_.get());
}

void SfncReplace::DoCmd(IPftContext* ctx) const {
  ScratchText text(ctx);
  ScratchText from(ctx);
  ScratchText to(ctx);
  GetArguments(ctx, text_.get(), *text);
  GetArguments(ctx, from_.get(), *from);
  GetArguments(ctx, to_.get(), *to);
  std::string converted[3];
  ScratchText result(ctx);
  DoReplace(AsUtf8(*text, converted[0]), AsUtf8(*from, converted[1]), AsUtf8(*to, converted[2]), *result);
  ctx->Print(*result);
}

void SfncReplace::DoReplace(std::string_view text, std::string_view from, std::string_view to,
                            std::string& out) const {
  out.clear();
  std::size_t begin = 0;
  // A result that is too long for the output need not become longer: printing it is the error already.
  while (!from.empty() && out.size() <= kMaxOutputBytes) {
    const std::size_t found = text.find(from, begin);
    if (found == std::string_view::npos) break;
    out.append(text, begin, found - begin);
    out += to;
    begin = found + from.size();
  }
  out.append(text, begin);
}

}  // namespace xpft::ast
