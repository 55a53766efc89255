#include "utils/named_mutex.h"

#include <fcntl.h>
#include <sys/mman.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <ctime>

namespace {

constexpr std::size_t kObjectSize = 40;  // bytes
static_assert(sizeof(pthread_mutex_t) == kObjectSize, "other programs map the same object");

constexpr mode_t kObjectRights = 0666;

/// Opens or makes the object; tells which through `made`. -1 on failure.
int OpenObject(const char* name, bool* made) {
  for (;;) {
    int handle = shm_open(name, O_RDWR | O_CREAT | O_EXCL, kObjectRights);
    *made = handle >= 0;
    if (handle < 0) handle = shm_open(name, O_RDWR, kObjectRights);
    if (handle >= 0 || errno != EINTR) return handle;
  }
}

pthread_mutex_t* MapMutex(int handle) {
  if (ftruncate(handle, kObjectSize) != 0) return nullptr;
  void* address = mmap(nullptr, kObjectSize, PROT_READ | PROT_WRITE, MAP_SHARED, handle, 0);
  return address == MAP_FAILED ? nullptr : static_cast<pthread_mutex_t*>(address);
}

bool InitShared(pthread_mutex_t* mutex) {
  pthread_mutexattr_t attribute;
  if (pthread_mutexattr_init(&attribute) != 0) return false;
  const bool done = pthread_mutexattr_setpshared(&attribute, PTHREAD_PROCESS_SHARED) == 0 &&
                    pthread_mutex_init(mutex, &attribute) == 0;
  pthread_mutexattr_destroy(&attribute);
  return done;
}

/// True for what `InitShared` leaves, and for all zeros, which the object holds until its maker is that far:
/// a free mutex as well. A foreign object can bear the same name; the library would follow pointers in it if
/// its kind word claimed a robust or a priority mutex.
bool IsPlainMutex(const pthread_mutex_t* mutex) {
  constexpr unsigned kShared = 0x80;
  constexpr unsigned kElision = 0x300;  // set by the library on processors with lock elision
  const unsigned kind =
      __atomic_load_n(reinterpret_cast<const unsigned*>(&mutex->__data.__kind), __ATOMIC_RELAXED);
  return (kind & ~(kShared | kElision)) == 0;
}

}  // namespace

namespace utils {

bool NamedMutex::Create(const char* newName) {
  if (newName == nullptr) return false;
  const std::string objectName = newName;  // before Close, which may free what newName points to
  Close();

  handle = OpenObject(objectName.c_str(), &created);
  if (handle < 0) return false;
  mutex = MapMutex(handle);
  if (mutex == nullptr || !(created ? InitShared(mutex) : IsPlainMutex(mutex))) {
    Close();
    return false;
  }
  name = objectName;
  return true;
}

bool NamedMutex::Wait() {
  if (mutex == nullptr) return false;
  pthread_mutex_lock(mutex);
  return true;
}

bool NamedMutex::WaitTime(int seconds) {
  if (mutex == nullptr) return false;
  timespec until;
  clock_gettime(CLOCK_REALTIME, &until);
  until.tv_sec += seconds;
  return pthread_mutex_timedlock(mutex, &until) == 0;
}

bool NamedMutex::Release() {
  return mutex != nullptr && pthread_mutex_unlock(mutex) == 0;
}

void NamedMutex::Close() {
  if (mutex != nullptr) munmap(mutex, kObjectSize);
  if (handle >= 0) close(handle);
  mutex = nullptr;
  handle = -1;
  created = false;
  name.clear();
}

}  // namespace utils
