// ISO 2709: the file is cut into records, and each record is read into a slot in every encoding and written
// again.

#include <unistd.h>

#include <cstdlib>
#include <string>

#include "exchange/iso_file.h"
#include "exchange/iso_record.h"
#include "storage/shelf.h"
#include "support/fuzz_file.h"
#include "support/memory_space.h"

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  static const test::MemorySpace memory;
  static const test::FuzzFile file;
  file.Set(data, size);
  velora::IsoFileReader reader;
  if (!reader.Open(file.path())) std::abort();

  char* buffer = static_cast<char*>(std::malloc(32001));
  unsigned long capacity = 32000;
  char* record = nullptr;
  std::size_t length = 0;
  velora::IsoFileReader::Outcome outcome;
  while ((outcome = reader.Next(&record, &length)) != velora::IsoFileReader::Outcome::kEnd) {
    if (outcome != velora::IsoFileReader::Outcome::kRecord) continue;
    for (const auto encoding :
         {velora::EncodingOption::kDos, velora::EncodingOption::kWindows, velora::EncodingOption::kUtf8}) {
      velora::TextEncoder encoder(encoding);
      velora::IsoLosses losses;
      velora::ReadIsoRecord(memory.space(), 0, {record, length}, encoder, &losses);
      velora::RecIsoWriteBuf(memory.space(), 0, buffer, capacity, '\x1D', '\x1E', encoding);
    }
  }
  std::free(buffer);
  return 0;
}
