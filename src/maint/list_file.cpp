#include "maint/list_file.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <cstdio>
#include <filesystem>

#include "utils/code_page.h"
#include "utils/file_layer.h"
#include "utils/path_util.h"
#include "utils/string_utils.h"
#include "utils/text_util.h"

namespace velor_server_proc {

namespace fs = std::filesystem;
using utils::StringUtils;
using utils::TextUtil;

namespace {

constexpr std::string_view kListEnd = "*****";
constexpr std::string_view kTreeSeparator = " - ";
constexpr mode_t kRightsMask = 0777;
constexpr mode_t kFileRights = 0664;  // less the process mask

/// A line of a list holds one text: line ends and tabs would make another of it.
std::string OneLine(const std::string& text) {
  std::string line = TextUtil::ReadAllTextUtf8(text);
  std::ranges::replace_if(
      line, [](char c) { return static_cast<unsigned char>(c) < ' '; }, ' ');
  return line;
}

constexpr const char* kOwnFiles = "/proc/self/fd/";

/// A file without a name, -1 where there is none or it could not get one.
int CreateUnnamed(const std::string& directory) {
  if (::access(kOwnFiles, X_OK) != 0) return -1;
  return ::open(directory.c_str(), O_TMPFILE | O_RDWR | O_CLOEXEC, kFileRights);
}

/// Gives it one. A file of that name is a rest of a process that was killed.
bool Link(int file, const std::string& path) {
  const std::string link = kOwnFiles + std::to_string(file);
  ::unlink(path.c_str());
  return ::linkat(AT_FDCWD, link.c_str(), AT_FDCWD, path.c_str(), AT_SYMLINK_FOLLOW) == 0;
}

/// The file has no name before it is whole, where the file system knows such files: a process that is killed
/// leaves nothing.
bool WriteDurably(const std::string& path, std::string_view bytes, const std::string& rightsFrom) {
  const int unnamed = CreateUnnamed(fs::path(path).parent_path().string());
  const int file = unnamed >= 0 ? unnamed : backup::_lcreat(path.c_str(), 0);
  if (file < 0) return false;
  struct stat old {};
  if (::stat(rightsFrom.c_str(), &old) == 0) (void)::fchmod(file, old.st_mode & kRightsMask);
  const auto size = static_cast<std::int64_t>(bytes.size());
  const bool isWritten = (size == 0 || backup::_lwrite64(file, bytes.data(), size) == size) &&
                         ::fsync(file) == 0 && (unnamed < 0 || Link(file, path));
  return backup::_lclose(file) == 0 && isWritten;
}

}  // namespace

bool RewriteFile(const std::string& path, std::string_view bytes) {
  std::error_code error;
  const fs::path resolved = fs::canonical(path, error);
  const std::string target = error ? path : resolved.string();
  if (!error && ::access(target.c_str(), W_OK) != 0) return false;
  const std::string beside = target + "." + std::to_string(::getpid());
  if (WriteDurably(beside, bytes, target) && std::rename(beside.c_str(), target.c_str()) == 0) return true;
  ::unlink(beside.c_str());
  return false;
}

ListFile::ListFile(const std::string& path)
    : path_(path), isTree_(StringUtils::ToLower(utils::PathUtil::GetExtension(path)) == ".tre") {
  std::string bytes;
  exists_ = TextUtil::FileReadAllBytes(path, bytes);
  const auto markLength = static_cast<std::size_t>(TextUtil::CheckUTF8Bom(bytes));
  mark_ = bytes.substr(0, markLength);
  bytes.erase(0, markLength);
  isAnsi_ = !TextUtil::CheckUTF8(bytes);
  if (isAnsi_) bytes = backup::AnsiToUtf8(bytes);
  const std::size_t firstEnd = bytes.find('\n');
  if (firstEnd != std::string::npos && (firstEnd == 0 || bytes[firstEnd - 1] != '\r')) lineEnd_ = "\n";
  for (const std::string_view line : StringUtils::SplitLines(bytes)) lines_.emplace_back(line);
}

std::size_t ListFile::End() const {
  auto end = std::ranges::find(lines_, kListEnd);
  if (end == lines_.end())
    while (end != lines_.begin() && StringUtils::Trim(*(end - 1)).empty()) --end;
  return static_cast<std::size_t>(end - lines_.begin());
}

std::size_t ListFile::Find(const std::string& name) const {
  const std::size_t end = End();
  if (isTree_) {
    for (std::size_t i = 0; i < end; ++i)
      if (StringUtils::StartsWithNoCase(StringUtils::TrimLeft(lines_[i]), name + std::string(kTreeSeparator)))
        return i;
    return lines_.size();
  }
  for (std::size_t i = 0; i < end; i += 2) {
    while (i < end && StringUtils::Trim(lines_[i]).empty()) ++i;  // between pairs
    if (i < end && StringUtils::EqualsNoCase(StringUtils::Trim(lines_[i]), name)) return i;
  }
  return lines_.size();
}

void ListFile::Add(const std::string& name, const std::string& description) {
  const std::size_t place = Find(name);
  if (place < lines_.size() && description.empty()) return;
  const std::string text = OneLine(description.empty() ? name : description);
  const std::string treeLine = name + std::string(kTreeSeparator) + text;
  if (place == lines_.size()) {
    auto at = lines_.begin() + static_cast<std::ptrdiff_t>(End());
    if (isTree_)
      lines_.insert(at, treeLine);
    else
      lines_.insert(at, {name, text});
  } else if (isTree_) {
    const std::size_t level = lines_[place].find_first_not_of(" \t");
    lines_[place] = lines_[place].substr(0, level) + treeLine;
  } else if (place + 1 < End()) {
    lines_[place + 1] = text;
  } else {
    lines_.insert(lines_.begin() + static_cast<std::ptrdiff_t>(place) + 1, text);  // it had none
  }
}

bool ListFile::Remove(const std::string& name) {
  bool isFound = false;
  for (std::size_t place = Find(name); place < lines_.size(); place = Find(name)) {
    const std::size_t past = std::min(place + (isTree_ ? 1 : 2), End());
    lines_.erase(lines_.begin() + static_cast<std::ptrdiff_t>(place),
                 lines_.begin() + static_cast<std::ptrdiff_t>(past));
    isFound = true;
  }
  return isFound;
}

std::string ListFile::DescriptionOf(const std::string& name) const {
  const std::size_t place = Find(name);
  if (place >= lines_.size()) return "";
  if (!isTree_) return place + 1 < End() ? lines_[place + 1] : "";
  return lines_[place].substr(lines_[place].find(kTreeSeparator) + kTreeSeparator.size());
}

bool ListFile::Save() const {
  std::string bytes;
  for (const std::string& line : lines_) bytes += line + lineEnd_;
  return RewriteFile(path_, mark_ + (isAnsi_ ? backup::Utf8ToAnsi(bytes) : bytes));
}

}  // namespace velor_server_proc
