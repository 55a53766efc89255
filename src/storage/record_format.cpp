#include "storage/record_format.h"

#include <bit>
#include <cstring>

#include "utils/file_layer.h"

namespace backup {
namespace {

static_assert(std::endian::native == std::endian::little, "words are swapped between file and host order");

/// Words of each structure, by type number.
constexpr std::size_t kWords[] = {0, 9, 8, 3, 3, 1};

}  // namespace

void ntoh_words(void* buffer, std::size_t count) {
  auto* bytes = static_cast<unsigned char*>(buffer);
  for (std::size_t i = 0; i < count; ++i, bytes += 4) {
    std::uint32_t word;
    std::memcpy(&word, bytes, 4);
    word = __builtin_bswap32(word);
    std::memcpy(bytes, &word, 4);
  }
}

bool ntoh_velor_struct(void* buffer, int type) {
  if (type < kControlStruct || type > kWordStruct) return false;
  ntoh_words(buffer, kWords[type]);
  return true;
}

bool hton_velor_struct(void* buffer, int type) {
  return ntoh_velor_struct(buffer, type);
}

std::int64_t New_XrfToMstOffSet(const velor_01::TNew_Xrf& entry) {
  return MakeInt64(entry.offsetLow, entry.offsetHigh);
}

}  // namespace backup
