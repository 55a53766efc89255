#include "storage/record_update.h"

#include <gtest/gtest.h>
#include <signal.h>
#include <sys/mman.h>
#include <sys/wait.h>
#include <unistd.h>

#include <map>
#include <random>

#include "storage/actualize_all.h"
#include "storage/bulk_writer.h"
#include "storage/codes.h"
#include "storage/crash_repair.h"
#include "storage/database_lock.h"
#include "storage/database_mutex.h"
#include "storage/process.h"
#include "storage/record_guid.h"
#include "storage/record_lock.h"
#include "storage/record_read.h"
#include "storage/record_status.h"
#include "storage/shelf.h"
#include "storage/xrf_info.h"
#include "support/kill_at_write.h"
#include "support/open_space.h"
#include "support/temp_dir.h"
#include "support/verify.h"
#include "utils/int_list.h"

namespace {

using namespace velor_32;
using test::Fields;
using test::TestBase;

constexpr int kTimeout = 5;

int Update(TVelorSpace* space, int shelf = 0, bool keepLock = false) {
  int result = kOk;
  int ifResult = kOk;
  VelorRecUpdateTime(space, shelf, keepLock, false, kTimeout, &result, &ifResult);
  return result;
}

int AddRecord(TVelorSpace* space, const Fields& fields) {
  Velornewrec(space, 0);
  test::SetFields(space, 0, fields);
  const int rc = Update(space);
  return rc == kOk ? Velormfn(space, 0) : rc;
}

/// An empty database; its mutex is removed in the end.
class RecordUpdateTest : public testing::Test {
 protected:
  RecordUpdateTest() : context_(test::MakeContext()) {
    app::SetAppPrefix("vt" + std::to_string(::getpid() % 100000));
    TestBase().WriteTo(path_);
  }
  ~RecordUpdateTest() override { ::shm_unlink(DatabaseMutexName("db").c_str()); }
  SpacePointer Open() { return test::OpenSpace(context_.get(), path_); }

  test::TempDir dir_;
  std::string path_ = dir_.File("db");
  test::ContextPointer context_;
};

TEST_F(RecordUpdateTest, NewRecordsAndVersions) {
  const SpacePointer space = Open();
  ASSERT_EQ(AddRecord(space.get(), {{200, "one"}}), 1);
  ASSERT_EQ(AddRecord(space.get(), {{200, "other"}}), 2);
  EXPECT_EQ(std::filesystem::file_size(path_ + ".mst"), 0x100000U);
  EXPECT_EQ(std::filesystem::file_size(path_ + ".xrf"), 0x8000U);

  ASSERT_EQ(VelorRecord(space.get(), 0, 1), kOk);
  test::SetFields(space.get(), 0, {{200, "two"}});
  Velorfldadd(space.get(), 0, 100, 1, "before");
  ASSERT_EQ(Update(space.get()), kOk);
  EXPECT_EQ(Velorversion(space.get(), 0), 2);

  const SpacePointer other = Open();
  ASSERT_EQ(VelorRecord(other.get(), 0, 1), kOk);
  EXPECT_EQ(test::FieldsOf(other.get(), 0), (Fields{{100, "before"}, {200, "two"}}));
  EXPECT_EQ(Velorrecstatus(other.get(), 0, 0), 40);
  EXPECT_EQ(Velorrecstatus(other.get(), 0, 1), 8);
  ASSERT_EQ(VelorRecordBack(other.get(), 0, 1, 1), kOk);
  EXPECT_EQ(Velorrecstatus(other.get(), 0, 0), 8) << "the old image is no longer the last version";
  EXPECT_EQ(test::Verify(path_), "");
}

TEST_F(RecordUpdateTest, AStaleVersionIsRefused) {
  const SpacePointer space = Open();
  AddRecord(space.get(), {{200, "one"}});
  ASSERT_EQ(VelorRecord(space.get(), 0, 1), kOk);
  ASSERT_EQ(VelorRecord(space.get(), 1, 1), kOk);
  ASSERT_EQ(Update(space.get(), 0), kOk);
  const auto before = Velormaxmfn(space.get());
  EXPECT_EQ(Update(space.get(), 1), kVersionMismatch);
  EXPECT_EQ(Velormaxmfn(space.get()), before);
  Velorchangemfn(space.get(), 1, 99);
  EXPECT_EQ(Update(space.get(), 1), kMfnRange);
}

TEST_F(RecordUpdateTest, RecordLocks) {
  const SpacePointer mine = Open();
  const SpacePointer yours = Open();
  AddRecord(mine.get(), {{200, "one"}});
  ASSERT_EQ(VelorRecord(yours.get(), 0, 1), kOk);
  ASSERT_EQ(VelorRecLockTime(mine.get(), 0, 1, kTimeout), kOk);
  EXPECT_EQ(VelorRecLockTime(yours.get(), 1, 1, kTimeout), kRecordLocked);
  EXPECT_EQ(FieldText(yours.get(), 1, 1), "one") << "the record is delivered all the same";
  EXPECT_EQ(Update(yours.get(), 0), kRecordLocked);
  EXPECT_EQ(Update(mine.get(), 0, true), kOk);
  EXPECT_EQ(VelorIsRealyLocked(mine.get(), 1), kRecordLocked) << "kept";
  EXPECT_EQ(Update(mine.get(), 0, false), kOk);
  EXPECT_EQ(VelorIsRealyLocked(mine.get(), 1), kOk) << "a save releases the lock";
  EXPECT_EQ(VelorRecUnLockTime(mine.get(), 1, kTimeout), kOk) << "also when it is not locked";
  EXPECT_EQ(VelorRecUnLockTime(mine.get(), 2, kTimeout), kMfnRange);
  Velornewrec(mine.get(), 0);
  test::SetFields(mine.get(), 0, {{1, "x"}});
  ASSERT_EQ(Update(mine.get(), 0, true), kOk);
  EXPECT_EQ(VelorIsRealyLocked(mine.get(), 2), kOk) << "a new record is not locked on disk";
}

TEST_F(RecordUpdateTest, ALockedDatabaseRefusesChanges) {
  const SpacePointer space = Open();
  AddRecord(space.get(), {{200, "one"}});
  ASSERT_EQ(VelorLockDBTime(space.get(), kTimeout), kOk);
  EXPECT_EQ(VelorLockDBTime(space.get(), kTimeout), kLocked);
  EXPECT_EQ(AddRecord(space.get(), {{200, "x"}}), kLocked);
  EXPECT_EQ(space->lastError, kLocked);
  EXPECT_EQ(VelorRecLockTime(space.get(), 0, 1, kTimeout), kLocked);
  EXPECT_EQ(VelorRecUnLockTime(space.get(), 1, kTimeout), kLocked);
  EXPECT_EQ(VelorRecPhysDelTime(space.get(), 1, kTimeout), kLocked);
  EXPECT_EQ(VelorRecUnactualTime(space.get(), 1, kTimeout), kLocked);
  ASSERT_EQ(VelorUnLockDBTime(space.get(), kTimeout), kOk);
  EXPECT_EQ(AddRecord(space.get(), {{200, "x"}}), 2);
}

TEST_F(RecordUpdateTest, PhysicallyDeletedNumbersAreTakenAgain) {
  context_->reusePhysDel = true;
  const SpacePointer space = Open();
  for (int i = 0; i < 4; ++i) AddRecord(space.get(), {{200, "x"}});
  ASSERT_EQ(VelorRecPhysDelTime(space.get(), 3, kTimeout), kOk);
  ASSERT_EQ(VelorRecPhysDelTime(space.get(), 2, kTimeout), kOk);
  EXPECT_EQ(VelorRecord(space.get(), 0, 2), kPhysicallyDeleted);
  EXPECT_EQ(AddRecord(space.get(), {{200, "second"}}), 2);
  EXPECT_EQ(Velorversion(space.get(), 0), 1);
  VelorBulkStart(space.get());
  EXPECT_EQ(AddRecord(space.get(), {{200, "third"}}), 3);
  EXPECT_EQ(AddRecord(space.get(), {{200, "fifth"}}), 5);
  VelorBulkStop(space.get());
  EXPECT_EQ(VelorRecord(space.get(), 0, 2), kOk);
  EXPECT_EQ(FieldText(space.get(), 0, 1), "second");
  EXPECT_EQ(test::Problems(test::Verify(path_)), "");
}

TEST_F(RecordUpdateTest, StatusBits) {
  const SpacePointer space = Open();
  AddRecord(space.get(), {{200, "x"}});
  VelorRecord(space.get(), 0, 1);
  Velorrecdel(space.get(), 0);
  ASSERT_EQ(Update(space.get()), kOk);
  EXPECT_EQ(VelorRecord(space.get(), 1, 1), kDeleted);
  Velorrecundelete(space.get(), 1);
  ASSERT_EQ(Update(space.get(), 1), kOk);
  EXPECT_EQ(VelorRecord(space.get(), 0, 1), kOk);
  velor_01::TIntList list;
  VelorNotActList(space.get(), &list);
  EXPECT_EQ(list.GetCount(), 1);
  Velorrecphysdel(space.get(), 0);
  EXPECT_EQ(Velorrecstatus(space.get(), 0, 1) & 2, 2);
  EXPECT_EQ(Velorrecftunactualize(space.get(), 0), kOk);
  EXPECT_EQ(Velorrecstatus(space.get(), 0, 1) & 256, 0) << "in full-text databases only";
}

TEST_F(RecordUpdateTest, OrdinaryDatabasesKeepGuidsWhenAsked) {
  context_->guidOption = 1;
  const SpacePointer space = Open();
  ASSERT_EQ(AddRecord(space.get(), {{200, "x"}}), 1);
  EXPECT_EQ(test::FieldsOf(space.get(), 0), (Fields{{200, "x"}})) << "the GUID does not show after an update";
  const std::string guid = VelorGetGuid(space.get(), 0);
  ASSERT_EQ(VelorRecord(space.get(), 1, 1), kOk);
  EXPECT_EQ(VelorGetGuid(space.get(), 1), guid) << "a record read again has the same one";
  ASSERT_EQ(Update(space.get(), 1), kOk);
  VelorRecord(space.get(), 0, 1);
  EXPECT_EQ(VelorGetGuid(space.get(), 0), guid);
  Velorchangemfn(space.get(), 0, 0);
  EXPECT_EQ(VelorGetGuid(space.get(), 0), nullptr) << "number 0 makes it a new record";
  ASSERT_EQ(Update(space.get()), kOk);
  EXPECT_NE(VelorGetGuid(space.get(), 0), guid);
  context_->guidOption = 0;
  EXPECT_EQ(VelorRecord(space.get(), 0, 1), kOk);
  EXPECT_EQ(Velorfldtag(space.get(), 0, 1), velor_01::kGuidTag) << "stored as the first field";
  EXPECT_EQ(VelorSetGuid(space.get(), 0, guid.c_str()), kNotFound);
}

TEST_F(RecordUpdateTest, EmptyingADatabase) {
  const SpacePointer space = Open();
  AddRecord(space.get(), {{200, "x"}});
  ASSERT_EQ(VelorDBEmptyTime(space.get(), kTimeout), kOk);
  EXPECT_EQ(std::filesystem::file_size(path_ + ".mst"), 36U);
  EXPECT_EQ(std::filesystem::file_size(path_ + ".xrf"), 0U);
  EXPECT_EQ(Velormaxmfn(space.get()), 1);
  EXPECT_EQ(AddRecord(space.get(), {{200, "again"}}), 1);
  EXPECT_EQ(test::Verify(path_), "");

  const std::string elsewhere = path_ + "terms";  // the inverted file may lie apart from the records
  for (const char* extension : {".n01", ".l01", ".ifp", ".inv", ".ifp_10"})
    std::ofstream(elsewhere + extension) << "x";
  space->termPath = elsewhere;
  ASSERT_EQ(VelorDBEmptyTime(space.get(), kTimeout), kOk);
  EXPECT_EQ(std::filesystem::file_size(elsewhere + ".ifp"), 0U);
  EXPECT_FALSE(std::filesystem::exists(elsewhere + ".inv"));
  EXPECT_FALSE(std::filesystem::exists(elsewhere + ".ifp_10"));

  std::filesystem::remove(elsewhere + ".n01");
  EXPECT_EQ(VelorDBEmptyTime(space.get(), kTimeout), kNoInvertedFile);
}

TEST_F(RecordUpdateTest, FragmentsTakeNewRecordsInTheLastFile) {
  for (int k = 0; k < 3; ++k) {
    TestBase base;
    if (k == 0) base.PokeMst(20, 3).PokeMst(28, 2);  // three files, two records each
    for (int i = 0; i < (k < 2 ? 2 : 0); ++i) base.Record({{200, "r" + std::to_string(2 * k + i + 1)}});
    const std::string number = k == 0 ? "" : std::to_string(k);
    std::ofstream(path_ + ".mst" + number, std::ios::binary) << base.Mst();
    std::ofstream(path_ + ".xrf" + number, std::ios::binary) << base.Xrf();
  }
  const SpacePointer space = Open();
  EXPECT_EQ(Velormaxmfn(space.get()), 5);
  EXPECT_EQ(AddRecord(space.get(), {{200, "r5"}}), 5) << "also when the last file is empty";
  EXPECT_EQ(AddRecord(space.get(), {{200, "r6"}}), 6);
  EXPECT_EQ(AddRecord(space.get(), {{200, "r7"}}), 7) << "the last file takes all the rest";
  for (int mfn = 1; mfn <= 7; ++mfn) {
    ASSERT_EQ(VelorRecord(space.get(), 0, mfn), kOk);
    EXPECT_EQ(FieldText(space.get(), 0, 1), "r" + std::to_string(mfn));
    EXPECT_EQ(Velormfn(space.get(), 0), mfn);
  }
  ASSERT_EQ(VelorRecord(space.get(), 0, 3), kOk);
  ASSERT_EQ(Update(space.get()), kOk);
  app::StopProcess = 1;
  EXPECT_EQ(Update(space.get()), kLocked) << "a stop request ends the changes of records";
  const int deleted = VelorRecPhysDelTime(space.get(), 4, kTimeout);
  app::StopProcess = 0;
  ASSERT_EQ(deleted, kOk) << "but no record is left that was to go";
  EXPECT_EQ(VelorXrfGetFirstPhysDel(space.get()), 4);
  velor_01::TIntList pending;
  VelorNotActList(space.get(), &pending);
  EXPECT_EQ(pending.GetCount(), 6);
  space->termPath = path_;
  ASSERT_EQ(VelorDBEmptyTime(space.get(), kTimeout), kOk);
  EXPECT_FALSE(std::filesystem::exists(path_ + ".mst1")) << "emptied with its fragments";
  EXPECT_EQ(AddRecord(space.get(), {{200, "first"}}), 1);
}

TEST_F(RecordUpdateTest, TheMappingOfFragments) {
  TestBase().PokeMst(20, 3).PokeMst(28, 100).WriteTo(path_);
  const SpacePointer space = Open();
  const struct {
    int mfn, fragment, local;
  } cases[] = {{1, 0, 1},    {100, 0, 100}, {101, 1, 1},
               {250, 2, 50}, {350, 2, 150}, {2147483647, 2, 2147483447}};
  for (const auto& c : cases) {
    int fragment = -1;
    EXPECT_EQ(backup::VelorGetMfn(space.get(), c.mfn, &fragment), c.local);
    EXPECT_EQ(fragment, c.fragment);
  }
  int fragment = -1;
  EXPECT_EQ(backup::VelorGetMfn(space.get(), 0, &fragment), kNoRecordFiles);
}

TEST_F(RecordUpdateTest, WildFragmentCounts) {
  for (const std::uint32_t count : {1U, 34U, 0x7FFFFFFFU, 0x80000000U, 0xFFFFFFFFU}) {
    TestBase().Record({{1, "x"}}).PokeMst(20, count).PokeMst(28, 100).WriteTo(path_);
    const SpacePointer space = Open();
    EXPECT_EQ(VelorRecord(space.get(), 0, 1), kOk);
    EXPECT_LE(VelorRecord(space.get(), 0, 2147483647), kMfnRange);
    Velormaxmfn(space.get());
  }
}

TEST_F(RecordUpdateTest, ANextOffsetFarBehindTheFileIsRefused) {
  for (const std::uint32_t high : {1U, 0x7FFFFFFFU}) {
    TestBase().Record({{1, "x"}}).PokeMst(8, 0xFFFFFFF0U).PokeMst(12, high).WriteTo(path_);
    const SpacePointer space = Open();
    const auto size = std::filesystem::file_size(path_ + ".mst");
    EXPECT_EQ(AddRecord(space.get(), {{1, "y"}}), kNoRecordFiles);
    EXPECT_EQ(std::filesystem::file_size(path_ + ".mst"), size);
  }
}

TEST_F(RecordUpdateTest, AnUnlockThatFailsSaysSo) {
  const SpacePointer space = Open();
  ASSERT_EQ(VelorLockDBTime(space.get(), kTimeout), kOk);
  std::filesystem::rename(path_ + ".mst", path_ + ".away");
  EXPECT_EQ(VelorUnLockDBTime(space.get(), kTimeout), kNoRecordFiles);
  std::filesystem::rename(path_ + ".away", path_ + ".mst");
  EXPECT_EQ(VelorUnLockDBTime(space.get(), kTimeout), kOk);
}

TEST_F(RecordUpdateTest, ANumberOutOfRangeIsNoMatterOfGuids) {
  const SpacePointer space = Open();
  ASSERT_EQ(AddRecord(space.get(), {{1, "x"}}), 1);
  space->isFullText = true;
  Velornewrec(space.get(), 0);
  Velorchangemfn(space.get(), 0, 9);
  EXPECT_EQ(Update(space.get()), kMfnRange);
}

TEST_F(RecordUpdateTest, AWaitForTheMutexEnds) {
  const SpacePointer space = Open();
  utils::NamedMutex held;
  ASSERT_TRUE(held.Create(DatabaseMutexName(space.get()).c_str()));
  ASSERT_TRUE(held.WaitTime(1));
  int result = kOk;
  int ifResult = kOk;
  Velornewrec(space.get(), 0);
  EXPECT_EQ(VelorRecUpdateTime(space.get(), 0, false, false, 0, &result, &ifResult), kLocked);
  EXPECT_EQ(result, kLocked);
  held.Release();
  held.Close();
  EXPECT_EQ(Update(space.get()), kOk);
}

TEST_F(RecordUpdateTest, ABulkRunFollowsFilesThatAreReplaced) {
  const SpacePointer space = Open();
  VelorBulkStart(space.get());
  ASSERT_EQ(AddRecord(space.get(), {{200, "x"}}), 1);
  for (const char* extension : {".mst", ".xrf"}) {
    std::filesystem::copy_file(path_ + extension, path_ + ".copy");
    std::filesystem::rename(path_ + ".copy", path_ + extension);
  }
  AddRecord(space.get(), {{200, "y"}});
  VelorBulkStop(space.get());
  const SpacePointer after = Open();
  ASSERT_EQ(VelorRecord(after.get(), 0, 2), kOk) << "written to the files that bear the names now";
  EXPECT_EQ(FieldText(after.get(), 0, 1), "y");
}

/// Random updates, locks and deletions against a map of what must be there.
TEST_F(RecordUpdateTest, RandomOperationsAgreeWithAMap) {
  std::mt19937 random(3);
  const SpacePointer space = Open();
  std::map<int, Fields> model;
  const auto someRecord = [&] { return 1 + static_cast<int>(random() % 40); };
  for (int step = 0; step < 2000; ++step) {
    if (step % 500 == 250) VelorBulkStart(space.get());
    if (step % 500 == 0) VelorBulkStop(space.get());
    Fields fields;
    for (auto i = random() % 5; i > 0; --i)
      fields.emplace_back(1 + static_cast<int>(random() % 900),
                          std::string(random() % 300, static_cast<char>('a' + i)) + "x");
    const int mfn = someRecord();
    const bool exists = VelorRecord(space.get(), 0, mfn) == kOk;
    ASSERT_EQ(exists, model.count(mfn) == 1) << mfn;
    if (!exists && model.size() < 40) {
      model[AddRecord(space.get(), fields)] = fields;
    } else if (exists && random() % 8 == 0) {
      ASSERT_EQ(VelorRecPhysDelTime(space.get(), mfn, kTimeout), kOk);
      model.erase(mfn);
    } else if (exists) {
      test::SetFields(space.get(), 0, fields);
      ASSERT_EQ(Update(space.get()), kOk);
      model[mfn] = fields;
    }
  }
  const SpacePointer fresh = Open();
  for (const auto& [mfn, fields] : model) {
    ASSERT_EQ(VelorRecord(fresh.get(), 0, mfn), kOk);
    EXPECT_EQ(test::FieldsOf(fresh.get(), 0), fields);
  }
  EXPECT_EQ(test::Verify(path_), "");
}

/// Adds records in a child process until it is killed or done. `stored`, unless null, is shared with it and
/// counts them.
pid_t StartWriter(const std::string& path, int writer, int records, int* stored = nullptr) {
  const pid_t child = ::fork();
  if (child != 0) return child;
  const test::ContextPointer context = test::MakeContext();
  const SpacePointer space = test::OpenSpace(context.get(), path);
  VelorBulkStart(space.get());
  int failures = 0;
  for (int i = 0; i < records; ++i) {
    const bool isStored =
        AddRecord(space.get(),
                  {{1, std::to_string(writer)}, {2, std::to_string(i)}, {3, std::string(500, 'x')}}) > 0;
    if (stored && isStored) ++*stored;
    failures += isStored ? 0 : 1;
  }
  ::_exit(failures == 0 ? 0 : 1);
}

TEST_F(RecordUpdateTest, WritersAtTheSameTimeLoseNothing) {
  constexpr int kWriters = 4;
  constexpr int kRecords = 500;
  pid_t children[kWriters];
  for (int w = 0; w < kWriters; ++w) children[w] = StartWriter(path_, w, kRecords);
  for (const pid_t child : children) {
    int status = -1;
    ::waitpid(child, &status, 0);
    EXPECT_EQ(status, 0);
  }
  std::map<std::string, int> seen;
  const SpacePointer space = Open();
  ASSERT_EQ(Velormaxmfn(space.get()), kWriters * kRecords + 1);
  for (int mfn = 1; mfn <= kWriters * kRecords; ++mfn) {
    ASSERT_EQ(VelorRecord(space.get(), 0, mfn), kOk);
    const std::string writer(FieldText(space.get(), 0, 1));
    EXPECT_EQ(FieldText(space.get(), 0, 2), std::to_string(seen[writer]++))
        << "each writer's records in its order";
  }
  EXPECT_EQ(test::Verify(path_), "");
}

/// The operations that write records, on a database whose record 1 has a long second version, 2 is deleted
/// physically, and 3 is short.
struct Operation {
  const char* name;
  int (*run)(TVelorSpace* space, const Fields& late);
  int stored;  // number of the record that holds `late` afterwards; 0 for none
};

int Change(TVelorSpace* space, int mfn, const Fields& late) {
  VelorRecord(space, 0, mfn);
  test::SetFields(space, 0, late);
  return VelorRecUpdate0(space, 0, false, true);
}

int AddWithoutMutex(TVelorSpace* space, const Fields& late) {
  Velornewrec(space, 0);
  test::SetFields(space, 0, late);
  return VelorRecUpdate0(space, 0, false, true);
}

const Operation kOperations[] = {
    {"new", AddWithoutMutex, 4},
    {"new under a freed number",
     [](TVelorSpace* space, const Fields& late) {
       space->app->reusePhysDel = true;
       return AddWithoutMutex(space, late);
     },
     2},
    {"next version", [](TVelorSpace* space, const Fields& late) { return Change(space, 1, late); }, 1},
    {"second version", [](TVelorSpace* space, const Fields& late) { return Change(space, 3, late); }, 3},
    {"physical deletion", [](TVelorSpace* space, const Fields&) { return VelorRecPhysDel0(space, 3, true); },
     0},
    {"mark",
     [](TVelorSpace* space, const Fields&) {
       VelorRecUnactual0(space, 1);
       return VelorRecUnactual0(space, 3);
     },
     0},
};

/// Stands for a test of writes that are done or not, with the images anywhere.
constexpr int kWholeWrites = 100;

/// What the writer of a record leaves when it dies at any of its writes, or in the middle of one.
class DeadWriterTest : public RecordUpdateTest, public testing::WithParamInterface<int> {
 protected:
  /// Makes the database; the next image goes `before` bytes before the border of a page.
  void Make(int before) {
    TestBase()
        .Record({{1, "one"}})
        .PhysicallyDeleted()
        .Record({{3, "three"}})
        .Version(1, {{1, "two"}}, 2)
        .WriteTo(path_);
    const SpacePointer space = Open();
    velor_01::Tcntmst control;
    ASSERT_TRUE(ReadControl(space->mst->mstFile, &control));
    const int head = velor_01::kLeaderSize + velor_01::kEntrySize;
    const int fill = 3 * 4096 - before - static_cast<int>(control.nxtLow) - head;
    VelorRecord(space.get(), 0, 1);
    test::SetFields(space.get(), 0, {{1, std::string(static_cast<std::size_t>(fill), 'l')}});
    ASSERT_EQ(Update(space.get()), kOk);
    ASSERT_EQ(MarkAllActualized(space.get(), kTimeout), kOk);
  }

  std::map<int, Fields> Records() {
    std::map<int, Fields> records;
    const SpacePointer space = Open();
    for (int mfn = 1; mfn < Velormaxmfn(space.get()); ++mfn)
      if (VelorRecord(space.get(), 0, mfn) == kOk) records[mfn] = test::FieldsOf(space.get(), 0);
    return records;
  }
};

TEST_P(DeadWriterTest, LosesOnlyWhatWasOnItsWay) {
  const Fields late = {{1, std::string(9000, 'x')}, {2, "tail"}, {3, std::string(40, 'y')}};
  for (const Operation& operation : kOperations) {
    for (int point = 0, isDead = true; isDead; ++point) {
      SCOPED_TRACE(std::string(operation.name) + " " + std::to_string(point));
      Make(GetParam());
      const std::map<int, Fields> before = Records();
      isDead = test::DiesAtWrite({point, GetParam() != kWholeWrites}, [&] {
        const SpacePointer space = Open();
        operation.run(space.get(), late);
      });
      const SpacePointer space = Open();
      if (isDead) MendAfterDeadWriter(space.get());
      std::map<int, Fields> after = before;
      if (operation.stored > 0) after[operation.stored] = late;
      const std::map<int, Fields> now = Records();
      EXPECT_TRUE(now == after || (isDead && now == before) || operation.stored == 0);

      const std::string mended = dir_.Read("db.mst") + dir_.Read("db.xrf");
      MendAfterDeadWriter(space.get());
      EXPECT_TRUE(dir_.Read("db.mst") + dir_.Read("db.xrf") == mended) << "there is nothing left to mend";
      const int next = Velormaxmfn(space.get());
      EXPECT_EQ(Change(space.get(), 1, {{1, "again"}}), kOk);
      EXPECT_EQ(AddRecord(space.get(), {{1, "next"}}), next);
      EXPECT_EQ(test::Problems(test::Verify(path_)), "");
    }
  }
}

INSTANTIATE_TEST_SUITE_P(BytesBeforeThePageBorder, DeadWriterTest,
                         testing::Values(kWholeWrites, 6, 24, 28, 46));

TEST_F(RecordUpdateTest, AnEntryAcrossTwoPagesMayBeTorn) {
  constexpr int kMfn = 342;
  TestBase base;
  for (int mfn = 1; mfn <= kMfn + 3; ++mfn) base.Record({{1, "x"}});
  base.WriteTo(path_);
  const SpacePointer space = Open();
  ASSERT_TRUE(test::DiesAtWrite({0, true}, [&] { VelorRecPhysDel0(space.get(), kMfn, true); }));
  MendAfterDeadWriter(space.get());
  EXPECT_EQ(VelorRecord(space.get(), 0, kMfn), kPhysicallyDeleted);
  EXPECT_EQ(test::Problems(test::Verify(path_)), "");
}

TEST_F(RecordUpdateTest, MendingLeavesASoundDatabaseAlone) {
  TestBase()
      .Record({{1, "one"}})
      .Record({{1, "two"}})
      .Version(1, {{1, "three"}}, 2)
      .PhysicallyDeleted()
      .WriteTo(path_);
  const std::string before = dir_.Read("db.mst") + dir_.Read("db.xrf");
  MendAfterDeadWriter(Open().get());
  EXPECT_EQ(dir_.Read("db.mst") + dir_.Read("db.xrf"), before);
}

TEST_F(RecordUpdateTest, AKilledWriterLeavesADatabaseThatGoesOn) {
  void* const shared =
      ::mmap(nullptr, sizeof(int), PROT_READ | PROT_WRITE, MAP_SHARED | MAP_ANONYMOUS, -1, 0);
  int* const stored = static_cast<int*>(shared);
  std::mt19937 random(5);
  for (int round = 0; round < 10; ++round) {
    const pid_t child = StartWriter(path_, round, 100000, stored);
    ::usleep(static_cast<useconds_t>(2000 + random() % 30000));
    ::kill(child, SIGKILL);
    ::waitpid(child, nullptr, 0);
    const SpacePointer space = Open();
    EXPECT_GT(AddRecord(space.get(), {{1, "after"}}), 0);
    ++*stored;
    int readable = 0;
    for (int mfn = 1; mfn < Velormaxmfn(space.get()); ++mfn)
      readable += VelorRecord(space.get(), 0, mfn) == kOk;
    EXPECT_GE(readable, *stored);
    EXPECT_LE(readable, *stored + round + 1) << "a record may be stored and not yet counted";
    EXPECT_EQ(test::Problems(test::Verify(path_)), "");
  }
  ::munmap(shared, sizeof(int));
}

}  // namespace
