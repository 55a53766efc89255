#pragma once

#include <string>
#include <utility>
#include <vector>

#include "format/ast.h"

/// Lists, control, literals, spacing, modes and variables.
namespace xpft::ast {

/// Commands in their order. `isRun`: a run of spacing commands, which prints without commas.
class CommandList : public ICommand {
 public:
  explicit CommandList(bool isRun = false) : isRun_(isRun) {}
  void Add(Owned<ICommand> command);
  /// Takes the last command off the list.
  [[nodiscard]] Owned<ICommand> RemoveLast();
  [[nodiscard]] const std::vector<Owned<ICommand>>& GetList() const { return commands_; }

  [[nodiscard]] NodeType GetType() const override { return NodeType::kCommandList; }
  void Print(IPrintContext* out) const override;
  void GetFieldTags(IPftContext* ctx, std::vector<int>& tags) const override;
  void DoCmd(IPftContext* ctx) const override;

 private:
  std::vector<Owned<ICommand>> commands_;
  std::vector<NodeType> types_;  // of commands_, so that a run asks no node for it
  bool isRun_;
};

/// ( list ): the list is run once for each occurrence of the longest field that it reads.
class RepGroup : public ICommand {
 public:
  RepGroup(Owned<CommandList> list, SourcePlace place) : list_(std::move(list)), place_(std::move(place)) {}
  [[nodiscard]] NodeType GetType() const override { return NodeType::kRepGroup; }
  void Print(IPrintContext* out) const override;
  void GetFieldTags(IPftContext* ctx, std::vector<int>& tags) const override;
  void DoCmd(IPftContext* ctx) const override;

 private:
  Owned<CommandList> list_;
  SourcePlace place_;
};

/// A comment that a parse for printing keeps; several lines are joined by LF.
class Comment : public ICommand {
 public:
  explicit Comment(std::string text) : text_(std::move(text)) {}
  [[nodiscard]] NodeType GetType() const override { return NodeType::kComment; }
  void Print(IPrintContext* out) const override;
  void DoCmd(IPftContext*) const override {}

 private:
  std::string text_;
};

class IfThenElse : public ICommand {
 public:
  /// `elseList` may be null.
  IfThenElse(Owned<IBoolean> condition, Owned<CommandList> thenList, Owned<CommandList> elseList)
      : condition_(std::move(condition)), then_(std::move(thenList)), else_(std::move(elseList)) {}
  [[nodiscard]] NodeType GetType() const override { return NodeType::kIfThenElse; }
  void Print(IPrintContext* out) const override;
  void GetFieldTags(IPftContext* ctx, std::vector<int>& tags) const override;
  void DoCmd(IPftContext* ctx) const override;

 private:
  Owned<IBoolean> condition_;
  Owned<CommandList> then_;
  Owned<CommandList> else_;
};

class While : public ICommand {
 public:
  While(Owned<IBoolean> condition, Owned<ICommand> body, SourcePlace place)
      : condition_(std::move(condition)), body_(std::move(body)), place_(std::move(place)) {}
  [[nodiscard]] NodeType GetType() const override { return NodeType::kWhile; }
  void Print(IPrintContext* out) const override;
  void GetFieldTags(IPftContext* ctx, std::vector<int>& tags) const override;
  void DoCmd(IPftContext* ctx) const override;

 private:
  Owned<IBoolean> condition_;
  Owned<ICommand> body_;
  SourcePlace place_;
};

/// SELECT over texts (Value is IString) or numbers (INumeric).
template <class Value>
class Select : public ICommand {
 public:
  using Case = std::pair<Owned<Value>, Owned<ICommand>>;
  /// `elseBody` may be null.
  Select(Owned<Value> selector, std::vector<Case> cases, Owned<ICommand> elseBody)
      : selector_(std::move(selector)), cases_(std::move(cases)), else_(std::move(elseBody)) {}
  [[nodiscard]] NodeType GetType() const override { return NodeType::kSelect; }
  void Print(IPrintContext* out) const override;
  void GetFieldTags(IPftContext* ctx, std::vector<int>& tags) const override;
  void DoCmd(IPftContext* ctx) const override;

 private:
  [[nodiscard]] const ICommand* Choose(IPftContext* ctx) const;

  Owned<Value> selector_;
  std::vector<Case> cases_;
  Owned<ICommand> else_;
};
using StringSelect = Select<IString>;
using NumericSelect = Select<INumeric>;

/// Break, Continue and Exit: the list that holds them acts on them, they do nothing themselves.
class Break : public ICommand {
 public:
  [[nodiscard]] NodeType GetType() const override { return NodeType::kBreak; }
  void Print(IPrintContext* out) const override;
  void DoCmd(IPftContext*) const override {}
};

class Continue : public ICommand {
 public:
  [[nodiscard]] NodeType GetType() const override { return NodeType::kContinue; }
  void Print(IPrintContext* out) const override;
  void DoCmd(IPftContext*) const override {}
};

class Exit : public ICommand {
 public:
  [[nodiscard]] NodeType GetType() const override { return NodeType::kExit; }
  void Print(IPrintContext* out) const override;
  void DoCmd(IPftContext*) const override {}
};

// ---- literals ----

/// '...', `...`, or <text>...</text> with the raw flag.
class UncondLiter : public IStringCommand {
 public:
  explicit UncondLiter(std::string text, bool raw = false) : text_(std::move(text)), raw_(raw) {}
  [[nodiscard]] const std::string& GetText() const { return text_; }
  [[nodiscard]] NodeType GetType() const override { return NodeType::kUncondLiter; }
  void Print(IPrintContext* out) const override;
  void DoCmd(IPftContext* ctx) const override;
  void GetStrVal(IPftContext* ctx, std::string& out) const override;

 private:
  std::string text_;
  bool raw_;
};

/// !c...c: prints the byte 27 and the text.
class EscLiter : public IStringCommand {
 public:
  explicit EscLiter(const std::string& text) : text_('\x1B' + text) {}
  [[nodiscard]] NodeType GetType() const override { return NodeType::kEscLiter; }
  void Print(IPrintContext* out) const override;
  void DoCmd(IPftContext* ctx) const override;
  void GetStrVal(IPftContext* ctx, std::string& out) const override;

 private:
  std::string text_;  // with the byte 27 in front
};

/// "...": printed by the CondCmdGroup around it.
class CondLiter : public ICommand {
 public:
  explicit CondLiter(std::string text) : text_(std::move(text)) {}
  [[nodiscard]] NodeType GetType() const override { return NodeType::kCondLiter; }
  void Print(IPrintContext* out) const override;
  void DoCmd(IPftContext* ctx) const override;

 private:
  std::string text_;
};

/// |...|, prefix or suffix of a field. The field prints the plus, on its side of the literal.
class RepLiter : public ICommand {
 public:
  RepLiter(std::string text, bool plus) : text_(std::move(text)), plus_(plus) {}
  [[nodiscard]] bool TreatSpecial() const { return plus_; }
  [[nodiscard]] NodeType GetType() const override { return NodeType::kRepLiter; }
  void Print(IPrintContext* out) const override;
  void DoCmd(IPftContext* ctx) const override;

 private:
  std::string text_;
  bool plus_;
};

// ---- spacing and modes ----

/// Cn: moves to a column, counted from 1.
class CmdC : public ICommand {
 public:
  explicit CmdC(int column) : column_(column) {}
  [[nodiscard]] NodeType GetType() const override { return NodeType::kCmdC; }
  void Print(IPrintContext* out) const override;
  void DoCmd(IPftContext* ctx) const override;

 private:
  int column_;
};

/// Xn: n blanks.
class CmdX : public ICommand {
 public:
  explicit CmdX(int count) : count_(count) {}
  [[nodiscard]] NodeType GetType() const override { return NodeType::kCmdX; }
  void Print(IPrintContext* out) const override;
  void DoCmd(IPftContext* ctx) const override;

 private:
  int count_;
};

/// "/": ends a line that has something on it.
class NewLine : public ICommand {
 public:
  [[nodiscard]] NodeType GetType() const override { return NodeType::kNewLine; }
  void Print(IPrintContext* out) const override;
  void DoCmd(IPftContext* ctx) const override;
};

/// "#": ends a line in any case.
class BlankLine : public ICommand {
 public:
  [[nodiscard]] NodeType GetType() const override { return NodeType::kBlankLine; }
  void Print(IPrintContext* out) const override;
  void DoCmd(IPftContext* ctx) const override;
};

/// "%": takes back the line ends at the end of the output.
class SuppressedBlank : public ICommand {
 public:
  [[nodiscard]] NodeType GetType() const override { return NodeType::kSuppressedBlank; }
  void Print(IPrintContext* out) const override;
  void DoCmd(IPftContext* ctx) const override;
};

/// MPL, MHU ...: mode is 'p', 'h' or 'd'.
class ModeCmd : public ICommand {
 public:
  ModeCmd(char mode, bool upper) : mode_(mode), upper_(upper) {}
  [[nodiscard]] NodeType GetType() const override { return NodeType::kModeCmd; }
  void Print(IPrintContext* out) const override;
  void DoCmd(IPftContext* ctx) const override;

 private:
  char mode_;
  bool upper_;
};

// ---- variables ----

class NVar : public AbstractNumeric {
 public:
  explicit NVar(int number) : number_(number) {}
  [[nodiscard]] NodeType GetType() const override { return NodeType::kNVar; }
  void Print(IPrintContext* out) const override;
  [[nodiscard]] long double GetNumVal(IPftContext* ctx) const override;

 private:
  int number_;
};

class SVar : public IStringCommand {
 public:
  explicit SVar(int number) : number_(number) {}
  [[nodiscard]] NodeType GetType() const override { return NodeType::kSVar; }
  void Print(IPrintContext* out) const override;
  void DoCmd(IPftContext* ctx) const override;
  void GetStrVal(IPftContext* ctx, std::string& out) const override;

 private:
  int number_;
};

class NumVarAssign : public ICommand {
 public:
  NumVarAssign(int number, Owned<INumeric> value) : number_(number), value_(std::move(value)) {}
  [[nodiscard]] NodeType GetType() const override { return NodeType::kNumVarAssign; }
  void Print(IPrintContext* out) const override;
  void GetFieldTags(IPftContext* ctx, std::vector<int>& tags) const override;
  void DoCmd(IPftContext* ctx) const override;

 private:
  int number_;
  Owned<INumeric> value_;
};

class StrVarAssign : public ICommand {
 public:
  StrVarAssign(int number, Owned<CommandList> value) : number_(number), value_(std::move(value)) {}
  [[nodiscard]] NodeType GetType() const override { return NodeType::kStrVarAssign; }
  void Print(IPrintContext* out) const override;
  void GetFieldTags(IPftContext* ctx, std::vector<int>& tags) const override;
  void DoCmd(IPftContext* ctx) const override;

 private:
  int number_;
  Owned<CommandList> value_;
};

}  // namespace xpft::ast
