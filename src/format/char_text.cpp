#include "format/char_text.h"

#include "format/string_fragment.h"
#include "utils/code_page.h"
#include "utils/text_util.h"
#include "utils/utf8_char.h"

namespace xpft {

namespace {

std::size_t FirstCharBytes(std::string_view text) {
  return PrefixBytes(text, 1);
}

std::size_t LastCharBytes(std::string_view text) {
  std::size_t begin = text.size() - 1;
  while (begin > 0 && utils::IsUtf8Continuation(text[begin])) --begin;
  return text.size() - begin;
}

}  // namespace

std::string_view AsUtf8(std::string_view text, std::string& converted) {
  if (utils::TextUtil::CheckUTF8(text)) return text;
  backup::AnsiToUtf8(text, converted);
  return converted;
}

std::string_view LeftChars(std::string_view text, int count) {
  return count < 1 ? std::string_view() : text.substr(0, PrefixBytes(text, static_cast<std::size_t>(count)));
}

std::string_view RightChars(std::string_view text, int count) {
  if (count < 1) return {};
  const std::size_t length = utils::CountUtf8Chars(text);
  const auto wanted = static_cast<std::size_t>(count);
  return wanted >= length ? text : text.substr(PrefixBytes(text, length - wanted));
}

std::string_view MidChars(std::string_view text, int start, int count) {
  const std::size_t skipped = start < 1 ? 0 : static_cast<std::size_t>(start) - 1;
  return LeftChars(text.substr(PrefixBytes(text, skipped)), count);
}

// The bytes of one well-formed character are found in a well-formed text only where that character stands.
std::string_view TrimChars(std::string_view text, std::string_view characters, bool left, bool right) {
  while (left && !text.empty()) {
    const std::size_t size = FirstCharBytes(text);
    if (characters.find(text.substr(0, size)) == std::string_view::npos) break;
    text.remove_prefix(size);
  }
  while (right && !text.empty()) {
    const std::size_t size = LastCharBytes(text);
    if (characters.find(text.substr(text.size() - size)) == std::string_view::npos) break;
    text.remove_suffix(size);
  }
  return text;
}

}  // namespace xpft
