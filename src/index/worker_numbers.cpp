#include "index/worker_numbers.h"

#include <fcntl.h>
#include <unistd.h>

#include <cerrno>
#include <filesystem>
#include <system_error>

namespace velora {
namespace {

constexpr int kMostRuns = 1000;
constexpr int kFileMode = 0666;

/// False when somebody else holds it. On a file system without locks there is nobody to be told from.
bool TryLock(int file, int byte) {
  struct flock lock {};
  lock.l_type = F_WRLCK;
  lock.l_whence = SEEK_SET;
  lock.l_start = byte;
  lock.l_len = 1;
  return ::fcntl(file, F_OFD_SETLK, &lock) == 0 || (errno != EAGAIN && errno != EACCES);
}

}  // namespace

WorkerNumbers::WorkerNumbers(const std::string& directory) {
  std::error_code ignored;  // the file that does not open tells
  std::filesystem::create_directories(directory, ignored);
  file_ = ::open((directory + "multiload.lock").c_str(), O_RDWR | O_CREAT | O_CLOEXEC, kFileMode);
  for (int run = 0; file_ >= 0 && base_ < 0 && run < kMostRuns; ++run)
    if (TryLock(file_, run)) base_ = run * kPerRun;
}

WorkerNumbers::~WorkerNumbers() {
  if (file_ >= 0) ::close(file_);
}

}  // namespace velora
