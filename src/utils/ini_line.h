#pragma once

#include <string>
#include <string_view>

namespace utils {

/// What one raw line of an IniFile says. The views point into the line.
struct IniLine {
  enum class Kind {
    kNothing,  ///< a comment, or a line that cannot be understood
    kKey,      ///< name=value
    kSection,  ///< [name]
    kInclude,  ///< [@name]
  };

  Kind kind = Kind::kNothing;
  std::string_view name;   ///< key, section or include, as written, without the blanks around it
  std::string_view value;  ///< of a key
};

[[nodiscard]] IniLine ReadIniLine(std::string_view line);

/// Folded form of a section or key name.
[[nodiscard]] std::string FoldIniName(std::string_view name);

}  // namespace utils
