#pragma once

#include <string>
#include <string_view>

#include "utils/ini_file.h"

namespace utils {

/// Names of databases that lie on another server: "name%alias%", the alias being a key of section REDIRECT of
/// the main ini.
class RedirectUtil {
 public:
  RedirectUtil() = delete;

  /// Finds the alias: the part between the first "%" and the next one. False when there are not two of them,
  /// when the first is the first or the last character of the name, or when nothing stands between them.
  [[nodiscard]] static bool CheckRedirectDb(std::string_view name, std::size_t* start, std::size_t* length);

  /// Reads what section REDIRECT says of the alias of a name.
  ///   database    the part before the first "%"
  ///   address     value of the key <alias>
  ///   user, password  of <alias>_LOGIN and <alias>_PASSWORD
  ///   guidOption  of <alias>_GUID_OPTION, -1 without it
  /// False, and nothing set, for a name without an alias and for one without an address.
  [[nodiscard]] static bool GetRedirectDb(const IniFile& ini, const std::string& name, std::string* database,
                                          std::string* address, std::string* user, std::string* password,
                                          int* guidOption);
};

}  // namespace utils
