#pragma once

#include <cstddef>
#include <string>

namespace velora {

/// An output file with a buffer; a failure sticks.
class OutputFile {
 public:
  OutputFile() = default;
  ~OutputFile();
  OutputFile(const OutputFile&) = delete;
  OutputFile& operator=(const OutputFile&) = delete;

  /// Creates the file, or empties an existing one.
  [[nodiscard]] bool Create(const std::string& path);
  [[nodiscard]] bool isOpen() const { return handle_ >= 0; }

  /// The buffer may be appended to directly; FlushIfLarge then writes it once it has grown enough.
  [[nodiscard]] std::string& buffer() { return buffer_; }
  void Write(const char* data, std::size_t length);
  void FlushIfLarge();
  /// False when any byte so far did not reach the file.
  bool Flush();

  /// Writes what is left and closes. False when any byte did not reach the file.
  bool Close();

 private:
  int handle_ = -1;
  bool failed_ = false;
  std::string buffer_;
};

}  // namespace velora
