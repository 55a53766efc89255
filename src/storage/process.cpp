#include "storage/process.h"

#include <sys/wait.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <cstring>
#include <cwchar>

namespace app {

volatile std::sig_atomic_t StopProcess = 0;
char AppPrefix[9] = {};

namespace {
constexpr int kNotFoundStatus = 127 << 8;  // the wait status of a child that exits with 127
}  // namespace

std::string_view AppPrefixText() {
  return {AppPrefix, strnlen(AppPrefix, sizeof(AppPrefix))};
}

void SetAppPrefix(std::string_view prefix) {
  std::memset(AppPrefix, 0, sizeof(AppPrefix));
  std::copy_n(prefix.data(), std::min(prefix.size(), sizeof(AppPrefix)), AppPrefix);
}

int WaitProcess(pid_t pid) {
  int status = kNotFoundStatus;
  if (pid <= 0) return WEXITSTATUS(status);  // a failed fork: kill would reach every process of the user
  while (waitpid(pid, &status, 0) == -1) {
    if (errno != EINTR) break;
    if (StopProcess != 0) kill(pid, SIGINT);
  }
  return WIFEXITED(status) ? WEXITSTATUS(status) : -WTERMSIG(status);
}

bool LocaleLessThanA(const std::string& left, const std::string& right) {
  return std::strcoll(left.c_str(), right.c_str()) < 0;
}

bool LocaleLessThanW(const std::wstring& left, const std::wstring& right) {
  return std::wcscoll(left.c_str(), right.c_str()) < 0;
}

}  // namespace app
