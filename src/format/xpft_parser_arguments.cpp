#include "format/xpft_parser_arguments.h"

#include <span>
#include <string_view>
#include <utility>

#include "format/ast_string_functions.h"
#include "format/xpft_error_codes.h"

/// The forms of arguments. Each rule begins behind the "(" and leaves the ")" as the current token.
namespace xpft {
namespace {

struct ParameterWord {
  Symbol symbol;
  int value;
};
constexpr ParameterWord kUpdateWords[] = {
    {Symbol::kUpdMst, 1},
    {Symbol::kUpdIf, 2},
    {Symbol::kUpdAll, 3},
};
constexpr ParameterWord kDateWords[] = {
    {Symbol::kDateTime, ast::SfncDate::kDateTime},
    {Symbol::kDateOnly, ast::SfncDate::kDateOnly},
};
constexpr ParameterWord kSortTypes[] = {
    {Symbol::kSrtCase, 1},
    {Symbol::kSrtNoCase, 2},
    {Symbol::kSrtNum, 3},
};
constexpr ParameterWord kSortDirections[] = {
    {Symbol::kSrtAsc, 1},
    {Symbol::kSrtDesc, 2},
};

bool FindWord(std::span<const ParameterWord> words, Symbol symbol, int& value) {
  for (const ParameterWord& word : words) {
    if (word.symbol != symbol) continue;
    value = word.value;
    return true;
  }
  return false;
}

}  // namespace

// ---- parts of forms ----

/// "[" string_expr "]"
void XpftParser::DatabaseBracket(ast::DatabaseName& database) {
  if (symbol_ != Symbol::kLeftBracket || database.IsGiven()) return;
  getsymbol();
  database.isBracket = true;
  database.expr = RequiredString(syntax::kStringInParens);
  Expect(Symbol::kRightBracket, syntax::kDatabaseClose);
}

/// "+" | "-"
void XpftParser::SearchSign(Arguments& arguments) {
  if (symbol_ == Symbol::kPlus) {
    arguments.queryType = QueryType::kPrefix;
  } else if (symbol_ == Symbol::kMinus) {
    arguments.queryType = QueryType::kExact;
  } else {
    return;
  }
  getsymbol();
}

/// lists = element {"," element} | isis_fmt ";" isis_fmt {";" isis_fmt}
/// Only a ";" behind the first list tells the spellings apart. Without one, and without a comma, all elements
/// are the first list.
void XpftParser::Lists(Arguments& arguments, std::size_t least, std::size_t most) {
  bool hasComma = false;
  List& first = arguments.lists[0];
  first = std::make_unique<ast::CommandList>();
  empty_comma();
  while (Command element = fmt_element()) {
    first->Add(std::move(element));
    hasComma = hasComma || symbol_ == Symbol::kComma;
    empty_comma();
  }
  if (symbol_ == Symbol::kSemicolon) {
    SemicolonLists(arguments, most);
  } else {
    CommaLists(arguments, hasComma, least, most);
  }
}

void XpftParser::SemicolonLists(Arguments& arguments, std::size_t most) {
  if (IsBlank(arguments.lists[0])) error(syntax::kFirstList, "command list expected");
  for (std::size_t i = 1; i < most; ++i) {
    if (!Expect(Symbol::kSemicolon, syntax::kSemicolon)) return;
    arguments.lists[i] = isis_fmt();
    if (!IsBlank(arguments.lists[i])) continue;
    error(i == 1 ? syntax::kNextList : syntax::kThirdList, "command list expected");
  }
}

void XpftParser::CommaLists(Arguments& arguments, bool hasComma, std::size_t least, std::size_t most) {
  ast::CommandList& first = *arguments.lists[0];
  const std::size_t elements = first.GetList().size();
  const std::size_t count = hasComma ? elements : 1;
  if (elements == 0) return error(syntax::kFirstList, "command expected");
  if (count > most) return error(most == 2 ? syntax::kNextList : syntax::kThreeListsCount, "syntax error");
  if (count < least) return error(syntax::kNextList, "command expected");
  for (std::size_t i = count; --i > 0;) {
    arguments.lists[i] = std::make_unique<ast::CommandList>();
    arguments.lists[i]->Add(first.RemoveLast());
  }
}

/// cut = isis_fmt ";" num_expr {";" num_expr} | fmt_element "," num_expr {"," num_expr}
/// A number can begin a list too, so the two spellings are told apart by looking ahead.
void XpftParser::CutArguments(Arguments& arguments, std::size_t numbers) {
  const bool isList = HasSemicolonAhead();
  const Symbol separator = isList ? Symbol::kSemicolon : Symbol::kComma;
  List& text = arguments.lists[0];
  if (isList) {
    text = isis_fmt();
  } else if (Command element = fmt_element()) {
    text = std::make_unique<ast::CommandList>();
    text->Add(std::move(element));
  }
  if (IsBlank(text)) error(syntax::kCutText, isList ? "command list expected" : "command expected");
  for (std::size_t i = 0; i < numbers; ++i) {
    if (symbol_ != separator) error(syntax::kCutSeparator, "syntax error");
    getsymbol();
    arguments.numbers[i] = RequiredNumber(i == 0 ? syntax::kCutNumber : syntax::kCutSecondNumber);
  }
}

// ---- forms ----

/// isis_fmt
void XpftParser::ListArgument(Arguments& arguments) {
  arguments.lists[0] = isis_fmt();
}

/// ["+"] isis_fmt
void XpftParser::PlusListArgument(Arguments& arguments) {
  arguments.isPlus = symbol_ == Symbol::kPlus;
  if (arguments.isPlus) getsymbol();
  arguments.lists[0] = isis_fmt();
}

/// num_expr
void XpftParser::NumberArgument(Arguments& arguments) {
  arguments.numbers[0] = RequiredNumber(syntax::kFirstNumber);
}

/// field_arg_function, without a fragment behind a plus
void XpftParser::FieldArgument(Arguments& arguments) {
  arguments.field = field_arg_function(arguments.isPlus, false);
}

/// ["+"] n
void XpftParser::MfnArguments(Arguments& arguments) {
  arguments.isPlus = symbol_ == Symbol::kPlus;
  if (arguments.isPlus) getsymbol();
  if (symbol_ != Symbol::kInteger) return error(syntax::kNumber, "number expected");
  arguments.length = static_cast<int>(integer_);
  getsymbol();
}

/// ["+"] num_expr ["," num_expr ["," num_expr]]
void XpftParser::FArguments(Arguments& arguments) {
  constexpr int kCodes[] = {syntax::kFirstNumber, syntax::kSecondNumber, syntax::kThirdNumber};
  arguments.isPlus = symbol_ == Symbol::kPlus;
  if (arguments.isPlus) getsymbol();
  arguments.numbers[0] = RequiredNumber(kCodes[0]);
  for (std::size_t i = 1; i < std::size(kCodes) && symbol_ != Symbol::kRightParen; ++i) {
    if (!Expect(Symbol::kComma, syntax::kComma)) return;
    arguments.numbers[i] = RequiredNumber(kCodes[i]);
  }
}

/// DATETIME | DATEONLY | num_expr | isis_fmt
void XpftParser::DateArguments(Arguments& arguments) {
  if (FindWord(kDateWords, symbol_, arguments.parameters[0].value)) return getsymbol();
  if (BeginsNumber()) {
    arguments.parameters[0].expr = num_expr();
    return;
  }
  arguments.lists[0] = isis_fmt();
  if (IsBlank(arguments.lists[0])) error(syntax::kDate, "DATETIME, DATEONLY or number expected");
}

/// ["[" string_expr "]"] num_expr "," isis_fmt
void XpftParser::RefArguments(Arguments& arguments) {
  DatabaseBracket(arguments.database);
  arguments.numbers[0] = RequiredNumber(syntax::kFirstNumber);
  if (Expect(Symbol::kComma, syntax::kComma)) arguments.lists[0] = isis_fmt();
}

/// ["[" string_expr "]"] isis_fmt
void XpftParser::NewRecArguments(Arguments& arguments) {
  DatabaseBracket(arguments.database);
  arguments.lists[0] = isis_fmt();
}

/// ["+" | "-"] ["[" string_expr "]"] isis_fmt
void XpftParser::SearchArguments(Arguments& arguments) {
  SearchSign(arguments);
  DatabaseBracket(arguments.database);
  arguments.lists[0] = isis_fmt();
}

/// ["+" | "-"] ["[" string_expr "]"] "(" isis_fmt ")" ["," num_expr "," num_expr]
void XpftParser::SearchAllArguments(Arguments& arguments) {
  SearchSign(arguments);
  DatabaseBracket(arguments.database);
  arguments.lists[0] = ListInParens(syntax::kNumericOpen, syntax::kClose);
  if (symbol_ != Symbol::kComma) return;
  getsymbol();
  arguments.numbers[0] = RequiredNumber(syntax::kWindowOffset);
  if (Expect(Symbol::kComma, syntax::kComma)) arguments.numbers[1] = RequiredNumber(syntax::kWindowCount);
}

/// ["[" string_expr "]"] {num_expr {","}}, the name here or in front
void XpftParser::MathArguments(Arguments& arguments) {
  DatabaseBracket(arguments.database);
  if (!arguments.database.IsGiven()) error(syntax::kMathName, "string expression expected");
  while (Number value = num_expr()) {
    arguments.values.push_back(std::move(value));
    empty_comma();
  }
}

/// (string_expr | num_expr) "," isis_fmt
void XpftParser::TypeArguments(Arguments& arguments) {
  arguments.value = ValueExpr(syntax::kTypeValue);
  if (Expect(Symbol::kComma, syntax::kTypeComma)) arguments.lists[0] = isis_fmt();
}

/// num_expr "," num_expr "," isis_fmt
void XpftParser::SsArguments(Arguments& arguments) {
  arguments.numbers[0] = RequiredNumber(syntax::kFirstNumber);
  if (!Expect(Symbol::kComma, syntax::kComma)) return;
  arguments.numbers[1] = RequiredNumber(syntax::kSecondNumber);
  if (Expect(Symbol::kComma, syntax::kComma)) arguments.lists[0] = isis_fmt();
}

/// num_expr "," lists
void XpftParser::RegMatchArguments(Arguments& arguments) {
  arguments.numbers[0] = RequiredNumber(syntax::kParameter);
  if (Expect(Symbol::kComma, syntax::kParameterComma)) Lists(arguments, 2, 2);
}

/// UPDMST | UPDIF | UPDALL | num_expr
void XpftParser::UpdateArgument(Arguments& arguments) {
  if (FindWord(kUpdateWords, symbol_, arguments.parameters[0].value)) return getsymbol();
  arguments.parameters[0].expr = num_expr();
  if (arguments.parameters[0].expr) return;
  error(syntax::kParameter, "UPDMST, UPDIF, UPDALL or number expected");
}

/// type "," direction "," lists, a type or direction being a word or num_expr
void XpftParser::SortArguments(Arguments& arguments) {
  const std::span<const ParameterWord> words[] = {kSortTypes, kSortDirections};
  for (std::size_t i = 0; i < std::size(words); ++i) {
    ast::NumParamSpec& parameter = arguments.parameters[i];
    if (FindWord(words[i], symbol_, parameter.value)) {
      getsymbol();
    } else {
      parameter.expr = RequiredNumber(syntax::kParameter);
    }
    if (!Expect(Symbol::kComma, syntax::kParameterComma)) return;
  }
  Lists(arguments, 1, 2);
}

}  // namespace xpft
