#include <utility>

#include "format/ast_string_functions.h"
#include "format/xpft_error_codes.h"
#include "format/xpft_parser.h"

/// The rules of expressions: texts, numbers, conditions.
namespace xpft {
namespace {

bool IsPlain(const ast::Field& field, ast::NodeType type) {
  return field.GetSelect() != nullptr && field.GetSelect()->GetType() == type;
}

struct StringRelationRow {
  Symbol symbol;
  ast::Owned<ast::IBoolean> (*make)(ast::Owned<ast::IString> left, ast::Owned<ast::IString> right);
};
struct NumericRelationRow {
  Symbol symbol;
  ast::Owned<ast::IBoolean> (*make)(ast::Owned<ast::INumeric> left, ast::Owned<ast::INumeric> right);
};

template <class Node, class Value>
ast::Owned<ast::IBoolean> Make(ast::Owned<Value> left, ast::Owned<Value> right) {
  return std::make_unique<Node>(std::move(left), std::move(right));
}

constexpr StringRelationRow kStringRelations[] = {
    {Symbol::kEqual, Make<ast::Seq>},       {Symbol::kNotEqual, Make<ast::Snoteq>},
    {Symbol::kLess, Make<ast::Slt>},        {Symbol::kLessEqual, Make<ast::Slteq>},
    {Symbol::kGreater, Make<ast::Sgt>},     {Symbol::kGreaterEqual, Make<ast::Sgteq>},
    {Symbol::kColon, Make<ast::Scontains>},
};
constexpr NumericRelationRow kNumericRelations[] = {
    {Symbol::kEqual, Make<ast::Neq>},   {Symbol::kNotEqual, Make<ast::Nnoteq>},
    {Symbol::kLess, Make<ast::Nlt>},    {Symbol::kLessEqual, Make<ast::Nlteq>},
    {Symbol::kGreater, Make<ast::Ngt>}, {Symbol::kGreaterEqual, Make<ast::Ngteq>},
};
constexpr auto kStringRelationIndex = IndexBySymbol(kStringRelations);
constexpr auto kNumericRelationIndex = IndexBySymbol(kNumericRelations);

const StringRelationRow* FindStringRelation(Symbol symbol) {
  return FindRow(kStringRelations, kStringRelationIndex, symbol);
}

const NumericRelationRow* FindNumericRelation(Symbol symbol) {
  return FindRow(kNumericRelations, kNumericRelationIndex, symbol);
}

}  // namespace

// ---- texts ----

/// string_expr = string_expr_element [fragment]
XpftParser::Text XpftParser::string_expr() {
  Text element = string_expr_element();
  if (!element) return nullptr;
  return WithFragment(std::move(element));
}

XpftParser::Text XpftParser::WithFragment(Text text) {
  ast::Owned<ast::FieldFragment> part = fragment();
  if (!part) return text;
  return std::make_unique<ast::SubString>(std::move(text), std::move(part));
}

XpftParser::Text XpftParser::RequiredString(int code) {
  Text text = string_expr();
  if (!text) error(code, "string expression expected");
  return text;
}

/// string_expr_element = field | string function | "(" string_expr ")" | literal | S n
XpftParser::Text XpftParser::string_expr_element() {
  Text text;
  switch (symbol_) {
    case Symbol::kV:
    case Symbol::kG:
    case Symbol::kD:
    case Symbol::kN:
    case Symbol::kRepLiteral:
      return FieldElement();
    case Symbol::kLeftParen:
      return StringInParens();
    case Symbol::kExtFunc:
      return cmd_ext_func();
    case Symbol::kUncondLiteral:
    case Symbol::kRawLiteral:
      text = std::make_unique<ast::UncondLiter>(TakeLiteral(), symbol_ == Symbol::kRawLiteral);
      break;
    case Symbol::kEscLiteral:
      text = std::make_unique<ast::EscLiter>(literal_);
      break;
    case Symbol::kStrVar: {
      int number = 0;
      if (!parse_int_number(number)) return nullptr;
      text = std::make_unique<ast::SVar>(number);
      break;
    }
    default:
      return string_function();
  }
  getsymbolShort();
  return text;
}

/// "(" string_expr ")"
XpftParser::Text XpftParser::StringInParens() {
  const Nesting nesting(*this);
  if (!nesting) return nullptr;
  getsymbol();
  Text text = RequiredString(syntax::kStringInParens);
  if (!ExpectHere(Symbol::kRightParen, syntax::kClose)) return nullptr;
  getsymbolShort();
  return text;
}

/// field [conditional suffix]: with the suffix it is the text that the command would print.
XpftParser::Text XpftParser::FieldElement() {
  const bool hasPrefix = symbol_ == Symbol::kRepLiteral;
  ast::Owned<ast::Field> element = field();
  if (!element || symbol_ != Symbol::kCondLiteral || !compatibility_) return element;
  // The same fields take the suffix as commands do, so that the text can be read as an argument of S.
  const bool takesSuffix = IsPlain(*element, ast::NodeType::kFieldSelect) ||
                           (!hasPrefix && IsPlain(*element, ast::NodeType::kGVarSelect));
  if (!takesSuffix) return element;
  auto list = std::make_unique<ast::CommandList>();
  list->Add(ConditionalSuffix(std::move(element)));
  return std::make_unique<ast::SfncS>(std::move(list));
}

// ---- numbers ----

/// num_expr = term { ("+" | "-") term }
XpftParser::Number XpftParser::num_expr() {
  return Sums(term());
}

XpftParser::Number XpftParser::Sums(Number left) {
  while (left && (symbol_ == Symbol::kPlus || symbol_ == Symbol::kMinus)) {
    const bool isPlus = symbol_ == Symbol::kPlus;
    if (!CountOperator()) return nullptr;
    getsymbol();
    Number right = term();
    if (!right) error(syntax::kArithmetic, "numeric expression expected");
    if (isPlus) {
      left = std::make_unique<ast::Nplus>(std::move(left), std::move(right));
    } else {
      left = std::make_unique<ast::Nminus>(std::move(left), std::move(right));
    }
  }
  return left;
}

/// term = factor { ("*" | "/") factor }
XpftParser::Number XpftParser::term() {
  return Products(factor());
}

XpftParser::Number XpftParser::Products(Number left) {
  while (left && (symbol_ == Symbol::kStar || symbol_ == Symbol::kSlash)) {
    const bool isProduct = symbol_ == Symbol::kStar;
    ast::SourcePlace place = isProduct ? ast::SourcePlace() : Here();
    if (!CountOperator()) return nullptr;
    getsymbol();
    Number right = factor();
    if (!right) error(syntax::kArithmetic, "numeric expression expected");
    if (isProduct) {
      left = std::make_unique<ast::Nmul>(std::move(left), std::move(right));
    } else {
      left = std::make_unique<ast::Ndiv>(std::move(left), std::move(right), std::move(place));
    }
  }
  return left;
}

/// factor = ["-"] ( number | E n | "(" num_expr ")" | numeric function )
XpftParser::Number XpftParser::factor() {
  if (symbol_ != Symbol::kMinus) return UnsignedFactor();
  getsymbol();
  Number operand = UnsignedFactor();
  if (!operand) error(syntax::kArithmetic, "numeric expression expected");
  return std::make_unique<ast::Numinus>(std::move(operand));
}

XpftParser::Number XpftParser::UnsignedFactor() {
  Number number;
  switch (symbol_) {
    case Symbol::kInteger:
    case Symbol::kLongInteger:
      number = std::make_unique<ast::FNumber>(static_cast<long double>(integer_));
      break;
    case Symbol::kFloat:
      number = std::make_unique<ast::FNumber>(float_);
      break;
    case Symbol::kNumVar: {
      int variable = 0;
      if (!parse_int_number(variable)) return nullptr;
      number = std::make_unique<ast::NVar>(variable);
      break;
    }
    case Symbol::kLeftParen:
      return NumberInParens();
    default:
      return numeric_function();
  }
  getsymbol();
  return number;
}

/// "(" num_expr ")"
XpftParser::Number XpftParser::NumberInParens() {
  const Nesting nesting(*this);
  if (!nesting) return nullptr;
  getsymbol();
  Number number = RequiredNumber(syntax::kArithmetic);
  if (!Expect(Symbol::kRightParen, syntax::kNumberClose)) return nullptr;
  return number;
}

XpftParser::Number XpftParser::RequiredNumber(int code) {
  Number number = num_expr();
  if (!number) error(code, "numeric expression expected");
  return number;
}

/// Whether the current token begins a number, behind any "(".
bool XpftParser::BeginsNumber() {
  const auto isNumber = [](Symbol symbol) {
    return symbol == Symbol::kInteger || symbol == Symbol::kLongInteger || symbol == Symbol::kFloat ||
           symbol == Symbol::kNumVar || symbol == Symbol::kMinus || IsNumericFunction(symbol);
  };
  if (symbol_ != Symbol::kLeftParen) return isNumber(symbol_);
  const Mark paren = Save();
  while (symbol_ == Symbol::kLeftParen) getsymbol();
  const bool begins = isNumber(symbol_);
  Restore(paren);
  return begins;
}

// ---- conditions ----

/// boolean_expr = boolean_term {OR boolean_term}
XpftParser::Truth XpftParser::boolean_expr() {
  return Disjunction(boolean_term());
}

XpftParser::Truth XpftParser::Disjunction(Truth left) {
  while (left && symbol_ == Symbol::kOr) {
    if (!CountOperator()) return nullptr;
    getsymbol();
    left = std::make_unique<ast::Bor>(std::move(left), boolean_term());
  }
  return left;
}

/// boolean_term = boolean_factor {AND boolean_factor}
XpftParser::Truth XpftParser::boolean_term() {
  return Conjunction(boolean_factor());
}

XpftParser::Truth XpftParser::Conjunction(Truth left) {
  while (left && symbol_ == Symbol::kAnd) {
    if (!CountOperator()) return nullptr;
    getsymbol();
    left = std::make_unique<ast::Band>(std::move(left), boolean_factor());
  }
  return left;
}

/// boolean_factor = NOT boolean_factor | relation | presence | paren_expr, with what makes a condition of it
XpftParser::Truth XpftParser::boolean_factor() {
  if (symbol_ == Symbol::kNot) return Negation();
  const bool isInParens = symbol_ == Symbol::kLeftParen;
  Operand left = isInParens ? paren_expr() : SimpleOperand();
  if (left.text) return StringRelation(std::move(left.text), isInParens);
  if (left.number) return NumericRelation(std::move(left.number), isInParens);
  if (!left.truth) error(syntax::kPresence, "a( ), p( ) expected");
  return std::move(left.truth);
}

/// NOT boolean_factor
XpftParser::Truth XpftParser::Negation() {
  const Nesting nesting(*this);
  if (!nesting) return nullptr;
  getsymbol();
  return std::make_unique<ast::Bnot>(boolean_factor());
}

/// presence = (A | P) "(" field_arg_function ")"
XpftParser::Truth XpftParser::Presence() {
  const bool isAbsence = symbol_ == Symbol::kA;
  bool isPlus = false;
  getsymbol();
  if (!Expect(Symbol::kLeftParen, syntax::kFieldOpen)) return nullptr;
  ast::Owned<ast::Field> argument = field_arg_function(isPlus, true);
  if (!Expect(Symbol::kRightParen, syntax::kFieldClose)) return nullptr;
  if (isAbsence) return std::make_unique<ast::BfncA>(std::move(argument), !isPlus);
  return std::make_unique<ast::BfncP>(std::move(argument), !isPlus);
}

/// relation = string_expr string relation string_expr | string_expr IN in_list
XpftParser::Truth XpftParser::StringRelation(Text left, bool isInParens) {
  if (symbol_ == Symbol::kIn) {
    getsymbol();
    std::vector<ast::Owned<ast::StrRange>> list;
    if (!InList(list, &XpftParser::StringItem)) return nullptr;
    return std::make_unique<ast::Sin>(std::move(left), std::move(list));
  }
  const StringRelationRow* const relation = FindStringRelation(symbol_);
  if (relation == nullptr) {
    if (isInParens) error(syntax::kCondition, "boolean expression expected");
    error(syntax::kRelation, "<, >, <>, =, >= , <=, : expected");
    return nullptr;
  }
  getsymbol();
  Text right = RequiredString(isInParens ? syntax::kOperandInParens : syntax::kStringOperand);
  return relation->make(std::move(left), std::move(right));
}

/// relation = num_expr numeric relation num_expr | num_expr IN in_list
XpftParser::Truth XpftParser::NumericRelation(Number left, bool isInParens) {
  if (symbol_ == Symbol::kIn) {
    getsymbol();
    std::vector<ast::Owned<ast::NumRange>> list;
    if (!InList(list, &XpftParser::NumericItem)) return nullptr;
    return std::make_unique<ast::Nin>(std::move(left), std::move(list));
  }
  const NumericRelationRow* const relation = FindNumericRelation(symbol_);
  if (relation == nullptr) {
    if (isInParens) error(syntax::kCondition, "boolean expression expected");
    error(syntax::kRelation, "<, >, <>, =, >= , <= expected");
    return nullptr;
  }
  getsymbol();
  Number right = RequiredNumber(syntax::kOperandInParens);
  return relation->make(std::move(left), std::move(right));
}

// ---- operands of unknown kind ----

/// string_expr | num_expr | presence
XpftParser::Operand XpftParser::SimpleOperand() {
  Operand operand;
  if (symbol_ == Symbol::kA || symbol_ == Symbol::kP) {
    operand.truth = Presence();
    return operand;
  }
  operand.text = string_expr();
  if (!operand.text) operand.number = num_expr();
  return operand;
}

/// paren_expr = "(" analyze_expr ")", and what the kind of the inside allows: a fragment, or arithmetic
XpftParser::Operand XpftParser::paren_expr() {
  const Nesting nesting(*this);
  if (!nesting) return {};
  getsymbol();
  Operand inner = analyze_expr();
  if (inner.IsNone()) error(syntax::kCondition, "boolean expression expected");
  if (!ExpectHere(Symbol::kRightParen, syntax::kClose)) return {};
  NextSymbol(inner.text != nullptr);
  if (inner.text) inner.text = WithFragment(std::move(inner.text));
  if (inner.number) inner.number = Sums(Products(std::move(inner.number)));
  return inner;
}

/// What stands in parentheses at the head of an expression: a text, a number, or a whole condition.
XpftParser::Operand XpftParser::analyze_expr() {
  Operand left;
  if (symbol_ == Symbol::kLeftParen) {
    left = paren_expr();
  } else if (symbol_ == Symbol::kNot) {
    left.truth = Negation();
  } else {
    left = SimpleOperand();
  }
  if (left.text && (FindStringRelation(symbol_) != nullptr || symbol_ == Symbol::kIn)) {
    left.truth = StringRelation(std::move(left.text), true);
  } else if (left.number && (FindNumericRelation(symbol_) != nullptr || symbol_ == Symbol::kIn)) {
    left.truth = NumericRelation(std::move(left.number), true);
  }
  if (left.truth) left.truth = Disjunction(Conjunction(std::move(left.truth)));
  return left;
}

/// A text or a number.
XpftParser::Operand XpftParser::ValueExpr(int code) {
  Operand value = symbol_ == Symbol::kLeftParen ? paren_expr() : SimpleOperand();
  if (!value.text && !value.number) error(code, "string or numeric expression expected");
  return value;
}

// ---- in-lists ----

/// in_list = "[" item {"," item} "]" | "(" in_list ")"
template <class Range>
bool XpftParser::InList(std::vector<ast::Owned<Range>>& list, ast::Owned<Range> (XpftParser::*readItem)()) {
  if (symbol_ == Symbol::kLeftParen) {
    const Nesting nesting(*this);
    if (!nesting) return false;
    getsymbol();
    if (symbol_ != Symbol::kLeftParen && symbol_ != Symbol::kLeftBracket) {
      error(syntax::kInExpression, "IN expression expected");
    }
    return InList(list, readItem) && Expect(Symbol::kRightParen, syntax::kInClose);
  }
  if (!ExpectHere(Symbol::kLeftBracket, syntax::kInOpen)) return false;
  {
    const ModeGuard mode(rangeMode_, true);
    do {
      getsymbol();
      list.push_back((this->*readItem)());
    } while (symbol_ == Symbol::kComma);
  }
  return Expect(Symbol::kRightBracket, syntax::kInClose);
}

/// item = string_expr [".." string_expr]
ast::Owned<ast::StrRange> XpftParser::StringItem() {
  Text from = RequiredString(syntax::kGeneral);
  Text to;
  if (symbol_ == Symbol::kPoint && SecondPoint()) {
    getsymbol();
    to = RequiredString(syntax::kGeneral);
  }
  return std::make_unique<ast::StrRange>(std::move(from), std::move(to));
}

/// item = num_expr [".." num_expr]
ast::Owned<ast::NumRange> XpftParser::NumericItem() {
  Number from = RequiredNumber(syntax::kNumericItem);
  Number to;
  if (symbol_ == Symbol::kPoint && SecondPoint()) {
    getsymbol();
    to = RequiredNumber(syntax::kNumericItem);
  }
  return std::make_unique<ast::NumRange>(std::move(from), std::move(to));
}

}  // namespace xpft
