#pragma once

#include <string>
#include <string_view>

#include "exchange/encoding_option.h"

namespace velora {

/// Converts field texts between UTF-8, in which records are kept here, and the encoding of an exchange file.
/// Keeps its buffers, so that a long run allocates only when a text is longer than all before it.
class TextEncoder {
 public:
  explicit TextEncoder(std::int32_t encoding) : encoding_(encoding) {}

  /// True when bytes are taken as they are.
  [[nodiscard]] bool isIdentity() const {
    return encoding_ != EncodingOption::kDos && encoding_ != EncodingOption::kWindows;
  }

  /// The text in the encoding of the file, or in UTF-8. The result is valid until the next call, or as long
  /// as `text` where bytes are taken as they are.
  std::string_view Encode(std::string_view text);
  std::string_view Decode(std::string_view text);

 private:
  std::int32_t encoding_;
  std::string bytes_;
  std::string text_;
};

}  // namespace velora
