// The dictionary: the input is the three files of an inverted file behind two bytes, the numbers of blocks of
// the first two. It is walked, searched and changed.

#include <unistd.h>

#include <algorithm>
#include <cstring>
#include <string>

#include "storage/term_read.h"
#include "storage/term_update.h"
#include "support/fuzz_file.h"
#include "support/memory_space.h"

namespace {

void Walk(velor_32::TVelorSpace* space, int (*step)(velor_32::TVelorSpace*, char*)) {
  char term[velor_01::kTermBufferSize] = "M";
  velor_32::Velorfind(space, term);
  for (int i = 0; i < 300; ++i) {
    for (int n = 0; n < 2000 && velor_32::Velornxtpost(space) == 0; ++n)
      if (velor_32::Velorposting(space, 1) < 0) std::abort();
    if (step(space, term) != 0) return;
    if (std::strlen(term) > velor_01::kLongestTerm) std::abort();
  }
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  static const test::MemorySpace memory;
  static const test::FuzzFile n01(".n01");
  static const test::FuzzFile l01(".l01");
  static const test::FuzzFile ifp(".ifp");
  static const std::string path = n01.path().substr(0, n01.path().size() - 4);
  if (size < 2) return 0;
  const std::uint8_t* at = data + 2;
  const std::uint8_t* end = data + size;
  for (const auto& [file, blocks] : {std::pair{&n01, data[0] % 4}, std::pair{&l01, data[1] % 4}}) {
    const std::size_t part = std::min<std::size_t>(2048U * blocks, end - at);
    file->Set(at, part);
    at += part;
  }
  ifp.Set(at, end - at);
  velor_32::TVelorSpace* space = memory.space();
  if (velor_32::Velorinitterm_write(space, path.c_str()) != 0) return 0;
  Walk(space, velor_32::Velornxtterm);
  Walk(space, velor_32::Velorprevterm);
  for (const char* term : {"A", "MM", "Я"}) {
    velor_32::InsertTerm(space, term, {5, 1, 1, 1});
    velor_32::DeleteTerm(space, term, {5, 1, 1, 1});
    velor_32::VelorFindPosting(space, term, {5, 1, 1, 1});
  }
  velor_32::Velorcloseterm(space);
  return 0;
}
