// The record reader: the input is a master file followed by a cross-reference file of four entries. Every
// record and version is read, and a record is written on top.

#include <unistd.h>

#include <cstdlib>
#include <string>

#include "storage/fields.h"
#include "storage/process.h"
#include "storage/record_read.h"
#include "storage/record_update.h"
#include "storage/shelf.h"
#include "storage/xrf_info.h"
#include "support/fuzz_file.h"
#include "support/open_space.h"
#include "utils/int_list.h"

namespace {

constexpr std::size_t kXrfSize = 4 * 12;

void ReadAll(velor_32::TVelorSpace* space) {
  velor_01::TIntList list;
  velor_32::VelorNotActList(space, &list);
  for (int mfn = 0; mfn < 7; ++mfn) {
    for (const int steps : {0, 1, 1000000}) velor_32::VelorRecordBack(space, 0, mfn, steps);
    if (velor_32::VelorRecord(space, 0, mfn) != 0) continue;
    for (int i = 1; i <= velor_32::Velornfields(space, 0) && i < 100; ++i)
      if (!velor_32::Velorfield(space, 0, i, "abc")) std::abort();
  }
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  static const test::ContextPointer context = test::MakeContext();
  static const test::FuzzFile mst(".mst");
  static const test::FuzzFile xrf(".xrf");
  static const std::string path = mst.path().substr(0, mst.path().size() - 4);
  if (size < kXrfSize) return 0;
  mst.Set(data, size - kXrfSize);
  xrf.Set(data + size - kXrfSize, kXrfSize);
  app::SetAppPrefix("vfuzz");
  const velor_32::SpacePointer space(velor_32::Velorinit(context.get()));
  if (velor_32::Velorinitmst(space.get(), path.c_str(), 2) == 0) ReadAll(space.get());
  return 0;
}
