#pragma once

#include <cstddef>
#include <cstdint>

namespace utils {

/// A file in memory for reading, without a copy and without a call of the system for each read. Changes by
/// other processes show at once, so a reader must check what it reads as if it came from a damaged file.
///
/// At least eight zero bytes stand behind the end, so that words can be loaded anywhere.
///
/// A file may be cut while it is mapped. What lies behind its new end then reads as zeros: a page that can no
/// longer be had, also by an error of the disk, is replaced by an empty one in a handler of SIGBUS, which the
/// first map installs. Faults elsewhere go to the handler that was there before.
class FileMap {
 public:
  FileMap() = default;
  ~FileMap() { Drop(); }
  FileMap(const FileMap&) = delete;
  FileMap& operator=(const FileMap&) = delete;

  /// Makes the map as long as the file is now. Addresses given before are no longer good when the length has
  /// changed. False when the file cannot be mapped or is empty; there is no map then.
  bool Follow(int handle);

  void Drop();

  /// Whether the file was cut since Follow, as far as what was read shows.
  [[nodiscard]] bool wasCut() const;

  /// Where byte `offset` lies in memory; null unless `len` bytes from there are in the map. Good until Follow
  /// or Drop.
  [[nodiscard]] const char* At(std::int64_t offset, std::size_t len) const {
    const bool isInside = offset >= 0 && offset <= size_ && len <= static_cast<std::size_t>(size_ - offset);
    return isInside && size_ > 0 ? start_ + offset : nullptr;
  }

 private:
  char* start_ = nullptr;
  std::int64_t size_ = 0;  // bytes
  int place_ = -1;         // in the table of the handler
};

}  // namespace utils
