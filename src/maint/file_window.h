#pragma once

#include <cstdint>
#include <vector>

namespace velora {

/// The bytes of a file for somebody who goes through it mainly forwards: one read call brings a large block.
/// Where the place is far from the last one, a small read comes first.
class FileWindow {
 public:
  /// `size` is where the file ends for this reader, `blockBytes` what one call reads.
  FileWindow(int handle, std::int64_t size, std::int64_t blockBytes);

  /// `length` bytes, at most half a block, valid until the next call; null when the file does not have them
  /// or they cannot be read.
  [[nodiscard]] const char* At(std::int64_t offset, std::int64_t length);

  /// Where the run of zero bytes ends that begins at `offset`: at the first other byte, or the end.
  [[nodiscard]] std::int64_t EndOfZeros(std::int64_t offset);

  [[nodiscard]] std::int64_t size() const { return size_; }

 private:
  int handle_;
  std::int64_t size_;
  std::int64_t start_ = 0;  // of the block in memory
  std::int64_t held_ = 0;   // bytes of it
  std::vector<char> block_;
};

}  // namespace velora
