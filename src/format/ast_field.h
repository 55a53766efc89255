#pragma once

#include <string>
#include <string_view>
#include <utility>
#include <vector>

#include "format/ast.h"
#include "format/ast_core.h"
#include "format/field_value.h"

/// Fields and what narrows them: occurrences, subfields, fragments.
namespace xpft::ast {

/// The bounds of a range for one run: numbers from 1, or LAST.
struct FieldBounds {
  bool isGiven = false;
  bool fromLast = false;
  bool toLast = false;
  int from = 0;
  int to = 0;

  /// First and last index, from 0, in a list of `count`; the first may lie behind the list.
  [[nodiscard]] int First(int count) const { return fromLast ? count - 1 : from - 1; }
  [[nodiscard]] int Last(int count) const { return toLast ? count - 1 : to - 1; }
};

/// [from], [from..to]. Without "..", "to" is the same as "from".
class FieldRepeat : public PftExpr {
 public:
  /// `from` null with fromLast false: the empty brackets, which mean "append" in an assignment.
  FieldRepeat(Owned<INumeric> from, bool fromLast) : from_(std::move(from)), fromLast_(fromLast) {}
  FieldRepeat(Owned<INumeric> from, bool fromLast, Owned<INumeric> to, bool toLast)
      : from_(std::move(from)), fromLast_(fromLast), hasTo_(true), to_(std::move(to)), toLast_(toLast) {}

  [[nodiscard]] FieldBounds Evaluate(IPftContext* ctx) const;
  [[nodiscard]] bool IsAppend() const { return !from_ && !fromLast_; }

  [[nodiscard]] NodeType GetType() const override { return NodeType::kFieldRepeat; }
  void Print(IPrintContext* out) const override;
  void GetFieldTags(IPftContext* ctx, std::vector<int>& tags) const override;

 private:
  Owned<INumeric> from_;
  bool fromLast_;
  bool hasTo_ = false;
  Owned<INumeric> to_;
  bool toLast_ = false;
};

class SubfieldRepeat : public FieldRepeat {
 public:
  using FieldRepeat::FieldRepeat;
  [[nodiscard]] NodeType GetType() const override { return NodeType::kSubfieldRepeat; }
};

/// *offset.length, in characters; unset is -1, but with a length given an unset offset is 0.
class FieldFragment : public PftExpr {
 public:
  FieldFragment(int offset, int length) : offset_(offset < 0 && length >= 0 ? 0 : offset), length_(length) {}
  [[nodiscard]] int GetOffset() const { return offset_; }
  [[nodiscard]] int GetLength() const { return length_; }
  [[nodiscard]] NodeType GetType() const override { return NodeType::kFieldFragment; }
  void Print(IPrintContext* out) const override;

 private:
  int offset_;
  int length_;
};

/// (first, next): margins of the first line and of the others, in columns.
class FieldIndent : public PftExpr {
 public:
  FieldIndent(int first, int next) : first_(first), next_(next) {}
  [[nodiscard]] int GetFirst() const { return first_; }
  [[nodiscard]] int GetNext() const { return next_; }
  [[nodiscard]] NodeType GetType() const override { return NodeType::kFieldIndent; }
  void Print(IPrintContext* out) const override;

 private:
  int first_;
  int next_;
};

class SubfieldCmd;

/// What a field command reads. The narrowing nodes may be null; `includeEmpty` false passes over occurrences
/// without any text.
class ISelect : public PftExpr {
 public:
  [[nodiscard]] virtual bool ExistsField(IPftContext* ctx, const FieldRepeat* repeat,
                                         const SubfieldCmd* subfield, const FieldFragment* fragment,
                                         bool hasRepeat, bool includeEmpty) const = 0;
  /// Appends the values to `list`.
  virtual void GetValues(IPftContext* ctx, const FieldRepeat* repeat, const SubfieldCmd* subfield,
                         const FieldFragment* fragment, FieldSelectValues& list, bool includeEmpty) const = 0;
  [[nodiscard]] virtual int GetRepeatCount(IPftContext* ctx, const FieldRepeat* repeat,
                                           const SubfieldCmd* subfield, const FieldFragment* fragment,
                                           bool includeEmpty) const = 0;
  [[nodiscard]] virtual int GetTag() const = 0;
};

/// ^x with an occurrence range of the subfield. It narrows a selection; on its own it selects nothing.
class SubfieldCmd : public PftExpr {
 public:
  SubfieldCmd(char code, Owned<SubfieldRepeat> repeat) : code_(code), repeat_(std::move(repeat)) {}
  [[nodiscard]] char GetCode() const { return code_; }
  [[nodiscard]] const SubfieldRepeat* GetRepeat() const { return repeat_.get(); }
  [[nodiscard]] NodeType GetType() const override { return NodeType::kSubfieldCmd; }
  void Print(IPrintContext* out) const override;
  void GetFieldTags(IPftContext* ctx, std::vector<int>& tags) const override;

 private:
  char code_;
  Owned<SubfieldRepeat> repeat_;
};

/// Vn: a field of the record; tag 0 selects the whole record.
class FieldSelect : public ISelect {
 public:
  explicit FieldSelect(int tag) : tag_(tag) {}
  [[nodiscard]] NodeType GetType() const override { return NodeType::kFieldSelect; }
  void Print(IPrintContext* out) const override;
  void GetFieldTags(IPftContext* ctx, std::vector<int>& tags) const override;
  [[nodiscard]] bool ExistsField(IPftContext* ctx, const FieldRepeat* repeat, const SubfieldCmd* subfield,
                                 const FieldFragment* fragment, bool hasRepeat,
                                 bool includeEmpty) const override;
  void GetValues(IPftContext* ctx, const FieldRepeat* repeat, const SubfieldCmd* subfield,
                 const FieldFragment* fragment, FieldSelectValues& list, bool includeEmpty) const override;
  [[nodiscard]] int GetRepeatCount(IPftContext* ctx, const FieldRepeat* repeat, const SubfieldCmd* subfield,
                                   const FieldFragment* fragment, bool includeEmpty) const override;
  [[nodiscard]] int GetTag() const override { return tag_; }

 private:
  int tag_;
};

/// Gn: a global variable, which is a field of the record that the application keeps for the whole run.
class GVarSelect : public ISelect {
 public:
  explicit GVarSelect(int tag) : tag_(tag) {}
  [[nodiscard]] NodeType GetType() const override { return NodeType::kGVarSelect; }
  void Print(IPrintContext* out) const override;
  [[nodiscard]] bool ExistsField(IPftContext* ctx, const FieldRepeat* repeat, const SubfieldCmd* subfield,
                                 const FieldFragment* fragment, bool hasRepeat,
                                 bool includeEmpty) const override;
  void GetValues(IPftContext* ctx, const FieldRepeat* repeat, const SubfieldCmd* subfield,
                 const FieldFragment* fragment, FieldSelectValues& list, bool includeEmpty) const override;
  [[nodiscard]] int GetRepeatCount(IPftContext* ctx, const FieldRepeat* repeat, const SubfieldCmd* subfield,
                                   const FieldFragment* fragment, bool includeEmpty) const override;
  [[nodiscard]] int GetTag() const override { return tag_; }

 private:
  int tag_;
};

/// Dn: prints nothing itself, but carries its prefix and its conditional literals where the field is present.
class DummySelect : public FieldSelect {
 public:
  using FieldSelect::FieldSelect;
  [[nodiscard]] NodeType GetType() const override { return NodeType::kDummySelect; }
  void Print(IPrintContext* out) const override;
  /// One empty value for each one of the field.
  void GetValues(IPftContext* ctx, const FieldRepeat* repeat, const SubfieldCmd* subfield,
                 const FieldFragment* fragment, FieldSelectValues& list, bool includeEmpty) const override;
};

/// Nn: the same where the field is absent.
class DummyNotSelect : public FieldSelect {
 public:
  using FieldSelect::FieldSelect;
  [[nodiscard]] NodeType GetType() const override { return NodeType::kDummyNotSelect; }
  void Print(IPrintContext* out) const override;
  [[nodiscard]] bool ExistsField(IPftContext* ctx, const FieldRepeat* repeat, const SubfieldCmd* subfield,
                                 const FieldFragment* fragment, bool hasRepeat,
                                 bool includeEmpty) const override;
  void GetValues(IPftContext* ctx, const FieldRepeat* repeat, const SubfieldCmd* subfield,
                 const FieldFragment* fragment, FieldSelectValues& list, bool includeEmpty) const override;
  [[nodiscard]] int GetRepeatCount(IPftContext* ctx, const FieldRepeat* repeat, const SubfieldCmd* subfield,
                                   const FieldFragment* fragment, bool includeEmpty) const override;
};

/// A field with all that may stand around it. Each part may be null; without a selection nothing is printed.
class Field : public IStringCommand {
 public:
  Field(Owned<ISelect> select, Owned<FieldRepeat> repeat, Owned<SubfieldCmd> subfield,
        Owned<FieldFragment> fragment, Owned<FieldIndent> indent, Owned<RepLiter> prefix,
        Owned<RepLiter> suffix);

  [[nodiscard]] const ISelect* GetSelect() const { return select_.get(); }
  [[nodiscard]] const FieldRepeat* GetRepeat() const { return repeat_.get(); }
  [[nodiscard]] const SubfieldCmd* GetSubfield() const { return subfield_.get(); }
  [[nodiscard]] const FieldFragment* GetFragment() const { return fragment_.get(); }
  /// True for all of a record field or global variable: no dummy, nothing that narrows it, nothing around
  /// it.
  [[nodiscard]] bool IsPlain() const;
  /// Whether any selected value is there.
  [[nodiscard]] bool Exists(IPftContext* ctx, bool includeEmpty) const;

  [[nodiscard]] NodeType GetType() const override { return NodeType::kField; }
  void Print(IPrintContext* out) const override;
  void GetFieldTags(IPftContext* ctx, std::vector<int>& tags) const override;
  void DoCmd(IPftContext* ctx) const override;

 private:
  void PrintValue(IPftContext* ctx, FieldSelectValue& value, int mode) const;
  [[nodiscard]] bool IsPrefixDue(IPftContext* ctx, const FieldSelectValue& value) const;
  [[nodiscard]] bool IsSuffixDue(IPftContext* ctx, bool isLastValue, int count) const;

  Owned<ISelect> select_;
  Owned<FieldRepeat> repeat_;
  Owned<SubfieldCmd> subfield_;
  Owned<FieldFragment> fragment_;
  Owned<FieldIndent> indent_;
  Owned<RepLiter> prefix_;
  Owned<RepLiter> suffix_;
  bool isDummy_;
};

/// A field between conditional literals. `commands` run after the prefix, and only with it.
class CondCmdGroup : public ICommand {
 public:
  CondCmdGroup(Owned<Field> field, Owned<ICommand> prefix, Owned<ICommand> suffix,
               Owned<CommandList> commands);
  [[nodiscard]] NodeType GetType() const override { return NodeType::kCondCmdGroup; }
  void Print(IPrintContext* out) const override;
  void GetFieldTags(IPftContext* ctx, std::vector<int>& tags) const override;
  void DoCmd(IPftContext* ctx) const override;

 private:
  struct Due {
    bool prefix;
    bool suffix;
  };
  [[nodiscard]] Due FindDue(IPftContext* ctx) const;
  [[nodiscard]] Due FindDueInGroup(IPftContext* ctx) const;
  [[nodiscard]] Due FindDueInPrivateGroup(IPftContext* ctx) const;

  Owned<Field> field_;
  Owned<ICommand> prefix_;
  Owned<ICommand> suffix_;
  Owned<CommandList> commands_;
};

/// A fragment of a text.
class SubString : public IStringCommand {
 public:
  SubString(Owned<IString> text, Owned<FieldFragment> fragment)
      : text_(std::move(text)), fragment_(std::move(fragment)) {}
  [[nodiscard]] NodeType GetType() const override { return NodeType::kSubString; }
  void Print(IPrintContext* out) const override;
  void GetFieldTags(IPftContext* ctx, std::vector<int>& tags) const override;
  void DoCmd(IPftContext* ctx) const override;
  void GetStrVal(IPftContext* ctx, std::string& out) const override;

 private:
  Owned<IString> text_;
  Owned<FieldFragment> fragment_;
};

/// The rewrite of the heading and data modes: takes markup and subfield marks out of `text`, in place.
/// `subfields` false leaves the subfield marks.
void ReplaceValue(std::string& text, bool subfields);

}  // namespace xpft::ast
