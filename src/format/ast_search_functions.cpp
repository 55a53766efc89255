#include <algorithm>

#include "format/ast_numeric_functions.h"
#include "format/extended_number_cast.h"
#include "format/node_support.h"

// The functions that ask the index: L, LR, NPOST; and the database that a function names.

namespace xpft::ast {

// ---- DatabaseName ----

std::string DatabaseName::Evaluate(IPftContext* ctx) const {
  if (!expr) return name;
  std::string text;
  expr->GetStrVal(ctx, text);
  return text;
}

void DatabaseName::PrintArrow(IPrintContext* out) const {
  if (!IsGiven() || isBracket) return;
  out->Print("->");
  if (!expr) {
    out->Print(name);
    return;
  }
  out->Print("(");
  expr->Print(out);
  out->Print(")");
}

void DatabaseName::PrintBracket(IPrintContext* out) const {
  if (!isBracket || !expr) return;
  out->Print("[");
  expr->Print(out);
  out->Print("]");
}

// ---- what the searches share ----

void SearchNumeric::GetFieldTags(IPftContext* ctx, std::vector<int>& tags) const {
  AddTags(ctx, tags, database_.expr.get(), term());
}

void SearchNumeric::Search(IPftContext* ctx, int from, int count, std::vector<int>& result) const {
  if (ctx->CheckDummyClientMode()) return;
  ScratchText term(ctx);
  ICommand::GetArguments(ctx, term_.get(), *term);
  ctx->SearchMfn(database_.Evaluate(ctx), *term, from, count, queryType_, result);
}

int SearchNumeric::CountPostings(IPftContext* ctx) const {
  if (ctx->CheckDummyClientMode()) return 0;
  ScratchText term(ctx);
  ICommand::GetArguments(ctx, term_.get(), *term);
  return ctx->CountPostings(database_.Evaluate(ctx), *term, queryType_);
}

void SearchNumeric::PrintHead(IPrintContext* out, const char* name) const {
  static constexpr const char* kSigns[] = {"", "+", "-"};
  out->Print(name);
  database_.PrintArrow(out);
  out->Print("(");
  out->Print(kSigns[static_cast<int>(queryType_)]);
  database_.PrintBracket(out);
}

// ---- L ----

void NfncL::Print(IPrintContext* out) const {
  PrintHead(out, "l");
  PrintChild(out, term());
  out->Print(")");
}

long double NfncL::GetNumVal(IPftContext* ctx) const {
  std::vector<int> found;
  Search(ctx, 0, 1, found);
  return found.empty() ? 0 : found.front();
}

// ---- NPOST ----

void NfncNpst::Print(IPrintContext* out) const {
  PrintHead(out, "npst");
  PrintChild(out, term());
  out->Print(")");
}

long double NfncNpst::GetNumVal(IPftContext* ctx) const {
  return CountPostings(ctx);
}

// ---- LR ----

void NfncLr::Print(IPrintContext* out) const {
  PrintHead(out, "lr");
  out->Print("(");
  PrintChild(out, term());
  out->Print(")");
  if (offset_ && count_) {
    out->Print(",");
    offset_->Print(out);
    out->Print(",");
    count_->Print(out);
  }
  out->Print(")");
}

void NfncLr::GetFieldTags(IPftContext* ctx, std::vector<int>& tags) const {
  SearchNumeric::GetFieldTags(ctx, tags);
  AddTags(ctx, tags, offset_.get(), count_.get());
}

void NfncLr::SearchWindow(IPftContext* ctx, std::vector<int>& found) const {
  const int from = offset_ ? std::max(ToInt32(offset_->GetNumVal(ctx)), 0) : 0;
  const int count = count_ ? std::max(ToInt32(count_->GetNumVal(ctx)), 0) : 0;
  Search(ctx, from, count, found);
}

long double NfncLr::GetNumVal(IPftContext* ctx) const {
  std::vector<int> found;
  SearchWindow(ctx, found);
  return found.empty() ? 0 : found.front();
}

void NfncLr::GetNumVals(IPftContext* ctx, std::vector<long double>& values) const {
  std::vector<int> found;
  SearchWindow(ctx, found);
  values.insert(values.end(), found.begin(), found.end());
}

}  // namespace xpft::ast
