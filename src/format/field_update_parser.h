#pragma once

#include <memory>
#include <string>
#include <string_view>
#include <vector>

#include "format/ast.h"

/// The field updates of PROC: commands on the record in memory.
///
///   d*             removes all fields
///   dT             removes all occurrences of field T
///   dT#N#          removes occurrence N of it
///   aT#text#       adds an occurrence at the end
///   hT N text      the same with the next N bytes as the text
namespace xpft::ast {

class AddFieldOccurrence : public ICommand {
 public:
  AddFieldOccurrence(int tag, std::string text) : tag_(tag), text_(std::move(text)) {}
  [[nodiscard]] NodeType GetType() const override { return NodeType::kAddFieldOccurrence; }
  void Print(IPrintContext* out) const override;
  void DoCmd(IPftContext* ctx) const override;

 private:
  int tag_;
  std::string text_;
};

class AddFieldOccurrenceEx : public ICommand {
 public:
  /// A length above 0 cuts the text to that many characters.
  AddFieldOccurrenceEx(int tag, int length, std::string text)
      : tag_(tag), length_(length), text_(std::move(text)) {}
  [[nodiscard]] NodeType GetType() const override { return NodeType::kAddFieldOccurrenceEx; }
  void Print(IPrintContext* out) const override;
  void DoCmd(IPftContext* ctx) const override;

 private:
  int tag_;
  int length_;
  std::string text_;
};

class DeleteAllFieldsCmd : public ICommand {
 public:
  [[nodiscard]] NodeType GetType() const override { return NodeType::kDeleteAllFieldsCmd; }
  void Print(IPrintContext* out) const override;
  void DoCmd(IPftContext* ctx) const override;
};

class DeleteAllOccurrencesCmd : public ICommand {
 public:
  explicit DeleteAllOccurrencesCmd(int tag) : tag_(tag) {}
  [[nodiscard]] NodeType GetType() const override { return NodeType::kDeleteAllOccurrencesCmd; }
  void Print(IPrintContext* out) const override;
  void DoCmd(IPftContext* ctx) const override;

 private:
  int tag_;
};

class DeleteFieldOccurrenceCmd : public ICommand {
 public:
  /// `occurrence` counts from 1.
  DeleteFieldOccurrenceCmd(int tag, int occurrence) : tag_(tag), occurrence_(occurrence) {}
  [[nodiscard]] NodeType GetType() const override { return NodeType::kDeleteFieldOccurrenceCmd; }
  void Print(IPrintContext* out) const override;
  void DoCmd(IPftContext* ctx) const override;

 private:
  int tag_;
  int occurrence_;
};

class FieldUpdateCmdList : public ICommand {
 public:
  void Add(Owned<ICommand> command) { commands_.push_back(std::move(command)); }
  [[nodiscard]] NodeType GetType() const override { return NodeType::kFieldUpdateCmdList; }
  void Print(IPrintContext* out) const override;
  void DoCmd(IPftContext* ctx) const override;

 private:
  std::vector<Owned<ICommand>> commands_;
};

class FieldUpdateParser {
 public:
  FieldUpdateParser() = delete;

  /// Null after an error, which is logged with code 500. A quotation mark at either end of the text is
  /// dropped.
  [[nodiscard]] static Owned<FieldUpdateCmdList> Parse(IPftContext* ctx, const SourcePlace& place,
                                                       const std::string& text);
};

}  // namespace xpft::ast
