#include "format/xpft_text_scan.h"

#include <algorithm>
#include <array>

#include "utils/text_util.h"

namespace xpft {
namespace {

constexpr std::string_view kBlockOpen = "text>";
constexpr std::string_view kBlockClose = "</text>";

char Lower(char c) {
  return c >= 'A' && c <= 'Z' ? static_cast<char>(c | 0x20) : c;
}

bool EqualsNoCase(char a, char b) {
  return Lower(a) == b;
}

/// Line ends are dropped inside a name.
bool IsFormatNameByte(char c) {
  return IsNameByte(c) || c == '!' || IsLineEnd(c);
}

bool OpensTextBlock(std::string_view text, std::size_t at) {
  return std::ranges::equal(text.substr(at, kBlockOpen.size()), kBlockOpen, EqualsNoCase);
}

/// Walks over the bytes of a format as the lexer does, item by item.
class ItemScan {
 public:
  ItemScan(std::string_view text, std::size_t at) : text_(text), at_(at) {}

  /// The next byte that is no part of a literal, a name or a comment; 0 at the end.
  char Next() {
    while (at_ < text_.size()) {
      const char c = text_[at_++];
      if (!SkipItem(c)) return c;
    }
    return 0;
  }

 private:
  /// Skips what begins with `c`, whose next byte is the current one; false when `c` stands for itself.
  bool SkipItem(char c) {
    switch (c) {
      case '\'':
      case '`':
      case '"':
      case '|':
        SkipPast(c);
        return true;
      case '!':
        SkipLineEnds();
        if (at_ < text_.size()) SkipPast(text_[at_++]);
        return true;
      case '^':
        SkipLineEnds();
        at_ = std::min(at_ + 1, text_.size());
        return true;
      case '\x1C':
        SkipPast('\x1D');
        return true;
      case '@':  // its name may have a "!", which opens no literal
        while (at_ < text_.size() && IsFormatNameByte(text_[at_])) ++at_;
        return true;
      case '/':
        return SkipComment();
      case '<':
        return SkipTextBlock();
      default:
        return false;
    }
  }

  bool SkipComment() {
    const std::size_t start = at_;
    SkipLineEnds();
    if (at_ == text_.size() || text_[at_] != '*') {
      at_ = start;
      return false;
    }
    while (at_ < text_.size() && !IsLineEnd(text_[at_])) ++at_;
    return true;
  }

  bool SkipTextBlock() {
    if (!OpensTextBlock(text_, at_)) return false;
    const std::size_t close = FindTextBlockEnd(text_, at_);
    // Without an end the parser stops here, and looking for the end of many such blocks would take long.
    at_ = close == std::string_view::npos ? text_.size() : close + kBlockClose.size();
    return true;
  }

  void SkipLineEnds() {
    while (at_ < text_.size() && IsLineEnd(text_[at_])) ++at_;
  }

  void SkipPast(char c) {
    const std::size_t found = text_.find(c, at_);
    at_ = found == std::string_view::npos ? text_.size() : found + 1;
  }

  std::string_view text_;
  std::size_t at_;
};

/// Bytes of the first character.
std::size_t CharacterLength(std::string_view text) {
  constexpr std::size_t kLongest = 4;
  const std::string_view head = text.substr(0, kLongest);
  int used = 1;
  utils::TextUtil::ReadCharUTF8CP1251(head.data(), static_cast<int>(head.size()), &used);
  return static_cast<std::size_t>(std::max(used, 1));
}

}  // namespace

std::size_t FindTextBlockEnd(std::string_view text, std::size_t at) {
  if (!OpensTextBlock(text, at)) return std::string_view::npos;

  const std::string_view rest = text.substr(at + kBlockOpen.size());
  const auto found =
      std::search(rest.begin(), rest.end(), kBlockClose.begin(), kBlockClose.end(), EqualsNoCase);
  if (found == rest.end()) return std::string_view::npos;
  return static_cast<std::size_t>(found - text.begin());
}

bool HasSemicolonInParentheses(std::string_view text, std::size_t at) {
  constexpr int kDeepest = 1000;  // more than the parser takes, so that nothing behind matters
  ItemScan scan(text, at);
  int depth = 0;
  while (const char c = scan.Next()) {
    if (c == ';' && depth == 0) return true;
    if (c == '(' && ++depth > kDeepest) return false;
    if (c == ')' && --depth < 0) return false;
  }
  return false;
}

std::string_view FirstCharacters(std::string_view text, int count) {
  std::size_t end = 0;
  for (; count > 0 && end < text.size(); --count) end += CharacterLength(text.substr(end));
  return text.substr(0, end);
}

std::string_view LastCharacters(std::string_view text, int count) {
  std::size_t begin = text.size();
  for (; count > 0 && begin > 0; --count) {
    // The longest sequence that ends here is the character.
    std::size_t length = std::min<std::size_t>(4, begin);
    while (length > 1 && CharacterLength(text.substr(begin - length, length)) != length) --length;
    begin -= length;
  }
  return text.substr(begin);
}

}  // namespace xpft
