#include "utils/file_layer.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <cstdlib>
#include <limits>
#include <memory>

namespace {

constexpr int kAccessMask = 0x03;
constexpr int kSharingMask = 0xF0;
constexpr int kSharingExclusive = 0x10;
constexpr int kSharingHighest = 0x40;
constexpr mode_t kNewFileRights = 0664;

struct FreeBlock {
  void operator()(char* block) const { std::free(block); }
};

int OpenRetrying(const char* path, int flags, mode_t rights = 0) {
  int handle;
  do {
    handle = open(path, flags | O_CLOEXEC, rights);
  } while (handle < 0 && errno == EINTR);
  return handle;
}

/// Opens a file whose time of last access is of no interest: a database that is written and read in turn
/// would have it updated with each read. The system grants that to the owner of the file only.
int OpenQuietly(const char* path, int flags) {
  const int handle = OpenRetrying(path, flags | O_NOATIME);
  return handle < 0 && errno == EPERM ? OpenRetrying(path, flags) : handle;
}

bool LockWholeFile(int handle) {
  struct flock whole = {};
  whole.l_type = F_WRLCK;
  whole.l_whence = SEEK_SET;  // length 0: to the end, however far the file grows
  int rc;
  do {
    rc = fcntl(handle, F_SETLK, &whole);
  } while (rc < 0 && errno == EINTR);
  return rc == 0;
}

/// Repeats `step(done)`, a read or write of what is left, until `len` bytes are through, the end is met, or
/// an error.
template <typename Step>
std::int64_t MoveAll(std::int64_t len, Step step) {
  if (len < 0) return -1;

  std::int64_t done = 0;
  while (done < len) {
    const ssize_t moved = step(done);
    if (moved < 0 && errno == EINTR) continue;
    if (moved < 0) return done > 0 ? done : -1;
    if (moved == 0) break;
    done += moved;
  }
  return done;
}

/// Reads to the end of the file, which may be shorter than `size`. The block has room for one byte more.
std::int64_t ReadInto(int handle, char* block, std::int64_t size) {
  const std::int64_t got = backup::_lread64(handle, block, size);
  if (got >= 0) block[got] = '\0';
  return got;
}

}  // namespace

namespace backup {

int _lopen(const char* path, int mode) {
  constexpr int kFlagsOfAccess[] = {O_RDONLY, O_WRONLY, O_RDWR};
  const int access = mode & kAccessMask;
  const int sharing = mode & kSharingMask;
  if (path == nullptr || mode < 0 || access > 2 || sharing > kSharingHighest) return -1;

  const int handle = OpenQuietly(path, kFlagsOfAccess[access]);
  if (handle < 0) return -1;
  if (sharing == kSharingExclusive && !LockWholeFile(handle)) {
    close(handle);
    return -1;
  }
  return handle;
}

int _lcreat(const char* path, int /*attr*/) {
  if (path == nullptr) return -1;
  return OpenRetrying(path, O_RDWR | O_CREAT | O_TRUNC, kNewFileRights);
}

int _lclose(int handle) {
  return close(handle);  // never repeated: after EINTR the handle is gone already
}

std::int64_t _llseek(int handle, std::int64_t offset, int origin) {
  return lseek(handle, offset, origin);
}

int _lread(int handle, void* buf, int len) {
  return static_cast<int>(_lread64(handle, buf, len));
}

int _lwrite(int handle, const void* buf, int len) {
  return static_cast<int>(_lwrite64(handle, buf, len));
}

std::int64_t _lread64(int handle, void* buf, std::int64_t len) {
  char* to = static_cast<char*>(buf);
  return MoveAll(len, [&](std::int64_t done) { return read(handle, to + done, len - done); });
}

std::int64_t _lwrite64(int handle, const void* buf, std::int64_t len) {
  const char* from = static_cast<const char*>(buf);
  return MoveAll(len, [&](std::int64_t done) { return write(handle, from + done, len - done); });
}

char* OpenTerm_x(const char* path, std::int64_t* size) {
  if (size != nullptr) *size = 0;
  const int handle = _lopen(path, 64);
  if (handle < 0) return nullptr;

  struct stat status;
  std::unique_ptr<char, FreeBlock> block;
  std::int64_t got = -1;
  if (fstat(handle, &status) == 0 && S_ISREG(status.st_mode)) {
    block.reset(static_cast<char*>(std::malloc(static_cast<std::size_t>(status.st_size) + 1)));
    if (block) got = ReadInto(handle, block.get(), status.st_size);
  }
  _lclose(handle);
  if (got < 0) return nullptr;

  if (size != nullptr) *size = got;
  return block.release();
}

void CloseTerm_x(char* buffer) {
  std::free(buffer);
}

std::int64_t MakeInt64(std::uint32_t low, std::uint32_t high) {
  return static_cast<std::int64_t>(std::uint64_t{high} << 32 | low);
}

void MakeFromInt64(std::int64_t value, std::uint32_t* low, std::uint32_t* high) {
  const auto bits = static_cast<std::uint64_t>(value);
  *low = static_cast<std::uint32_t>(bits);
  *high = static_cast<std::uint32_t>(bits >> 32);
}

}  // namespace backup

namespace utils {

namespace {

/// True when [offset, offset + len) can be told in the signed 64 bits of a file position.
bool IsFileRange(std::int64_t offset, std::size_t len) {
  return offset >= 0 && len <= static_cast<std::uint64_t>(std::numeric_limits<std::int64_t>::max() - offset);
}

}  // namespace

bool ReadAt(int handle, std::int64_t offset, void* buf, std::size_t len) {
  return ReadSomeAt(handle, offset, buf, len) == static_cast<std::int64_t>(len);
}

bool WriteAt(int handle, std::int64_t offset, const void* buf, std::size_t len) {
  if (!IsFileRange(offset, len)) return false;

  const char* from = static_cast<const char*>(buf);
  const auto moved = MoveAll(static_cast<std::int64_t>(len), [&](std::int64_t done) {
    return pwrite(handle, from + done, len - static_cast<std::size_t>(done), offset + done);
  });
  return moved == static_cast<std::int64_t>(len);
}

std::int64_t ReadSomeAt(int handle, std::int64_t offset, void* buf, std::size_t len) {
  if (!IsFileRange(offset, len)) return -1;

  char* to = static_cast<char*>(buf);
  return MoveAll(static_cast<std::int64_t>(len), [&](std::int64_t done) {
    return pread(handle, to + done, len - static_cast<std::size_t>(done), offset + done);
  });
}

std::int64_t FileSize(int handle) {
  return backup::_llseek(handle, 0, SEEK_END);
}

}  // namespace utils
