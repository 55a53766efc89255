#include "maint/file_window.h"

#include <algorithm>

#include "utils/file_layer.h"

namespace velora {
namespace {

constexpr std::int64_t kLookBack = 64;     // bytes kept before an offset: a search goes a few bytes back
constexpr std::int64_t kFirstRead = 4096;  // at a place that lies far from the last one

}  // namespace

FileWindow::FileWindow(int handle, std::int64_t size, std::int64_t blockBytes)
    : handle_(handle), size_(size), block_(static_cast<std::size_t>(blockBytes)) {}

const char* FileWindow::At(std::int64_t offset, std::int64_t length) {
  if (offset < 0 || offset > size_ || length > size_ - offset) return nullptr;
  if (offset < start_ || offset + length > start_ + held_) {
    const bool goesOn = offset >= start_ && offset - start_ - held_ < std::ssize(block_);
    start_ = std::max<std::int64_t>(offset - kLookBack, 0);
    const std::int64_t most = goesOn ? std::ssize(block_) : std::max(length + kLookBack, kFirstRead);
    const std::int64_t wanted = std::min(size_ - start_, most);
    held_ = std::max<std::int64_t>(
        utils::ReadSomeAt(handle_, start_, block_.data(), static_cast<std::size_t>(wanted)), 0);
  }
  return offset + length <= start_ + held_ ? block_.data() + (offset - start_) : nullptr;
}

std::int64_t FileWindow::EndOfZeros(std::int64_t offset) {
  constexpr std::int64_t kStep = 4096;
  while (offset < size_) {
    const std::int64_t length = std::min(kStep, size_ - offset);
    const char* bytes = At(offset, length);
    if (bytes == nullptr) return offset;
    const char* end = std::find_if(bytes, bytes + length, [](char c) { return c != 0; });
    offset += end - bytes;
    if (end != bytes + length) return offset;
  }
  return offset;
}

}  // namespace velora
