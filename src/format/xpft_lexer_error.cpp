#include "format/xpft_lexer.h"
#include "format/xpft_text_scan.h"

/// What the lexer says about places: the source of a node, the text of an error.
namespace xpft {
namespace {

constexpr int kNearCharacters = 30;
constexpr std::size_t kNearBytes = 3;  // less says nothing: the error is at the end of the text

std::string_view TextNear(std::string_view text, std::size_t offset) {
  const std::string_view behind = FirstCharacters(text.substr(offset), kNearCharacters);
  return behind.size() >= kNearBytes ? behind : LastCharacters(text, kNearCharacters);
}

}  // namespace

void XpftLexer::error(int code, std::string_view message) {
  if (failed()) return;
  constexpr std::size_t kLongestQuoted = 1000;
  errorCode_ = code;
  symbol_ = Symbol::kNone;

  errorText_.clear();
  if (!formatName_.empty()) errorText_.append(formatName_).append(": ");
  errorText_.append(message);
  errorText_ += " at line " + std::to_string(token_.line + 1) + ", column " + std::to_string(token_.column);
  if (text_.size() > kLongestQuoted) {
    errorText_.append(" near ").append(TextNear(text_, token_.offset));
  } else {
    errorText_.append(", fmt source: ").append(text_);
  }
}

std::string XpftLexer::fmt_descr() const {
  constexpr std::size_t kLongestWhole = 100;
  if (!formatName_.empty()) return std::string(formatName_);
  if (text_.size() <= kLongestWhole) return std::string(text_);
  return std::string(FirstCharacters(text_, kLongestWhole)) + "...";
}

ast::SourcePlace XpftLexer::Here() {
  if (source_ == nullptr) source_ = std::make_shared<const std::string>(fmt_descr());
  return {source_, token_.line + 1, token_.column};
}

bool XpftLexer::HasSemicolonAhead() const {
  // The offset of a token is behind its first byte; the end of the text has none.
  return symbol_ != Symbol::kEnd && token_.offset > 0 && HasSemicolonInParentheses(text_, token_.offset - 1);
}

}  // namespace xpft
