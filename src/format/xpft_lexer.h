#pragma once

#include <array>
#include <cstddef>
#include <cstdint>
#include <memory>
#include <string>
#include <string_view>
#include <utility>

#include "format/ast.h"
#include "format/xpft_symbol.h"

namespace xpft {

/// Sets a flag for the life of the guard.
class ModeGuard {
 public:
  ModeGuard(bool& flag, bool value) : flag_(flag), saved_(flag) { flag = value; }
  ~ModeGuard() { flag_ = saved_; }
  ModeGuard(const ModeGuard&) = delete;
  ModeGuard& operator=(const ModeGuard&) = delete;

 private:
  bool& flag_;
  const bool saved_;
};

/// The lower half of the parser: bytes to tokens, one token and one byte ahead, and the first error.
///
/// There is no token stream: a rule that has used up the current token asks for the next one with getsymbol,
/// and says by three modes how a number or a name is to be read there. The oddities of the language live here
/// and are relied on:
///   - a line end is dropped wherever it stands, so that a word or a number goes on in the next line;
///   - a comment runs from "/*" to the end of its line, may stand inside a word, and "*/" does not end it;
///   - a literal that is not closed takes the rest of the text;
///   - a byte 0 ends the text.
/// The text must outlive the parse. After an error every further token is kNone.
class XpftLexer {
 public:
  XpftLexer() = default;
  XpftLexer(const XpftLexer&) = delete;
  XpftLexer& operator=(const XpftLexer&) = delete;

  /// Code of the first error, 0 when there was none, and its message with its place.
  [[nodiscard]] int GetErrorCode() const { return errorCode_; }
  [[nodiscard]] const std::string& GetErrorDescription() const { return errorText_; }
  /// On: line ends are dropped between and inside tokens, and a comment is as said above. Off, which no part
  /// of the program uses: line ends separate, byte 26 is a blank, and a comment is an error.
  void SetVelorCompatibility(bool on) { compatibility_ = on; }
  /// Keeps the text of comments for the tree.
  void SetParseComments(bool on) { parseComments_ = on; }
  /// Keeps the line ends inside literals.
  void SetParseCrLf(bool on) { parseCrLf_ = on; }

 protected:
  ~XpftLexer() = default;

  /// A place in the text: the offset of the next byte to read, line from 0, column.
  struct Position {
    std::size_t offset = 0;
    int line = 0;
    int column = 0;
  };
  /// What is needed to come back to a token. Only a token without a text of its own may be marked.
  struct Mark {
    char current;
    Position read;
    Position token;
    Symbol symbol;
    std::size_t commentLength;
    bool hasComment;
  };

  void Open(std::string_view name, std::string_view text);

  /// Reads the next token into symbol_ and the fields of its value.
  void getsymbol();
  /// The same in ShortIntMode: digits are a whole number, a point is a token.
  void getsymbolShort();
  /// The same in IdentMode.
  void getsymbolIdent();

  [[nodiscard]] Mark Save() const;
  void Restore(const Mark& mark);

  /// Records an error at the current token, unless there is one; no token follows.
  void error(int code, std::string_view message);
  [[nodiscard]] bool failed() const { return errorCode_ != 0; }

  /// Where the current token stands, for a node.
  [[nodiscard]] ast::SourcePlace Here();

  /// Whether a ";" stands behind the current token before the ")" that closes the parenthesis around it.
  [[nodiscard]] bool HasSemicolonAhead() const;

  Symbol symbol_ = Symbol::kNone;
  std::int64_t integer_ = 0;  // value of kInteger and kLongInteger
  long double float_ = 0;
  std::string name_;  // kIdentifier; "&name", "@name"
  /// The contents of the current literal, for a node; the next token starts empty again.
  [[nodiscard]] std::string TakeLiteral() { return std::exchange(literal_, std::string()); }

  std::string literal_;  // without its delimiters
  char subfieldCode_ = 0;

  bool rangeMode_ = false;  // ".." ends a number and is never part of one
  bool compatibility_ = true;
  bool parseComments_ = false;

  bool hasComment_ = false;
  std::string comment_;  // comments since the last flush, joined by LF

 private:
  void get_ch(bool skipNewlines);
  void ignore_space();
  bool ignore_comments(bool skipBlanks);
  void ReadComment();

  Symbol ReadToken();
  Symbol ReadSign();
  Symbol ReadIdentifier();
  Symbol ReadKeyword();
  Symbol ReadName(char first, bool mayHaveExclamation);
  Symbol ReadQuotedName();
  Symbol ReadLiteral(Symbol symbol);
  Symbol ReadEscLiteral();
  Symbol ReadLess();
  Symbol ReadTextBlock();
  Symbol ReadEither(char second, Symbol both, Symbol alone);
  Symbol UnexpectedCharacter(int code);

  Symbol analyze_short_int();
  Symbol analyze_number();
  void ReadDigits();
  void TakeDigit();
  [[nodiscard]] std::string_view Digits() const { return {digits_.data(), digitCount_}; }

  [[nodiscard]] char Peek() const { return read_.offset < text_.size() ? text_[read_.offset] : '\0'; }
  [[nodiscard]] std::string fmt_descr() const;

  std::string_view formatName_;
  std::string_view text_;
  std::shared_ptr<const std::string> source_;  // made when the first node asks for it

  char current_ = ' ';  // one byte ahead; 0 at the end of the text
  Position read_;
  Position token_;  // as it was when the first byte of the token was the current one

  bool shortIntMode_ = false;
  bool identMode_ = false;
  bool parseCrLf_ = false;

  static constexpr std::size_t kLongestNumber = 31;
  std::array<char, kLongestNumber> digits_;
  std::size_t digitCount_ = 0;

  int errorCode_ = 0;
  std::string errorText_;
};

}  // namespace xpft
