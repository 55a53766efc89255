#pragma once

#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <string>
#include <string_view>

namespace test {

/// A fresh directory of one test, removed with all that is in it at the end of the scope.
class TempDir {
 public:
  TempDir() {
    std::string pattern = (std::filesystem::temp_directory_path() / "velora_test_XXXXXX").string();
    if (mkdtemp(pattern.data()) == nullptr) std::abort();
    path_ = pattern;
  }
  ~TempDir() {
    std::error_code ignored;
    std::filesystem::remove_all(path_, ignored);
  }
  TempDir(const TempDir&) = delete;
  TempDir& operator=(const TempDir&) = delete;

  /// The directory, without a closing slash.
  const std::string& Path() const { return path_; }

  /// Full path of a file in it.
  std::string File(std::string_view name) const { return path_ + "/" + std::string(name); }

  /// Writes a file and gives its full path.
  std::string Write(std::string_view name, std::string_view data) const {
    std::ofstream(File(name), std::ios::binary) << data;
    return File(name);
  }

  /// Content of a file, empty when it is missing.
  std::string Read(std::string_view name) const {
    std::ifstream in(File(name), std::ios::binary);
    return {std::istreambuf_iterator<char>(in), {}};
  }

 private:
  std::string path_;
};

}  // namespace test
