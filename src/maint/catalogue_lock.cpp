#include "maint/catalogue_lock.h"

#include <fcntl.h>
#include <sys/file.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>

namespace velor_server_proc {

namespace {

/// A second lock on the same directory would wait for the first one for ever.
bool IsSame(int one, int other) {
  struct stat a {};
  struct stat b {};
  return ::fstat(one, &a) == 0 && ::fstat(other, &b) == 0 && a.st_dev == b.st_dev && a.st_ino == b.st_ino;
}

int OpenDirectory(const std::string& path) {
  return ::open(path.c_str(), O_RDONLY | O_DIRECTORY | O_CLOEXEC);
}

void WaitForLock(int directory) {
  while (::flock(directory, LOCK_EX) != 0 && errno == EINTR) {
  }
}

}  // namespace

CatalogueLock::CatalogueLock(const app::VelorAppContext* ctx)
    : directories_{OpenDirectory(ctx->dataPath), OpenDirectory(ctx->depositPath)} {
  if (directories_[0] >= 0) WaitForLock(directories_[0]);
  if (directories_[1] >= 0 && !IsSame(directories_[0], directories_[1])) WaitForLock(directories_[1]);
}

CatalogueLock::~CatalogueLock() {
  for (const int directory : directories_)
    if (directory >= 0) ::close(directory);
}

}  // namespace velor_server_proc
