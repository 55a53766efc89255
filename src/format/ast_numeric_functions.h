#pragma once

#include <string>
#include <string_view>
#include <utility>
#include <vector>

#include "format/ast.h"
#include "format/ast_core.h"
#include "format/ast_field.h"
#include "format/pft_context.h"

/// The numeric functions. Print writes the keyword in lower case with its arguments.
namespace xpft::ast {

/// The database that a function names: at most one of the two is set.
struct DatabaseName {
  std::string name;        // ->name
  Owned<IString> expr;     // ->(expr) or [expr]
  bool isBracket = false;  // [expr], written behind the "("

  [[nodiscard]] bool IsGiven() const { return !name.empty() || expr != nullptr; }
  /// "" when none is given.
  [[nodiscard]] std::string Evaluate(IPftContext* ctx) const;
  /// The form in front of "(", or behind it.
  void PrintArrow(IPrintContext* out) const;
  void PrintBracket(IPrintContext* out) const;
};

/// What the functions over one list of commands share.
class ListNumeric : public AbstractNumeric {
 public:
  explicit ListNumeric(Owned<CommandList> list) : list_(std::move(list)) {}
  void GetFieldTags(IPftContext* ctx, std::vector<int>& tags) const override;

 protected:
  [[nodiscard]] const CommandList* list() const { return list_.get(); }

 private:
  Owned<CommandList> list_;
};

/// VAL(fmt): the first number in the text, 0 when it has none.
class NfncVal : public ListNumeric {
 public:
  using ListNumeric::ListNumeric;
  [[nodiscard]] NodeType GetType() const override { return NodeType::kNfncVal; }
  void Print(IPrintContext* out) const override;
  [[nodiscard]] long double GetNumVal(IPftContext* ctx) const override;
};

/// SIZE(fmt): characters of the text.
class NfncSize : public ListNumeric {
 public:
  using ListNumeric::ListNumeric;
  [[nodiscard]] NodeType GetType() const override { return NodeType::kNfncSize; }
  void Print(IPrintContext* out) const override;
  [[nodiscard]] long double GetNumVal(IPftContext* ctx) const override;
};

/// SECONDS(fmt): seconds since the epoch, local time, of a text "yyyymmdd[ hhmmss]".
class NfncSeconds : public ListNumeric {
 public:
  using ListNumeric::ListNumeric;
  [[nodiscard]] NodeType GetType() const override { return NodeType::kNfncSeconds; }
  void Print(IPrintContext* out) const override;
  [[nodiscard]] long double GetNumVal(IPftContext* ctx) const override;
};

/// RSUM, RMIN, RMAX, RAVR over all numbers in the text. `notPlus` true: inside a group the list sees all
/// occurrences.
class RangeNumeric : public ListNumeric {
 public:
  RangeNumeric(Owned<CommandList> list, bool notPlus) : ListNumeric(std::move(list)), notPlus_(notPlus) {}
  void Print(IPrintContext* out) const override;
  [[nodiscard]] long double GetNumVal(IPftContext* ctx) const override;

 protected:
  /// What is kept of the numbers; `count` is not 0.
  struct Totals {
    long double sum = 0;
    long double least = 0;
    long double greatest = 0;
    std::size_t count = 0;
  };
  [[nodiscard]] virtual const char* Name() const = 0;
  [[nodiscard]] virtual long double Choose(const Totals& totals) const = 0;

 private:
  bool notPlus_;
};

class NfncRsum : public RangeNumeric {
 public:
  using RangeNumeric::RangeNumeric;
  [[nodiscard]] NodeType GetType() const override { return NodeType::kNfncRsum; }

 protected:
  [[nodiscard]] const char* Name() const override { return "rsum"; }
  [[nodiscard]] long double Choose(const Totals& totals) const override { return totals.sum; }
};

class NfncRmin : public RangeNumeric {
 public:
  using RangeNumeric::RangeNumeric;
  [[nodiscard]] NodeType GetType() const override { return NodeType::kNfncRmin; }

 protected:
  [[nodiscard]] const char* Name() const override { return "rmin"; }
  [[nodiscard]] long double Choose(const Totals& totals) const override { return totals.least; }
};

class NfncRmax : public RangeNumeric {
 public:
  using RangeNumeric::RangeNumeric;
  [[nodiscard]] NodeType GetType() const override { return NodeType::kNfncRmax; }

 protected:
  [[nodiscard]] const char* Name() const override { return "rmax"; }
  [[nodiscard]] long double Choose(const Totals& totals) const override { return totals.greatest; }
};

class NfncRavr : public RangeNumeric {
 public:
  using RangeNumeric::RangeNumeric;
  [[nodiscard]] NodeType GetType() const override { return NodeType::kNfncRavr; }

 protected:
  [[nodiscard]] const char* Name() const override { return "ravr"; }
  [[nodiscard]] long double Choose(const Totals& totals) const override {
    return totals.sum / static_cast<long double>(totals.count);
  }
};

/// INSTR(a, b): place of b in a, in characters from 1; 0 when it is not there or a text is empty.
class NfncInstr : public AbstractNumeric {
 public:
  NfncInstr(Owned<CommandList> text, Owned<CommandList> part)
      : text_(std::move(text)), part_(std::move(part)) {}
  [[nodiscard]] NodeType GetType() const override { return NodeType::kNfncInstr; }
  void Print(IPrintContext* out) const override;
  void GetFieldTags(IPftContext* ctx, std::vector<int>& tags) const override;
  [[nodiscard]] long double GetNumVal(IPftContext* ctx) const override;

 private:
  Owned<CommandList> text_;
  Owned<CommandList> part_;
};

/// NOCC(field): occurrences of the field, or of the subfield in the selected occurrences.
class NfncNocc : public AbstractNumeric {
 public:
  NfncNocc(Owned<Field> field, bool notPlus) : field_(std::move(field)), notPlus_(notPlus) {}
  [[nodiscard]] NodeType GetType() const override { return NodeType::kNfncNocc; }
  void Print(IPrintContext* out) const override;
  void GetFieldTags(IPftContext* ctx, std::vector<int>& tags) const override;
  [[nodiscard]] long double GetNumVal(IPftContext* ctx) const override;

 private:
  [[nodiscard]] int CountSubfields(IPftContext* ctx) const;

  Owned<Field> field_;
  bool notPlus_;
};

/// OCC, IOCC: the pass of the group, from 1; 0 outside.
class NfncOcc : public AbstractNumeric {
 public:
  explicit NfncOcc(bool isIocc) : isIocc_(isIocc) {}
  [[nodiscard]] NodeType GetType() const override { return NodeType::kNfncOcc; }
  void Print(IPrintContext* out) const override;
  [[nodiscard]] long double GetNumVal(IPftContext* ctx) const override;

 private:
  bool isIocc_;
};

/// TAG: the tag that was read last.
class NfncTag : public AbstractNumeric {
 public:
  [[nodiscard]] NodeType GetType() const override { return NodeType::kNfncTag; }
  void Print(IPrintContext* out) const override;
  [[nodiscard]] long double GetNumVal(IPftContext* ctx) const override;
};

/// ARGN: arguments of the included format that runs.
class NfncArgn : public AbstractNumeric {
 public:
  [[nodiscard]] NodeType GetType() const override { return NodeType::kNfncArgn; }
  void Print(IPrintContext* out) const override;
  [[nodiscard]] long double GetNumVal(IPftContext* ctx) const override;
};

/// TYPE(kind, fmt): 1 when the text is of that kind, else 0. One of the two forms of the kind is set.
class NfncType : public AbstractNumeric {
 public:
  NfncType(Owned<IString> kindText, Owned<INumeric> kind, Owned<CommandList> list)
      : kindText_(std::move(kindText)), kind_(std::move(kind)), list_(std::move(list)) {}
  [[nodiscard]] NodeType GetType() const override { return NodeType::kNfncType; }
  void Print(IPrintContext* out) const override;
  void GetFieldTags(IPftContext* ctx, std::vector<int>& tags) const override;
  [[nodiscard]] long double GetNumVal(IPftContext* ctx) const override;

 private:
  Owned<IString> kindText_;
  Owned<INumeric> kind_;
  Owned<CommandList> list_;
};

/// What L, LR and NPOST share: a term, a database and a kind of search.
class SearchNumeric : public AbstractNumeric {
 public:
  SearchNumeric(DatabaseName database, QueryType queryType, Owned<CommandList> term)
      : database_(std::move(database)), queryType_(queryType), term_(std::move(term)) {}
  void GetFieldTags(IPftContext* ctx, std::vector<int>& tags) const override;

 protected:
  /// Record numbers of the window that begins at `from` (0 is the first) and holds `count` of them (0: all).
  void Search(IPftContext* ctx, int from, int count, std::vector<int>& result) const;
  [[nodiscard]] int CountPostings(IPftContext* ctx) const;
  /// name->db(+[db]
  void PrintHead(IPrintContext* out, const char* name) const;
  [[nodiscard]] const CommandList* term() const { return term_.get(); }

 private:
  DatabaseName database_;
  QueryType queryType_;
  Owned<CommandList> term_;
};

/// L(fmt): the first record found for the term.
class NfncL : public SearchNumeric {
 public:
  using SearchNumeric::SearchNumeric;
  [[nodiscard]] NodeType GetType() const override { return NodeType::kNfncL; }
  void Print(IPrintContext* out) const override;
  [[nodiscard]] long double GetNumVal(IPftContext* ctx) const override;
};

/// NPOST(fmt): postings of the term.
class NfncNpst : public SearchNumeric {
 public:
  using SearchNumeric::SearchNumeric;
  [[nodiscard]] NodeType GetType() const override { return NodeType::kNfncNpst; }
  void Print(IPrintContext* out) const override;
  [[nodiscard]] long double GetNumVal(IPftContext* ctx) const override;
};

/// LR((fmt), offset, count): all records found, or a window of them.
class NfncLr : public SearchNumeric {
 public:
  /// `offset` and `count` are both null or both set.
  NfncLr(DatabaseName database, QueryType queryType, Owned<CommandList> term, Owned<INumeric> offset,
         Owned<INumeric> count)
      : SearchNumeric(std::move(database), queryType, std::move(term)),
        offset_(std::move(offset)),
        count_(std::move(count)) {}
  [[nodiscard]] NodeType GetType() const override { return NodeType::kNfncLr; }
  void Print(IPrintContext* out) const override;
  void GetFieldTags(IPftContext* ctx, std::vector<int>& tags) const override;
  [[nodiscard]] long double GetNumVal(IPftContext* ctx) const override;
  void GetNumVals(IPftContext* ctx, std::vector<long double>& values) const override;

 private:
  void SearchWindow(IPftContext* ctx, std::vector<int>& found) const;

  Owned<INumeric> offset_;
  Owned<INumeric> count_;
};

/// MATH->NAME(args). The name stands where other functions have their database.
class NfncMath : public AbstractNumeric {
 public:
  NfncMath(DatabaseName function, std::vector<Owned<INumeric>> arguments, SourcePlace place)
      : function_(std::move(function)), arguments_(std::move(arguments)), place_(std::move(place)) {}
  [[nodiscard]] NodeType GetType() const override { return NodeType::kNfncMath; }
  void Print(IPrintContext* out) const override;
  void GetFieldTags(IPftContext* ctx, std::vector<int>& tags) const override;
  [[nodiscard]] long double GetNumVal(IPftContext* ctx) const override;

 private:
  DatabaseName function_;
  std::vector<Owned<INumeric>> arguments_;
  SourcePlace place_;
};

/// MFN, MFN(n), MFN(+n). `length` is 6 when it is not written; `noPlus` false: a plus was written.
class Mfn : public INumericCommand {
 public:
  Mfn(int length, bool noPlus) : length_(length), noPlus_(noPlus) {}
  [[nodiscard]] NodeType GetType() const override { return NodeType::kMfn; }
  void Print(IPrintContext* out) const override;
  void DoCmd(IPftContext* ctx) const override;
  [[nodiscard]] long double GetNumVal(IPftContext* ctx) const override;

 private:
  int length_;
  bool noPlus_;
};

/// MAXMFN: the highest record number.
class MaxMfn : public INumericCommand {
 public:
  [[nodiscard]] NodeType GetType() const override { return NodeType::kMaxMfn; }
  void Print(IPrintContext* out) const override;
  void DoCmd(IPftContext* ctx) const override;
  [[nodiscard]] long double GetNumVal(IPftContext* ctx) const override;
};

/// VER: the version of the record.
class Version : public INumericCommand {
 public:
  [[nodiscard]] NodeType GetType() const override { return NodeType::kVersion; }
  void Print(IPrintContext* out) const override;
  void DoCmd(IPftContext* ctx) const override;
  [[nodiscard]] long double GetNumVal(IPftContext* ctx) const override;
};

/// REGMATCH(n, a, b): a reserved form, always 0.
class RegMatch : public INumericCommand {
 public:
  RegMatch(Owned<INumeric> number, Owned<CommandList> text, Owned<CommandList> pattern)
      : number_(std::move(number)), text_(std::move(text)), pattern_(std::move(pattern)) {}
  [[nodiscard]] NodeType GetType() const override { return NodeType::kRegMatch; }
  void Print(IPrintContext* out) const override;
  void GetFieldTags(IPftContext* ctx, std::vector<int>& tags) const override;
  void DoCmd(IPftContext*) const override {}
  [[nodiscard]] long double GetNumVal(IPftContext*) const override { return 0; }

 private:
  Owned<INumeric> number_;
  Owned<CommandList> text_;
  Owned<CommandList> pattern_;
};

/// A parameter of a function: a word of the language, or an expression.
struct NumParamSpec {
  int value = 0;         // of the word
  Owned<INumeric> expr;  // null: the word counts

  [[nodiscard]] int Evaluate(IPftContext* ctx) const;
};

/// SAVE, DELETE: 1 UPDMST, 2 UPDIF, 3 UPDALL. The value is the result of the operation.
class SaveRec : public INumericCommand {
 public:
  /// `isWritten`: a parameter was written.
  SaveRec(NumParamSpec what, bool isWritten, SourcePlace place)
      : what_(std::move(what)), isWritten_(isWritten), place_(std::move(place)) {}
  [[nodiscard]] NodeType GetType() const override { return NodeType::kSaveRec; }
  void Print(IPrintContext* out) const override;
  void GetFieldTags(IPftContext* ctx, std::vector<int>& tags) const override;
  void DoCmd(IPftContext* ctx) const override;
  [[nodiscard]] long double GetNumVal(IPftContext* ctx) const override;

 protected:
  [[nodiscard]] virtual const char* Name() const { return "save"; }
  [[nodiscard]] virtual int Run(IPftContext* ctx, bool updateMaster, bool updateIndex) const;

 private:
  NumParamSpec what_;
  bool isWritten_;
  SourcePlace place_;
};

class DeleteRec : public SaveRec {
 public:
  using SaveRec::SaveRec;
  [[nodiscard]] NodeType GetType() const override { return NodeType::kDeleteRec; }

 protected:
  [[nodiscard]] const char* Name() const override { return "delete"; }
  [[nodiscard]] int Run(IPftContext* ctx, bool updateMaster, bool updateIndex) const override;
};

/// 1 when the text is of a kind, else 0. `type`: 1 letters and digits, 2 letters, 3 digits, 4 an integer,
/// 5 a number; any other gives 0. An empty text gives 1. Which characters are letters, the process locale
/// tells.
[[nodiscard]] int fmt_type_number(int type, const std::string& text);

/// MATH functions by their upper-case name. On an error `message` is set, and the value is what the function
/// gives all the same. Nothing traps: a division by zero gives an infinity or a NaN, integers are 64 bits
/// wide and held at their ends. MOD is the rest of the whole parts, and 0 where the divisor has none; a shift
/// by less than 0 or more than 63 bits is 0.
[[nodiscard]] long double EvaluateMath(std::string_view name, const std::vector<long double>& arguments,
                                       std::string& message);

}  // namespace xpft::ast
