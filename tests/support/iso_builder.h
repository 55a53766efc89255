#pragma once

#include <string>

#include "support/test_base.h"

namespace test {

/// Decimal digits, filled with "0" from the left.
inline std::string Digits(std::size_t value, std::size_t width) {
  const std::string digits = std::to_string(value);
  return std::string(width - std::min(width, digits.size()), '0') + digits;
}

/// A record in ISO 2709 form, without any code of the program. `status` stands at offset 5, up to 5 bytes;
/// `codes` at offset 17, up to 3.
inline std::string IsoRecord(const Fields& fields, const std::string& status = "00000",
                             const std::string& codes = "000") {
  std::string directory;
  std::string data;
  for (const auto& [tag, text] : fields) {
    directory +=
        Digits(static_cast<std::size_t>(tag), 3) + Digits(text.size() + 1, 4) + Digits(data.size(), 5);
    data += text + '\x1E';
  }
  const std::size_t base = 24 + directory.size() + 1;
  return Digits(base + data.size() + 1, 5) + status + "22" + Digits(base, 5) + codes + "4500" + directory +
         '\x1E' + data + '\x1D';
}

}  // namespace test
