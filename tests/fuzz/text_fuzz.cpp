// The text form and CSV: records are read with every option, and what was read is written again.

#include <cstdlib>
#include <fstream>
#include <string>

#include "exchange/csv.h"
#include "exchange/text_record.h"
#include "storage/shelf.h"
#include "support/fuzz_file.h"
#include "support/memory_space.h"

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  static const test::MemorySpace memory;
  static const test::FuzzFile file;
  memory.context()->guidOption = 1;
  file.Set(data, size);
  for (const bool all : {false, true}) {
    std::ifstream stream(file.path(), std::ios::binary);
    velora::TextRecordReader reader(
        memory.space(), all ? velora::EncodingOption::kWindows : velora::EncodingOption::kUtf8, all, all);
    velora::TextEncoder encoder(velora::EncodingOption::kUtf8);
    std::string text;
    do velor_32::Velornewrec(memory.space(), 0);
    while (reader.Read(0, stream));
    velora::AppendTextRecord(memory.space(), 0, all, all, encoder, &text);
  }
  std::ifstream csv(file.path(), std::ios::binary);
  std::vector<std::string> fields;
  while (velora::CSVStringToStringList(memory.context(), csv, fields)) {
  }
  return 0;
}
