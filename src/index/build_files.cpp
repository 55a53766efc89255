#include "index/build_files.h"

#include <fcntl.h>
#include <sys/stat.h>

#include <algorithm>
#include <cerrno>
#include <cstdio>
#include <cstring>
#include <utility>

#include "storage/codes.h"
#include "storage/database_open.h"
#include "storage/master_file.h"
#include "utils/file_layer.h"

namespace velora {
namespace {

constexpr std::size_t kBufferSize = std::size_t{1} << 20;
constexpr std::size_t kMergeUnit = 1000000;

}  // namespace

BuildFile::~BuildFile() {
  if (handle_ >= 0) backup::_lclose(handle_);
}

bool BuildFile::Open(int handle, std::int64_t position) {
  handle_ = handle;
  written_ = position;
  used_ = 0;
  isGood_ = handle >= 0 && position >= 0;
  if (!buffer_) buffer_ = std::make_unique_for_overwrite<char[]>(kBufferSize);
  return isGood_;
}

bool BuildFile::Create(const std::string& path) {
  return Open(backup::_lcreat(path.c_str(), 0), 0);
}

bool BuildFile::OpenAtEnd(const std::string& path) {
  const int handle = backup::_lopen(path.c_str(), velor_32::kOpenWrite);
  if (handle < 0) return errno == ENOENT && Create(path);
  return Open(handle, backup::_llseek(handle, 0, SEEK_END));
}

bool BuildFile::OpenAt(const std::string& path, std::int64_t position) {
  return Open(backup::_lopen(path.c_str(), velor_32::kOpenWrite), position);
}

void BuildFile::Append(const void* bytes, std::size_t size) {
  if (!isGood_) return;
  if (size > kBufferSize - used_) {
    Flush();
    if (size > kBufferSize) return Write(bytes, size);
  }
  std::memcpy(buffer_.get() + used_, bytes, size);
  used_ += size;
}

void BuildFile::AppendLine(std::string_view line) {
  if (line.size() + 2 > kBufferSize - used_ || !isGood_) {
    Append(line);
    return Append("\r\n");
  }
  char* end = std::copy(line.begin(), line.end(), buffer_.get() + used_);
  *end++ = '\r';
  *end++ = '\n';
  used_ += line.size() + 2;
}

void BuildFile::AppendZeros(std::size_t size) {
  static constexpr char kZeros[4096] = {};
  for (; size > 0; size -= std::min(size, sizeof kZeros)) Append(kZeros, std::min(size, sizeof kZeros));
}

void BuildFile::Rewrite(std::int64_t offset, const void* bytes, std::size_t size) {
  Flush();
  isGood_ = isGood_ && utils::WriteAt(handle_, offset, bytes, size);
}

bool BuildFile::Close() {
  Flush();
  if (handle_ >= 0 && backup::_lclose(handle_) != 0) isGood_ = false;
  handle_ = -1;
  return std::exchange(isGood_, false);
}

void BuildFile::Flush() {
  if (used_ == 0) return;
  Write(buffer_.get(), std::exchange(used_, 0));
}

void BuildFile::Write(const void* bytes, std::size_t size) {
  isGood_ = isGood_ && utils::WriteAt(handle_, written_, bytes, size);
  written_ += static_cast<std::int64_t>(size);
}

LineReader::~LineReader() {
  if (handle_ >= 0) backup::_lclose(handle_);
}

bool LineReader::Open(const std::string& path) {
  handle_ = backup::_lopen(path.c_str(), velor_32::kOpenRead);
  if (handle_ < 0) return false;
  size_ = backup::_llseek(handle_, 0, SEEK_END);
  if (size_ < 0 || backup::_llseek(handle_, 0, SEEK_SET) != 0) return false;
  buffer_ = std::make_unique_for_overwrite<char[]>(kBufferSize);
  at_ = end_ = buffer_.get();
  return true;
}

bool LineReader::Next(std::string_view* line) {
  for (;;) {
    const char* const lineEnd = FindLineEnd(at_, end_);
    if (lineEnd == end_ && !isAtEnd_ && Fill()) continue;
    if (at_ == end_) return false;
    *line = {at_, static_cast<std::size_t>(lineEnd - at_)};
    const std::size_t step = line->size() + (lineEnd < end_ ? 1 : 0);
    at_ += step;
    position_ += static_cast<std::int64_t>(step);
    if (!line->empty()) return true;
  }
}

/// Moves the begun line to the front and reads on behind it. False when the buffer is full.
bool LineReader::Fill() {
  const auto kept = static_cast<std::size_t>(end_ - at_);
  if (kept == kBufferSize) return false;
  std::memmove(buffer_.get(), at_, kept);
  at_ = buffer_.get();
  const int got = backup::_lread(handle_, at_ + kept, static_cast<int>(kBufferSize - kept));
  hasFailed_ = got < 0;
  isAtEnd_ = got <= 0;
  end_ = at_ + kept + std::max(got, 0);
  return true;
}

int LineReader::percent() const {
  return size_ > 0 ? static_cast<int>(position_ * 100 / size_) : 100;
}

/// Eight bytes at a time: one of them that may be a line end is below 14, and few other bytes of a text are.
const char* FindLineEnd(const char* at, const char* end) {
  constexpr std::uint64_t kEach = 0x0101010101010101;
  constexpr std::uint64_t kBound = '\r' + 1;
  const auto isLineEnd = [](char c) { return c == '\r' || c == '\n'; };
  for (std::uint64_t word; end - at >= static_cast<std::ptrdiff_t>(sizeof word); at += sizeof word) {
    std::memcpy(&word, at, sizeof word);
    for (std::uint64_t low = (word - kEach * kBound) & ~word & (kEach << 7); low != 0; low &= low - 1) {
      const char* const place = at + __builtin_ctzll(low) / 8;
      if (isLineEnd(*place)) return place;
    }
  }
  while (at < end && !isLineEnd(*at)) ++at;
  return at;
}

int MergeFiles(const std::string& source, const std::string& target) {
  const auto refuse = [](const std::string& path) {
    velor_server_proc::LogTool("merge files failed: file not open " + path + " errno " +
                               std::to_string(errno));
    return velor_32::kNoRecordFiles;
  };
  const int handle = backup::_lopen(source.c_str(), velor_32::kOpenRead);
  if (handle < 0) return refuse(source);
  BuildFile output;
  if (!output.OpenAtEnd(target)) {
    const int rc = refuse(target);
    backup::_lclose(handle);
    return rc;
  }
  const auto unit = std::make_unique_for_overwrite<char[]>(kMergeUnit);
  int got = 0;
  while (output.isGood() && (got = backup::_lread(handle, unit.get(), kMergeUnit)) > 0)
    output.Append(unit.get(), static_cast<std::size_t>(got));
  backup::_lclose(handle);
  return output.Close() && got == 0 ? velor_32::kOk : velor_32::kNoRecordFiles;
}

std::int64_t FileSize(const std::string& path) {
  struct stat status;
  return ::stat(path.c_str(), &status) == 0 ? status.st_size : -1;
}

}  // namespace velora
