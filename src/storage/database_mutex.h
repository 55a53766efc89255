#pragma once

#include <algorithm>
#include <string>

#include "storage/bulk_writer.h"
#include "storage/codes.h"
#include "storage/edge.h"
#include "storage/master_file.h"
#include "storage/velor_space.h"
#include "utils/named_mutex.h"

/// The one mutex that every change of a database's files happens under, across all processes. A database and
/// its companion share it.
namespace velor_32 {

/// "<prefix>VELOR64_MUTEX<DB>", DB being the name in upper case, without path.
[[nodiscard]] std::string DatabaseMutexName(std::string_view databaseName);
[[nodiscard]] std::string DatabaseMutexName(const TVelorSpace* space);

/// "<prefix>VELOR64_FT_MUTEX<DB>": the beginning of the names of the full-text record mutexes of a database,
/// to which the GUID is added in upper case.
[[nodiscard]] std::string FullTextMutexPrefix(std::string_view databaseName);

/// Seconds that an operation may wait for the mutex.
[[nodiscard]] constexpr int ClipTimeout(int timeoutSeconds) {
  return std::clamp(timeoutSeconds, 1, 300);
}

/// Holds the database mutex for the life of the object. A space in a bulk run lends its open mutex object.
/// A mutex whose holder died is taken over after a second: the files are in order at every moment of a
/// change.
class DatabaseMutexHold {
 public:
  DatabaseMutexHold(TVelorSpace* space, int timeoutSeconds);
  ~DatabaseMutexHold();
  DatabaseMutexHold(const DatabaseMutexHold&) = delete;
  DatabaseMutexHold& operator=(const DatabaseMutexHold&) = delete;
  [[nodiscard]] bool held() const { return held_; }

 private:
  utils::NamedMutex own_;
  utils::NamedMutex* mutex_ = nullptr;
  bool held_ = false;
};

/// Wakes the space, runs `work` under the database mutex and gives its result; -300 when the mutex is not had
/// in time, the failure of the wake otherwise.
template <class Work>
int UnderDatabaseMutex(TVelorSpace* space, int timeoutSeconds, Work&& work) {
  if (!IsOpen(space)) return kNoSpace;
  return AtEdge([&]() -> int {
    if (space->lazyMst || space->lazyTerm)
      if (int rc = VelorUnlazy(space); rc != kOk) return rc;
    DatabaseMutexHold hold(space, timeoutSeconds);
    return hold.held() ? work() : kLocked;
  });
}

}  // namespace velor_32
