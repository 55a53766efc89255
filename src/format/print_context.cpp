#include "format/print_context.h"

#include <algorithm>
#include <cctype>

namespace xpft {

namespace {

constexpr std::string_view kLineEnd = "\r\n";
constexpr int kIndentWidth = 2;  // columns

bool EndsLine(std::string_view text) {
  return text.back() == '\n' || text.back() == '\r';
}

/// Bytes that keywords, numbers and names of formats and functions are made of.
bool IsWordByte(char c) {
  constexpr std::string_view kMarks = "_$-!";
  return std::isalnum(static_cast<unsigned char>(c)) != 0 || kMarks.find(c) != std::string_view::npos;
}

/// Whether a line end alone between two texts would let the reader take them for one word: it passes over
/// line ends, and over a comment inside a word.
bool WouldRunTogether(std::string_view before, std::string_view after) {
  return !before.empty() && IsWordByte(before.back()) && (IsWordByte(after[0]) || after[0] == '/');
}

}  // namespace

void PlainPrintContext::Start() {
  text_.clear();
  endsWithSeparator_ = true;
}

void PlainPrintContext::NewLine() {
  if (endsWithSeparator_) return;
  text_ += ' ';
  endsWithSeparator_ = true;
}

void PlainPrintContext::Print(std::string_view text) {
  if (text.empty()) return;
  text_ += text;
  endsWithSeparator_ = EndsLine(text);  // the line end behind a comment separates too
}

void PrettyPrintContext::Start() {
  text_.clear();
  column_ = indent_ = pendingLines_ = 0;
}

// A line end waits for the next text, so that none stands at the end; an empty line has none.
void PrettyPrintContext::NewLine() {
  if (column_ < 1) return;
  ++pendingLines_;
  column_ = 0;
}

void PrettyPrintContext::Print(std::string_view text) {
  if (text.empty()) return;
  if (pendingLines_ > 0 && indent_ <= 0 && WouldRunTogether(text_, text)) text_ += ' ';
  for (; pendingLines_ > 0; --pendingLines_) text_ += kLineEnd;
  if (column_ == 0) {
    column_ = kIndentWidth * std::max(indent_, 0);
    text_.append(static_cast<std::size_t>(column_), ' ');
  }
  text_ += text;
  // Line ends inside the text belong to a literal or a comment: what follows them is not indented.
  const std::size_t lineEnd = text.find_last_of(kLineEnd);
  const std::size_t tail = lineEnd == std::string_view::npos ? text.size() : text.size() - lineEnd - 1;
  column_ = static_cast<int>(tail) + (lineEnd == std::string_view::npos ? column_ : 0);
}

}  // namespace xpft
