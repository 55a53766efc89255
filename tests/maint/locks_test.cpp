// The procedures around locks, and the emptying of a database.
#include <fcntl.h>
#include <gtest/gtest.h>
#include <sys/mman.h>
#include <sys/stat.h>
#include <unistd.h>

#include <filesystem>
#include <sstream>

#include "maint/clean_mutexes.h"
#include "maint/empty_db.h"
#include "maint/lock_db.h"
#include "maint/unlock_mfn.h"
#include "storage/database_lock.h"
#include "storage/database_open.h"
#include "storage/fields.h"
#include "storage/process.h"
#include "storage/record_lock.h"
#include "storage/record_update.h"
#include "storage/shelf.h"
#include "support/installation.h"

namespace {

using namespace velor_server_proc;

class Maintenance : public testing::Test {
 protected:
  // Names in shared memory begin with the process number, so that runs of this test side by side keep apart.
  void SetUp() override {
    app::SetAppPrefix("m" + std::to_string(getpid()));
    prefix_ = std::string(app::AppPrefixText());
  }
  void TearDown() override {
    shm_unlink((prefix_ + "VELOR64_MUTEXBLANK").c_str());
    app::SetAppPrefix("");
  }

  velor_32::SpacePointer Open() {
    std::ostringstream ignored;
    int result = 0;
    return velor_32::SpacePointer(VelorOpenDb(installation_.ctx(), "blank", ignored, &result));
  }

  void AddRecords(int count) {
    const velor_32::SpacePointer space = Open();
    for (int i = 0; i < count; ++i) {
      int result = 0;
      int ifResult = 0;
      velor_32::Velornewrec(space.get(), 0);
      velor_32::Velorfldadd(space.get(), 0, 200, 0, "^aOryx", 6);
      ASSERT_EQ(velor_32::VelorRecUpdateTime(space.get(), 0, false, false, 5, &result, &ifResult), 0);
      ASSERT_EQ(result, 0);
    }
  }

  void LockRecords(std::initializer_list<int> mfns) {
    const velor_32::SpacePointer space = Open();
    for (int mfn : mfns) ASSERT_EQ(velor_32::VelorRecLockTime(space.get(), 0, mfn, 5), 0);
  }

  bool IsLocked(int mfn) {
    const velor_32::SpacePointer space = Open();
    const int rc = velor_32::VelorRecLockTime(space.get(), 0, mfn, 5);
    if (rc == 0) velor_32::VelorRecUnLockTime(space.get(), mfn, 5);
    return rc != 0;
  }

  // What a procedure printed, without the line about the opening.
  std::string Printed() {
    std::string text = out_.str();
    out_.str("");
    const std::string opening = "OpenDB blank - Done\n";
    if (const std::size_t at = text.find(opening); at != std::string::npos) text.erase(at, opening.size());
    return text;
  }

  test::Installation installation_;
  app::VelorAppContext* ctx_ = installation_.ctx();
  std::ostringstream out_;
  std::string prefix_;
};

TEST_F(Maintenance, UnlocksTheRecordsThatAreLocked) {
  AddRecords(4);
  LockRecords({2, 4});
  EXPECT_EQ(VelorUnlockAllMfn(ctx_, "Blank", out_), 0);
  EXPECT_EQ(Printed(), "UnlockMFN\nRecord unlocked MFN 2\nRecord unlocked MFN 4\nDone\n");
  EXPECT_FALSE(IsLocked(2));
  EXPECT_EQ(VelorUnlockAllMfn(ctx_, "blank", out_), 0);
  EXPECT_EQ(Printed(), "UnlockMFN\nNo locked records\nDone\n");
}

TEST_F(Maintenance, UnlocksARangeAndAList) {
  AddRecords(4);
  installation_.Write("list.txt", "1\n9\n");
  const std::string list = installation_.File("list.txt");
  struct {
    const char* why;
    int from;
    int to;
    bool withList;
    std::string printed;
  } const cases[] = {
      {"a closed range", 2, 3, false,
       "UnlockMFN\nUsing mfn range from 2 to 3\nRecord unlocked MFN 2\nRecord unlocked MFN 3\nDone\n"},
      {"open above", 4, 0, false, "UnlockMFN\nUsing mfn range from 4 to 4\nRecord unlocked MFN 4\nDone\n"},
      {"open below", 0, 1, false, "UnlockMFN\nUsing mfn range from 1 to 1\nRecord unlocked MFN 1\nDone\n"},
      {"held within the database", 100, 200, false,
       "UnlockMFN\nUsing mfn range from 4 to 4\nRecord unlocked MFN 4\nDone\n"},
      {"the list comes behind the range, the last result counts", 2, 2, true,
       "UnlockMFN\nUsing mfn range from 2 to 2\nRecord unlocked MFN 2\nLoading mfn list from file " + list +
           "\nRecord unlocked MFN 1\nRecord unlock failed MFN 9\nError -140\n"},
      {"a list alone", 0, 0, true,
       "UnlockMFN\nLoading mfn list from file " + list +
           "\nRecord unlocked MFN 1\nRecord unlock failed MFN 9\nError -140\n"},
  };
  for (const auto& c : cases) {
    SCOPED_TRACE(c.why);
    VelorUnlockMfn(ctx_, "blank", c.from, c.to, c.withList ? list : "", out_);
    EXPECT_EQ(Printed(), c.printed);
  }
}

TEST_F(Maintenance, AStopEndsTheUnlocking) {
  AddRecords(3);
  const unsigned char stop = 1;
  ctx_->stopFlag = &stop;
  VelorUnlockMfn(ctx_, "blank", 1, 3, "", out_);
  EXPECT_EQ(Printed(), "UnlockMFN\nUsing mfn range from 1 to 3\nProcess stop\nDone\n");
}

TEST_F(Maintenance, ALockedDatabaseKeepsItsRecordLocks) {
  AddRecords(1);
  LockRecords({1});
  EXPECT_EQ(VelorLockDB(ctx_, "blank", out_), 0);
  EXPECT_EQ(Printed(), "LockDB\nDone\n");
  EXPECT_EQ(VelorUnlockMfn(ctx_, "blank", 1, 1, "", out_), -300);
  EXPECT_EQ(Printed(), "UnlockMFN\nUsing mfn range from 1 to 1\nRecord unlock failed MFN 1\nError -300\n");
  EXPECT_EQ(VelorUnlockDB(ctx_, "blank", out_), 0);
  EXPECT_EQ(Printed(), "UnlockDB\nDone\n");
  EXPECT_TRUE(IsLocked(1));
}

TEST_F(Maintenance, TheCompanionIsLockedToo) {
  const std::string fullText("\0\0\0\0\0\0\0\1\0\0\0\x24\0\0\0\0\0\0\0\0\0\0\0\0\0\1\0\x10\0\0\0\0\0\0\0\0",
                             36);
  installation_.Write("datai/blank/blank.mst", fullText);
  std::filesystem::create_directory(installation_.File("datai/blank/blank--text"));
  for (const char* extension : {"mst", "xrf", "ifp", "l01", "n01"}) {
    installation_.Write(std::string("datai/blank/blank--text/text.") + extension,
                        extension[0] == 'm' ? fullText : "");
  }
  {
    const velor_32::SpacePointer space = Open();
    ASSERT_NE(space, nullptr);
    ASSERT_NE(space->textSpace, nullptr);
  }
  EXPECT_EQ(VelorLockDB(ctx_, "blank", out_), 0);
  EXPECT_EQ(installation_.Read("datai/blank/blank--text/text.mst")[35], 1);
  EXPECT_EQ(VelorUnlockDB(ctx_, "blank", out_), 0);
  EXPECT_EQ(installation_.Read("datai/blank/blank--text/text.mst")[35], 0);
  EXPECT_EQ(VelorEmptyDB(ctx_, "blank", out_), 0);
  EXPECT_EQ(installation_.Read("datai/blank/blank--text/text.mst"), fullText);
}

TEST_F(Maintenance, AnEmptiedDatabaseIsLikeTheBlankOne) {
  const std::string blank = installation_.Read("datai/blank/blank.mst");
  AddRecords(3);
  EXPECT_EQ(VelorLockDB(ctx_, "blank", out_), 0);
  Printed();
  EXPECT_EQ(VelorEmptyDB(ctx_, "BLANK", out_), 0);
  EXPECT_EQ(Printed(), "Done\n");
  EXPECT_EQ(installation_.Read("datai/blank/blank.mst"), blank);
  for (const char* extension : {"xrf", "ifp", "l01", "n01"}) {
    EXPECT_EQ(installation_.Read(std::string("datai/blank/blank.") + extension), "") << extension;
  }
}

TEST_F(Maintenance, CleansTheMutexesOfItsDatabaseOnly) {
  const std::string stem = prefix_ + "VELOR64_FT_MUTEX";
  const std::string mine = stem + "BLANK{11111111-0000-0000-0000-000000000000}";
  const std::string other = stem + "ORYX{11111111-0000-0000-0000-000000000000}";
  const std::string longer = stem + "BLANK2{11111111-0000-0000-0000-000000000000}";
  const std::string foreign = "x" + mine;
  for (const std::string& name : {mine, other, longer, foreign})
    close(shm_open(name.c_str(), O_RDWR | O_CREAT, 0600));

  EXPECT_EQ(VelorCleanRecordMutexes(ctx_, "blank", out_), 0);
  EXPECT_EQ(Printed(), "CleanMtx\nDone\n");
  EXPECT_EQ(shm_unlink(mine.c_str()), -1);
  EXPECT_EQ(shm_unlink(other.c_str()), 0);
  EXPECT_EQ(shm_unlink(longer.c_str()), 0);
  EXPECT_EQ(shm_unlink(foreign.c_str()), 0);
  const velor_32::SpacePointer space = Open();
  EXPECT_EQ(velor_32::VelorIsDBLocked(space.get()), 0) << "the lock of the clean-up is gone";
}

TEST_F(Maintenance, TellsWhichMutexStays) {
  const std::string name = prefix_ + "VELOR64_FT_MUTEXBLANK{2}";
  const std::string path = "/dev/shm/" + name;
  if (mkdir(path.c_str(), 0700) != 0) GTEST_SKIP() << "/dev/shm cannot be written";
  EXPECT_EQ(VelorCleanRecordMutexes(ctx_, "blank", out_), -300);
  rmdir(path.c_str());
  EXPECT_EQ(Printed(), "CleanMtx\nshm_unlink " + name + " failed with errno " + std::to_string(EISDIR) +
                           "\nError -300\n");
}

TEST_F(Maintenance, ALockedDatabaseIsNotCleaned) {
  EXPECT_EQ(VelorLockDB(ctx_, "blank", out_), 0);
  Printed();
  EXPECT_EQ(VelorCleanRecordMutexes(ctx_, "blank", out_), -300);
  EXPECT_EQ(Printed(), "CleanMtx\n");
  const velor_32::SpacePointer space = Open();
  EXPECT_EQ(velor_32::VelorIsDBLocked(space.get()), -300) << "the lock of another stays";
}

TEST_F(Maintenance, AFailedOpeningIsTheResult) {
  EXPECT_EQ(VelorLockDB(ctx_, "nosuch", out_), -5555);
  EXPECT_EQ(VelorUnlockAllMfn(ctx_, "nosuch", out_), -5555);
  EXPECT_EQ(VelorCleanRecordMutexes(ctx_, "nosuch", out_), -5555);
  EXPECT_EQ(VelorEmptyDB(ctx_, "nosuch", out_), -5555);
}

}  // namespace
