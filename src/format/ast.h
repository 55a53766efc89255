#pragma once

#include <memory>
#include <string>
#include <string_view>
#include <vector>

#include "format/node_type.h"

/// The tree of a compiled format.
///
/// A format is a list of commands; commands print, or change the state of a run. Expressions give texts,
/// numbers or truth values. A node owns its children and holds no state of a run: one tree serves any number
/// of records, every run brings its context (pft_context.h). A node with a child missing does nothing and
/// gives an empty text, 0 or false.
///
/// Classes by family: ast_core.h (lists, control, literals, spacing, variables), ast_field.h (fields and
/// their parts), ast_expr.h (numbers, comparisons, logic), ast_numeric_functions.h, ast_string_functions.h,
/// ast_extension.h (included formats, external functions, record-changing commands). The parser that builds
/// a tree: xpft_parser.h. How a tree is kept and found again: format_cache.h.
namespace xpft {
class IPftContext;
class IPrintContext;
}  // namespace xpft

namespace xpft::ast {

class CommandList;

/// An owned child; null when it is missing.
template <class Node>
using Owned = std::unique_ptr<Node>;

/// Where a node stands, for messages at run time.
struct SourcePlace {
  std::shared_ptr<const std::string> source;  // name of the format or the start of its text; may be null
  int line = 0;                               // from 1
  int column = 0;
};

class PftExpr {
 public:
  PftExpr() = default;
  virtual ~PftExpr() = default;
  PftExpr(const PftExpr&) = delete;
  PftExpr& operator=(const PftExpr&) = delete;

  [[nodiscard]] virtual NodeType GetType() const = 0;

  /// Writes the node as format text, in a form that gives the same tree when it is read again.
  virtual void Print(IPrintContext* out) const = 0;

  /// Appends every record field that the subtree may read, 0 where the fields cannot be told; a tag may come
  /// more than once.
  virtual void GetFieldTags(IPftContext* ctx, std::vector<int>& tags) const;

  /// Reports an error of the run: sets the code, adds the message with its place to the error text and writes
  /// it to the error log of the language. A code of 0 reports without stopping the run.
  static void LogError(IPftContext* ctx, const std::string& source, const std::string& message, int line,
                       int column, int code);
  static void LogError(IPftContext* ctx, const SourcePlace& place, const std::string& message, int code);
};

class ICommand : public virtual PftExpr {
 public:
  virtual void DoCmd(IPftContext* ctx) const = 0;

  /// The text that a list prints, without upper-casing; replaces `out`. A null list gives "".
  static void GetArguments(IPftContext* ctx, const CommandList* list, std::string& out);
};

class IString : public virtual PftExpr {
 public:
  /// Replaces `out` by the value, UTF-8.
  virtual void GetStrVal(IPftContext* ctx, std::string& out) const = 0;
};

class INumeric : public virtual PftExpr {
 public:
  [[nodiscard]] virtual long double GetNumVal(IPftContext* ctx) const = 0;
  /// Appends all values of a list-valued node, or the one value of any other.
  virtual void GetNumVals(IPftContext* ctx, std::vector<long double>& values) const = 0;
};

class IBoolean : public virtual PftExpr {
 public:
  [[nodiscard]] virtual bool GetBoolVal(IPftContext* ctx) const = 0;
};

/// The value of such a node is what the command prints, without upper-casing.
class IStringCommand : public IString, public ICommand {
 public:
  void GetStrVal(IPftContext* ctx, std::string& out) const override;
};

class AbstractNumeric : public INumeric {
 public:
  void GetNumVals(IPftContext* ctx, std::vector<long double>& values) const override;

  /// Finds the next number in `text` at or after `position`, in bytes; `position` moves behind it. Bytes are
  /// skipped up to a digit, or a sign before a digit; digits, points and an exponent belong to the number.
  /// False when there is none; `out` is empty when the number is longer than 50 characters.
  static bool FindNumericString(std::string_view text, std::size_t& position, std::string_view& out);
  /// False and 0 when the text is no number as a whole.
  static bool ParseNumericString(std::string_view text, long double& value);
  /// The nearest whole number, a tie going to the even one.
  [[nodiscard]] static long double RoundHalfToEven(long double value);
  [[nodiscard]] static bool IsNaN(long double value);
};

class INumericCommand : public AbstractNumeric, public ICommand {};

}  // namespace xpft::ast
