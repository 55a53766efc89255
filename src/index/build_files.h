#pragma once

#include <cstdint>
#include <memory>
#include <string>
#include <string_view>

/// Files of a bulk build: written from front to end in large blocks, read line by line. Nothing here keeps
/// more than a block in memory.
namespace velora {

/// A new file, or the end of one. After a failed write nothing more is written; Close tells.
class BuildFile {
 public:
  BuildFile() = default;
  ~BuildFile();
  BuildFile(const BuildFile&) = delete;
  BuildFile& operator=(const BuildFile&) = delete;

  /// Creates or empties a file, or opens it at its end (and creates it when it is missing). False when that
  /// fails.
  [[nodiscard]] bool Create(const std::string& path);
  [[nodiscard]] bool OpenAtEnd(const std::string& path);
  /// Opens a file that is there, to write from `position` on.
  [[nodiscard]] bool OpenAt(const std::string& path, std::int64_t position);

  void Append(const void* bytes, std::size_t size);
  void Append(std::string_view bytes) { Append(bytes.data(), bytes.size()); }
  void AppendZeros(std::size_t size);
  /// Appends a line and its end.
  void AppendLine(std::string_view line);

  /// Overwrites bytes that were appended before.
  void Rewrite(std::int64_t offset, const void* bytes, std::size_t size);

  /// Where the next byte goes.
  [[nodiscard]] std::int64_t position() const { return written_ + static_cast<std::int64_t>(used_); }
  [[nodiscard]] bool isGood() const { return isGood_; }

  /// Writes what is left and closes. False when anything was not written.
  [[nodiscard]] bool Close();

 private:
  bool Open(int handle, std::int64_t position);
  void Flush();
  void Write(const void* bytes, std::size_t size);

  int handle_ = -1;
  bool isGood_ = false;
  std::int64_t written_ = 0;
  std::size_t used_ = 0;
  std::unique_ptr<char[]> buffer_;
};

/// Lines of a file, which end at CR or LF; empty ones are left out. A line longer than the buffer comes in
/// pieces.
class LineReader {
 public:
  LineReader() = default;
  ~LineReader();
  LineReader(const LineReader&) = delete;
  LineReader& operator=(const LineReader&) = delete;

  [[nodiscard]] bool Open(const std::string& path);
  /// The next line, good until the next call; false at the end and after a failure.
  [[nodiscard]] bool Next(std::string_view* line);

  [[nodiscard]] std::int64_t size() const { return size_; }
  /// Bytes that lie behind the reader.
  [[nodiscard]] std::int64_t position() const { return position_; }
  /// The same in percent of the file.
  [[nodiscard]] int percent() const;
  [[nodiscard]] bool hasFailed() const { return hasFailed_; }

 private:
  bool Fill();

  int handle_ = -1;
  std::int64_t size_ = 0;
  std::int64_t position_ = 0;
  bool isAtEnd_ = false;
  bool hasFailed_ = false;
  std::unique_ptr<char[]> buffer_;
  char* at_ = nullptr;
  char* end_ = nullptr;
};

/// Where the line that begins at `at` ends: the first CR or LF before `end`, or `end`.
[[nodiscard]] const char* FindLineEnd(const char* at, const char* end);

/// Appends a file to another, which is created when it is missing, in units of 1000000 bytes. A file that
/// does not open is told in the log with its path and errno. Result 0 or -400.
int MergeFiles(const std::string& source, const std::string& target);

/// Size of a file in bytes, -1 when there is none.
[[nodiscard]] std::int64_t FileSize(const std::string& path);

}  // namespace velora
