#pragma once

#include <span>
#include <string>
#include <utility>
#include <vector>

#include "format/ast.h"
#include "format/ast_core.h"
#include "format/ast_numeric_functions.h"

/// The text functions. As commands they print; Print writes the keyword in lower case with its arguments.
namespace xpft::ast {

/// What the functions over one list of commands share.
class ListString : public IStringCommand {
 public:
  explicit ListString(Owned<CommandList> list) : list_(std::move(list)) {}
  void GetFieldTags(IPftContext* ctx, std::vector<int>& tags) const override;
  /// Name(list).
  void Print(IPrintContext* out) const override;

 protected:
  [[nodiscard]] virtual const char* Name() const = 0;
  [[nodiscard]] const CommandList* list() const { return list_.get(); }

 private:
  Owned<CommandList> list_;
};

/// S(fmt): the text of the list.
class SfncS : public ListString {
 public:
  using ListString::ListString;
  [[nodiscard]] NodeType GetType() const override { return NodeType::kSfncS; }
  void DoCmd(IPftContext* ctx) const override;
  void GetStrVal(IPftContext* ctx, std::string& out) const override;

 protected:
  [[nodiscard]] const char* Name() const override { return "s"; }
};

/// FMT(fmt): the same outside any group, and with BREAK ending the list only.
class SfncFmt : public ListString {
 public:
  using ListString::ListString;
  [[nodiscard]] NodeType GetType() const override { return NodeType::kSfncFmt; }
  void DoCmd(IPftContext* ctx) const override;

 protected:
  [[nodiscard]] const char* Name() const override { return "fmt"; }
};

/// EVAL(fmt): the text is compiled as a format and run.
class SfncEval : public ListString {
 public:
  SfncEval(Owned<CommandList> list, SourcePlace place)
      : ListString(std::move(list)), place_(std::move(place)) {}
  [[nodiscard]] NodeType GetType() const override { return NodeType::kSfncEval; }
  void GetFieldTags(IPftContext* ctx, std::vector<int>& tags) const override;
  void DoCmd(IPftContext* ctx) const override;

 protected:
  [[nodiscard]] const char* Name() const override { return "eval"; }

 private:
  SourcePlace place_;
};

/// CAT(fmt): the contents of a text file.
class SfncCat : public ListString {
 public:
  using ListString::ListString;
  [[nodiscard]] NodeType GetType() const override { return NodeType::kSfncCat; }
  void DoCmd(IPftContext* ctx) const override;

 protected:
  [[nodiscard]] const char* Name() const override { return "cat"; }
};

/// CITYPE(fmt): the code of the document type, which is the first word of the text: its letters and digits in
/// upper case, at most ten of them. What is neither letter nor digit in front of the word is passed over.
class SfncCitype : public ListString {
 public:
  using ListString::ListString;
  [[nodiscard]] NodeType GetType() const override { return NodeType::kSfncCitype; }
  void DoCmd(IPftContext* ctx) const override;

 protected:
  [[nodiscard]] const char* Name() const override { return "citype"; }
};

/// MD5(fmt) of the text, FILEMD5(fmt) of the file it names: lower-case hex.
class SfncMd5 : public ListString {
 public:
  SfncMd5(Owned<CommandList> list, bool ofFile) : ListString(std::move(list)), ofFile_(ofFile) {}
  [[nodiscard]] NodeType GetType() const override { return NodeType::kSfncMd5; }
  void DoCmd(IPftContext* ctx) const override;

 protected:
  [[nodiscard]] const char* Name() const override { return ofFile_ ? "filemd5" : "md5"; }

 private:
  bool ofFile_;
};

/// FILENAME, FILEPATH, FILEEXT: parts of a path.
class SfncFileInfo : public ListString {
 public:
  enum class Part { kName, kPath, kExtension };
  SfncFileInfo(Owned<CommandList> list, Part part) : ListString(std::move(list)), part_(part) {}
  [[nodiscard]] NodeType GetType() const override { return NodeType::kSfncFileInfo; }
  void DoCmd(IPftContext* ctx) const override;

 protected:
  [[nodiscard]] const char* Name() const override;

 private:
  Part part_;
};

/// GETENV(fmt), PUTENV(fmt).
class SfncGetEnv : public ListString {
 public:
  using ListString::ListString;
  [[nodiscard]] NodeType GetType() const override { return NodeType::kSfncGetEnv; }
  void DoCmd(IPftContext* ctx) const override;

 protected:
  [[nodiscard]] const char* Name() const override { return "getenv"; }
};

class SfncPutEnv : public ListString {
 public:
  using ListString::ListString;
  [[nodiscard]] NodeType GetType() const override { return NodeType::kSfncPutEnv; }
  void DoCmd(IPftContext* ctx) const override;

 protected:
  [[nodiscard]] const char* Name() const override { return "putenv"; }
};

/// NEWLINE(fmt): the escapes \n \r \t \b \0 in the text take effect.
class SfncEscNewLine : public ListString {
 public:
  using ListString::ListString;
  [[nodiscard]] NodeType GetType() const override { return NodeType::kSfncEscNewLine; }
  void DoCmd(IPftContext* ctx) const override;

 protected:
  [[nodiscard]] const char* Name() const override { return "newline"; }
};

/// ARG(n): an argument of the included format that runs, from 1.
class SfncArg : public IStringCommand {
 public:
  explicit SfncArg(Owned<INumeric> number) : number_(std::move(number)) {}
  [[nodiscard]] NodeType GetType() const override { return NodeType::kSfncArg; }
  void Print(IPrintContext* out) const override;
  void GetFieldTags(IPftContext* ctx, std::vector<int>& tags) const override;
  void DoCmd(IPftContext* ctx) const override;

 private:
  Owned<INumeric> number_;
};

/// DB, MSTNAME: name of the database.
class SfncDb : public IStringCommand {
 public:
  [[nodiscard]] NodeType GetType() const override { return NodeType::kSfncDb; }
  void Print(IPrintContext* out) const override;
  void DoCmd(IPftContext* ctx) const override;
};

/// F([+] value [, width [, decimals]]). `notPlus` false: a plus was written, the value is printed with seven
/// digits.
class SfncF : public IStringCommand {
 public:
  SfncF(Owned<INumeric> value, Owned<INumeric> width, Owned<INumeric> decimals, bool notPlus,
        SourcePlace place)
      : value_(std::move(value)),
        width_(std::move(width)),
        decimals_(std::move(decimals)),
        notPlus_(notPlus),
        place_(std::move(place)) {}
  [[nodiscard]] NodeType GetType() const override { return NodeType::kSfncF; }
  void Print(IPrintContext* out) const override;
  void GetFieldTags(IPftContext* ctx, std::vector<int>& tags) const override;
  void DoCmd(IPftContext* ctx) const override;

 private:
  Owned<INumeric> value_;
  Owned<INumeric> width_;
  Owned<INumeric> decimals_;
  bool notPlus_;
  SourcePlace place_;
};

/// DATE, DATE(DATETIME), DATE(DATEONLY), DATE(num), DATE(fmt). A list gives a format of utils::DateTime, or
/// "ticks"; a format that DateTime does not know prints nothing.
class SfncDate : public IStringCommand {
 public:
  static constexpr int kPlain = 0;
  static constexpr int kDateOnly = 998;
  static constexpr int kDateTime = 999;
  /// Without a parameter: kind.value kPlain and no expression.
  explicit SfncDate(NumParamSpec kind, Owned<CommandList> format = nullptr)
      : kind_(std::move(kind)), format_(std::move(format)) {}
  [[nodiscard]] NodeType GetType() const override { return NodeType::kSfncDate; }
  void Print(IPrintContext* out) const override;
  void GetFieldTags(IPftContext* ctx, std::vector<int>& tags) const override;
  void DoCmd(IPftContext* ctx) const override;

 protected:
  [[nodiscard]] const NumParamSpec& kind() const { return kind_; }

 private:
  NumParamSpec kind_;
  Owned<CommandList> format_;
};

/// DATEX(n): the time n, in seconds since the epoch.
class SfncDateX : public SfncDate {
 public:
  explicit SfncDateX(Owned<INumeric> ticks) : SfncDate(NumParamSpec{0, std::move(ticks)}) {}
  [[nodiscard]] NodeType GetType() const override { return NodeType::kSfncDateX; }
  void Print(IPrintContext* out) const override;
  void DoCmd(IPftContext* ctx) const override;
};

/// LEFT(text, n), RIGHT(text, n), in characters.
class SfncLeft : public IStringCommand {
 public:
  SfncLeft(Owned<CommandList> text, Owned<INumeric> count)
      : text_(std::move(text)), count_(std::move(count)) {}
  [[nodiscard]] NodeType GetType() const override { return NodeType::kSfncLeft; }
  void Print(IPrintContext* out) const override;
  void GetFieldTags(IPftContext* ctx, std::vector<int>& tags) const override;
  void DoCmd(IPftContext* ctx) const override;

 private:
  Owned<CommandList> text_;
  Owned<INumeric> count_;
};

class SfncRight : public IStringCommand {
 public:
  SfncRight(Owned<CommandList> text, Owned<INumeric> count)
      : text_(std::move(text)), count_(std::move(count)) {}
  [[nodiscard]] NodeType GetType() const override { return NodeType::kSfncRight; }
  void Print(IPrintContext* out) const override;
  void GetFieldTags(IPftContext* ctx, std::vector<int>& tags) const override;
  void DoCmd(IPftContext* ctx) const override;

 private:
  Owned<CommandList> text_;
  Owned<INumeric> count_;
};

/// MID(text, start, n): n characters from `start`, which counts from 1.
class SfncMid : public IStringCommand {
 public:
  SfncMid(Owned<CommandList> text, Owned<INumeric> start, Owned<INumeric> count)
      : text_(std::move(text)), start_(std::move(start)), count_(std::move(count)) {}
  [[nodiscard]] NodeType GetType() const override { return NodeType::kSfncMid; }
  void Print(IPrintContext* out) const override;
  void GetFieldTags(IPftContext* ctx, std::vector<int>& tags) const override;
  void DoCmd(IPftContext* ctx) const override;

 private:
  Owned<CommandList> text_;
  Owned<INumeric> start_;
  Owned<INumeric> count_;
};

/// SS(start, n, text): MID with its arguments in another order.
class SfncSS : public IStringCommand {
 public:
  SfncSS(Owned<INumeric> start, Owned<INumeric> count, Owned<CommandList> text)
      : start_(std::move(start)), count_(std::move(count)), text_(std::move(text)) {}
  [[nodiscard]] NodeType GetType() const override { return NodeType::kSfncSS; }
  void Print(IPrintContext* out) const override;
  void GetFieldTags(IPftContext* ctx, std::vector<int>& tags) const override;
  void DoCmd(IPftContext* ctx) const override;

 private:
  Owned<INumeric> start_;
  Owned<INumeric> count_;
  Owned<CommandList> text_;
};

/// TRIM, LTRIM, RTRIM(text [, characters]).
class SfncTrim : public IStringCommand {
 public:
  /// `characters` may be null, which means blanks.
  SfncTrim(Owned<CommandList> text, Owned<CommandList> characters, bool left, bool right)
      : text_(std::move(text)), characters_(std::move(characters)), left_(left), right_(right) {}
  [[nodiscard]] NodeType GetType() const override { return NodeType::kSfncTrim; }
  void Print(IPrintContext* out) const override;
  void GetFieldTags(IPftContext* ctx, std::vector<int>& tags) const override;
  void DoCmd(IPftContext* ctx) const override;

 private:
  Owned<CommandList> text_;
  Owned<CommandList> characters_;
  bool left_;
  bool right_;
};

/// REPLACE(text, from, to).
class SfncReplace : public IStringCommand {
 public:
  SfncReplace(Owned<CommandList> text, Owned<CommandList> from, Owned<CommandList> to)
      : text_(std::move(text)), from_(std::move(from)), to_(std::move(to)) {}
  [[nodiscard]] NodeType GetType() const override { return NodeType::kSfncReplace; }
  void Print(IPrintContext* out) const override;
  void GetFieldTags(IPftContext* ctx, std::vector<int>& tags) const override;
  void DoCmd(IPftContext* ctx) const override;

 protected:
  [[nodiscard]] virtual const char* Name() const { return "replace"; }
  /// Replaces `out`; the other texts are well-formed.
  virtual void DoReplace(std::string_view text, std::string_view from, std::string_view to,
                         std::string& out) const;

 private:
  Owned<CommandList> text_;
  Owned<CommandList> from_;
  Owned<CommandList> to_;
};

/// REGREPLACE: a reserved form, always empty.
class SfncRegReplace : public SfncReplace {
 public:
  using SfncReplace::SfncReplace;
  [[nodiscard]] NodeType GetType() const override { return NodeType::kSfncRegReplace; }

 protected:
  [[nodiscard]] const char* Name() const override { return "regreplace"; }
  void DoReplace(std::string_view, std::string_view, std::string_view, std::string& out) const override {
    out.clear();
  }
};

/// REF(mfn, fmt): the list over another record, or over each record of a list-valued number.
class SfncRef : public IStringCommand {
 public:
  SfncRef(DatabaseName database, Owned<INumeric> mfn, Owned<CommandList> list)
      : database_(std::move(database)), mfn_(std::move(mfn)), list_(std::move(list)) {}
  [[nodiscard]] NodeType GetType() const override { return NodeType::kSfncRef; }
  void Print(IPrintContext* out) const override;
  void GetFieldTags(IPftContext* ctx, std::vector<int>& tags) const override;
  void DoCmd(IPftContext* ctx) const override;

 private:
  void Run(IPftContext* ctx, std::span<const long double> numbers, std::string& out) const;
  void RunHere(IPftContext* ctx, std::span<const long double> numbers, std::string& out) const;
  void RunThere(IPftContext* ctx, std::span<const long double> numbers, std::string& out) const;

  DatabaseName database_;
  Owned<INumeric> mfn_;
  Owned<CommandList> list_;
};

/// NEWREC(fmt): the list over a new empty record.
class SfncNewRec : public IStringCommand {
 public:
  SfncNewRec(DatabaseName database, Owned<CommandList> list)
      : database_(std::move(database)), list_(std::move(list)) {}
  [[nodiscard]] NodeType GetType() const override { return NodeType::kSfncNewRec; }
  void Print(IPrintContext* out) const override;
  void GetFieldTags(IPftContext* ctx, std::vector<int>& tags) const override;
  void DoCmd(IPftContext* ctx) const override;

 private:
  /// `database` null: the current one.
  void RunOnNewRecord(IPftContext* ctx, const std::string* database) const;

  DatabaseName database_;
  Owned<CommandList> list_;
};

/// SORT(type, direction, keys [, values]): type 1 SRTCASE, 2 SRTNOCASE, 3 SRTNUM; direction 1 SRTASC,
/// 2 SRTDESC.
class SfncSort : public IStringCommand {
 public:
  SfncSort(NumParamSpec type, NumParamSpec direction, Owned<CommandList> keys, Owned<CommandList> values,
           SourcePlace place)
      : type_(std::move(type)),
        direction_(std::move(direction)),
        keys_(std::move(keys)),
        values_(std::move(values)),
        place_(std::move(place)) {}
  [[nodiscard]] NodeType GetType() const override { return NodeType::kSfncSort; }
  void Print(IPrintContext* out) const override;
  void GetFieldTags(IPftContext* ctx, std::vector<int>& tags) const override;
  void DoCmd(IPftContext* ctx) const override;

 private:
  NumParamSpec type_;
  NumParamSpec direction_;
  Owned<CommandList> keys_;
  Owned<CommandList> values_;
  SourcePlace place_;
};

/// A number in the forms of F. Width and decimals are -1 when they are not given; without decimals it is
/// printed with an exponent. A value of 0 prints nothing.
[[nodiscard]] std::string FormatExtended(long double value, int width, int decimals);
/// The narrow form: the value is rounded to single precision first, `fill` pads it on the left.
void fmt_float_numb(long double value, int width, int decimals, char fill, std::string& out);

/// A moment in one of the forms of DATE, in local time. `ticks` is in seconds since the epoch, below 0 it
/// means now; what is outside 2 January 1970 to 18 January 2038 is held at the nearer end.
///
///   kind   form
///      1   mm-dd-yy  hh:mm:ss
///      2   mm-dd-yy
///      3   hh:mm:ss
///    998   dd/mm/yy
///    999   dd/mm/yy hh:mm:ss
///   other  yyyymmdd hhmmss, the weekday (0 Sunday), the days since 1 January in three columns
void fmt_get_date(int kind, long double ticks, std::string& out);

}  // namespace xpft::ast
