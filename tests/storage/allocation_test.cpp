// Reading a record takes no memory: counts the calls that would. The checked build has an allocator of its
// own, and the count is left out there.

#include <gtest/gtest.h>

#include "storage/record_read.h"
#include "support/allocation_count.h"
#include "support/open_space.h"
#include "support/temp_dir.h"

#ifdef VELORA_COUNTS_ALLOCATIONS

namespace {

TEST(Allocation, ReadingARecordTakesNone) {
  test::TempDir dir;
  test::TestBase base;
  for (int i = 0; i < 50; ++i)
    base.Record({{200, "^aTitle"}, {300, std::string(20 * static_cast<std::size_t>(i), 'x')}});
  base.WriteTo(dir.File("db"));
  const test::ContextPointer context = test::MakeContext();
  const velor_32::SpacePointer space = test::OpenSpace(context.get(), dir.File("db"));
  const long before = test::allocationCount;
  for (int round = 0; round < 10; ++round)
    for (int mfn = 1; mfn <= 50; ++mfn) ASSERT_EQ(velor_32::VelorRecord(space.get(), 0, mfn), 0);
  EXPECT_EQ(test::allocationCount, before);
  const std::unique_ptr<int> one = std::make_unique<int>(1);
  EXPECT_GT(test::allocationCount, before) << "the count works";
}

}  // namespace

#endif
