#include "utils/named_mutex.h"

#include <fcntl.h>
#include <gtest/gtest.h>
#include <sys/mman.h>
#include <sys/stat.h>
#include <sys/wait.h>
#include <unistd.h>

#include <chrono>
#include <string>

namespace {

using utils::NamedMutex;

/// A name that no other process uses, its object removed before and after the test.
class NamedMutexTest : public testing::Test {
 protected:
  NamedMutexTest() { shm_unlink(name_.c_str()); }
  ~NamedMutexTest() override { shm_unlink(name_.c_str()); }

  const char* Name() const { return name_.c_str(); }

  /// Puts an object of foreign content in the mutex's place.
  void Place(const std::string& content) const {
    const int handle = shm_open(Name(), O_RDWR | O_CREAT, 0600);
    ASSERT_GE(handle, 0);
    ASSERT_EQ(write(handle, content.data(), content.size()), static_cast<ssize_t>(content.size()));
    close(handle);
  }

  off_t ObjectSize() const {
    struct stat status = {};
    return stat(("/dev/shm/" + name_).c_str(), &status) == 0 ? status.st_size : -1;
  }

 private:
  std::string name_ = "velora_mutex_test_" + std::to_string(getpid());
};

TEST_F(NamedMutexTest, TwoObjectsExcludeEachOther) {
  NamedMutex first;
  NamedMutex second;
  ASSERT_TRUE(first.Create(Name()));
  ASSERT_TRUE(second.Create(Name()));
  EXPECT_TRUE(first.Created());
  EXPECT_FALSE(second.Created());
  EXPECT_EQ(ObjectSize(), 40);

  ASSERT_TRUE(first.Wait());
  const auto start = std::chrono::steady_clock::now();
  EXPECT_FALSE(second.WaitTime(1));
  const std::chrono::duration<double> waited = std::chrono::steady_clock::now() - start;
  EXPECT_GT(waited.count(), 0.9);
  EXPECT_LT(waited.count(), 3);

  EXPECT_TRUE(first.Release());
  EXPECT_TRUE(second.WaitTime(1));
  EXPECT_TRUE(second.Release());
  first.Close();
  second.Close();
}

TEST_F(NamedMutexTest, AnotherProcessIsKeptOut) {
  NamedMutex mutex;
  ASSERT_TRUE(mutex.Create(Name()));
  ASSERT_TRUE(mutex.WaitTime(1));
  const auto heldElsewhere = [&] {
    const pid_t child = fork();
    if (child == 0) {
      NamedMutex other;
      if (!other.Create(Name())) _exit(2);
      const bool got = other.WaitTime(0);
      if (got) other.Release();
      _exit(got ? 0 : 1);
    }
    int status = 0;
    waitpid(child, &status, 0);
    return WEXITSTATUS(status);
  };
  EXPECT_EQ(heldElsewhere(), 1);
  EXPECT_TRUE(mutex.Release());
  EXPECT_EQ(heldElsewhere(), 0);
  mutex.Close();
}

TEST_F(NamedMutexTest, OpeningAHeldMutexDoesNotFreeIt) {
  NamedMutex holder;
  ASSERT_TRUE(holder.Create(Name()));
  ASSERT_TRUE(holder.WaitTime(1));
  NamedMutex other;
  ASSERT_TRUE(other.Create(Name()));
  EXPECT_FALSE(other.WaitTime(0));
  other.Close();
  holder.Release();
  holder.Close();
}

TEST_F(NamedMutexTest, TheObjectOutlivesClose) {
  NamedMutex mutex;
  ASSERT_TRUE(mutex.Create(Name()));
  mutex.Close();
  EXPECT_EQ(ObjectSize(), 40);
  EXPECT_FALSE(mutex.Created());
  ASSERT_TRUE(mutex.Create(Name()));
  EXPECT_FALSE(mutex.Created()) << "found, not made";
  mutex.Close();
}

TEST_F(NamedMutexTest, NothingWorksWhileClosed) {
  NamedMutex mutex;
  EXPECT_FALSE(mutex.Wait());
  EXPECT_FALSE(mutex.WaitTime(0));
  EXPECT_FALSE(mutex.Release());
  mutex.Close();
  EXPECT_FALSE(mutex.Create(nullptr));
  EXPECT_FALSE(mutex.Create(""));
  EXPECT_FALSE(mutex.Create("a/b"));
}

TEST_F(NamedMutexTest, ZeroedObjectIsAFreeMutex) {
  for (const std::size_t size : {0u, 7u, 40u, 4096u}) {
    SCOPED_TRACE(size);
    shm_unlink(Name());
    Place(std::string(size, '\0'));
    NamedMutex mutex;
    ASSERT_TRUE(mutex.Create(Name()));
    EXPECT_FALSE(mutex.Created());
    EXPECT_EQ(ObjectSize(), 40);
    EXPECT_TRUE(mutex.WaitTime(1));
    EXPECT_TRUE(mutex.Release());
    mutex.Close();
  }
}

TEST_F(NamedMutexTest, ForeignContentIsRefused) {
  for (const char byte : {'\xFF', '\x30', '\x11'}) {
    SCOPED_TRACE(static_cast<unsigned char>(byte));
    shm_unlink(Name());
    Place(std::string(100, byte));
    NamedMutex mutex;
    EXPECT_FALSE(mutex.Create(Name()));
    EXPECT_FALSE(mutex.Wait());
  }
}

}  // namespace
