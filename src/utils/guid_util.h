#pragma once

#include <string>

namespace utils {

class GuidUtil {
 public:
  GuidUtil() = delete;

  /// A new random GUID (RFC 4122, version 4) in 38 characters: "{XXXXXXXX-XXXX-4XXX-XXXX-XXXXXXXXXXXX}",
  /// upper case.
  [[nodiscard]] static std::string CreateGuid();
};

}  // namespace utils
