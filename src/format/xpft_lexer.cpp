#include "format/xpft_lexer.h"

#include <charconv>
#include <limits>

#include "format/extended_number.h"
#include "format/xpft_error_codes.h"
#include "format/xpft_text_scan.h"

namespace xpft {

void XpftLexer::Open(std::string_view name, std::string_view text) {
  formatName_ = name;
  text_ = text.substr(0, text.find('\0'));
  source_.reset();
  current_ = ' ';
  read_ = token_ = {};
  shortIntMode_ = rangeMode_ = identMode_ = false;
  hasComment_ = false;
  comment_.clear();
  errorCode_ = 0;
  errorText_.clear();
}

// ---- bytes ----

void XpftLexer::get_ch(bool skipNewlines) {
  do {
    if (read_.offset == text_.size()) {
      current_ = 0;
      return;
    }
    const bool isAfterCr = read_.offset > 0 && text_[read_.offset - 1] == '\r';
    current_ = text_[read_.offset++];
    if (static_cast<unsigned char>(current_) >= ' ') {
      ++read_.column;
      return;
    }
    if (IsLineEnd(current_)) {
      if (current_ == '\r' || !isAfterCr) ++read_.line;
      read_.column = 0;
    }
  } while (compatibility_ && skipNewlines && IsLineEnd(current_));
  if (!compatibility_ && current_ == '\x1A') current_ = ' ';
}

void XpftLexer::ignore_space() {
  while (IsSpace(current_)) get_ch(true);
}

/// Skips comments. True when the "/" was none and is used up: then it is the token.
bool XpftLexer::ignore_comments(bool skipBlanks) {
  while (current_ == '/') {
    get_ch(true);
    if (current_ != '*') return true;
    ReadComment();
    if (skipBlanks) ignore_space();
  }
  return false;
}

void XpftLexer::ReadComment() {
  if (!compatibility_) {
    while (current_ != 0) get_ch(false);
    error(syntax::kGeneral, "end of comment not found");
    return;
  }
  if (parseComments_ && hasComment_) comment_ += '\n';
  hasComment_ = parseComments_;
  for (get_ch(false); current_ != 0 && !IsLineEnd(current_); get_ch(false)) {
    if (parseComments_) comment_ += current_;
  }
  while (IsLineEnd(current_)) get_ch(false);
}

// ---- tokens ----

void XpftLexer::getsymbol() {
  symbol_ = Symbol::kNone;
  if (failed()) return;
  name_.clear();
  literal_.clear();
  digitCount_ = 0;

  ignore_space();
  token_ = read_;
  const bool isSlash = ignore_comments(true);
  const Symbol symbol = isSlash ? Symbol::kSlash : ReadToken();
  if (!failed()) symbol_ = symbol;
}

void XpftLexer::getsymbolShort() {
  const ModeGuard mode(shortIntMode_, true);
  getsymbol();
}

void XpftLexer::getsymbolIdent() {
  const ModeGuard mode(identMode_, true);
  getsymbol();
}

XpftLexer::Mark XpftLexer::Save() const {
  return {current_, read_, token_, symbol_, comment_.size(), hasComment_};
}

void XpftLexer::Restore(const Mark& mark) {
  if (failed()) return;
  current_ = mark.current;
  read_ = mark.read;
  token_ = mark.token;
  symbol_ = mark.symbol;
  comment_.resize(mark.commentLength);  // what is read again adds its comments again
  hasComment_ = mark.hasComment;
}

Symbol XpftLexer::ReadToken() {
  if (static_cast<signed char>(current_) < 0) return UnexpectedCharacter(syntax::kCharacter);
  if (identMode_) return ReadIdentifier();
  if (IsLetter(current_)) return ReadKeyword();
  if (IsDigit(current_)) return shortIntMode_ ? analyze_short_int() : analyze_number();
  if (current_ == '.' && !shortIntMode_ && !(rangeMode_ && Peek() == '.')) return analyze_number();
  return ReadSign();
}

Symbol XpftLexer::ReadSign() {
  switch (current_) {
    case 0:
      return Symbol::kEnd;
    case ':':
      return ReadEither('=', Symbol::kAssign, Symbol::kColon);
    case '>':
      return ReadEither('=', Symbol::kGreaterEqual, Symbol::kGreater);
    case '<':
      return ReadLess();
    case '&':
      return ReadName('&', false);
    case '@':
      return ReadName('@', true);
    case '\x1C':
      return ReadQuotedName();
    case '\'':
    case '`':
      return ReadLiteral(Symbol::kUncondLiteral);
    case '"':
      return ReadLiteral(Symbol::kCondLiteral);
    case '|':
      return ReadLiteral(Symbol::kRepLiteral);
    case '!':
      return ReadEscLiteral();
    case '^':
      get_ch(true);
      subfieldCode_ = current_;
      get_ch(true);
      return subfieldCode_ != 0 ? Symbol::kSubfield : Symbol::kNone;
    default:
      break;
  }
  const Symbol symbol = CharClass(current_);
  if (symbol == Symbol::kNone) return UnexpectedCharacter(syntax::kCharacter);
  get_ch(true);
  return symbol;
}

Symbol XpftLexer::ReadEither(char second, Symbol both, Symbol alone) {
  get_ch(true);
  if (current_ != second) return alone;
  get_ch(true);
  return both;
}

Symbol XpftLexer::UnexpectedCharacter(int code) {
  std::string message = "unexpected character ";
  if (current_ != 0) message += current_;
  message += " ascii code " + std::to_string(static_cast<signed char>(current_));
  error(code, message);
  return Symbol::kNone;
}

// ---- words and names ----

Symbol XpftLexer::ReadIdentifier() {
  constexpr std::size_t kLongestIdentifier = 30;
  bool isAny = false;
  for (; IsLetter(current_) || IsDigit(current_) || current_ == '_'; get_ch(true)) {
    isAny = true;
    if (name_.size() < kLongestIdentifier) name_ += current_;
  }
  return isAny ? Symbol::kIdentifier : Symbol::kNone;
}

Symbol XpftLexer::ReadKeyword() {
  std::array<char, kLongestWord + 1> word;  // and the digit of MD5
  std::size_t length = 0;
  while (length < kLongestWord && IsLetter(current_)) {
    word[length++] = static_cast<char>(current_ & ~0x20);
    get_ch(true);
    if (current_ == '/' && Peek() == '*') ignore_comments(false);
  }
  if (failed()) return Symbol::kNone;

  const std::string_view name(word.data(), length);
  if (IsDigit(current_)) {
    if (name == "E") return Symbol::kNumVar;
    if (name == "S") return Symbol::kStrVar;
    if (current_ == '5' && (name == "MD" || name == "FILEMD")) {
      word[length++] = '5';
      get_ch(true);
    }
  }
  const Symbol symbol = FindKeyword({word.data(), length});
  if (symbol == Symbol::kNone) {
    error(syntax::kWord, "unexpected token " + std::string(word.data(), length));
  }
  return symbol;
}

Symbol XpftLexer::ReadName(char first, bool mayHaveExclamation) {
  name_ = first;
  get_ch(true);
  for (; IsNameByte(current_) || (mayHaveExclamation && current_ == '!'); get_ch(true)) name_ += current_;
  if (name_.size() > 1) return first == '&' ? Symbol::kExtFunc : Symbol::kExtFmt;
  error(syntax::kWord, first == '&' ? "letter, digit, -, _,! expected" : "letter, digit, -, _ expected");
  return Symbol::kNone;
}

/// The name of a format between the bytes 28 and 29: any bytes but these.
Symbol XpftLexer::ReadQuotedName() {
  name_ = '@';
  for (get_ch(true); current_ != '\x1D'; get_ch(true)) {
    if (current_ == 0 || current_ == '\x1C') return UnexpectedCharacter(syntax::kWord);
    name_ += current_;
  }
  if (name_.size() == 1) return UnexpectedCharacter(syntax::kWord);
  get_ch(true);
  return Symbol::kExtFmtQuoted;
}

// ---- literals ----

/// The literal that the current byte opens and the same byte closes, or the end of the text.
Symbol XpftLexer::ReadLiteral(Symbol symbol) {
  const char delimiter = current_;
  for (get_ch(false); current_ != 0 && current_ != delimiter; get_ch(false)) {
    if (parseCrLf_ || !IsLineEnd(current_)) literal_ += current_;
  }
  get_ch(true);
  return symbol;
}

Symbol XpftLexer::ReadEscLiteral() {
  get_ch(true);
  if (current_ == 0) return Symbol::kEscLiteral;
  return ReadLiteral(Symbol::kEscLiteral);
}

Symbol XpftLexer::ReadLess() {
  get_ch(true);
  if (current_ == 't' || current_ == 'T') return ReadTextBlock();
  if (current_ == '>') {
    get_ch(true);
    return Symbol::kNotEqual;
  }
  if (current_ != '=') return Symbol::kLess;
  get_ch(true);
  return Symbol::kLessEqual;
}

/// The current byte is the one behind "<". Without a complete block nothing is read and there is no token.
Symbol XpftLexer::ReadTextBlock() {
  const std::size_t close = FindTextBlockEnd(text_, read_.offset - 1);
  if (close == std::string_view::npos) return Symbol::kNone;
  while (current_ != '>') get_ch(false);
  while (read_.offset < close) {
    get_ch(false);
    if (parseCrLf_ || !IsLineEnd(current_)) literal_ += current_;
  }
  do get_ch(false);
  while (current_ != '>');
  get_ch(true);
  return Symbol::kRawLiteral;
}

// ---- numbers ----

void XpftLexer::TakeDigit() {
  if (digitCount_ == kLongestNumber) {
    error(syntax::kNumberLength, "too much characters for number");
  } else {
    digits_[digitCount_++] = current_;
  }
  get_ch(true);
}

void XpftLexer::ReadDigits() {
  while (IsDigit(current_) && !failed()) TakeDigit();
}

namespace {

bool ParseWhole(std::string_view digits, std::int64_t& value) {
  return std::from_chars(digits.data(), digits.data() + digits.size(), value).ec == std::errc();
}

}  // namespace

Symbol XpftLexer::analyze_short_int() {
  ReadDigits();
  if (ParseWhole(Digits(), integer_) && integer_ <= std::numeric_limits<std::int32_t>::max()) {
    return Symbol::kInteger;
  }
  error(syntax::kNumberRange, "number is bigger than int32: " + std::string(Digits()));
  return Symbol::kNone;
}

/// number = digits [ "." digits ] [ ("e" | "E") [sign] digits ]
Symbol XpftLexer::analyze_number() {
  bool isWhole = true;
  ReadDigits();
  if (current_ == '.' && !(rangeMode_ && Peek() == '.')) {
    isWhole = false;
    TakeDigit();
    ReadDigits();
  }
  if (current_ == 'e' || current_ == 'E') {
    isWhole = false;
    TakeDigit();
    if (current_ == '+' || current_ == '-') TakeDigit();
    ReadDigits();
  }
  if (isWhole && ParseWhole(Digits(), integer_)) {
    return integer_ <= std::numeric_limits<std::int32_t>::max() ? Symbol::kInteger : Symbol::kLongInteger;
  }
  // A point alone or an exponent without digits is a number too, of value 0.
  static_cast<void>(ParseExtended(Digits(), float_));
  return Symbol::kFloat;
}

}  // namespace xpft
