#pragma once

#include <signal.h>
#include <sys/syscall.h>
#include <sys/wait.h>
#include <unistd.h>

#include <cstddef>
#include <cstdint>

/// Ends a child process at one of its writes, for tests of what a killed writer leaves. Included by a test
/// file, the header takes the place of the system's pwrite in that program.
namespace test {

/// Where the process dies: at the write behind `writes` others; never when negative. A torn write is done up
/// to the first border of a page within it, which is how the system cuts one off at a kill; only writes that
/// cross such a border count then.
struct KillPoint {
  int writes = -1;
  bool isTorn = false;
};
inline KillPoint killPoint;

/// Writes of this process that still reach the files; those behind them are lost, as if it had been killed.
/// All of them do when negative.
inline std::int64_t writesLeft = -1;

/// Runs `work` in a child that dies at that write. True when it did, false when the work was done before.
template <class Work>
bool DiesAtWrite(const KillPoint& point, Work&& work) {
  const pid_t child = ::fork();
  if (child == 0) {
    killPoint = point;
    work();
    ::_exit(0);
  }
  int status = 0;
  ::waitpid(child, &status, 0);
  return WIFSIGNALED(status) && WTERMSIG(status) == SIGKILL;
}

}  // namespace test

extern "C" __attribute__((used)) inline ssize_t pwrite(int file, const void* bytes, std::size_t length,
                                                       off_t offset) {
  constexpr std::size_t kPageSize = 4096;
  if (test::writesLeft == 0) return static_cast<ssize_t>(length);
  if (test::writesLeft > 0) --test::writesLeft;
  const std::size_t toBorder = kPageSize - static_cast<std::size_t>(offset) % kPageSize;
  const bool counts = test::killPoint.writes >= 0 && (!test::killPoint.isTorn || length > toBorder);
  const bool isLast = counts && test::killPoint.writes-- == 0;
  const std::size_t now = !isLast ? length : test::killPoint.isTorn ? toBorder : 0;
  const ssize_t done = now == 0 ? 0 : ::syscall(SYS_pwrite64, file, bytes, now, offset);
  if (isLast) ::kill(::getpid(), SIGKILL);
  return done;
}
