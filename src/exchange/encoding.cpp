#include "exchange/encoding.h"

#include "utils/code_page.h"

namespace velora {

std::string_view TextEncoder::Encode(std::string_view text) {
  if (isIdentity()) return text;
  backup::Utf8ToAnsi(text, bytes_);
  if (encoding_ == EncodingOption::kDos) backup::windosp(bytes_.data(), bytes_.size());
  return bytes_;
}

std::string_view TextEncoder::Decode(std::string_view text) {
  if (isIdentity()) return text;
  if (encoding_ == EncodingOption::kDos) {
    bytes_.assign(text);
    backup::doswinp(bytes_.data(), bytes_.size());
    text = bytes_;
  }
  backup::AnsiToUtf8(text, text_);
  return text_;
}

}  // namespace velora
