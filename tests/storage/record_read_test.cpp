#include "storage/record_read.h"

#include <gtest/gtest.h>

#include <random>

#include "storage/codes.h"
#include "storage/record_guid.h"
#include "storage/record_status.h"
#include "storage/shelf.h"
#include "storage/xrf_info.h"
#include "support/open_space.h"
#include "support/temp_dir.h"
#include "utils/int_list.h"

namespace {

using namespace velor_32;
using test::Fields;
using test::TestBase;

const Fields kOryx = {{10, "id1"}, {200, "^aOryx^bhorned"}, {610, "антилопа"}};

TestBase SmallBase() {
  TestBase base;
  base.Record(kOryx).Record({{200, "^aDeleted"}}, 1, 33).PhysicallyDeleted().Record({});
  base.Record({{200, "one"}}).Version(5, {{200, "two"}, {300, "x"}}, 2).Version(5, {{200, "three"}}, 3);
  return base;
}

class RecordReadTest : public testing::Test {
 protected:
  RecordReadTest() : context_(test::MakeContext()) {}
  SpacePointer Open(const TestBase& base) {
    base.WriteTo(dir_.File("db"));
    return test::OpenSpace(context_.get(), dir_.File("db"));
  }
  test::TempDir dir_;
  test::ContextPointer context_;
};

TEST_F(RecordReadTest, EachKindOfRecord) {
  const SpacePointer space = Open(SmallBase());
  EXPECT_EQ(Velormaxmfn(space.get()), 6);
  ASSERT_EQ(VelorRecord(space.get(), 0, 1), kOk);
  EXPECT_EQ(test::FieldsOf(space.get(), 0), kOryx);
  EXPECT_EQ(VelorRecord(space.get(), 0, 3), kPhysicallyDeleted);
  EXPECT_EQ(test::FieldsOf(space.get(), 0), kOryx) << "nothing is stored on an error";
  EXPECT_EQ(VelorRecord(space.get(), 0, 2), kDeleted);
  EXPECT_TRUE(VelorIsDeleted(space.get(), 0));
  EXPECT_EQ(test::FieldsOf(space.get(), 0), (Fields{{200, "^aDeleted"}}));
  EXPECT_EQ(VelorRecord(space.get(), 0, 4), kOk);
  EXPECT_EQ(Velornfields(space.get(), 0), 0);
  EXPECT_EQ(VelorRecord(space.get(), 0, 6), kMfnRange);
  EXPECT_EQ(VelorRecord(space.get(), 0, 0), kMfnRange);
  EXPECT_EQ(VelorRecord(space.get(), 2, 1), kBadShelf);
  EXPECT_EQ(VelorRecord(nullptr, 0, 1), kNoSpace);
  EXPECT_EQ(VelorRecord(space.get(), 0, 6, true), kDamaged) << "without the range check the file ends";
}

TEST_F(RecordReadTest, EarlierVersions) {
  const SpacePointer space = Open(SmallBase());
  const char* const want[] = {"three", "two", "one"};
  for (int steps = 0; steps < 3; ++steps) {
    ASSERT_EQ(VelorRecordBack(space.get(), 0, 5, steps), kOk);
    EXPECT_EQ(FieldText(space.get(), 0, 1), want[steps]);
    EXPECT_EQ(Velorversion(space.get(), 0), 3 - steps);
  }
  EXPECT_EQ(VelorRecordBack(space.get(), 0, 5, 3), kNoVersion);
  EXPECT_EQ(VelorRecordBack(space.get(), 0, 3, 0), kPhysicallyDeleted);
  EXPECT_EQ(VelorReadVersion(space.get(), 5), 3);
  EXPECT_EQ(VelorReadVersion(space.get(), 3), 0);
  EXPECT_EQ(VelorReadVersion(space.get(), 9), kMfnRange);
}

TEST_F(RecordReadTest, AChainThatTurnsUpwardEnds) {
  TestBase base = SmallBase();
  base.PokeMst(base.lastImage() + 8, base.lastImage());  // points back to itself
  EXPECT_EQ(VelorRecordBack(Open(base).get(), 0, 5, 2000000000), kDamaged);
}

TEST_F(RecordReadTest, DamageGivesItsCode) {
  constexpr std::uint32_t kImage = TestBase::kControlSize;  // of record 1
  const struct {
    const char* why;
    std::uint32_t offset;
    std::uint32_t word;
    int want;
  } cases[] = {
      {"foreign number", kImage, 2, kDamaged},
      {"length behind the file", kImage + 4, 0x7FFFFFFF, kDamaged},
      {"length shorter than the directory", kImage + 4, 40, kDamaged},
      {"negative length is worked out", kImage + 4, 0xFFFFFF00, kOk},
      {"missing length is worked out", kImage + 4, 0, kOk},
      {"negative field count", kImage + 20, 0x80000000, kDamaged},
      {"huge field count", kImage + 20, 0x7FFFFFFF, kDamaged},
      {"base within the directory", kImage + 16, 40, kDamaged},
      {"base behind the image", kImage + 16, 0x7FFFFFFF, kDamaged},
      {"position outside the data", kImage + 32 + 4, 1000, kDamaged},
      {"negative position", kImage + 32 + 4, 0xFFFFFFFF, kDamaged},
      {"length outside the data", kImage + 32 + 8, 0x7FFFFFFF, kDamaged},
      {"negative field length", kImage + 32 + 8, 0xFFFFFFFF, kDamaged},
  };
  for (const auto& c : cases) {
    SCOPED_TRACE(c.why);
    EXPECT_EQ(VelorRecord(Open(SmallBase().PokeMst(c.offset, c.word)).get(), 0, 1), c.want);
  }
  EXPECT_EQ(VelorRecord(Open(SmallBase().PokeEntry(1, 35, 8)).get(), 0, 1), kDamaged)
      << "offset in the control record";
  EXPECT_EQ(VelorRecord(Open(SmallBase().PokeEntry(1, 0x7FFFFFFF, 8)).get(), 0, 1), kDamaged)
      << "behind the file";
}

TEST_F(RecordReadTest, FieldsOutOfOrderAreDeliveredPacked) {
  TestBase base = SmallBase();
  constexpr std::uint32_t kDirectory = TestBase::kControlSize + 32;
  base.PokeMst(kDirectory + 4, 3).PokeMst(kDirectory + 8, 2);    // field 1: bytes 3..4
  base.PokeMst(kDirectory + 16, 0).PokeMst(kDirectory + 20, 3);  // field 2: bytes 0..2
  const SpacePointer space = Open(base);
  ASSERT_EQ(VelorRecord(space.get(), 0, 1), kOk);
  EXPECT_EQ(FieldText(space.get(), 0, 1), "^a");
  EXPECT_EQ(FieldText(space.get(), 0, 2), "id1");
  Velorfldadd(space.get(), 0, 1, 0, "added");
  EXPECT_EQ(FieldText(space.get(), 0, 3), "антилопа") << "an added field overwrites nothing";
}

/// Reads everything there is to read. What matters is that it ends, with codes that exist.
void ReadAll(TVelorSpace* space) {
  velor_01::TIntList list;
  VelorNotActList(space, &list);
  VelorXrfGetFirstPhysDel(space);
  for (int mfn = 0; mfn <= 7; ++mfn) {
    for (const int rc : {VelorRecord(space, 0, mfn), VelorRecord(space, 0, mfn, true),
                         VelorRecordBack(space, 0, mfn, 1), VelorRecordBack(space, 0, mfn, 5)})
      EXPECT_TRUE(rc <= 0 && rc >= kBadGuid) << rc;
    for (int i = 0; i <= Velornfields(space, 0) + 1; ++i) EXPECT_NE(Velorfield(space, 0, i, "ab"), nullptr);
    VelorReadVersion(space, mfn);
    char guid[39];
    ReadStoredGuid(space, mfn, guid);
  }
}

TEST_F(RecordReadTest, EveryTruncation) {
  const std::string mst = SmallBase().Mst();
  const std::string xrf = SmallBase().Xrf();
  for (std::size_t cut = 0; cut <= mst.size() + xrf.size(); ++cut) {
    const std::size_t kept = std::min(cut, mst.size());
    TestBase::WriteFiles(dir_.File("db"), mst.substr(0, kept),
                         xrf.substr(0, cut - kept + (cut < mst.size()) * xrf.size()));
    const SpacePointer space = test::OpenSpace(context_.get(), dir_.File("db"));
    ReadAll(space.get());
    const std::size_t endOfFirst = TestBase::kControlSize + 32 + 36 + 33;
    if (cut >= endOfFirst && cut < mst.size()) {
      ASSERT_EQ(VelorRecord(space.get(), 0, 1), kOk) << cut;
      EXPECT_EQ(test::FieldsOf(space.get(), 0), kOryx) << cut;
    }
  }
}

TEST_F(RecordReadTest, RandomBytes) {
  std::mt19937 random(11);
  const std::string mst = SmallBase().Mst();
  const std::string xrf = SmallBase().Xrf();
  for (int round = 0; round < 3000; ++round) {
    std::string badMst = mst;
    std::string badXrf = xrf;
    for (int i = 0; i < 3; ++i) {
      badMst[random() % badMst.size()] = static_cast<char>(random() % 4 ? random() : 0xFF);
      if (random() % 3 == 0) badXrf[random() % badXrf.size()] = static_cast<char>(random());
    }
    TestBase::WriteFiles(dir_.File("db"), badMst, badXrf);
    const SpacePointer space(Velorinit(context_.get()));
    if (Velorinitmst(space.get(), dir_.File("db").c_str(), 2) == kOk) ReadAll(space.get());
  }
}

TEST_F(RecordReadTest, GuidsOfAFullTextDatabase) {
  const std::string guid = "{00000000-1111-4222-8333-444444444444}";
  std::filesystem::create_directory(dir_.File("db--text"));
  TestBase().FullText().WriteTo(dir_.File("db--text/text"));
  const SpacePointer space = Open(TestBase()
                                      .FullText()
                                      .Record({{velor_01::kGuidTag, guid}, {200, "x"}})
                                      .Record({{200, "no guid"}})
                                      .Record({}));
  ASSERT_NE(space->textSpace, nullptr);
  EXPECT_TRUE(space->textSpace->isTextSpace);
  ASSERT_EQ(VelorRecord(space.get(), 0, 1), kOk);
  EXPECT_EQ(test::FieldsOf(space.get(), 0), (Fields{{200, "x"}})) << "the GUID does not show";
  EXPECT_EQ(VelorGetGuid(space.get(), 0), guid);
  EXPECT_EQ(VelorRecord(space.get(), 0, 2), kBadGuid);
  EXPECT_EQ(Velornfields(space.get(), 0), 0);
  EXPECT_EQ(VelorRecord(space.get(), 0, 3), kBadGuid);
  char stored[39] = "untouched";
  EXPECT_EQ(VelorReadGuid(space.get(), 2, stored), kOk);
  EXPECT_STREQ(stored, "untouched");
  EXPECT_EQ(VelorSetGuid(space.get(), 0, "bad"), kBadGuid);
}

TEST_F(RecordReadTest, OpeningFailures) {
  const SpacePointer space(Velorinit(context_.get()));
  EXPECT_EQ(Velorinitmst(space.get(), dir_.File("none").c_str(), 2), kNoRecordFiles);
  EXPECT_FALSE(IsOpen(space.get()));
  TestBase().FullText().WriteTo(dir_.File("lonely"));
  EXPECT_EQ(Velorinitmst(space.get(), dir_.File("lonely").c_str(), 2), kNoRecordFiles) << "no companion";
  TestBase::WriteFiles(dir_.File("empty"), "", "");
  ASSERT_EQ(Velorinitmst(space.get(), dir_.File("empty").c_str(), 2), kOk);
  EXPECT_EQ(Velormaxmfn(space.get()), 1);
  EXPECT_EQ(VelorRecord(space.get(), 0, 1), kDamaged);
}

TEST_F(RecordReadTest, LazyModeGivesUpHandlesAndReadsAgain) {
  const SpacePointer space = Open(SmallBase());
  ASSERT_EQ(VelorLazyMst(space.get()), kOk);
  EXPECT_EQ(space->mst->mstFile, -1);
  ASSERT_EQ(VelorRecord(space.get(), 0, 1), kOk) << "a read wakes the space";
  EXPECT_FALSE(space->lazyMst);
  VelorLazyMst(space.get());
  std::filesystem::remove(dir_.File("db.mst"));
  EXPECT_EQ(VelorUnlazy(space.get()), kNoRecordFiles);
  EXPECT_TRUE(space->lazyMst);
}

}  // namespace
