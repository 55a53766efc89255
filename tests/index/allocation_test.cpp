// Making terms takes memory per line of the table, not per term: counts the calls. The checked build has an
// allocator of its own, and the count is left out there.

#include <gtest/gtest.h>

#include "index/rec_terms.h"
#include "storage/fields.h"
#include "support/allocation_count.h"
#include "support/index_space.h"

#ifdef VELORA_COUNTS_ALLOCATIONS

namespace {

class CountingSink final : public recif::TermSink {
 public:
  void Add(std::string_view, const recif::TifpItemPosting&, bool) override { ++terms; }
  int terms = 0;
};

TEST(Allocation, TermsTakeNone) {
  constexpr int kWords = 1000;
  const test::IndexSpace space;
  space.space()->deflex = true;
  velor_32::Velorfldadd(space.space(), 0, 1, 0, test::Repeat("Базами <oryx> ", kWords / 2).c_str());
  test::AddLine(space.space(), 1, 4, "v1");
  test::AddLine(space.space(), 2, 8, "'/T=/',v1");
  test::AddLine(space.space(), 3, 2, "v1");

  CountingSink sink;
  ASSERT_EQ(recif::EmitRecTerms(space.space(), 0, nullptr, sink), 0);  // the buffers are made
  const long before = test::allocationCount;
  ASSERT_EQ(recif::EmitRecTerms(space.space(), 0, nullptr, sink), 0);
  EXPECT_LT(test::allocationCount - before, 10);
  EXPECT_EQ(sink.terms, 2 * (2 * kWords + kWords / 2));
}

}  // namespace

#endif
