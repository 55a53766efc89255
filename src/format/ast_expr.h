#pragma once

#include <functional>
#include <string>
#include <utility>
#include <vector>

#include "format/ast.h"

/// Numbers, comparisons and logic. Arithmetic is in extended precision.
namespace xpft::ast {

class FNumber : public AbstractNumeric {
 public:
  explicit FNumber(long double value) : value_(value) {}
  [[nodiscard]] NodeType GetType() const override { return NodeType::kFNumber; }
  void Print(IPrintContext* out) const override;
  [[nodiscard]] long double GetNumVal(IPftContext*) const override { return value_; }

 private:
  long double value_;
};

/// -a
class Numinus : public AbstractNumeric {
 public:
  explicit Numinus(Owned<INumeric> operand) : operand_(std::move(operand)) {}
  [[nodiscard]] NodeType GetType() const override { return NodeType::kNuminus; }
  void Print(IPrintContext* out) const override;
  void GetFieldTags(IPftContext* ctx, std::vector<int>& tags) const override;
  [[nodiscard]] long double GetNumVal(IPftContext* ctx) const override;

 private:
  Owned<INumeric> operand_;
};

/// What the four operations share.
class BinaryNumeric : public AbstractNumeric {
 public:
  BinaryNumeric(Owned<INumeric> left, Owned<INumeric> right)
      : left_(std::move(left)), right_(std::move(right)) {}
  void Print(IPrintContext* out) const override;
  void GetFieldTags(IPftContext* ctx, std::vector<int>& tags) const override;
  [[nodiscard]] long double GetNumVal(IPftContext* ctx) const override;
  [[nodiscard]] const INumeric* GetLeft() const { return left_.get(); }

 protected:
  [[nodiscard]] virtual char Sign() const = 0;
  [[nodiscard]] virtual long double Apply(IPftContext* ctx, long double left, long double right) const = 0;

 private:
  Owned<INumeric> left_;
  Owned<INumeric> right_;
};

class Nplus : public BinaryNumeric {
 public:
  using BinaryNumeric::BinaryNumeric;
  [[nodiscard]] NodeType GetType() const override { return NodeType::kNplus; }

 protected:
  [[nodiscard]] char Sign() const override { return '+'; }
  [[nodiscard]] long double Apply(IPftContext*, long double left, long double right) const override {
    return left + right;
  }
};

class Nminus : public BinaryNumeric {
 public:
  using BinaryNumeric::BinaryNumeric;
  [[nodiscard]] NodeType GetType() const override { return NodeType::kNminus; }

 protected:
  [[nodiscard]] char Sign() const override { return '-'; }
  [[nodiscard]] long double Apply(IPftContext*, long double left, long double right) const override {
    return left - right;
  }
};

class Nmul : public BinaryNumeric {
 public:
  using BinaryNumeric::BinaryNumeric;
  [[nodiscard]] NodeType GetType() const override { return NodeType::kNmul; }

 protected:
  [[nodiscard]] char Sign() const override { return '*'; }
  [[nodiscard]] long double Apply(IPftContext*, long double left, long double right) const override {
    return left * right;
  }
};

/// A division by zero is reported and gives the numerator.
class Ndiv : public BinaryNumeric {
 public:
  Ndiv(Owned<INumeric> left, Owned<INumeric> right, SourcePlace place)
      : BinaryNumeric(std::move(left), std::move(right)), place_(std::move(place)) {}
  [[nodiscard]] NodeType GetType() const override { return NodeType::kNdiv; }

 protected:
  [[nodiscard]] char Sign() const override { return '/'; }
  [[nodiscard]] long double Apply(IPftContext* ctx, long double left, long double right) const override;

 private:
  SourcePlace place_;
};

/// Items of the in-lists: a..b.
class NumRange : public PftExpr {
 public:
  /// `to` null: the single value.
  NumRange(Owned<INumeric> from, Owned<INumeric> to) : from_(std::move(from)), to_(std::move(to)) {}
  [[nodiscard]] bool Contains(IPftContext* ctx, long double value) const;
  [[nodiscard]] NodeType GetType() const override { return NodeType::kNumRange; }
  void Print(IPrintContext* out) const override;
  void GetFieldTags(IPftContext* ctx, std::vector<int>& tags) const override;

 private:
  Owned<INumeric> from_;
  Owned<INumeric> to_;
};

class StrRange : public PftExpr {
 public:
  /// `to` null: the single value.
  StrRange(Owned<IString> from, Owned<IString> to) : from_(std::move(from)), to_(std::move(to)) {}
  [[nodiscard]] bool Contains(IPftContext* ctx, const std::string& value) const;
  [[nodiscard]] NodeType GetType() const override { return NodeType::kStrRange; }
  void Print(IPrintContext* out) const override;
  void GetFieldTags(IPftContext* ctx, std::vector<int>& tags) const override;

 private:
  Owned<IString> from_;
  Owned<IString> to_;
};

class Nin : public IBoolean {
 public:
  Nin(Owned<INumeric> value, std::vector<Owned<NumRange>> list)
      : value_(std::move(value)), list_(std::move(list)) {}
  [[nodiscard]] NodeType GetType() const override { return NodeType::kNin; }
  void Print(IPrintContext* out) const override;
  void GetFieldTags(IPftContext* ctx, std::vector<int>& tags) const override;
  [[nodiscard]] bool GetBoolVal(IPftContext* ctx) const override;

 private:
  Owned<INumeric> value_;
  std::vector<Owned<NumRange>> list_;
};

class Sin : public IBoolean {
 public:
  Sin(Owned<IString> value, std::vector<Owned<StrRange>> list)
      : value_(std::move(value)), list_(std::move(list)) {}
  [[nodiscard]] NodeType GetType() const override { return NodeType::kSin; }
  void Print(IPrintContext* out) const override;
  void GetFieldTags(IPftContext* ctx, std::vector<int>& tags) const override;
  [[nodiscard]] bool GetBoolVal(IPftContext* ctx) const override;

 private:
  Owned<IString> value_;
  std::vector<Owned<StrRange>> list_;
};

/// What the comparisons of numbers share: both operands must be there.
class NumericRelation : public IBoolean {
 public:
  NumericRelation(Owned<INumeric> left, Owned<INumeric> right)
      : left_(std::move(left)), right_(std::move(right)) {}
  void Print(IPrintContext* out) const override;
  void GetFieldTags(IPftContext* ctx, std::vector<int>& tags) const override;
  [[nodiscard]] bool GetBoolVal(IPftContext* ctx) const override;

 protected:
  [[nodiscard]] virtual const char* Sign() const = 0;
  [[nodiscard]] virtual bool Compare(long double left, long double right) const = 0;

 private:
  Owned<INumeric> left_;
  Owned<INumeric> right_;
};

/// A comparison of numbers: its kind, what it does, and the one or two characters it is written with.
template <NodeType kKind, class Operation, char kFirst, char kSecond = '\0'>
class NumericComparison : public NumericRelation {
 public:
  using NumericRelation::NumericRelation;
  [[nodiscard]] NodeType GetType() const override { return kKind; }

 protected:
  [[nodiscard]] const char* Sign() const override {
    static constexpr char kSign[] = {kFirst, kSecond, '\0'};
    return kSign;
  }
  [[nodiscard]] bool Compare(long double left, long double right) const override {
    return Operation()(left, right);
  }
};
using Neq = NumericComparison<NodeType::kNeq, std::equal_to<>, '='>;
using Nnoteq = NumericComparison<NodeType::kNnoteq, std::not_equal_to<>, '<', '>'>;
using Nlt = NumericComparison<NodeType::kNlt, std::less<>, '<'>;
using Nlteq = NumericComparison<NodeType::kNlteq, std::less_equal<>, '<', '='>;
using Ngt = NumericComparison<NodeType::kNgt, std::greater<>, '>'>;
using Ngteq = NumericComparison<NodeType::kNgteq, std::greater_equal<>, '>', '='>;

/// What the comparisons of texts share. The order is that of the bytes, then of the lengths.
class StringRelation : public IBoolean {
 public:
  StringRelation(Owned<IString> left, Owned<IString> right);
  void Print(IPrintContext* out) const override;
  void GetFieldTags(IPftContext* ctx, std::vector<int>& tags) const override;
  [[nodiscard]] bool GetBoolVal(IPftContext* ctx) const override;

 protected:
  [[nodiscard]] virtual const char* Sign() const = 0;
  [[nodiscard]] virtual bool Compare(const std::string& left, const std::string& right) const = 0;
  [[nodiscard]] const IString* left() const { return left_.get(); }
  [[nodiscard]] const IString* right() const { return right_.get(); }

 private:
  Owned<IString> left_;
  Owned<IString> right_;
};

/// Equality. Two upper-casing calls (&uf('+97...)) are compared without being made.
class Seq : public StringRelation {
 public:
  Seq(Owned<IString> left, Owned<IString> right);
  [[nodiscard]] NodeType GetType() const override { return NodeType::kSeq; }
  [[nodiscard]] bool GetBoolVal(IPftContext* ctx) const override;

 protected:
  [[nodiscard]] const char* Sign() const override { return "="; }
  [[nodiscard]] bool Compare(const std::string& left, const std::string& right) const override {
    return left == right;
  }

 private:
  void OptimizeNoCase();
  const CommandList* leftUpper_ = nullptr;  // arguments of the two calls; both null or both set
  const CommandList* rightUpper_ = nullptr;
};

/// A comparison of texts, in the same form.
template <NodeType kKind, class Operation, char kFirst, char kSecond = '\0'>
class StringComparison : public StringRelation {
 public:
  using StringRelation::StringRelation;
  [[nodiscard]] NodeType GetType() const override { return kKind; }

 protected:
  [[nodiscard]] const char* Sign() const override {
    static constexpr char kSign[] = {kFirst, kSecond, '\0'};
    return kSign;
  }
  [[nodiscard]] bool Compare(const std::string& left, const std::string& right) const override {
    return Operation()(left.compare(right), 0);
  }
};
using Snoteq = StringComparison<NodeType::kSnoteq, std::not_equal_to<>, '<', '>'>;
using Slt = StringComparison<NodeType::kSlt, std::less<>, '<'>;
using Slteq = StringComparison<NodeType::kSlteq, std::less_equal<>, '<', '='>;
using Sgt = StringComparison<NodeType::kSgt, std::greater<>, '>'>;
using Sgteq = StringComparison<NodeType::kSgteq, std::greater_equal<>, '>', '='>;

/// a : b, whether the left side holds the right one, letter case aside. A right side with more bytes than the
/// left is never held; an empty one only by an empty left side.
class Scontains : public StringRelation {
 public:
  using StringRelation::StringRelation;
  [[nodiscard]] NodeType GetType() const override { return NodeType::kScontains; }

 protected:
  [[nodiscard]] const char* Sign() const override { return ":"; }
  [[nodiscard]] bool Compare(const std::string& left, const std::string& right) const override;
};

/// AND and OR: the right side is evaluated only where it decides. False when a side is missing.
class Band : public IBoolean {
 public:
  Band(Owned<IBoolean> left, Owned<IBoolean> right) : left_(std::move(left)), right_(std::move(right)) {}
  [[nodiscard]] NodeType GetType() const override { return NodeType::kBand; }
  void Print(IPrintContext* out) const override;
  void GetFieldTags(IPftContext* ctx, std::vector<int>& tags) const override;
  [[nodiscard]] bool GetBoolVal(IPftContext* ctx) const override;

 private:
  Owned<IBoolean> left_;
  Owned<IBoolean> right_;
};

class Bor : public IBoolean {
 public:
  Bor(Owned<IBoolean> left, Owned<IBoolean> right) : left_(std::move(left)), right_(std::move(right)) {}
  [[nodiscard]] NodeType GetType() const override { return NodeType::kBor; }
  void Print(IPrintContext* out) const override;
  void GetFieldTags(IPftContext* ctx, std::vector<int>& tags) const override;
  [[nodiscard]] bool GetBoolVal(IPftContext* ctx) const override;

 private:
  Owned<IBoolean> left_;
  Owned<IBoolean> right_;
};

class Bnot : public IBoolean {
 public:
  explicit Bnot(Owned<IBoolean> operand) : operand_(std::move(operand)) {}
  [[nodiscard]] NodeType GetType() const override { return NodeType::kBnot; }
  void Print(IPrintContext* out) const override;
  void GetFieldTags(IPftContext* ctx, std::vector<int>& tags) const override;
  [[nodiscard]] bool GetBoolVal(IPftContext* ctx) const override;

 private:
  Owned<IBoolean> operand_;
};

class Field;

/// P(field): whether the field is there. `notPlus` is false when a plus was written; then the test is run as
/// it stands, else it looks, outside a group, at the first occurrence only.
class BfncP : public IBoolean {
 public:
  BfncP(Owned<Field> field, bool notPlus);
  ~BfncP() override;
  [[nodiscard]] NodeType GetType() const override { return NodeType::kBfncP; }
  void Print(IPrintContext* out) const override;
  void GetFieldTags(IPftContext* ctx, std::vector<int>& tags) const override;
  [[nodiscard]] bool GetBoolVal(IPftContext* ctx) const override;

 protected:
  void PrintCall(IPrintContext* out, const char* name) const;

 private:
  Owned<Field> field_;
  bool notPlus_;
};

/// A(field): whether it is not there.
class BfncA : public BfncP {
 public:
  using BfncP::BfncP;
  [[nodiscard]] NodeType GetType() const override { return NodeType::kBfncA; }
  void Print(IPrintContext* out) const override;
  [[nodiscard]] bool GetBoolVal(IPftContext* ctx) const override;
};

}  // namespace xpft::ast
