#include "format/xpft_parser.h"

#include <algorithm>
#include <string>
#include <utility>

#include "format/ast_extension.h"
#include "format/ast_string_functions.h"
#include "format/xpft_error_codes.h"

namespace xpft {
namespace {

/// What is said when a token is missing.
std::string ExpectedMessage(Symbol symbol) {
  switch (symbol) {
    case Symbol::kLeftParen:
      return "( expected";
    case Symbol::kRightParen:
      return ") expected";
    case Symbol::kLeftBracket:
      return "[ expected";
    case Symbol::kRightBracket:
      return "] expected";
    case Symbol::kComma:
      return "comma expected";
    case Symbol::kSemicolon:
      return "; expected";
    case Symbol::kColon:
      return ": expected";
    case Symbol::kAssign:
      return ":= expected";
    case Symbol::kCase:
      return "case expected";
    case Symbol::kEndSel:
      return "endsel expected";
    default:
      return std::string(KeywordOf(symbol)) + " expected";
  }
}

}  // namespace

XpftParser::Nesting::Nesting(XpftParser& parser) : parser_(parser) {
  if (++parser_.depth_ > kDeepestNesting) parser_.error(syntax::kTooDeep, "format nested too deep");
}

// ---- entries ----

void XpftParser::Open(std::string_view formatName, std::string_view text) {
  XpftLexer::Open(formatName, text);
  depth_ = 0;
  operators_ = 0;
  inRepGroup_ = false;
  getsymbol();
}

/// format = {","} isis_fmt end
std::shared_ptr<XpftFormatter> XpftParser::format(std::string_view formatName, std::string_view text) {
  Open(formatName, text);
  empty_comma();
  List list = isis_fmt();
  CheckEnd();
  if (failed() || !list) return nullptr;
  return std::make_shared<XpftFormatter>(std::move(list));
}

std::shared_ptr<XpftFormatter> XpftParser::booleanExpr(std::string_view text) {
  const auto literal = [](const char* digit) {
    auto list = std::make_unique<ast::CommandList>();
    list->Add(std::make_unique<ast::UncondLiter>(digit));
    return list;
  };
  Open({}, text);
  Truth condition = boolean_expr();
  return FinishExpression(
      std::make_unique<ast::IfThenElse>(std::move(condition), literal("1"), literal("0")));
}

std::shared_ptr<XpftFormatter> XpftParser::numExpr(std::string_view text) {
  Open({}, text);
  ast::SourcePlace place = Here();
  Number number = RequiredNumber(syntax::kNumber);
  return FinishExpression(std::make_unique<ast::SfncF>(std::move(number), std::make_unique<ast::FNumber>(0),
                                                       std::make_unique<ast::FNumber>(0), true,
                                                       std::move(place)));
}

std::shared_ptr<XpftFormatter> XpftParser::FinishExpression(Command command) {
  CheckEnd();
  if (failed()) return nullptr;
  auto list = std::make_unique<ast::CommandList>();
  list->Add(std::move(command));
  return std::make_shared<XpftFormatter>(std::move(list));
}

// ---- steps ----

void XpftParser::empty_comma() {
  while (symbol_ == Symbol::kComma) getsymbol();
}

/// A text can be followed by a fragment, whose point and digits are tokens of their own.
void XpftParser::NextSymbol(bool isText) {
  if (isText) {
    getsymbolShort();
  } else {
    getsymbol();
  }
}

bool XpftParser::ExpectHere(Symbol symbol, int code) {
  if (symbol_ != symbol) error(code, ExpectedMessage(symbol));
  return !failed();
}

bool XpftParser::Expect(Symbol symbol, int code) {
  if (!ExpectHere(symbol, code)) return false;
  getsymbol();
  return !failed();
}

void XpftParser::CheckEnd() {
  if (symbol_ == Symbol::kEnd) return;
  const std::string_view word = KeywordOf(symbol_);
  error(syntax::kTrailingText, word.empty() ? "syntax error" : "unexpected " + std::string(word));
}

bool XpftParser::CountOperator() {
  if (++operators_ > kMostOperators) error(syntax::kTooDeep, "format nested too deep");
  return !failed();
}

/// The next token must be a whole number; it stays the current token.
bool XpftParser::parse_int_number(int& value) {
  getsymbolShort();
  if (symbol_ != Symbol::kInteger) error(syntax::kNumber, "number expected");
  value = static_cast<int>(integer_);
  return !failed();
}

/// Whether a list has no commands but comments.
bool XpftParser::IsBlank(const List& list) {
  if (!list) return true;
  for (const Command& command : list->GetList()) {
    if (command->GetType() != ast::NodeType::kComment) return false;
  }
  return true;
}

void XpftParser::FlushComments(ast::CommandList& list) {
  if (!hasComment_) return;
  list.Add(std::make_unique<ast::Comment>(std::move(comment_)));
  comment_.clear();
  hasComment_ = false;
}

// ---- lists ----

/// isis_fmt = { {","} fmt_element }
/// Operators of one command are no deeper for those of the commands beside it, so the most of them count.
XpftParser::List XpftParser::isis_fmt() {
  const Nesting nesting(*this);
  if (!nesting) return nullptr;
  auto list = std::make_unique<ast::CommandList>();
  const int outside = operators_;
  int most = outside;
  while (true) {
    empty_comma();
    FlushComments(*list);
    operators_ = outside;
    Command element = fmt_element();
    most = std::max(most, operators_);
    if (!element) break;
    list->Add(std::move(element));
  }
  operators_ = most;
  FlushComments(*list);
  if (failed() || list->GetList().empty()) return nullptr;
  return list;
}

/// "(" isis_fmt ")"
XpftParser::List XpftParser::ListInParens(int openCode, int closeCode) {
  if (!Expect(Symbol::kLeftParen, openCode)) return nullptr;
  List list = isis_fmt();
  Expect(Symbol::kRightParen, closeCode);
  return list;
}

struct XpftParser::Element {
  Symbol symbol;
  Command (XpftParser::*read)();
};

/// What a command begins with, functions aside.
struct XpftParser::Elements {
  static constexpr Element kRows[] = {
      {Symbol::kV, &XpftParser::field_expr},
      {Symbol::kG, &XpftParser::field_expr},
      {Symbol::kD, &XpftParser::prefixed_field},
      {Symbol::kN, &XpftParser::prefixed_field},
      {Symbol::kRepLiteral, &XpftParser::prefixed_field},
      {Symbol::kCondLiteral, &XpftParser::cond_group},
      {Symbol::kLeftParen, &XpftParser::repeatable_group},
      {Symbol::kIf, &XpftParser::if_expr},
      {Symbol::kSelect, &XpftParser::select},
      {Symbol::kWhile, &XpftParser::while_expr},
      {Symbol::kNumVar, &XpftParser::num_assign},
      {Symbol::kStrVar, &XpftParser::str_var_expr},
      {Symbol::kExtFmt, &XpftParser::cmd_ext_fmt},
      {Symbol::kExtFmtQuoted, &XpftParser::cmd_ext_fmt},
      {Symbol::kExtFunc, &XpftParser::string_command},
      {Symbol::kUncondLiteral, &XpftParser::string_command},
      {Symbol::kRawLiteral, &XpftParser::string_command},
      {Symbol::kEscLiteral, &XpftParser::string_command},
      {Symbol::kC, &XpftParser::spacing_string},
      {Symbol::kX, &XpftParser::spacing_string},
      {Symbol::kSlash, &XpftParser::spacing_string},
      {Symbol::kHash, &XpftParser::spacing_string},
      {Symbol::kPercent, &XpftParser::spacing_string},
      {Symbol::kMpl, &XpftParser::mode_parameter},
      {Symbol::kMpu, &XpftParser::mode_parameter},
      {Symbol::kMhl, &XpftParser::mode_parameter},
      {Symbol::kMhu, &XpftParser::mode_parameter},
      {Symbol::kMdl, &XpftParser::mode_parameter},
      {Symbol::kMdu, &XpftParser::mode_parameter},
  };
  static constexpr auto kIndex = IndexBySymbol(kRows);
};

/// fmt_element = a row of the table | string_expr | a function that may stand as a command
XpftParser::Command XpftParser::fmt_element() {
  SkipEmptyPrefixes();
  const Element* const element = FindRow(Elements::kRows, Elements::kIndex, symbol_);
  if (element != nullptr) return (this->*element->read)();
  return IsStringFunction(symbol_) ? string_command() : function_command();
}

XpftParser::Command XpftParser::string_command() {
  return string_expr();
}

/// repeatable_group = "(" isis_fmt ")"
XpftParser::Command XpftParser::repeatable_group() {
  if (inRepGroup_) {
    error(syntax::kGeneral, "Nested repeatable format not allowed");
    return nullptr;
  }
  ast::SourcePlace place = Here();
  const ModeGuard group(inRepGroup_, true);
  List list = ListInParens(syntax::kClose, syntax::kClose);
  return std::make_unique<ast::RepGroup>(std::move(list), std::move(place));
}

// ---- control ----

/// if_expr = IF boolean_expr THEN isis_fmt [ELSE isis_fmt] FI
XpftParser::Command XpftParser::if_expr() {
  getsymbol();
  Truth condition = boolean_expr();
  if (!Expect(Symbol::kThen, syntax::kThen)) return nullptr;
  List thenList = isis_fmt();
  List elseList;
  if (symbol_ == Symbol::kElse) {
    getsymbol();
    elseList = isis_fmt();
  }
  if (!Expect(Symbol::kFi, syntax::kFi)) return nullptr;
  return std::make_unique<ast::IfThenElse>(std::move(condition), std::move(thenList), std::move(elseList));
}

/// select = SELECT value { CASE value ":" isis_fmt } [ELSECASE isis_fmt] ENDSEL, with one CASE at least
XpftParser::Command XpftParser::select() {
  getsymbol();
  Operand selector = ValueExpr(syntax::kGeneral);
  if (failed()) return nullptr;
  if (selector.text) return SelectCases<ast::IString>(std::move(selector.text), &XpftParser::StringCase);
  return SelectCases<ast::INumeric>(std::move(selector.number), &XpftParser::NumericCase);
}

template <class Value>
XpftParser::Command XpftParser::SelectCases(ast::Owned<Value> selector,
                                            ast::Owned<Value> (XpftParser::*readValue)()) {
  std::vector<typename ast::Select<Value>::Case> cases;
  do {
    if (!Expect(Symbol::kCase, syntax::kGeneral)) return nullptr;
    ast::Owned<Value> value = (this->*readValue)();
    if (!Expect(Symbol::kColon, syntax::kGeneral)) return nullptr;
    cases.emplace_back(std::move(value), isis_fmt());
  } while (symbol_ == Symbol::kCase);

  Command otherwise;
  if (symbol_ == Symbol::kElseCase) {
    getsymbol();
    otherwise = isis_fmt();
  }
  if (!Expect(Symbol::kEndSel, syntax::kGeneral)) return nullptr;
  return std::make_unique<ast::Select<Value>>(std::move(selector), std::move(cases), std::move(otherwise));
}

ast::Owned<ast::IString> XpftParser::StringCase() {
  return RequiredString(syntax::kGeneral);
}

XpftParser::Number XpftParser::NumericCase() {
  return RequiredNumber(syntax::kNumericItem);
}

/// while_expr = WHILE boolean_expr "(" isis_fmt ")"
XpftParser::Command XpftParser::while_expr() {
  ast::SourcePlace place = Here();
  getsymbol();
  Truth condition = boolean_expr();
  List body = ListInParens(syntax::kWhileOpen, syntax::kWhileClose);
  return std::make_unique<ast::While>(std::move(condition), std::move(body), std::move(place));
}

// ---- variables ----

/// num_assign = E n ":=" num_expr
XpftParser::Command XpftParser::num_assign() {
  int number = 0;
  if (!parse_int_number(number)) return nullptr;
  getsymbol();
  if (!Expect(Symbol::kAssign, syntax::kNumberAssign)) return nullptr;
  Number value = RequiredNumber(syntax::kNumberAssign);
  return std::make_unique<ast::NumVarAssign>(number, std::move(value));
}

/// str_var_expr = S n ":=" "(" isis_fmt ")" | S n [fragment]
XpftParser::Command XpftParser::str_var_expr() {
  int number = 0;
  if (!parse_int_number(number)) return nullptr;
  getsymbolShort();
  if (symbol_ != Symbol::kAssign) return WithFragment(std::make_unique<ast::SVar>(number));
  getsymbol();
  List value = ListInParens(syntax::kStringAssignOpen, syntax::kStringAssignClose);
  return std::make_unique<ast::StrVarAssign>(number, std::move(value));
}

// ---- included formats ----

/// cmd_ext_fmt = @name [ "(" isis_fmt {";" isis_fmt} ")" ] | quoted name
XpftParser::Command XpftParser::cmd_ext_fmt() {
  ast::SourcePlace place = Here();
  const bool mayHaveArguments = symbol_ == Symbol::kExtFmt;
  std::string name = std::move(name_);
  getsymbol();
  const bool hasArguments = mayHaveArguments && symbol_ == Symbol::kLeftParen;
  std::vector<List> arguments;
  if (hasArguments && !ExtFmtArguments(arguments)) return nullptr;
  return std::make_unique<ast::ExtFmt>(std::move(name), hasArguments, std::move(arguments), std::move(place));
}

bool XpftParser::ExtFmtArguments(std::vector<List>& arguments) {
  do {
    getsymbol();
    List list = isis_fmt();
    if (IsBlank(list)) error(syntax::kNextList, "command list expected");
    arguments.push_back(std::move(list));
  } while (symbol_ == Symbol::kSemicolon);
  if (symbol_ != Symbol::kRightParen) error(syntax::kSemicolon, "; expected");
  getsymbol();
  return !failed();
}

// ---- spacing and modes ----

/// spacing = C n | X n | "/" | "#" | "%"
XpftParser::Command XpftParser::spacing() {
  Command command;
  int number = 0;
  if (symbol_ == Symbol::kC) {
    if (!parse_int_number(number)) return nullptr;
    command = std::make_unique<ast::CmdC>(number);
  } else if (symbol_ == Symbol::kX) {
    if (!parse_int_number(number)) return nullptr;
    command = std::make_unique<ast::CmdX>(number);
  } else if (symbol_ == Symbol::kSlash) {
    command = std::make_unique<ast::NewLine>();
  } else if (symbol_ == Symbol::kHash) {
    command = std::make_unique<ast::BlankLine>();
  } else if (symbol_ == Symbol::kPercent) {
    command = std::make_unique<ast::SuppressedBlank>();
  } else {
    return nullptr;
  }
  getsymbol();
  return command;
}

/// spacing_string = spacing {spacing}
XpftParser::Command XpftParser::spacing_string() {
  Command first = spacing();
  Command next = spacing();
  if (!next) return first;
  auto run = std::make_unique<ast::CommandList>(true);
  run->Add(std::move(first));
  for (; next; next = spacing()) run->Add(std::move(next));
  return run;
}

/// mode_parameter = MPL | MPU | MHL | MHU | MDL | MDU
XpftParser::Command XpftParser::mode_parameter() {
  struct Mode {
    Symbol symbol;
    char mode;
    bool isUpper;
  };
  static constexpr Mode kModes[] = {
      {Symbol::kMpl, 'p', false}, {Symbol::kMpu, 'p', true},  {Symbol::kMhl, 'h', false},
      {Symbol::kMhu, 'h', true},  {Symbol::kMdl, 'd', false}, {Symbol::kMdu, 'd', true},
  };
  for (const Mode& row : kModes) {
    if (row.symbol != symbol_) continue;
    getsymbol();
    return std::make_unique<ast::ModeCmd>(row.mode, row.isUpper);
  }
  return nullptr;
}

}  // namespace xpft
