#include <type_traits>
#include <utility>

#include "format/ast_extension.h"
#include "format/ast_numeric_functions.h"
#include "format/ast_string_functions.h"
#include "format/xpft_error_codes.h"
#include "format/xpft_parser.h"
#include "format/xpft_parser_arguments.h"

/// The functions and commands that are a word with arguments: one row each.
namespace xpft {

/// How the arguments of a function are written.
struct XpftParser::Form {
  enum Trait : unsigned {
    kBare = 1,           // there are none, and no parentheses
    kOptional = 2,       // the parentheses may be left out
    kDatabase = 4,       // a database may be named in front of the parentheses
    kOwnGroups = 8,      // repeat groups inside are not nested in one around
    kKeepsPlace = 0x10,  // the node reports errors of the run
    kBracket = 0x20,     // the database may be named in brackets in front of the parentheses, too
  };
  unsigned traits;
  int openCode;
  int closeCode;
  void (XpftParser::*read)(Arguments&);
};

template <class Node>
struct XpftParser::Function {
  Symbol symbol;
  Form form;
  ast::Owned<Node> (*build)(Arguments&);
};

struct XpftParser::Functions {
  using A = Arguments;
  using P = XpftParser;

  /// Nodes that are made of the first list, or of the list and the plus, or of nothing.
  template <class Base, class Node>
  static ast::Owned<Base> OfList(A& a) {
    return std::make_unique<Node>(std::move(a.lists[0]));
  }
  template <class Node>
  static Number OfPlusList(A& a) {
    return std::make_unique<Node>(std::move(a.lists[0]), !a.isPlus);
  }
  template <class Base, class Node>
  static ast::Owned<Base> OfNothing(A&) {
    return std::make_unique<Node>();
  }
  template <class Base, class Node>
  static ast::Owned<Base> OfListAndPlace(A& a) {
    return std::make_unique<Node>(std::move(a.lists[0]), std::move(a.place));
  }
  template <class Node>
  static Number OfSearch(A& a) {
    return std::make_unique<Node>(std::move(a.database), a.queryType, std::move(a.lists[0]));
  }
  template <class Node>
  static Text OfCut(A& a) {
    return std::make_unique<Node>(std::move(a.lists[0]), std::move(a.numbers[0]));
  }
  template <bool left, bool right>
  static Text OfTrim(A& a) {
    return std::make_unique<ast::SfncTrim>(std::move(a.lists[0]), std::move(a.lists[1]), left, right);
  }
  template <class Node>
  static Text OfThreeLists(A& a) {
    return std::make_unique<Node>(std::move(a.lists[0]), std::move(a.lists[1]), std::move(a.lists[2]));
  }
  template <bool ofFile>
  static Text OfMd5(A& a) {
    return std::make_unique<ast::SfncMd5>(std::move(a.lists[0]), ofFile);
  }
  template <ast::SfncFileInfo::Part part>
  static Text OfFileInfo(A& a) {
    return std::make_unique<ast::SfncFileInfo>(std::move(a.lists[0]), part);
  }
  template <bool isIocc>
  static Number OfOcc(A&) {
    return std::make_unique<ast::NfncOcc>(isIocc);
  }
  template <class Node>
  static ast::Owned<ast::INumericCommand> OfUpdate(A& a) {
    if (!a.isWritten) a.parameters[0].value = 3;  // master file and index
    return std::make_unique<Node>(std::move(a.parameters[0]), a.isWritten, std::move(a.place));
  }

  static Text OfDate(A& a) {
    return std::make_unique<ast::SfncDate>(std::move(a.parameters[0]), std::move(a.lists[0]));
  }
  static Text OfF(A& a) {
    return std::make_unique<ast::SfncF>(std::move(a.numbers[0]), std::move(a.numbers[1]),
                                        std::move(a.numbers[2]), !a.isPlus, std::move(a.place));
  }
  static Text OfMid(A& a) {
    return std::make_unique<ast::SfncMid>(std::move(a.lists[0]), std::move(a.numbers[0]),
                                          std::move(a.numbers[1]));
  }
  static Text OfSs(A& a) {
    return std::make_unique<ast::SfncSS>(std::move(a.numbers[0]), std::move(a.numbers[1]),
                                         std::move(a.lists[0]));
  }
  static Text OfRef(A& a) {
    return std::make_unique<ast::SfncRef>(std::move(a.database), std::move(a.numbers[0]),
                                          std::move(a.lists[0]));
  }
  static Text OfNewRec(A& a) {
    return std::make_unique<ast::SfncNewRec>(std::move(a.database), std::move(a.lists[0]));
  }
  static Text OfSort(A& a) {
    return std::make_unique<ast::SfncSort>(std::move(a.parameters[0]), std::move(a.parameters[1]),
                                           std::move(a.lists[0]), std::move(a.lists[1]), std::move(a.place));
  }
  static Number OfInstr(A& a) {
    return std::make_unique<ast::NfncInstr>(std::move(a.lists[0]), std::move(a.lists[1]));
  }
  static Number OfNocc(A& a) { return std::make_unique<ast::NfncNocc>(std::move(a.field), !a.isPlus); }
  static Number OfLr(A& a) {
    return std::make_unique<ast::NfncLr>(std::move(a.database), a.queryType, std::move(a.lists[0]),
                                         std::move(a.numbers[0]), std::move(a.numbers[1]));
  }
  static Number OfMath(A& a) {
    return std::make_unique<ast::NfncMath>(std::move(a.database), std::move(a.values), std::move(a.place));
  }
  static Number OfType(A& a) {
    return std::make_unique<ast::NfncType>(std::move(a.value.text), std::move(a.value.number),
                                           std::move(a.lists[0]));
  }
  static ast::Owned<ast::INumericCommand> OfMfn(A& a) {
    return std::make_unique<ast::Mfn>(a.length, !a.isPlus);
  }
  static ast::Owned<ast::INumericCommand> OfRegMatch(A& a) {
    return std::make_unique<ast::RegMatch>(std::move(a.numbers[0]), std::move(a.lists[0]),
                                           std::move(a.lists[1]));
  }
  static Text OfArg(A& a) { return std::make_unique<ast::SfncArg>(std::move(a.numbers[0])); }
  static Text OfDateX(A& a) { return std::make_unique<ast::SfncDateX>(std::move(a.numbers[0])); }

  // Forms that more than one function has.
  static constexpr Form kNone{Form::kBare, 0, 0, nullptr};
  static constexpr Form kText{0, syntax::kTextOpen, syntax::kTextClose, &P::ListArgument};
  static constexpr Form kTextAtPlace{Form::kKeepsPlace, syntax::kTextOpen, syntax::kTextClose,
                                     &P::ListArgument};
  static constexpr Form kTextNumber{0, syntax::kTextOpen, syntax::kTextClose, &P::NumberArgument};
  static constexpr Form kCut{0, syntax::kCutOpen, syntax::kCutClose, &P::LeftArguments};
  static constexpr Form kTrim{0, syntax::kListsOpen, syntax::kListsClose, &P::TrimArguments};
  static constexpr Form kThree{0, syntax::kListsOpen, syntax::kListsClose, &P::ThreeLists};
  static constexpr Form kValue{0, syntax::kNumericOpen, syntax::kClose, &P::ListArgument};
  static constexpr Form kRange{Form::kOwnGroups, syntax::kNumericOpen, syntax::kClose, &P::PlusListArgument};
  static constexpr Form kSearch{Form::kDatabase, syntax::kNumericOpen, syntax::kClose, &P::SearchArguments};
  static constexpr Form kUpdate{Form::kOptional | Form::kKeepsPlace, syntax::kParameterOpen, syntax::kClose,
                                &P::UpdateArgument};

  static constexpr Function<ast::IStringCommand> kTexts[] = {
      {Symbol::kArg, kTextNumber, OfArg},
      {Symbol::kCat, kText, OfList<ast::IStringCommand, ast::SfncCat>},
      {Symbol::kCitype, kText, OfList<ast::IStringCommand, ast::SfncCitype>},
      {Symbol::kDate, {Form::kOptional, syntax::kDate, syntax::kDate, &P::DateArguments}, OfDate},
      {Symbol::kDateX, kTextNumber, OfDateX},
      {Symbol::kDb, kNone, OfNothing<ast::IStringCommand, ast::SfncDb>},
      {Symbol::kEval, kTextAtPlace, OfListAndPlace<ast::IStringCommand, ast::SfncEval>},
      {Symbol::kF, {Form::kKeepsPlace, syntax::kTextOpen, syntax::kTextClose, &P::FArguments}, OfF},
      {Symbol::kFileExt, kText, OfFileInfo<ast::SfncFileInfo::Part::kExtension>},
      {Symbol::kFileMd5, kText, OfMd5<true>},
      {Symbol::kFileName, kText, OfFileInfo<ast::SfncFileInfo::Part::kName>},
      {Symbol::kFilePath, kText, OfFileInfo<ast::SfncFileInfo::Part::kPath>},
      {Symbol::kFmt,
       {Form::kOwnGroups, syntax::kTextOpen, syntax::kTextClose, &P::ListArgument},
       OfList<ast::IStringCommand, ast::SfncFmt>},
      {Symbol::kGetEnv, kText, OfList<ast::IStringCommand, ast::SfncGetEnv>},
      {Symbol::kLeft, kCut, OfCut<ast::SfncLeft>},
      {Symbol::kLtrim, kTrim, OfTrim<true, false>},
      {Symbol::kMd5, kText, OfMd5<false>},
      {Symbol::kMid, {0, syntax::kCutOpen, syntax::kCutClose, &P::MidArguments}, OfMid},
      {Symbol::kMstName, kNone, OfNothing<ast::IStringCommand, ast::SfncDb>},
      {Symbol::kNewLine, kText, OfList<ast::IStringCommand, ast::SfncEscNewLine>},
      {Symbol::kNewRec,
       {Form::kDatabase | Form::kOwnGroups, syntax::kTextOpen, syntax::kTextClose, &P::NewRecArguments},
       OfNewRec},
      {Symbol::kPutEnv, kText, OfList<ast::IStringCommand, ast::SfncPutEnv>},
      {Symbol::kRef,
       {Form::kDatabase | Form::kOwnGroups, syntax::kTextOpen, syntax::kTextClose, &P::RefArguments},
       OfRef},
      {Symbol::kRegReplace, kThree, OfThreeLists<ast::SfncRegReplace>},
      {Symbol::kReplace, kThree, OfThreeLists<ast::SfncReplace>},
      {Symbol::kRight, kCut, OfCut<ast::SfncRight>},
      {Symbol::kRtrim, kTrim, OfTrim<false, true>},
      {Symbol::kS, kText, OfList<ast::IStringCommand, ast::SfncS>},
      {Symbol::kSort,
       {Form::kKeepsPlace, syntax::kParameterOpen, syntax::kListsClose, &P::SortArguments},
       OfSort},
      {Symbol::kSs, {0, syntax::kTextOpen, syntax::kTextClose, &P::SsArguments}, OfSs},
      {Symbol::kTrim, kTrim, OfTrim<true, true>},
  };

  static constexpr Function<ast::INumeric> kNumbers[] = {
      {Symbol::kArgn, kNone, OfNothing<ast::INumeric, ast::NfncArgn>},
      {Symbol::kInstr, {0, syntax::kListsOpen, syntax::kListsClose, &P::TwoLists}, OfInstr},
      {Symbol::kIocc, kNone, OfOcc<true>},
      {Symbol::kL, kSearch, OfSearch<ast::NfncL>},
      {Symbol::kLr, {Form::kDatabase, syntax::kNumericOpen, syntax::kClose, &P::SearchAllArguments}, OfLr},
      {Symbol::kMath,
       {Form::kDatabase | Form::kBracket | Form::kKeepsPlace, syntax::kNumericOpen, syntax::kClose,
        &P::MathArguments},
       OfMath},
      {Symbol::kNocc, {0, syntax::kFieldOpen, syntax::kFieldClose, &P::FieldArgument}, OfNocc},
      {Symbol::kNpost, kSearch, OfSearch<ast::NfncNpst>},
      {Symbol::kNpst, kSearch, OfSearch<ast::NfncNpst>},
      {Symbol::kOcc, kNone, OfOcc<false>},
      {Symbol::kRavr, kRange, OfPlusList<ast::NfncRavr>},
      {Symbol::kRmax, kRange, OfPlusList<ast::NfncRmax>},
      {Symbol::kRmin, kRange, OfPlusList<ast::NfncRmin>},
      {Symbol::kRsum, kRange, OfPlusList<ast::NfncRsum>},
      {Symbol::kSeconds, kValue, OfList<ast::INumeric, ast::NfncSeconds>},
      {Symbol::kSize, kValue, OfList<ast::INumeric, ast::NfncSize>},
      {Symbol::kTag, kNone, OfNothing<ast::INumeric, ast::NfncTag>},
      {Symbol::kType, {0, syntax::kTypeOpen, syntax::kClose, &P::TypeArguments}, OfType},
      {Symbol::kVal, kValue, OfList<ast::INumeric, ast::NfncVal>},
  };

  /// Numbers that may also stand as commands.
  static constexpr Function<ast::INumericCommand> kNumberCommands[] = {
      {Symbol::kDelete, kUpdate, OfUpdate<ast::DeleteRec>},
      {Symbol::kMaxMfn, kNone, OfNothing<ast::INumericCommand, ast::MaxMfn>},
      {Symbol::kMfn, {Form::kOptional, syntax::kNumericOpen, syntax::kClose, &P::MfnArguments}, OfMfn},
      {Symbol::kRegMatch,
       {0, syntax::kParameterOpen, syntax::kListsClose, &P::RegMatchArguments},
       OfRegMatch},
      {Symbol::kSave, kUpdate, OfUpdate<ast::SaveRec>},
      {Symbol::kVer, kNone, OfNothing<ast::INumericCommand, ast::Version>},
  };

  static constexpr Form kCommand{Form::kKeepsPlace, syntax::kNumericOpen, syntax::kClose, &P::ListArgument};
  static constexpr Function<ast::ICommand> kCommands[] = {
      {Symbol::kBreak, kNone, OfNothing<ast::ICommand, ast::Break>},
      {Symbol::kContinue, kNone, OfNothing<ast::ICommand, ast::Continue>},
      {Symbol::kExit, kNone, OfNothing<ast::ICommand, ast::Exit>},
      {Symbol::kProc, kCommand, OfListAndPlace<ast::ICommand, ast::ProcFieldUpdate>},
      {Symbol::kSystem, kValue, OfList<ast::ICommand, ast::SystemCmd>},
      {Symbol::kTrace, kCommand, OfListAndPlace<ast::ICommand, ast::Trace>},
  };

  static constexpr auto kTextIndex = IndexBySymbol(kTexts);
  static constexpr auto kNumberIndex = IndexBySymbol(kNumbers);
  static constexpr auto kNumberCommandIndex = IndexBySymbol(kNumberCommands);
  static constexpr auto kCommandIndex = IndexBySymbol(kCommands);

  static const auto* FindText(Symbol symbol) { return FindRow(kTexts, kTextIndex, symbol); }
  static const auto* FindNumber(Symbol symbol) { return FindRow(kNumbers, kNumberIndex, symbol); }
  static const auto* FindNumberCommand(Symbol symbol) {
    return FindRow(kNumberCommands, kNumberCommandIndex, symbol);
  }
  static const auto* FindCommand(Symbol symbol) { return FindRow(kCommands, kCommandIndex, symbol); }
};

bool XpftParser::IsStringFunction(Symbol symbol) {
  return Functions::FindText(symbol) != nullptr;
}

bool XpftParser::IsNumericFunction(Symbol symbol) {
  return Functions::FindNumber(symbol) != nullptr || Functions::FindNumberCommand(symbol) != nullptr;
}

/// string_function = a row of kTexts
XpftParser::Text XpftParser::string_function() {
  const auto* const function = Functions::FindText(symbol_);
  return function != nullptr ? Call(*function) : nullptr;
}

/// numeric_function = a row of kNumbers or kNumberCommands
XpftParser::Number XpftParser::numeric_function() {
  if (const auto* const function = Functions::FindNumber(symbol_)) return Call(*function);
  const auto* const function = Functions::FindNumberCommand(symbol_);
  return function != nullptr ? Call(*function) : nullptr;
}

/// function_command = a row of kCommands or kNumberCommands
XpftParser::Command XpftParser::function_command() {
  if (const auto* const function = Functions::FindCommand(symbol_)) return Call(*function);
  const auto* const function = Functions::FindNumberCommand(symbol_);
  return function != nullptr ? Call(*function) : nullptr;
}

template <class Node>
ast::Owned<Node> XpftParser::Call(const Function<Node>& function) {
  Arguments arguments;
  constexpr bool isText = std::is_base_of_v<ast::IString, Node>;
  if (!ReadArguments(function.form, isText, arguments)) return nullptr;
  return function.build(arguments);
}

/// word [dbname] ["(" form ")"]
bool XpftParser::ReadArguments(const Form& form, bool isText, Arguments& arguments) {
  const Nesting nesting(*this);
  if (!nesting) return false;
  if (form.traits & Form::kKeepsPlace) arguments.place = Here();
  NextSymbol(isText);
  if (form.traits & Form::kBare) return !failed();
  if (form.traits & Form::kDatabase) DatabaseArrow(arguments.database);
  if (form.traits & Form::kBracket) DatabaseBracket(arguments.database);
  if ((form.traits & Form::kOptional) && symbol_ != Symbol::kLeftParen) return !failed();

  if (!Expect(Symbol::kLeftParen, form.openCode)) return false;
  arguments.isWritten = true;
  {
    const ModeGuard group(inRepGroup_, inRepGroup_ && !(form.traits & Form::kOwnGroups));
    (this->*form.read)(arguments);
  }
  if (!ExpectHere(Symbol::kRightParen, form.closeCode)) return false;
  NextSymbol(isText);
  return !failed();
}

/// dbname = "->" name | "->" "(" string_expr ")"
void XpftParser::DatabaseArrow(ast::DatabaseName& database) {
  if (symbol_ != Symbol::kMinus) return;
  getsymbol();
  if (symbol_ != Symbol::kGreater) return error(syntax::kArrow, "-> expected");
  getsymbolIdent();
  if (symbol_ == Symbol::kIdentifier) {
    database.name = std::move(name_);
    return getsymbol();
  }
  if (symbol_ == Symbol::kNone) getsymbol();  // not a name, and still to be read
  if (!Expect(Symbol::kLeftParen, syntax::kArrow)) return;
  database.expr = RequiredString(syntax::kArrow);
  Expect(Symbol::kRightParen, syntax::kClose);
}

/// cmd_ext_func = &name "(" isis_fmt ")"
XpftParser::Text XpftParser::cmd_ext_func() {
  ast::SourcePlace place = Here();
  std::string name = std::move(name_);
  getsymbol();
  if (!Expect(Symbol::kLeftParen, syntax::kTextOpen)) return nullptr;
  List list = isis_fmt();
  if (!ExpectHere(Symbol::kRightParen, syntax::kTextClose)) return nullptr;
  getsymbolShort();
  return std::make_unique<ast::ExtFunc>(std::move(name), std::move(list), std::move(place));
}

}  // namespace xpft
