// Term files: any bytes are sorted, in memory and in pieces with the same result, and what was sorted loads.
// The unsorted bytes are loaded, too. The first byte chooses the form of the lines.

#include <unistd.h>

#include <cstdlib>
#include <string>

#include "index/dict_files.h"
#include "index/dict_load.h"
#include "index/lnk_sort.h"
#include "support/fuzz_file.h"
#include "support/memory_space.h"
#include "utils/text_util.h"

namespace {

std::string Sorted(velora::VelorAContext* settings, const std::string& input, bool isFullText,
                   std::int64_t memoryLimit) {
  const std::string output = input + ".lk1";
  if (velora::VelorLnkSort0(settings, input, output, "/dev/shm/", {"", isFullText, memoryLimit}) != 0)
    std::abort();
  std::string text;
  if (!utils::TextUtil::FileReadAllBytes(output, text)) std::abort();
  ::unlink(output.c_str());
  return text;
}

int Load(velora::VelorAContext* settings, velor_32::TVelorSpace* space, const std::string& file) {
  const int rc = velora::VelorLnk_Load_Base(settings, space, file, velora::kMainSet);
  velora::RemoveNewFiles(space->termPath);
  return rc;
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  static const test::MemorySpace memory;
  static const test::FuzzFile file;
  static velora::VelorAContext* const settings = velora::VelorA_init(memory.context());
  if (size == 0) return 0;
  const bool isFullText = data[0] % 2 != 0;
  settings->multiload = 1;
  memory.space()->isFullText = isFullText;
  memory.space()->termPath = file.path();
  file.Set(data + 1, size - 1);
  if (const int rc = Load(settings, memory.space(), file.path()); rc != 0 && rc != velora::kBadOrder)
    std::abort();

  const std::string sorted = Sorted(settings, file.path(), isFullText, 1 << 20);
  if (Sorted(settings, file.path(), isFullText, 64) != sorted) std::abort();
  file.Set(reinterpret_cast<const std::uint8_t*>(sorted.data()), sorted.size());
  if (Sorted(settings, file.path(), isFullText, 1 << 20) != sorted) std::abort();
  if (const int rc = Load(settings, memory.space(), file.path()); rc != 0 && rc != velora::kBadOrder)
    std::abort();
  return 0;
}
