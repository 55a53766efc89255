#include "utils/file_map.h"

#include <signal.h>
#include <sys/mman.h>
#include <sys/stat.h>
#include <unistd.h>

#include <array>
#include <atomic>
#include <mutex>

namespace utils {

namespace {

constexpr std::uintptr_t kTaken = 1;  // a place that is being filled

/// A map as the handler sees it: begin 0 is a free place.
struct MappedRange {
  std::atomic<std::uintptr_t> begin = 0;
  std::atomic<std::uintptr_t> end = 0;
  std::atomic<bool> wasCut = false;
};

std::array<MappedRange, 256> ranges;
struct sigaction formerAction;
std::uintptr_t pageSize = 4096;

/// Async-signal-safe: system calls and lock-free words only.
void ReplaceLostPage(int /*signal*/, siginfo_t* info, void* /*context*/) {
  const auto address = reinterpret_cast<std::uintptr_t>(info->si_addr);
  for (MappedRange& range : ranges) {
    const std::uintptr_t begin = range.begin;
    if (begin <= kTaken || address < begin || address >= range.end) continue;
    range.wasCut = true;
    char* const page = static_cast<char*>(info->si_addr) - (address & (pageSize - 1));
    if (::mmap(page, pageSize, PROT_READ, MAP_PRIVATE | MAP_ANONYMOUS | MAP_FIXED, -1, 0) != MAP_FAILED)
      return;
  }
  ::sigaction(SIGBUS, &formerAction, nullptr);  // the fault comes again and meets its old handler
}

void InstallHandler() {
  static std::once_flag once;
  std::call_once(once, [] {
    pageSize = static_cast<std::uintptr_t>(::sysconf(_SC_PAGESIZE));
    struct sigaction action = {};
    action.sa_sigaction = ReplaceLostPage;
    action.sa_flags = SA_SIGINFO | SA_RESTART;
    ::sigaction(SIGBUS, &action, &formerAction);
  });
}

/// Bytes of the map of a file: its pages and one that stays empty.
std::size_t MapSize(std::int64_t size) {
  return (static_cast<std::size_t>(size) / pageSize + 2) * pageSize;
}

/// Maps a file, with an empty page behind it. Null when that cannot be had.
char* MapFile(int handle, std::int64_t size) {
  const std::size_t all = MapSize(size);
  void* const room = ::mmap(nullptr, all, PROT_READ, MAP_PRIVATE | MAP_ANONYMOUS | MAP_NORESERVE, -1, 0);
  if (room == MAP_FAILED) return nullptr;
  const auto bytes = static_cast<std::size_t>(size);
  if (::mmap(room, bytes, PROT_READ, MAP_SHARED | MAP_FIXED, handle, 0) != MAP_FAILED)
    return static_cast<char*>(room);
  ::munmap(room, all);
  return nullptr;
}

/// A free place, taken for the caller; -1 when there is none.
int TakePlace() {
  for (std::size_t i = 0; i < ranges.size(); ++i) {
    std::uintptr_t expected = 0;
    if (ranges[i].begin.compare_exchange_strong(expected, kTaken)) return static_cast<int>(i);
  }
  return -1;
}

}  // namespace

bool FileMap::Follow(int handle) {
  struct stat now;
  if (handle < 0 || ::fstat(handle, &now) != 0) {
    Drop();
    return false;
  }
  if (place_ >= 0 && now.st_size == size_ && !ranges[static_cast<std::size_t>(place_)].wasCut) return true;
  Drop();
  if (now.st_size < 1) return false;
  InstallHandler();
  place_ = TakePlace();
  if (place_ < 0) return false;
  char* const start = MapFile(handle, now.st_size);
  MappedRange& range = ranges[static_cast<std::size_t>(place_)];
  if (start == nullptr) {
    range.begin = 0;
    place_ = -1;
    return false;
  }
  start_ = start;
  size_ = now.st_size;
  range.wasCut = false;
  range.end = reinterpret_cast<std::uintptr_t>(start_) + static_cast<std::uintptr_t>(size_);
  range.begin = reinterpret_cast<std::uintptr_t>(start_);
  return true;
}

bool FileMap::wasCut() const {
  return place_ >= 0 && ranges[static_cast<std::size_t>(place_)].wasCut;
}

void FileMap::Drop() {
  if (place_ < 0) return;
  ranges[static_cast<std::size_t>(place_)].begin = kTaken;
  ::munmap(start_, MapSize(size_));
  ranges[static_cast<std::size_t>(place_)].begin = 0;
  start_ = nullptr;
  size_ = 0;
  place_ = -1;
}

}  // namespace utils
