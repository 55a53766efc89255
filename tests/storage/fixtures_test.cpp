// Databases written by an independent program read back exactly: each is printed in the words of that
// program, and the two texts are compared.

#include <gtest/gtest.h>

#include <filesystem>
#include <sstream>

#include "storage/codes.h"
#include "storage/record_read.h"
#include "storage/shelf.h"
#include "support/open_space.h"
#include "support/verify.h"

namespace {

using namespace velor_32;

void PrintControl(TVelorSpace* space, std::ostream& out) {
  const velor_01::Tcntmst& c = space->mst->control;
  const std::uint64_t next = c.nxtLow + (std::uint64_t{c.nxtHigh} << 32);
  out << "control " << c.ctlmfn << ' ' << c.nxtmfn << ' ' << c.nxtLow << ' ' << c.nxtHigh << ' ' << c.reserved
      << ' ' << c.fragmentCount << ' ' << c.mstType << ' ' << c.fragmentSize << ' ' << c.lockFlag << " next "
      << next << " nxtmfn " << Velormaxmfn(space) << '\n';
}

void PrintVersion(TVelorSpace* space, int stepsBack, std::ostream& out) {
  const velor_01::TRecordShelf& record = *FindShelf(space, 0);
  const std::uint64_t back = record.leader->backLow + (std::uint64_t{record.leader->backHigh} << 32);
  out << (stepsBack == 0 ? "" : "  old") << " version " << record.leader->version << " status "
      << record.leader->status << " back " << back << '\n';
  if (record.guid[0]) out << "  " << velor_01::kGuidTag << ": " << record.guid << '\n';
  for (const auto& [tag, text] : test::FieldsOf(space, 0)) out << "  " << tag << ": " << text << '\n';
}

std::string Print(TVelorSpace* space) {
  std::ostringstream out;
  PrintControl(space, out);
  for (int mfn = 1; mfn < Velormaxmfn(space); ++mfn) {
    const int rc = VelorRecord(space, 0, mfn);
    out << "mfn " << mfn << " offset " << space->xrfOffset << " flags " << space->xrfFlags;
    if (rc == kPhysicallyDeleted) {
      out << " physically deleted\n";
      continue;
    }
    EXPECT_TRUE(rc == kOk || rc == kDeleted) << mfn << ": " << rc;
    for (int steps = 0; VelorRecordBack(space, 0, mfn, steps) != kNoVersion && steps < 100; ++steps)
      PrintVersion(space, steps, out);
  }
  return out.str();
}

TEST(Fixtures, ReadBackExactly) {
  const std::string shared = test::SharedData();
  if (shared.empty()) GTEST_SKIP() << "the fixtures are not here";
  const test::ContextPointer context = test::MakeContext();
  for (const auto& folder : std::filesystem::directory_iterator(shared + "/fixtures")) {
    const std::string path = (folder.path() / folder.path().filename()).string();
    SCOPED_TRACE(path);
    const SpacePointer space = test::OpenSpace(context.get(), path);
    ASSERT_NE(space, nullptr);
    const std::string want = test::RunVerifier("dump-master", path);
    EXPECT_EQ(Print(space.get()), want);
    EXPECT_GT(want.size(), 1000U);
    if (space->textSpace) {
      EXPECT_EQ(Print(space->textSpace), test::RunVerifier("dump-master", space->textSpace->path));
    }
  }
}

}  // namespace
