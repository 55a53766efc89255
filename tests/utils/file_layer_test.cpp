#include "utils/file_layer.h"

#include <fcntl.h>
#include <gtest/gtest.h>
#include <sys/stat.h>
#include <sys/wait.h>
#include <unistd.h>

#include <array>
#include <climits>

#include "support/temp_dir.h"
#include "utils/endian.h"

namespace {

using namespace backup;

TEST(FileLayer, OpenModes) {
  const test::TempDir dir;
  const std::string path = dir.Write("f", "12345");
  const struct {
    const char* why;
    int mode;
    bool opens;
    bool reads;
    bool writes;
  } cases[] = {
      {"read, shared", 64, true, true, false},
      {"read and write", 34, true, true, true},
      {"exclusive", 18, true, true, true},
      {"write only", 1, true, false, true},
      {"plain read", 0, true, true, false},
      {"access 3", 3, false, false, false},
      {"sharing 0x50", 0x50, false, false, false},
      {"sharing 0xF0", 0xF2, false, false, false},
      {"a write lock needs the right to write", 16, false, false, false},
      {"negative", -1, false, false, false},
  };
  for (const auto& c : cases) {
    SCOPED_TRACE(c.why);
    const int handle = _lopen(path.c_str(), c.mode);
    ASSERT_EQ(handle >= 0, c.opens);
    if (!c.opens) continue;
    char byte = '1';
    EXPECT_EQ(_lread(handle, &byte, 1) == 1, c.reads);
    EXPECT_EQ(_lwrite(handle, &byte, 1) == 1, c.writes);
    EXPECT_NE(fcntl(handle, F_GETFD) & FD_CLOEXEC, 0);
    EXPECT_EQ(_lclose(handle), 0);
  }
  EXPECT_EQ(_lopen(dir.File("missing").c_str(), 34), -1);
  EXPECT_EQ(_lopen(nullptr, 64), -1);
}

/// Result of `_lopen` in another process, where locks of this one count.
bool OpensElsewhere(const std::string& path, int mode) {
  const pid_t child = fork();
  if (child == 0) _exit(_lopen(path.c_str(), mode) >= 0 ? 1 : 0);
  int status = 0;
  waitpid(child, &status, 0);
  return WEXITSTATUS(status) == 1;
}

TEST(FileLayer, ExclusiveSharingKeepsOtherProcessesOut) {
  const test::TempDir dir;
  const std::string path = dir.Write("f", "");
  const int handle = _lopen(path.c_str(), 18);
  ASSERT_GE(handle, 0);
  EXPECT_FALSE(OpensElsewhere(path, 18));
  EXPECT_TRUE(OpensElsewhere(path, 34)) << "other sharing values take and see no lock";
  _lclose(handle);
  EXPECT_TRUE(OpensElsewhere(path, 18));
}

TEST(FileLayer, CreateEmptiesAndOpensForBoth) {
  const test::TempDir dir;
  const std::string path = dir.File("f");
  const mode_t mask = umask(0);
  int handle = _lcreat(path.c_str(), 1);
  umask(mask);
  ASSERT_GE(handle, 0);
  struct stat status;
  ASSERT_EQ(fstat(handle, &status), 0);
  EXPECT_EQ(status.st_mode & 0777, 0664u);
  EXPECT_EQ(_lwrite(handle, "abcdef", 6), 6);
  EXPECT_EQ(_llseek(handle, 2, SEEK_SET), 2);
  char buffer[8] = {};
  EXPECT_EQ(_lread(handle, buffer, 8), 4) << "short at the end";
  EXPECT_STREQ(buffer, "cdef");
  EXPECT_EQ(_lread(handle, buffer, 8), 0);
  EXPECT_EQ(_llseek(handle, -1, SEEK_END), 5);
  EXPECT_EQ(_llseek(handle, -1, SEEK_SET), -1);
  _lclose(handle);

  handle = _lcreat(path.c_str(), 0);
  EXPECT_EQ(_llseek(handle, 0, SEEK_END), 0);
  _lclose(handle);
}

TEST(FileLayer, FailuresGiveMinusOne) {
  char buffer[4];
  EXPECT_EQ(_lread(-1, buffer, 4), -1);
  EXPECT_EQ(_lwrite(-1, buffer, 4), -1);
  EXPECT_EQ(_lclose(-1), -1);
  EXPECT_EQ(_lread(0, buffer, -1), -1);
  EXPECT_EQ(_lcreat("/no/such/dir/f", 0), -1);
}

TEST(FileLayer, PipesAreReadToTheEnd) {
  std::array<int, 2> ends;
  ASSERT_EQ(pipe(ends.data()), 0);
  if (fork() == 0) {
    for (const char* part : {"abc", "def"}) {
      if (write(ends[1], part, 3) != 3) _exit(1);
      usleep(20000);
    }
    _exit(0);
  }
  close(ends[1]);
  char buffer[16] = {};
  EXPECT_EQ(_lread(ends[0], buffer, 16), 6) << "two system calls, one result";
  EXPECT_STREQ(buffer, "abcdef");
  close(ends[0]);
  wait(nullptr);
}

TEST(FileLayer, WholeFiles) {
  const test::TempDir dir;
  std::int64_t size = -1;
  char* block = OpenTerm_x(dir.Write("f", std::string("a\0b", 3)).c_str(), &size);
  ASSERT_NE(block, nullptr);
  EXPECT_EQ(std::string(block, 4), std::string("a\0b\0", 4));
  EXPECT_EQ(size, 3);
  CloseTerm_x(block);

  block = OpenTerm_x(dir.Write("empty", "").c_str(), nullptr);
  ASSERT_NE(block, nullptr);
  EXPECT_EQ(*block, '\0');
  CloseTerm_x(block);

  EXPECT_EQ(OpenTerm_x(dir.File("missing").c_str(), &size), nullptr);
  EXPECT_EQ(size, 0);
  EXPECT_EQ(OpenTerm_x(dir.Path().c_str(), &size), nullptr) << "a directory";
  CloseTerm_x(nullptr);
}

TEST(FileLayer, PositionalAccessLeavesThePosition) {
  const test::TempDir dir;
  const int handle = _lopen(dir.Write("f", "0123456789").c_str(), 34);
  char buffer[16] = {};
  EXPECT_TRUE(utils::ReadAt(handle, 3, buffer, 4));
  EXPECT_STREQ(buffer, "3456");
  EXPECT_FALSE(utils::ReadAt(handle, 8, buffer, 4)) << "cut by the end";
  EXPECT_EQ(utils::ReadSomeAt(handle, 8, buffer, 4), 2);
  EXPECT_EQ(utils::ReadSomeAt(handle, 100, buffer, 4), 0);
  EXPECT_TRUE(utils::WriteAt(handle, 12, "ab", 2));
  EXPECT_EQ(_llseek(handle, 0, SEEK_CUR), 0);
  EXPECT_EQ(_llseek(handle, 0, SEEK_END), 14);
  _lclose(handle);
}

TEST(FileLayer, WildOffsetsAreRefused) {
  const test::TempDir dir;
  const int handle = _lopen(dir.Write("f", "0123").c_str(), 34);
  char buffer[4] = {};
  for (const std::int64_t offset : {std::int64_t{-1}, INT64_MIN, INT64_MAX, INT64_MAX - 3}) {
    SCOPED_TRACE(offset);
    EXPECT_FALSE(utils::ReadAt(handle, offset, buffer, 4));
    EXPECT_FALSE(utils::WriteAt(handle, offset, buffer, 4));
  }
  EXPECT_EQ(utils::ReadSomeAt(handle, 0, buffer, SIZE_MAX), -1);
  EXPECT_EQ(_llseek(handle, 0, SEEK_END), 4);
  _lclose(handle);
}

TEST(FileLayer, WordsOfOffsets) {
  EXPECT_EQ(MakeInt64(0x89ABCDEF, 0x01234567), 0x0123456789ABCDEF);
  EXPECT_EQ(MakeInt64(0xFFFFFFFF, 0xFFFFFFFF), -1);
  std::uint32_t low;
  std::uint32_t high;
  MakeFromInt64(0x0123456789ABCDEF, &low, &high);
  EXPECT_EQ(low, 0x89ABCDEF);
  EXPECT_EQ(high, 0x01234567u);
}

TEST(Endian, WordsAtAnyAddress) {
  unsigned char bytes[6] = {};
  utils::StoreBe32(bytes + 1, 0x01020304);
  EXPECT_EQ(bytes[1], 1);
  EXPECT_EQ(bytes[4], 4);
  EXPECT_EQ(utils::LoadBe32(bytes + 1), 0x01020304u);
}

}  // namespace
