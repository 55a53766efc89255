#pragma once

#include <string>
#include <string_view>

namespace xpft {

/// Where a tree prints itself.
class IPrintContext {
 public:
  virtual ~IPrintContext() = default;
  virtual void Start() = 0;
  virtual void IncreaseIndent() = 0;
  virtual void DecreaseIndent() = 0;
  /// Ends a line where the form has lines, else sets a blank.
  virtual void NewLine() = 0;
  virtual void Print(std::string_view text) = 0;
  virtual void GetText(std::string& text) const = 0;
  /// A line end between the parts of a list in the form that has lines; a blank in the other.
  virtual void PrintLineSep() = 0;
};

/// The whole format on one line.
class PlainPrintContext : public IPrintContext {
 public:
  void Start() override;
  void IncreaseIndent() override {}
  void DecreaseIndent() override {}
  void NewLine() override;
  void Print(std::string_view text) override;
  void GetText(std::string& text) const override { text = text_; }
  void PrintLineSep() override { NewLine(); }

 private:
  std::string text_;
  bool endsWithSeparator_ = true;  // a blank would be one too many
};

/// One command a line, blocks indented by two columns; lines end with CR LF.
class PrettyPrintContext : public IPrintContext {
 public:
  void Start() override;
  void IncreaseIndent() override { ++indent_; }
  void DecreaseIndent() override { --indent_; }
  void NewLine() override;
  void Print(std::string_view text) override;
  void GetText(std::string& text) const override { text = text_; }
  void PrintLineSep() override { NewLine(); }

 private:
  std::string text_;
  int column_ = 0;
  int indent_ = 0;
  int pendingLines_ = 0;
};

}  // namespace xpft
