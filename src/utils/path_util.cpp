#include "utils/path_util.h"

#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <climits>

#include "utils/string_utils.h"

namespace {

constexpr std::string_view kSeparators = "/\\";

bool IsSeparator(char c) {
  return kSeparators.find(c) != std::string_view::npos;
}

std::string_view FileNameOf(std::string_view path) {
  return path.substr(path.find_last_of(kSeparators) + 1);  // npos + 1 is 0: all of it
}

/// Kind of what the path names, 0 when nothing is there.
mode_t KindOf(const std::string& path) {
  struct stat status;
  return stat(path.c_str(), &status) == 0 ? status.st_mode & S_IFMT : 0;
}

}  // namespace

namespace utils {

std::string PathUtil::GetExePathA() {
  char path[PATH_MAX];
  const ssize_t length = readlink("/proc/self/exe", path, sizeof path);
  return length > 0 ? std::string(path, static_cast<std::size_t>(length)) : std::string();
}

bool PathUtil::IsPathRooted(std::string_view path) {
  return !path.empty() && IsSeparator(path.front());
}

bool PathUtil::IsFile(const std::string& path) {
  return KindOf(path) == S_IFREG;
}

bool PathUtil::IsDirectory(const std::string& path) {
  return KindOf(path) == S_IFDIR;
}

std::string PathUtil::GetDirectoryName(std::string_view path) {
  const std::size_t last = path.find_last_of(kSeparators);
  if (last == std::string_view::npos) return {};
  const std::string_view directory = StringUtils::TrimRight(path.substr(0, last), kSeparators);
  return std::string(directory.empty() ? "/" : directory);
}

std::string PathUtil::GetFileName(std::string_view path) {
  return std::string(FileNameOf(path));
}

std::string PathUtil::GetFileNameWithoutExtension(std::string_view path) {
  const std::string_view name = FileNameOf(path);
  return std::string(name.substr(0, name.rfind('.')));
}

std::string PathUtil::GetExtension(std::string_view path) {
  const std::string_view name = FileNameOf(path);
  const std::size_t dot = name.rfind('.');
  return dot == std::string_view::npos ? std::string() : std::string(name.substr(dot));
}

std::string PathUtil::Combine(std::string_view base, std::string_view path) {
  if (base.empty() || IsPathRooted(path)) return std::string(path);

  std::string combined(base);
  if (!path.empty() && !IsSeparator(combined.back())) combined += '/';
  return combined += path;
}

}  // namespace utils

namespace backup {

std::string CorPath(std::string_view base, std::string_view path) {
  constexpr std::size_t kShortest = 3;
  if (base.empty() || path.size() < kShortest || utils::PathUtil::IsPathRooted(path))
    return std::string(path);

  std::string folded = utils::StringUtils::ToLower(path);
  std::replace(folded.begin(), folded.end(), '\\', '/');
  if (folded.front() != '.') return std::string(base) + folded;
  return std::string(base.substr(0, base.size() - 1)) + folded.substr(1);
}

}  // namespace backup
