#include "utils/named_mutex.h"

#include <fcntl.h>
#include <sys/mman.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <csignal>
#include <cstdio>
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

constexpr unsigned kShared = 0x80;
constexpr unsigned kElision = 0x300;  // set by the library on processors with lock elision

unsigned KindOf(const pthread_mutex_t* mutex) {
  return __atomic_load_n(reinterpret_cast<const unsigned*>(&mutex->__data.__kind), __ATOMIC_ACQUIRE);
}

/// True for what `InitShared` leaves, and for all zeros, which the object holds until its maker is that far:
/// a free mutex as well. A foreign object can bear the same name; the library would follow pointers in it if
/// its kind word claimed a robust or a priority mutex.
bool IsPlainMutex(const pthread_mutex_t* mutex) {
  return (KindOf(mutex) & ~(kShared | kElision)) == 0;
}

/// The maker of an object sizes it first and initialises the mutex then, which would free a lock taken in
/// between. It needs microseconds; an object that stays zero is taken as it is.
void AwaitInit(const pthread_mutex_t* mutex) {
  constexpr timespec kPause = {0, 200'000};  // nanoseconds
  for (int tries = 50; tries > 0 && !(KindOf(mutex) & kShared); --tries) nanosleep(&kPause, nullptr);
}

/// Whether the thread is gone for good; one that only waits for its parent to take notice counts as gone.
bool IsGone(pid_t thread) {
  if (kill(thread, 0) != 0) return errno == ESRCH;
  char path[32];
  std::snprintf(path, sizeof path, "/proc/%d/stat", static_cast<int>(thread));
  FILE* file = std::fopen(path, "re");
  if (file == nullptr) return false;
  char state = 0;
  const int got = std::fscanf(file, "%*d (%*[^)]) %c", &state);
  std::fclose(file);
  return got == 1 && (state == 'Z' || state == 'X');
}

}  // namespace

namespace utils {

bool NamedMutex::Create(const char* newName) {
  if (newName == nullptr) return false;
  const std::string objectName = newName;  // before Close, which may free what newName points to
  Close();

  handle = OpenObject(objectName.c_str(), &created);
  if (handle < 0) return false;
  if (created) (void)fchmod(handle, kObjectRights);  // past the mask of this process: others must open it too
  mutex = MapMutex(handle);
  if (mutex != nullptr && !created) AwaitInit(mutex);
  if (mutex == nullptr || !(created ? InitShared(mutex) : IsPlainMutex(mutex))) {
    Close();
    return false;
  }
  name = objectName;
  return true;
}

bool NamedMutex::IsLinked() const {
  struct stat info {};
  return mutex != nullptr && fstat(handle, &info) == 0 && info.st_nlink > 0;
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

bool NamedMutex::TakeOver() {
  if (mutex == nullptr) return false;
  int* owner = &mutex->__data.__owner;
  int former = __atomic_load_n(owner, __ATOMIC_ACQUIRE);
  if (former <= 0 || !IsGone(former)) return false;
  return __atomic_compare_exchange_n(owner, &former, gettid(), false, __ATOMIC_ACQ_REL, __ATOMIC_RELAXED);
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
