#include <string>
#include <utility>

#include "format/ast_extension.h"
#include "format/xpft_error_codes.h"
#include "format/xpft_parser.h"

/// The rules of fields: selection, occurrences, subfields, fragments, and the literals around a field.
namespace xpft {
namespace {

bool BeginsSelection(Symbol symbol) {
  return symbol == Symbol::kV || symbol == Symbol::kG || symbol == Symbol::kD || symbol == Symbol::kN;
}

ast::Owned<ast::ISelect> MakeSelect(Symbol symbol, int tag) {
  if (symbol == Symbol::kG) return std::make_unique<ast::GVarSelect>(tag);
  if (symbol == Symbol::kD) return std::make_unique<ast::DummySelect>(tag);
  if (symbol == Symbol::kN) return std::make_unique<ast::DummyNotSelect>(tag);
  return std::make_unique<ast::FieldSelect>(tag);
}

bool IsDummy(const ast::ISelect* select) {
  return select->GetType() == ast::NodeType::kDummySelect ||
         select->GetType() == ast::NodeType::kDummyNotSelect;
}

bool IsPlainField(const ast::Field& field) {
  return field.GetSelect() != nullptr && field.GetSelect()->GetType() == ast::NodeType::kFieldSelect;
}

}  // namespace

ast::Owned<ast::Field> XpftParser::MakeField(FieldParts parts, ast::Owned<ast::RepLiter> prefix,
                                             ast::Owned<ast::RepLiter> suffix) {
  return std::make_unique<ast::Field>(std::move(parts.select), std::move(parts.repeat),
                                      std::move(parts.subfield), std::move(parts.fragment),
                                      std::move(parts.indent), std::move(prefix), std::move(suffix));
}

// ---- fields as commands ----

/// field_expr = (V | G) tag [occur] [subfield] [fragment]
///              ( ":=" "(" isis_fmt ")" | [indent] [suffix] [conditional suffix] )
XpftParser::Command XpftParser::field_expr() {
  FieldParts parts;
  const bool isGlobal = symbol_ == Symbol::kG;
  if (!Selection(parts) || !Narrowing(parts, true, true)) return nullptr;
  if (symbol_ == Symbol::kAssign) return FieldAssignment(std::move(parts), isGlobal);

  if (parts.repeat && parts.repeat->IsAppend()) {
    Restore(parts.brackets);
    error(syntax::kOccurrence, "numeric expression expected");
    return nullptr;
  }
  parts.indent = indent();
  ast::Owned<ast::RepLiter> behind = suffix();
  return ConditionalSuffix(MakeField(std::move(parts), nullptr, std::move(behind)));
}

XpftParser::Command XpftParser::FieldAssignment(FieldParts parts, bool isGlobal) {
  getsymbol();
  List value = ListInParens(syntax::kFieldAssignOpen, syntax::kFieldAssignClose);
  if (failed()) return nullptr;
  const std::string target = (isGlobal ? 'g' : 'v') + std::to_string(parts.tag);
  if (isGlobal) {
    return std::make_unique<ast::GVarAssign>(target, std::move(parts.repeat), std::move(parts.subfield),
                                             std::move(parts.fragment), std::move(value));
  }
  return std::make_unique<ast::RecordFieldAssign>(target, std::move(parts.repeat), std::move(parts.subfield),
                                                  std::move(parts.fragment), std::move(value));
}

/// prefixed_field = field [conditional suffix], the suffix for a plain record field only
XpftParser::Command XpftParser::prefixed_field() {
  ast::Owned<ast::Field> element = field();
  if (!element || !IsPlainField(*element)) return element;
  return ConditionalSuffix(std::move(element));
}

XpftParser::Command XpftParser::ConditionalSuffix(ast::Owned<ast::Field> field) {
  if (symbol_ != Symbol::kCondLiteral) return field;
  auto literal = std::make_unique<ast::CondLiter>(TakeLiteral());
  getsymbolShort();
  return std::make_unique<ast::CondCmdGroup>(std::move(field), nullptr, std::move(literal), nullptr);
}

/// field = [prefix] {","} [ (D | N | V | G) tag [occur] [subfield] [fragment] [indent] [suffix] ],
/// D and N without a suffix; something must be there.
ast::Owned<ast::Field> XpftParser::field() {
  ast::Owned<ast::RepLiter> before = prefix();
  if (!before) {
    if (!BeginsSelection(symbol_)) return nullptr;
    return FieldBehindPrefix(nullptr);
  }

  const Mark behind = Save();  // on a comma, if the mark is used
  const bool isComma = symbol_ == Symbol::kComma;
  empty_comma();
  SkipEmptyPrefixes();
  if (BeginsSelection(symbol_)) return FieldBehindPrefix(std::move(before));
  if (isComma) Restore(behind);
  return MakeField({}, std::move(before), nullptr);
}

ast::Owned<ast::Field> XpftParser::FieldBehindPrefix(ast::Owned<ast::RepLiter> prefix) {
  FieldParts parts;
  if (!Selection(parts) || !Narrowing(parts, false, true)) return nullptr;
  parts.indent = indent();
  ast::Owned<ast::RepLiter> behind;
  if (!IsDummy(parts.select.get())) behind = suffix();
  if (failed()) return nullptr;
  return MakeField(std::move(parts), std::move(prefix), std::move(behind));
}

/// cond_group = conditional literal {","} {cond_command {","}} field [conditional suffix], D and N without it
XpftParser::Command XpftParser::cond_group() {
  auto before = std::make_unique<ast::CondLiter>(TakeLiteral());
  getsymbol();

  List commands;
  Mark behind;
  bool isComma = false;
  while (true) {
    behind = Save();  // on a comma, if the mark is used
    isComma = symbol_ == Symbol::kComma;
    empty_comma();
    SkipEmptyPrefixes();
    Command command = cond_command();
    if (!command) break;
    if (!commands) commands = std::make_unique<ast::CommandList>();
    commands->Add(std::move(command));
  }

  ast::Owned<ast::Field> inner;
  if (BeginsSelection(symbol_) || symbol_ == Symbol::kRepLiteral) {
    inner = field();
  } else if (isComma) {
    Restore(behind);  // it separates this group from the next command
  }
  ast::Owned<ast::CondLiter> after;
  const bool hasSelection = inner && inner->GetSelect() != nullptr;
  if (hasSelection && !IsDummy(inner->GetSelect()) && symbol_ == Symbol::kCondLiteral) {
    after = std::make_unique<ast::CondLiter>(TakeLiteral());
    getsymbol();
  }
  return std::make_unique<ast::CondCmdGroup>(std::move(inner), std::move(before), std::move(after),
                                             std::move(commands));
}

/// cond_command = conditional literal | escape literal | spacing_string | mode_parameter
XpftParser::Command XpftParser::cond_command() {
  Command command;
  if (symbol_ == Symbol::kCondLiteral) {
    command = std::make_unique<ast::CondLiter>(TakeLiteral());
  } else if (symbol_ == Symbol::kEscLiteral) {
    command = std::make_unique<ast::EscLiter>(literal_);
  } else {
    command = mode_parameter();
    return command ? std::move(command) : spacing_string();
  }
  getsymbol();
  return command;
}

// ---- literals around a field ----

/// prefix = repeatable literal ["+"], an empty literal is none
ast::Owned<ast::RepLiter> XpftParser::prefix() {
  if (symbol_ != Symbol::kRepLiteral) return nullptr;
  std::string text = TakeLiteral();
  getsymbol();
  const bool isPlus = symbol_ == Symbol::kPlus;
  if (isPlus) getsymbol();
  if (text.empty()) return nullptr;
  return std::make_unique<ast::RepLiter>(std::move(text), isPlus);
}

/// suffix = ["+"] repeatable literal, an empty literal is none
ast::Owned<ast::RepLiter> XpftParser::suffix() {
  const bool isPlus = symbol_ == Symbol::kPlus;
  if (isPlus) getsymbol();
  if (isPlus && symbol_ != Symbol::kRepLiteral) error(syntax::kSuffix, "|..| literal expected");
  if (symbol_ != Symbol::kRepLiteral) return nullptr;
  std::string text = TakeLiteral();
  getsymbolShort();
  if (text.empty()) return nullptr;
  return std::make_unique<ast::RepLiter>(std::move(text), isPlus);
}

/// An empty literal in front of anything is nothing.
void XpftParser::SkipEmptyPrefixes() {
  while (symbol_ == Symbol::kRepLiteral && literal_.empty()) {
    prefix();
    empty_comma();
  }
}

// ---- selection ----

/// (V | G | D | N) tag
bool XpftParser::Selection(FieldParts& parts) {
  const Symbol symbol = symbol_;
  if (!parse_int_number(parts.tag)) return false;
  parts.select = MakeSelect(symbol, parts.tag);
  getsymbolShort();
  return !failed();
}

/// [occur] [subfield] [fragment]
bool XpftParser::Narrowing(FieldParts& parts, bool mayAppend, bool hasFragment) {
  parts.repeat = occur<ast::FieldRepeat>(mayAppend ? &parts.brackets : nullptr);
  parts.subfield = subfield();
  if (hasFragment) parts.fragment = fragment();
  return !failed();
}

/// occur = "[" bound [".." bound] "]". With `emptyBrackets` also "[" "]", and it receives their place.
template <class Repeat>
ast::Owned<Repeat> XpftParser::occur(Mark* emptyBrackets) {
  if (symbol_ != Symbol::kLeftBracket) return nullptr;
  const Mark brackets = Save();
  Number from;
  Number to;
  bool isFromLast = false;
  bool isToLast = false;
  bool hasTo = false;
  {
    const ModeGuard mode(rangeMode_, true);
    getsymbolShort();
    const bool isEmpty = symbol_ == Symbol::kRightBracket && emptyBrackets != nullptr;
    if (isEmpty) {
      *emptyBrackets = brackets;
    } else if (!OccurrenceBound(from, isFromLast)) {
      if (symbol_ == Symbol::kRightBracket) Restore(brackets);
      error(syntax::kOccurrence, "numeric expression expected");
    }
    hasTo = !isEmpty && symbol_ == Symbol::kPoint;
    if (hasTo && SecondPoint()) {
      getsymbolShort();
      if (!OccurrenceBound(to, isToLast)) error(syntax::kOccurrence, "numeric expression expected");
    }
  }
  if (!ExpectHere(Symbol::kRightBracket, syntax::kOccurrenceClose)) return nullptr;
  getsymbolShort();
  if (!hasTo) return std::make_unique<Repeat>(std::move(from), isFromLast);
  return std::make_unique<Repeat>(std::move(from), isFromLast, std::move(to), isToLast);
}

/// bound = LAST | num_expr
bool XpftParser::OccurrenceBound(Number& number, bool& isLast) {
  isLast = symbol_ == Symbol::kLast;
  if (isLast) {
    getsymbol();
    return true;
  }
  number = num_expr();
  return number != nullptr;
}

/// subfield = "^" code [occur]
ast::Owned<ast::SubfieldCmd> XpftParser::subfield() {
  if (symbol_ != Symbol::kSubfield) return nullptr;
  const char code = subfieldCode_;
  getsymbolShort();
  auto repeat = occur<ast::SubfieldRepeat>(nullptr);
  return std::make_unique<ast::SubfieldCmd>(code, std::move(repeat));
}

/// fragment = ["*" n] ["." n], numbers that are not above 0 count as not written. In RangeMode a point can
/// also be the first of "..".
ast::Owned<ast::FieldFragment> XpftParser::fragment() {
  int offset = 0;
  int length = 0;
  if (symbol_ == Symbol::kStar && parse_int_number(offset)) getsymbolShort();
  if (symbol_ == Symbol::kPoint && !IsRange() && parse_int_number(length)) getsymbolShort();
  if (offset <= 0 && length <= 0) return nullptr;
  return std::make_unique<ast::FieldFragment>(offset > 0 ? offset : -1, length > 0 ? length : -1);
}

/// Whether the current point is the first of "..".
bool XpftParser::IsRange() {
  if (!rangeMode_) return false;
  const Mark point = Save();
  getsymbolShort();
  if (symbol_ != Symbol::kInteger && symbol_ != Symbol::kPoint) error(syntax::kRangePoint, "point expected");
  const bool isRange = symbol_ == Symbol::kPoint;
  Restore(point);
  return isRange;
}

/// The current token is the first point of "..", the second one becomes it.
bool XpftParser::SecondPoint() {
  getsymbolShort();
  if (symbol_ != Symbol::kPoint) error(syntax::kRangePoint, "point expected");
  return !failed();
}

/// indent = "(" n ["," m] ")". Without a number the "(" begins the next command.
ast::Owned<ast::FieldIndent> XpftParser::indent() {
  if (symbol_ != Symbol::kLeftParen) return nullptr;
  const Mark paren = Save();
  getsymbolShort();
  if (symbol_ != Symbol::kInteger) {
    Restore(paren);
    return nullptr;
  }
  const int first = static_cast<int>(integer_);
  int next = 0;
  getsymbol();
  if (symbol_ == Symbol::kComma && parse_int_number(next)) getsymbol();
  if (!ExpectHere(Symbol::kRightParen, syntax::kClose)) return nullptr;
  getsymbolShort();
  return std::make_unique<ast::FieldIndent>(first, next);
}

/// field_arg_function = ["+"] (V | G) tag [occur] [subfield] [fragment]
ast::Owned<ast::Field> XpftParser::field_arg_function(bool& isPlus, bool plusHasFragment) {
  isPlus = symbol_ == Symbol::kPlus;
  if (isPlus) getsymbol();
  if (symbol_ != Symbol::kV && symbol_ != Symbol::kG) {
    error(syntax::kFieldSelection, "field expression expected");
    return nullptr;
  }
  FieldParts parts;
  if (!Selection(parts) || !Narrowing(parts, false, !isPlus || plusHasFragment)) return nullptr;
  return MakeField(std::move(parts), nullptr, nullptr);
}

}  // namespace xpft
