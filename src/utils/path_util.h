#pragma once

#include <string>
#include <string_view>

/// Paths. The configuration files write them with slashes or backslashes, so both separate the parts of a
/// path here; only slashes reach the file system.
namespace utils {

class PathUtil {
 public:
  PathUtil() = delete;

  /// Full path of the running executable, links resolved. Empty when the system does not tell.
  [[nodiscard]] static std::string GetExePathA();

  /// True when the path begins with a separator.
  [[nodiscard]] static bool IsPathRooted(std::string_view path);

  /// True when a regular file, or a directory, is there. Links are followed.
  [[nodiscard]] static bool IsFile(const std::string& path);
  [[nodiscard]] static bool IsDirectory(const std::string& path);

  /// What stands before the last separator, without it: "/a/b" gives "/a", "b" gives "". Only "/b" gives "/".
  [[nodiscard]] static std::string GetDirectoryName(std::string_view path);

  /// What stands behind the last separator.
  [[nodiscard]] static std::string GetFileName(std::string_view path);

  /// The file name up to its last dot. A name that begins with its only dot, like ".ini", is all extension.
  [[nodiscard]] static std::string GetFileNameWithoutExtension(std::string_view path);

  /// The last dot of the file name and what follows it, or "".
  [[nodiscard]] static std::string GetExtension(std::string_view path);

  /// `path` below `base`, with one slash between them. A rooted `path`, or an empty `base`, gives `path`
  /// alone.
  [[nodiscard]] static std::string Combine(std::string_view base, std::string_view path);
};

}  // namespace utils

namespace backup {

/// Makes a path of the configuration absolute.
///   base  directory with its closing slash
///   path  as written in the file
/// `path` comes back unchanged when `base` is empty, when it has fewer than 3 bytes, or when it is rooted.
/// Otherwise it is folded to lower case (relative paths of the configuration always mean lower-case names),
/// its backslashes become slashes, and: a path that begins with "." loses that character and gets `base`
/// without its last character in front; any other gets the whole `base`.
[[nodiscard]] std::string CorPath(std::string_view base, std::string_view path);

}  // namespace backup
