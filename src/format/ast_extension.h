#pragma once

#include <string>
#include <utility>
#include <vector>

#include "format/ast.h"
#include "format/ast_core.h"
#include "format/ast_field.h"
#include "format/pft_context.h"

/// Included formats, external functions, the shell, the trace, and the commands that change the record in
/// memory.
namespace xpft::ast {

/// @name, @name(list; list): another format, with arguments that ARG reads there.
class ExtFmt : public ICommand {
 public:
  /// `name` begins with "@".
  ExtFmt(std::string name, bool hasArgs, std::vector<Owned<CommandList>> args, SourcePlace place)
      : name_(std::move(name)), hasArgs_(hasArgs), args_(std::move(args)), place_(std::move(place)) {}
  [[nodiscard]] NodeType GetType() const override { return NodeType::kExtFmt; }
  void Print(IPrintContext* out) const override;
  void GetFieldTags(IPftContext* ctx, std::vector<int>& tags) const override;
  void DoCmd(IPftContext* ctx) const override;

 private:
  std::string name_;
  bool hasArgs_;
  std::vector<Owned<CommandList>> args_;
  SourcePlace place_;
};

/// &name(list): a function from outside the language.
class ExtFunc : public IStringCommand {
 public:
  /// `name` begins with "&".
  ExtFunc(std::string name, Owned<CommandList> list, SourcePlace place);
  [[nodiscard]] const CommandList* GetList() const { return list_.get(); }
  /// True for the utility functions, &uf and &unifor.
  [[nodiscard]] bool IsUnifor() const;

  [[nodiscard]] NodeType GetType() const override { return NodeType::kExtFunc; }
  void Print(IPrintContext* out) const override;
  void GetFieldTags(IPftContext* ctx, std::vector<int>& tags) const override;
  void DoCmd(IPftContext* ctx) const override;

 private:
  void Call(IPftContext* ctx) const;

  std::string name_;
  Owned<CommandList> list_;
  SourcePlace place_;
  const std::string* constant_ = nullptr;  // the argument, when the list is one plain literal
};

/// SYSTEM(fmt): a command of the shell.
class SystemCmd : public ICommand {
 public:
  explicit SystemCmd(Owned<CommandList> list) : list_(std::move(list)) {}
  [[nodiscard]] NodeType GetType() const override { return NodeType::kSystemCmd; }
  void Print(IPrintContext* out) const override;
  void GetFieldTags(IPftContext* ctx, std::vector<int>& tags) const override;
  void DoCmd(IPftContext* ctx) const override;

 private:
  Owned<CommandList> list_;
};

/// TRACE(fmt): a line in the trace log of the language.
class Trace : public ICommand {
 public:
  Trace(Owned<CommandList> list, SourcePlace place) : list_(std::move(list)), place_(std::move(place)) {}
  [[nodiscard]] NodeType GetType() const override { return NodeType::kTrace; }
  void Print(IPrintContext* out) const override;
  void GetFieldTags(IPftContext* ctx, std::vector<int>& tags) const override;
  void DoCmd(IPftContext* ctx) const override;

 private:
  Owned<CommandList> list_;
  SourcePlace place_;
};

// ---- assignments ----

/// The target of an assignment; the narrowing nodes may be null.
struct FieldAssignSpec {
  int tag = 0;
  Owned<FieldRepeat> repeat;
  Owned<SubfieldCmd> subfield;
  Owned<FieldFragment> fragment;
};

/// v100[...]^a*0.5:=(list), and the same for g100.
class FieldAssign : public ICommand {
 public:
  /// `target` is "v" or "g" and the tag.
  FieldAssign(const std::string& target, Owned<FieldRepeat> repeat, Owned<SubfieldCmd> subfield,
              Owned<FieldFragment> fragment, Owned<CommandList> value);
  void Print(IPrintContext* out) const override;
  void GetFieldTags(IPftContext* ctx, std::vector<int>& tags) const override;
  void DoCmd(IPftContext* ctx) const override;

 protected:
  virtual void Assign(IPftContext* ctx, const FieldAssignSpec& target, const std::string& value) const = 0;
  virtual void Assign(IPftContext* ctx, const FieldAssignSpec& target,
                      const std::vector<std::string_view>& occurrences) const = 0;

 private:
  [[nodiscard]] const Field* PlainSource() const;

  std::string target_;
  FieldAssignSpec spec_;
  Owned<CommandList> value_;
};

class RecordFieldAssign : public FieldAssign {
 public:
  using FieldAssign::FieldAssign;
  [[nodiscard]] NodeType GetType() const override { return NodeType::kRecordFieldAssign; }

 protected:
  void Assign(IPftContext* ctx, const FieldAssignSpec& target, const std::string& value) const override;
  void Assign(IPftContext* ctx, const FieldAssignSpec& target,
              const std::vector<std::string_view>& occurrences) const override;
};

class GVarAssign : public FieldAssign {
 public:
  using FieldAssign::FieldAssign;
  [[nodiscard]] NodeType GetType() const override { return NodeType::kGVarAssign; }

 protected:
  void Assign(IPftContext* ctx, const FieldAssignSpec& target, const std::string& value) const override;
  void Assign(IPftContext* ctx, const FieldAssignSpec& target,
              const std::vector<std::string_view>& occurrences) const override;
};

// ---- PROC ----

/// PROC(fmt): the text is a list of field updates, read anew on each run. See field_update_parser.h.
class ProcFieldUpdate : public ICommand {
 public:
  ProcFieldUpdate(Owned<CommandList> list, SourcePlace place)
      : list_(std::move(list)), place_(std::move(place)) {}
  [[nodiscard]] NodeType GetType() const override { return NodeType::kProcFieldUpdate; }
  void Print(IPrintContext* out) const override;
  void GetFieldTags(IPftContext* ctx, std::vector<int>& tags) const override;
  void DoCmd(IPftContext* ctx) const override;

 private:
  Owned<CommandList> list_;
  SourcePlace place_;
};

}  // namespace xpft::ast
