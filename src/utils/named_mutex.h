#pragma once

#include <pthread.h>

#include <string>

/// A mutex shared between unrelated processes by its name.
///
/// The mutex is a `pthread_mutex_t` of 40 bytes, all that its shared memory object holds. The object stays
/// under /dev/shm when everybody has closed it, and the next `Create` finds it again. A mutex whose holder
/// died stays held: `WaitTime` runs into its time-out. `TakeOver` is for a caller whose data is in order at
/// every moment, so that it may go on where the dead holder stopped.
///
/// States: not open; open after `Create`; held after a wait. A closed mutex can be created again. It excludes
/// threads as well as processes and is not recursive. All failures are told by false results.
namespace utils {

class NamedMutex {
 public:
  NamedMutex() = default;

  /// Closes nothing: the owner calls `Close`.
  ~NamedMutex() = default;

  NamedMutex(const NamedMutex&) = delete;
  NamedMutex& operator=(const NamedMutex&) = delete;

  /// Opens the mutex, making it when it does not exist yet. An object that is open already is closed first.
  ///   newName  name of the shared memory object, handed to shm_open as it is; null gives false
  /// False also when the object cannot be opened or sized, or when what it holds is no plain mutex. An
  /// existing mutex is taken as it is, held or free.
  [[nodiscard]] bool Create(const char* newName);

  /// True when this object made the shared memory.
  [[nodiscard]] bool Created() const { return created; }

  /// True while the open object still bears its name: a mutex that is kept open for long may have been
  /// removed, and others then use a new one.
  [[nodiscard]] bool IsLinked() const;

  /// Waits without limit. True whenever a mutex is open.
  bool Wait();

  /// Waits `seconds` by the real-time clock. True when the mutex is now held by the caller.
  [[nodiscard]] bool WaitTime(int seconds);

  /// Makes a mutex whose holder no longer exists that of the caller. To be called after a wait that ran into
  /// its time-out. Of several callers one gets it. False when the holder lives, or cannot be told: it died
  /// within the few instructions before it signed the mutex, or its number belongs to another process by now.
  [[nodiscard]] bool TakeOver();

  /// Gives the mutex back. False when none is open or the system refuses.
  bool Release();

  /// Unmaps and closes. The shared memory object stays. A held mutex stays held: release it first.
  void Close();

 private:
  pthread_mutex_t* mutex = nullptr;  // in the mapping, null when not open
  int handle = -1;                   // of the shared memory object
  bool created = false;
  std::string name;
};

}  // namespace utils
