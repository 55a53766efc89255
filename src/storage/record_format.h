#pragma once

#include <cstddef>
#include <cstdint>

/// The structures of the record files, as they stand in the file and, after conversion, in memory.
///
/// `<path>.mst` begins with one Tcntmst; record images follow, one behind the other. An image is a Tlider,
/// its directory of TDirEntry and the field bytes without separators. `<path>.xrf` is an array of TNew_Xrf
/// without a header: entry n - 1 belongs to record n. All words are 32 bits, big-endian in the file, in host
/// order here. A file offset takes two words, the low one first.
namespace velor_01 {

/// Control record at byte 0 of every master file.
struct Tcntmst {
  std::int32_t ctlmfn = 0;
  std::int32_t nxtmfn = 0;   // next record number to be assigned, 1 in an empty file
  std::uint32_t nxtLow = 0;  // where the next image goes, in bytes; 36 in an empty file
  std::uint32_t nxtHigh = 0;
  std::int32_t reserved = 0;  // written as 0, never read
  std::int32_t fragmentCount =
      0;                     // master files of the database, the base one included; 0 when not fragmented
  std::int32_t mstType = 0;  // above 65535: full-text database
  std::int32_t fragmentSize = 0;  // records per file; 0 when not fragmented
  std::int32_t lockFlag = 0;      // above 0: the whole database is locked
};
static_assert(sizeof(Tcntmst) == 36, "the struct is the file image");

/// Record leader.
struct Tlider {
  std::int32_t mfn =
      0;  // in the file the number within that file, in memory the number in the whole database
  std::int32_t length = 0;    // of the image in bytes: 32 + 12 * nvf + data
  std::uint32_t backLow = 0;  // offset of the version before, or 0
  std::uint32_t backHigh = 0;
  std::int32_t base = 0;     // offset of the data from the start of the image: 32 + 12 * nvf
  std::int32_t nvf = 0;      // number of fields
  std::int32_t version = 0;  // 1 for the first image, one more for each update
  std::int32_t status = 0;   // status word of this image
};
static_assert(sizeof(Tlider) == 32, "the struct is the file image");

/// One field in the directory.
struct TDirEntry {
  std::int32_t tag = 0;  // 1 or more; kGuidTag for the GUID field
  std::int32_t pos = 0;  // offset of the field in the data area
  std::int32_t len = 0;  // in bytes
};
static_assert(sizeof(TDirEntry) == 12, "the struct is the file image");

/// Where the current image of a record lies, and the record's status.
struct TNew_Xrf {
  std::uint32_t offsetLow = 0;
  std::uint32_t offsetHigh = 0;
  std::int32_t flags = 0;
};
static_assert(sizeof(TNew_Xrf) == 12, "the struct is the file image");

constexpr std::int32_t kGuidTag = 2147483647;
constexpr int kGuidLength = 38;  // "{", 36 characters, "}"

constexpr std::int32_t kOrdinaryType = 15;
constexpr std::int32_t kFullTextType = 65552;
constexpr std::int32_t kLargestOrdinaryType = 65535;

constexpr std::int64_t kControlSize = sizeof(Tcntmst);
constexpr std::int32_t kLeaderSize = sizeof(Tlider);
constexpr std::int32_t kEntrySize = sizeof(TDirEntry);
constexpr std::int64_t kLengthWordOffset = offsetof(Tlider, length);  // within an image
constexpr std::int64_t kStatusWordOffset = offsetof(Tlider, status);
constexpr std::int64_t kXrfEntrySize = sizeof(TNew_Xrf);
constexpr std::int64_t kMstStep = 0x100000;  // the master file is padded with zeros to a multiple of this
constexpr std::int64_t kXrfStep = 0x8000;    // the cross-reference file likewise
constexpr int kFragmentSlots = 32;           // fragments beside the base file

/// Status bits, of cross-reference entries and leaders alike.
enum StatusBit : std::int32_t {
  kStatusDeleted = 1,
  kStatusPhysicallyDeleted = 2,
  kStatusNotActualized = 8,
  kStatusLastVersion = 32,  // in leaders only
  kStatusLocked = 64,       // in cross-reference entries only
  kStatusFullTextNotActualized = 256,
};

}  // namespace velor_01

namespace backup {

/// Structures that the converters know.
enum StructType : int {
  kControlStruct = 1,
  kLeaderStruct = 2,
  kDirectoryStruct = 3,
  kXrfStruct = 4,
  kWordStruct = 5,
};

/// Converts one structure in place, from file to host order and back: those above, and those of the inverted
/// file (term_format.h), which are checked on the way in. Result false for another type, in which case
/// nothing is changed, and for a structure that the check refuses.
bool ntoh_velor_struct(void* buffer, int type);
bool hton_velor_struct(void* buffer, int type);

/// Converts `count` words in place.
void ntoh_words(void* buffer, std::size_t count);

/// The 64-bit offset of an entry in host order.
std::int64_t New_XrfToMstOffSet(const velor_01::TNew_Xrf& entry);

}  // namespace backup
