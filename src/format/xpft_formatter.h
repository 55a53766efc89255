#pragma once

#include <memory>
#include <string>
#include <string_view>

#include "format/ast_core.h"

namespace xpft {

/// A compiled format: the owner of its tree. It is held by shared pointer, so that it outlives its place in
/// the cache while a run uses it, and it does not change once it is made.
class XpftFormatter {
 public:
  explicit XpftFormatter(std::unique_ptr<ast::CommandList> list) : list_(std::move(list)) {}

  /// Compiles a text (UTF-8, or bytes that are quoted as they are).
  ///   name        shown in messages; may be empty
  ///   keepSource  keep comments, and the line ends inside literals, for printing
  ///   errorCode, errorText  receive the first error, or 0 and ""
  /// Null on an error. A text without any command gives an empty list.
  [[nodiscard]] static std::shared_ptr<XpftFormatter> GetFormatter(std::string_view name,
                                                                   std::string_view text, bool keepSource,
                                                                   int& errorCode, std::string& errorText);

  /// Compiles a bare condition, which then prints "1" or "0", or a bare numeric expression. Null when the
  /// text is neither.
  [[nodiscard]] static std::shared_ptr<XpftFormatter> GetPartialExpressionFormatter(std::string_view text);

  [[nodiscard]] const ast::CommandList* GetCmdList() const { return list_.get(); }
  /// The file that the text came from; empty when it came from none.
  [[nodiscard]] const std::string& GetFullPath() const { return fullPath_; }
  void SetFullPath(std::string path) { fullPath_ = std::move(path); }
  void Print(IPrintContext* out) const { list_->Print(out); }

 private:
  std::unique_ptr<ast::CommandList> list_;
  std::string fullPath_;
};

}  // namespace xpft
