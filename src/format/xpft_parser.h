#pragma once

#include <cstddef>
#include <memory>
#include <string_view>
#include <vector>

#include "format/ast.h"
#include "format/ast_core.h"
#include "format/ast_expr.h"
#include "format/ast_field.h"
#include "format/ast_numeric_functions.h"
#include "format/xpft_formatter.h"
#include "format/xpft_lexer.h"

namespace xpft {

/// Compiles the text of a format into its tree: recursive descent, one short function for each rule of the
/// grammar, which stands above the function. Functions of the language are rows of tables
/// (xpft_parser_function.cpp): the form of the arguments and what makes the node.
///
/// A rule begins at its first token and leaves the token behind its last one as the current token. A rule
/// that is absent gives null and reads nothing; one that breaks off records an error (xpft_error_codes.h),
/// after which no token follows, so that all rules above come to their end. What they have built goes with
/// the result.
///
/// Bytes from outside cannot make the parser or the runs of its tree recurse without bound: rules are nested
/// to a limited depth, and so is the number of binary operators of one command, whose chains are deep trees.
///
/// An object parses one text at a time and is not shared. Texts must outlive the call.
class XpftParser : private XpftLexer {
 public:
  /// The format as a whole. Null when an error was recorded or when there are no commands.
  ///   formatName  quoted in messages; may be empty
  [[nodiscard]] std::shared_ptr<XpftFormatter> format(std::string_view formatName, std::string_view text);
  /// The whole text is a condition; the result prints "1" or "0". Null after an error.
  [[nodiscard]] std::shared_ptr<XpftFormatter> booleanExpr(std::string_view text);
  /// The whole text is a numeric expression; the result prints it without decimals. Null after an error.
  [[nodiscard]] std::shared_ptr<XpftFormatter> numExpr(std::string_view text);

  using XpftLexer::GetErrorCode;
  using XpftLexer::GetErrorDescription;
  using XpftLexer::SetParseComments;
  using XpftLexer::SetParseCrLf;
  using XpftLexer::SetVelorCompatibility;

 private:
  using List = ast::Owned<ast::CommandList>;
  using Command = ast::Owned<ast::ICommand>;
  using Text = ast::Owned<ast::IStringCommand>;
  using Number = ast::Owned<ast::INumeric>;
  using Truth = ast::Owned<ast::IBoolean>;

  static constexpr int kDeepestNesting = 250;
  static constexpr int kMostOperators = 10000;

  /// One level of nesting, for its life. False, with the error recorded, when it is one too many.
  class Nesting {
   public:
    explicit Nesting(XpftParser& parser);
    ~Nesting() { --parser_.depth_; }
    Nesting(const Nesting&) = delete;
    Nesting& operator=(const Nesting&) = delete;
    explicit operator bool() const { return !parser_.failed(); }

   private:
    XpftParser& parser_;
  };

  /// What stands where the kind of an expression shows only on the way. At most one is set.
  struct Operand {
    Text text;
    Number number;
    Truth truth;
    [[nodiscard]] bool IsNone() const { return !text && !number && !truth; }
  };

  /// A field selection with what narrows it.
  struct FieldParts {
    ast::Owned<ast::ISelect> select;
    int tag = 0;
    ast::Owned<ast::FieldRepeat> repeat;
    ast::Owned<ast::SubfieldCmd> subfield;
    ast::Owned<ast::FieldFragment> fragment;
    ast::Owned<ast::FieldIndent> indent;
    Mark brackets{};  // of the empty brackets, when repeat is one for appending
  };

  struct Arguments;
  struct Form;
  template <class Node>
  struct Function;
  struct Functions;
  struct Element;
  struct Elements;

  void Open(std::string_view formatName, std::string_view text);
  [[nodiscard]] std::shared_ptr<XpftFormatter> FinishExpression(Command command);

  // Steps that many rules share.
  void empty_comma();
  void NextSymbol(bool isText);
  bool Expect(Symbol symbol, int code);
  bool ExpectHere(Symbol symbol, int code);
  void CheckEnd();
  bool CountOperator();
  bool parse_int_number(int& value);
  static bool IsBlank(const List& list);
  void FlushComments(ast::CommandList& list);

  // xpft_parser.cpp: lists and commands.
  List isis_fmt();
  List ListInParens(int openCode, int closeCode);
  Command fmt_element();
  Command string_command();
  Command repeatable_group();
  Command if_expr();
  Command select();
  template <class Value>
  Command SelectCases(ast::Owned<Value> selector, ast::Owned<Value> (XpftParser::*readValue)());
  ast::Owned<ast::IString> StringCase();
  Number NumericCase();
  Command while_expr();
  Command num_assign();
  Command str_var_expr();
  Command cmd_ext_fmt();
  bool ExtFmtArguments(std::vector<List>& arguments);
  Command spacing();
  Command spacing_string();
  Command mode_parameter();

  // xpft_parser_field.cpp.
  Command field_expr();
  Command FieldAssignment(FieldParts parts, bool isGlobal);
  Command prefixed_field();
  ast::Owned<ast::Field> field();
  ast::Owned<ast::Field> FieldBehindPrefix(ast::Owned<ast::RepLiter> prefix);
  Command cond_group();
  Command cond_command();
  Command ConditionalSuffix(ast::Owned<ast::Field> field);
  ast::Owned<ast::RepLiter> prefix();
  ast::Owned<ast::RepLiter> suffix();
  void SkipEmptyPrefixes();
  bool Selection(FieldParts& parts);
  bool Narrowing(FieldParts& parts, bool mayAppend, bool hasFragment);
  template <class Repeat>
  ast::Owned<Repeat> occur(Mark* emptyBrackets);
  bool OccurrenceBound(Number& number, bool& isLast);
  ast::Owned<ast::SubfieldCmd> subfield();
  ast::Owned<ast::FieldFragment> fragment();
  bool IsRange();
  bool SecondPoint();
  ast::Owned<ast::FieldIndent> indent();
  ast::Owned<ast::Field> field_arg_function(bool& isPlus, bool plusHasFragment);
  static ast::Owned<ast::Field> MakeField(FieldParts parts, ast::Owned<ast::RepLiter> prefix,
                                          ast::Owned<ast::RepLiter> suffix);

  // xpft_parser_expr.cpp.
  Text string_expr();
  Text string_expr_element();
  Text StringInParens();
  Text FieldElement();
  Text WithFragment(Text text);
  Text RequiredString(int code);
  Number num_expr();
  Number Sums(Number left);
  Number term();
  Number Products(Number left);
  Number factor();
  Number UnsignedFactor();
  Number NumberInParens();
  Number RequiredNumber(int code);
  Truth boolean_expr();
  Truth Disjunction(Truth left);
  Truth boolean_term();
  Truth Conjunction(Truth left);
  Truth boolean_factor();
  Truth Negation();
  Truth Presence();
  Truth StringRelation(Text left, bool isInParens);
  Truth NumericRelation(Number left, bool isInParens);
  Operand SimpleOperand();
  Operand paren_expr();
  Operand analyze_expr();
  Operand ValueExpr(int code);
  template <class Range>
  bool InList(std::vector<ast::Owned<Range>>& list, ast::Owned<Range> (XpftParser::*readItem)());
  ast::Owned<ast::StrRange> StringItem();
  ast::Owned<ast::NumRange> NumericItem();
  bool BeginsNumber();

  // xpft_parser_function.cpp: the tables, and what stands in front of the parentheses.
  static bool IsStringFunction(Symbol symbol);
  static bool IsNumericFunction(Symbol symbol);
  Text string_function();
  Number numeric_function();
  Command function_command();
  Text cmd_ext_func();
  template <class Node>
  ast::Owned<Node> Call(const Function<Node>& function);
  bool ReadArguments(const Form& form, bool isText, Arguments& arguments);
  void DatabaseArrow(ast::DatabaseName& database);

  // xpft_parser_arguments.cpp: what stands in the parentheses.
  void DatabaseBracket(ast::DatabaseName& database);
  void SearchSign(Arguments& arguments);
  void Lists(Arguments& arguments, std::size_t least, std::size_t most);
  void SemicolonLists(Arguments& arguments, std::size_t most);
  void CommaLists(Arguments& arguments, bool hasComma, std::size_t least, std::size_t most);
  void CutArguments(Arguments& arguments, std::size_t numbers);
  void ListArgument(Arguments& arguments);
  void PlusListArgument(Arguments& arguments);
  void NumberArgument(Arguments& arguments);
  void FieldArgument(Arguments& arguments);
  void MfnArguments(Arguments& arguments);
  void FArguments(Arguments& arguments);
  void DateArguments(Arguments& arguments);
  void RefArguments(Arguments& arguments);
  void NewRecArguments(Arguments& arguments);
  void SearchArguments(Arguments& arguments);
  void SearchAllArguments(Arguments& arguments);
  void MathArguments(Arguments& arguments);
  void TypeArguments(Arguments& arguments);
  void SsArguments(Arguments& arguments);
  void LeftArguments(Arguments& arguments) { CutArguments(arguments, 1); }
  void MidArguments(Arguments& arguments) { CutArguments(arguments, 2); }
  void TrimArguments(Arguments& arguments) { Lists(arguments, 1, 2); }
  void TwoLists(Arguments& arguments) { Lists(arguments, 2, 2); }
  void ThreeLists(Arguments& arguments) { Lists(arguments, 3, 3); }
  void RegMatchArguments(Arguments& arguments);
  void UpdateArgument(Arguments& arguments);
  void SortArguments(Arguments& arguments);

  int depth_ = 0;
  int operators_ = 0;  // so far, on the way from the root to the command being read
  bool inRepGroup_ = false;
};

}  // namespace xpft
