#pragma once

#include <string>

namespace velora {

/// The numbers of the assignment files of one run. Runs over several databases go on side by side and have
/// one work directory: each claims a range of numbers there, 1 to 1000 if it is alone.
///
/// A range is held by a lock on a byte of the file multiload.lock, which stays in the directory. The system
/// frees the lock however the run ends; the workers do not inherit it.
class WorkerNumbers {
 public:
  static constexpr int kPerRun = 1000;

  /// Claims the first range that is free. Makes the directory, which ends in "/", when it is missing.
  explicit WorkerNumbers(const std::string& directory);
  ~WorkerNumbers();
  WorkerNumbers(const WorkerNumbers&) = delete;
  WorkerNumbers& operator=(const WorkerNumbers&) = delete;

  /// What goes before the number of a worker, counted from 1: a multiple of kPerRun. -1 when no range was
  /// had.
  [[nodiscard]] int base() const { return base_; }

 private:
  int file_ = -1;
  int base_ = -1;
};

}  // namespace velora
