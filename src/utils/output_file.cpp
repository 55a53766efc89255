#include "utils/output_file.h"

#include <cstdint>

#include "utils/file_layer.h"

namespace velora {

namespace {

constexpr std::size_t kFlushSize = std::size_t{1} << 18;

}  // namespace

OutputFile::~OutputFile() {
  Close();
}

bool OutputFile::Create(const std::string& path) {
  handle_ = backup::_lcreat(path.c_str(), 0);
  failed_ = false;
  buffer_.clear();
  return isOpen();
}

void OutputFile::Write(const char* data, std::size_t length) {
  buffer_.append(data, length);
  FlushIfLarge();
}

void OutputFile::FlushIfLarge() {
  if (buffer_.size() >= kFlushSize) Flush();
}

bool OutputFile::Flush() {
  const std::int64_t size = static_cast<std::int64_t>(buffer_.size());
  failed_ |= backup::_lwrite64(handle_, buffer_.data(), size) != size;
  buffer_.clear();
  return !failed_;
}

bool OutputFile::Close() {
  if (!isOpen()) return !failed_;
  if (!buffer_.empty()) Flush();
  failed_ |= backup::_lclose(handle_) != 0;
  handle_ = -1;
  return !failed_;
}

}  // namespace velora
