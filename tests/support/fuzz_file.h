#pragma once

#include <unistd.h>

#include <cstdint>
#include <cstdlib>
#include <fstream>
#include <string>

namespace test {

/// A file whose content a fuzz target replaces with each input; it goes when the target ends.
class FuzzFile {
 public:
  explicit FuzzFile(const std::string& extension = "")
      : path_("/dev/shm/velora_fuzz_" + std::to_string(::getpid()) + extension) {}
  ~FuzzFile() { ::unlink(path_.c_str()); }
  FuzzFile(const FuzzFile&) = delete;
  FuzzFile& operator=(const FuzzFile&) = delete;

  void Set(const std::uint8_t* data, std::size_t size) const {
    std::ofstream(path_, std::ios::binary)
        .write(reinterpret_cast<const char*>(data), static_cast<std::streamsize>(size));
  }
  [[nodiscard]] const std::string& path() const { return path_; }

 private:
  std::string path_;
};

}  // namespace test
