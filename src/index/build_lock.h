#pragma once

#include "storage/velor_space.h"

namespace velora {

/// The lock of a database, and of its companion, for the life of the object. A lock that another run took is
/// left alone.
class BuildLock {
 public:
  BuildLock(velor_01::TVelorSpace* space, int timeoutSeconds);
  ~BuildLock();
  BuildLock(const BuildLock&) = delete;
  BuildLock& operator=(const BuildLock&) = delete;

  /// 0 while the lock is held; -300 when the database was locked or the lock is not had in time, -400. The
  /// failure stands in the log.
  [[nodiscard]] int result() const { return result_; }

 private:
  velor_01::TVelorSpace* space_;
  int timeoutSeconds_;
  int result_;
};

}  // namespace velora
