#include "format/print_context.h"

#include <algorithm>

namespace xpft {

namespace {

constexpr std::string_view kLineEnd = "\r\n";
constexpr int kIndentWidth = 2;  // columns

bool EndsLine(std::string_view text) {
  return text.back() == '\n' || text.back() == '\r';
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
