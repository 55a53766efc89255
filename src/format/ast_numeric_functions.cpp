#include "format/ast_numeric_functions.h"

#include <algorithm>
#include <cctype>
#include <cstdio>
#include <ctime>
#include <cwctype>

#include "format/char_text.h"
#include "format/extended_number_cast.h"
#include "format/node_support.h"
#include "format/outside_group.h"
#include "utils/text_util.h"
#include "utils/utf8_char.h"

// Functions over texts, fields and the state of the run. MATH is in ast_math.cpp, the searches are in
// ast_search_functions.cpp, what reads or changes the record as a whole is in ast_record_functions.cpp.

namespace xpft::ast {

namespace {

void PrintCall(IPrintContext* out, const char* head, const PftExpr* argument) {
  out->Print(head);
  PrintChild(out, argument);
  out->Print(")");
}

}  // namespace

void ListNumeric::GetFieldTags(IPftContext* ctx, std::vector<int>& tags) const {
  AddTags(ctx, tags, list());
}

// ---- numbers in a text ----

void NfncVal::Print(IPrintContext* out) const {
  PrintCall(out, "val(", list());
}

long double NfncVal::GetNumVal(IPftContext* ctx) const {
  ScratchText text(ctx);
  ICommand::GetArguments(ctx, list(), *text);
  std::size_t position = 0;
  std::string_view digits;
  long double value = 0;
  if (FindNumericString(*text, position, digits)) (void)ParseNumericString(digits, value);
  return value;
}

void RangeNumeric::Print(IPrintContext* out) const {
  const std::string head = std::string(Name()) + (notPlus_ ? "(" : "(+");
  PrintCall(out, head.c_str(), list());
}

long double RangeNumeric::GetNumVal(IPftContext* ctx) const {
  ScratchText text(ctx);
  if (notPlus_) {
    const OutsideGroup outside(ctx);
    ICommand::GetArguments(ctx, list(), *text);
  } else {
    ICommand::GetArguments(ctx, list(), *text);
  }
  Totals totals;
  std::size_t position = 0;
  std::string_view digits;
  while (FindNumericString(*text, position, digits)) {
    long double value = 0;
    (void)ParseNumericString(digits, value);
    const bool isFirst = totals.count++ == 0;
    totals.sum += value;
    totals.least = isFirst ? value : std::min(totals.least, value);
    totals.greatest = isFirst ? value : std::max(totals.greatest, value);
  }
  return totals.count == 0 ? 0 : Choose(totals);
}

// ---- characters of a text ----

void NfncSize::Print(IPrintContext* out) const {
  PrintCall(out, "size(", list());
}

long double NfncSize::GetNumVal(IPftContext* ctx) const {
  ScratchText text(ctx);
  ICommand::GetArguments(ctx, list(), *text);
  // In cp1251 every byte is a character.
  const bool isUtf8 = utils::TextUtil::CheckUTF8(*text);
  return static_cast<long double>(isUtf8 ? utils::CountUtf8Chars(*text) : text->size());
}

void NfncInstr::Print(IPrintContext* out) const {
  out->Print("instr(");
  PrintChild(out, text_.get());
  out->Print(";");
  PrintChild(out, part_.get());
  out->Print(")");
}

void NfncInstr::GetFieldTags(IPftContext* ctx, std::vector<int>& tags) const {
  AddTags(ctx, tags, text_.get(), part_.get());
}

long double NfncInstr::GetNumVal(IPftContext* ctx) const {
  ScratchText text(ctx);
  ScratchText part(ctx);
  ICommand::GetArguments(ctx, text_.get(), *text);
  ICommand::GetArguments(ctx, part_.get(), *part);
  if (text->empty() || part->empty()) return 0;

  std::string convertedText;
  std::string convertedPart;
  const std::string_view where = AsUtf8(*text, convertedText);
  const std::size_t found = where.find(AsUtf8(*part, convertedPart));
  if (found == std::string_view::npos) return 0;
  return static_cast<long double>(utils::CountUtf8Chars(where.substr(0, found)) + 1);
}

// ---- TYPE ----

namespace {

struct CharCounts {
  std::size_t all = 0;
  std::size_t letters = 0;
  std::size_t digits = 0;
};

CharCounts CountKinds(const std::string& text) {
  CharCounts counts;
  const std::wstring wide = utils::TextUtil::ReadUTF8(text);
  for (const wchar_t c : wide) {
    counts.letters += std::iswalpha(static_cast<std::wint_t>(c)) != 0;
    counts.digits += std::iswdigit(static_cast<std::wint_t>(c)) != 0;
  }
  counts.all = wide.size();
  if (counts.all > 0) return counts;
  for (const char c : text) {
    counts.letters += std::isalpha(static_cast<unsigned char>(c)) != 0;
    counts.digits += c >= '0' && c <= '9';
  }
  counts.all = text.size();
  return counts;
}

/// True when the text, behind blanks at its head, is one number and nothing else.
bool IsWholeNumber(const std::string& text, std::string_view& digits) {
  const std::size_t begin = text.find_first_not_of(' ');
  if (begin == std::string::npos) return false;
  std::size_t position = begin;
  return AbstractNumeric::FindNumericString(text, position, digits) && digits.data() == text.data() + begin &&
         position == text.size();
}

}  // namespace

int fmt_type_number(int type, const std::string& text) {
  if (text.empty()) return 1;
  if (type < 1 || type > 5) return 0;
  if (type >= 4) {
    std::string_view digits;
    if (!IsWholeNumber(text, digits)) return 0;
    return type == 5 || digits.find_first_of(".eE") == std::string_view::npos;
  }
  const CharCounts counts = CountKinds(text);
  const std::size_t fitting = type == 1   ? counts.letters + counts.digits
                              : type == 2 ? counts.letters
                                          : counts.digits;
  return fitting == counts.all;
}

void NfncType::Print(IPrintContext* out) const {
  out->Print("type(");
  PrintChild(out, kindText_.get());
  PrintChild(out, kind_.get());
  out->Print(",");
  PrintChild(out, list_.get());
  out->Print(")");
}

void NfncType::GetFieldTags(IPftContext* ctx, std::vector<int>& tags) const {
  AddTags(ctx, tags, kindText_.get(), kind_.get(), list_.get());
}

long double NfncType::GetNumVal(IPftContext* ctx) const {
  ScratchText text(ctx);
  int type = 0;
  if (kindText_) {
    kindText_->GetStrVal(ctx, *text);
    type = utils::TextUtil::Int32ParseExact(*text, 0);
  } else if (kind_) {
    type = ToInt32(kind_->GetNumVal(ctx));
  }
  ICommand::GetArguments(ctx, list_.get(), *text);
  return fmt_type_number(type, *text);
}

// ---- SECONDS ----

void NfncSeconds::Print(IPrintContext* out) const {
  PrintCall(out, "seconds(", list());
}

long double NfncSeconds::GetNumVal(IPftContext* ctx) const {
  // What a signed 32-bit count of seconds holds, a day or so of time zones left free at its begin.
  static constexpr char kFirst[] = "19700102 000000";
  static constexpr char kLast[] = "20380118 031407";
  ScratchText text(ctx);
  ICommand::GetArguments(ctx, list(), *text);
  if (*text < kFirst) *text = kFirst;
  if (*text > kLast) *text = kLast;

  std::tm time{};
  std::sscanf(text->c_str(), "%4d%2d%2d%*c%2d%2d%2d", &time.tm_year, &time.tm_mon, &time.tm_mday,
              &time.tm_hour, &time.tm_min, &time.tm_sec);
  time.tm_year -= 1900;
  time.tm_mon -= 1;
  time.tm_isdst = -1;  // let the time zone tell
  return static_cast<long double>(std::mktime(&time));
}

// ---- fields and the state of the run ----

void NfncNocc::Print(IPrintContext* out) const {
  PrintCall(out, notPlus_ ? "nocc(" : "nocc(+", field_.get());
}

void NfncNocc::GetFieldTags(IPftContext* ctx, std::vector<int>& tags) const {
  AddTags(ctx, tags, field_.get());
}

long double NfncNocc::GetNumVal(IPftContext* ctx) const {
  if (!field_ || !field_->GetSelect()) return 0;
  if (field_->GetSubfield()) return CountSubfields(ctx);
  return field_->GetSelect()->GetRepeatCount(ctx, field_->GetRepeat(), nullptr, field_->GetFragment(),
                                             !notPlus_);
}

int NfncNocc::CountSubfields(IPftContext* ctx) const {
  ScratchValues values(ctx);
  field_->GetSelect()->GetValues(ctx, field_->GetRepeat(), nullptr, nullptr, *values, !notPlus_);
  int count = 0;
  for (std::size_t i = 0; i < (*values).size(); ++i)
    count += ctx->GetSubfieldRepeatCount((*values)[i].text(), field_->GetSubfield()->GetCode());
  return count;
}

void NfncOcc::Print(IPrintContext* out) const {
  out->Print(isIocc_ ? "iocc" : "occ");
}

long double NfncOcc::GetNumVal(IPftContext* ctx) const {
  if (!ctx->GetIsRepGroupContext() || (ctx->IsPrivateGroup() && !isIocc_)) return 0;
  return ctx->GetStringOccurrence();
}

void NfncTag::Print(IPrintContext* out) const {
  out->Print("tag");
}

long double NfncTag::GetNumVal(IPftContext* ctx) const {
  return ctx->GetTag();
}

void NfncArgn::Print(IPrintContext* out) const {
  out->Print("argn");
}

long double NfncArgn::GetNumVal(IPftContext* ctx) const {
  return ctx->GetArgs() ? static_cast<long double>(ctx->GetArgs()->size()) : 0;
}

}  // namespace xpft::ast
