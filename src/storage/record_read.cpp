#include "storage/record_read.h"

#include <unistd.h>

#include <algorithm>
#include <cstdlib>
#include <cstring>
#include <limits>

#include "storage/app_context.h"
#include "storage/codes.h"
#include "storage/edge.h"
#include "storage/master_file.h"
#include "storage/record_guid.h"
#include "storage/shelf.h"
#include "storage/storage_hooks.h"
#include "utils/file_layer.h"

namespace velor_32 {

using velor_01::kEntrySize;
using velor_01::kLeaderSize;
using velor_01::TDirEntry;
using velor_01::Tlider;
using velor_01::TNew_Xrf;
using velor_01::TRecordShelf;

namespace {

/// The first read of an image takes at least this much: one system call then brings leader and record for
/// nearly all records of a catalogue.
constexpr std::int32_t kFirstRead = 2048;

constexpr std::int64_t kLargestImage =
    std::numeric_limits<std::int32_t>::max() - velor_01::kDefaultCapacity - 1;

/// A record on its way in: which files it lies in, under which number, and where.
struct Place {
  FilePair files;
  int fragment = 0;
  int localMfn = 0;
  std::int64_t offset = 0;
};

Tlider* Leader(const TVelorSpace* space) {
  return reinterpret_cast<Tlider*>(space->readBuf);
}

TDirEntry* Directory(const TVelorSpace* space) {
  return reinterpret_cast<TDirEntry*>(space->readBuf + kLeaderSize);
}

/// Maps the number, reads control record and entry. Results 0, -140, -141, -400.
int Locate(TVelorSpace* space, int mfn, bool skipCheck, Place* place) {
  if (mfn < 1) return kMfnRange;
  place->localMfn = backup::VelorGetMfn(space, mfn, &place->fragment);
  if (place->localMfn < 0) return kNoRecordFiles;
  place->files = ReadHandles(space, place->fragment);
  if (!skipCheck) {
    velor_01::Tcntmst control;
    if (!ReadControl(place->files.mstFile, &control)) return kDamaged;
    if (place->localMfn < 1 || place->localMfn >= control.nxtmfn) return kMfnRange;
  }
  TNew_Xrf entry;
  if (!ReadEntryAt(place->files.xrfFile, place->localMfn, &entry)) return kDamaged;
  space->xrfOffset = backup::New_XrfToMstOffSet(entry);
  space->xrfFlags = entry.flags;
  place->offset = space->xrfOffset;
  return kOk;
}

/// Reads leader and as much behind it as is likely to be the whole record. `got` receives the bytes in
/// readBuf. The leader is converted.
bool ReadHead(TVelorSpace* space, const Place& place, std::int64_t* got) {
  const std::int32_t likely =
      std::max(kFirstRead, std::min(space->readLength, space->readCapacity / 2) + 512);
  *got = utils::ReadSomeAt(place.files.mstFile, place.offset, space->readBuf,
                           static_cast<std::size_t>(std::min(likely, space->readCapacity)));
  if (*got < kLeaderSize) return false;
  backup::ntoh_velor_struct(space->readBuf, backup::kLeaderStruct);
  return true;
}

/// Brings readBuf to `length` bytes, of which `got` are there. The bytes must be in the file before memory is
/// taken for them. Results 0, -100, -141.
int ReadRest(TVelorSpace* space, const Place& place, std::int64_t length, std::int64_t* got) {
  if (length <= *got) return kOk;
  if (length > kLargestImage) return kDamaged;
  if (length > space->readCapacity) {
    if (place.offset + length > ::lseek(place.files.mstFile, 0, SEEK_END)) return kDamaged;
    const Tlider leader = *Leader(space);
    if (int rc = ReserveReadBuf(space, length); rc != kOk) return rc;
    *Leader(space) = leader;
    *got = kLeaderSize;
  }
  if (!utils::ReadAt(place.files.mstFile, place.offset + *got, space->readBuf + *got,
                     static_cast<std::size_t>(length - *got)))
    return kDamaged;
  *got = length;
  return kOk;
}

/// An image may lack its length; the directory then tells it. `entry` lengths are still in file order.
int ComputeLength(TVelorSpace* space, const Place& place, std::int64_t* got) {
  const std::int32_t fields = Leader(space)->nvf;
  const std::int64_t base = kLeaderSize + std::int64_t{kEntrySize} * fields;
  if (int rc = ReadRest(space, place, base, got); rc != kOk) return rc;
  std::int64_t length = kLeaderSize;
  for (std::int32_t i = 0; i < fields; ++i) {
    TDirEntry entry = Directory(space)[i];
    backup::ntoh_velor_struct(&entry, backup::kDirectoryStruct);
    if (entry.len < 0) return kDamaged;
    length += kEntrySize + std::int64_t{entry.len};
  }
  if (length > kLargestImage) return kDamaged;
  Leader(space)->length = static_cast<std::int32_t>(length);
  return kOk;
}

/// Reads the rest of the image behind a leader that is in place, converts the directory. Results 0, -100,
/// -141.
int ReadImage(TVelorSpace* space, const Place& place, std::int64_t got) {
  const std::int32_t fields = Leader(space)->nvf;
  if (fields < 0) return kDamaged;
  if (fields == 0 && Leader(space)->length < kLeaderSize) Leader(space)->length = kLeaderSize;
  const std::int64_t length = Leader(space)->length;
  if (kLeaderSize + std::int64_t{kEntrySize} * fields > length) return kDamaged;
  if (int rc = ReadRest(space, place, length, &got); rc != kOk) return rc;

  space->readBuf[length] = '\0';
  space->readLength = static_cast<std::int32_t>(length);
  backup::ntoh_words(Directory(space), 3 * static_cast<std::size_t>(fields));
  return kOk;
}

void SetDeletedBit(std::int32_t& status, std::int32_t flags) {
  status = (status & ~velor_01::kStatusDeleted) | (flags & velor_01::kStatusDeleted);
}

/// Follows the back chain. Images are only ever appended, so an earlier version lies below; a chain that
/// turns upward is damage, and this also ends every circle. Results 0, -141, -201.
int StepBack(const Place& place, int steps, std::int64_t* offset) {
  for (; steps > 0; --steps) {
    Tlider leader;
    if (!ReadLeaderAt(place.files.mstFile, *offset, &leader)) return kDamaged;
    const std::int64_t back = backup::MakeInt64(leader.backLow, leader.backHigh);
    if (back < 1) return kNoVersion;
    if (back >= *offset) return kDamaged;
    *offset = back;
  }
  return *offset < velor_01::kControlSize ? kDamaged : kOk;
}

/// Reads an image that need not be the current one.
int ReadVersion(TVelorSpace* space, int mfn, const Place& place) {
  std::int64_t got = 0;
  if (!ReadHead(space, place, &got)) return kDamaged;
  if (int rc = ReadImage(space, place, got); rc != kOk) return rc;
  Leader(space)->mfn = mfn;
  return Leader(space)->status & velor_01::kStatusDeleted ? kDeleted : kOk;
}

/// Checks that every field of the image lies in its data, and that the fields together are not larger than
/// it. `packed` says that they fill it in directory order.
bool CheckDirectory(const TVelorSpace* space, bool* packed) {
  const Tlider& leader = *Leader(space);
  const std::int64_t dataLength = leader.nvf > 0 ? std::int64_t{leader.length} - leader.base : 0;
  if (leader.nvf > 0 && (leader.base < kLeaderSize + std::int64_t{kEntrySize} * leader.nvf || dataLength < 0))
    return false;
  std::int64_t total = 0;
  *packed = true;
  for (std::int32_t i = 0; i < leader.nvf; ++i) {
    const TDirEntry& entry = Directory(space)[i];
    if (entry.pos < 0 || entry.len < 0 || std::int64_t{entry.pos} + entry.len > dataLength) return false;
    *packed &= entry.pos == total;
    total += entry.len;
    if (total > dataLength) return false;  // overlapping fields would multiply
  }
  return true;
}

/// Copies the image in readBuf into the shelf, so that its data is packed and base and length are true.
int StoreInShelf(TVelorSpace* space, TRecordShelf& record) {
  bool packed = true;
  if (!CheckDirectory(space, &packed)) return kDamaged;
  FormerBlock former;
  if (space->readLength >= record.capacity) {
    ResetShelf(record);
    if (!ResizeShelf(record, std::int64_t{space->readLength} + velor_01::kDefaultCapacity, &former))
      return kNoMemory;
  }
  const Tlider& leader = *Leader(space);
  const char* data = space->readBuf + (leader.nvf > 0 ? leader.base : 0);
  const std::size_t head = static_cast<std::size_t>(kLeaderSize) + sizeof(TDirEntry) * leader.nvf;
  std::memcpy(static_cast<void*>(record.leader), space->readBuf, head);
  record.leader->base = static_cast<std::int32_t>(head);

  std::int32_t used = 0;
  for (std::int32_t i = 0; i < leader.nvf; ++i) {
    TDirEntry& entry = record.directory()[i];
    if (!packed) std::memcpy(record.data + used, data + entry.pos, static_cast<std::size_t>(entry.len));
    entry.pos = used;
    used += entry.len;
  }
  if (packed) std::memcpy(record.data, data, static_cast<std::size_t>(used));
  record.data[used] = '\0';
  record.leader->length = record.leader->base + used;
  record.offset = space->xrfOffset;
  record.xrfStatus = space->xrfFlags;
  record.guid[0] = '\0';
  return kOk;
}

/// What follows VelorRead or VelorReadBack for both kinds of reading into a shelf.
int Deliver(TVelorSpace* space, int shelf, int readResult) {
  if (readResult != kOk && readResult != kDeleted) return readResult;
  if (int rc = StoreInShelf(space, *FindShelf(space, shelf)); rc != kOk) return rc;
  if (space->isFullText) {
    if (int rc = TakeGuidField(space, shelf); rc != kOk) return rc;
  } else if (int rc = VelorRecordCheckGuid(space, shelf); rc < kOk) {
    return rc;
  }
  return readResult;
}

int ReadRemote(TVelorSpace* space, int shelf, int mfn, int stepsBack) {
  const StorageHooks* hooks = space->app->hooks;
  return hooks && hooks->readRecord ? hooks->readRecord(space, shelf, mfn, stepsBack) : kNoRecordFiles;
}

}  // namespace

int ReserveReadBuf(TVelorSpace* space, std::int64_t lengthBytes) {
  if (lengthBytes <= space->readCapacity) return kOk;
  const std::int64_t capacity = lengthBytes + velor_01::kDefaultCapacity;
  if (capacity > std::numeric_limits<std::int32_t>::max()) return kNoMemory;
  char* buffer = static_cast<char*>(std::malloc(static_cast<std::size_t>(capacity) + 1));
  if (!buffer) return kNoMemory;
  std::free(space->readBuf);
  space->readBuf = buffer;
  space->readCapacity = static_cast<std::int32_t>(capacity);
  return kOk;
}

bool ReadEntryAt(int xrfFile, int localMfn, TNew_Xrf* entry) {
  TNew_Xrf raw;
  if (localMfn < 1 || xrfFile < 0) return false;
  if (!utils::ReadAt(xrfFile, velor_01::kXrfEntrySize * (std::int64_t{localMfn} - 1), &raw, sizeof raw))
    return false;
  backup::ntoh_velor_struct(&raw, backup::kXrfStruct);
  *entry = raw;
  return true;
}

bool ReadLeaderAt(int mstFile, std::int64_t offset, Tlider* leader) {
  Tlider raw;
  if (offset < velor_01::kControlSize || !utils::ReadAt(mstFile, offset, &raw, sizeof raw)) return false;
  backup::ntoh_velor_struct(&raw, backup::kLeaderStruct);
  *leader = raw;
  return true;
}

int ReadXrfEntry(const TVelorSpace* space, int mfn, TNew_Xrf* entry) {
  if (!IsOpen(space)) return kNoSpace;
  if (mfn < 1) return kMfnRange;
  int fragment = 0;
  const int localMfn = backup::VelorGetMfn(space, mfn, &fragment);
  return ReadEntryAt(ReadHandles(space, fragment).xrfFile, localMfn, entry) ? kOk : kDamaged;
}

int VelorRead(TVelorSpace* space, int mfn, bool skipCheck) {
  if (!IsOpen(space)) return kNoSpace;
  if (int rc = WakeRecordFiles(space); rc != kOk) return rc;
  Place place;
  if (int rc = Locate(space, mfn, skipCheck, &place); rc != kOk) return rc;
  if (space->xrfFlags & velor_01::kStatusPhysicallyDeleted) return kPhysicallyDeleted;
  if (place.offset < velor_01::kControlSize) return kDamaged;

  std::int64_t got = 0;
  if (!ReadHead(space, place, &got) || Leader(space)->mfn != place.localMfn) return kDamaged;
  Tlider& leader = *Leader(space);
  if (leader.length < 1 && leader.base >= 1 && leader.nvf > 0)
    if (int rc = ComputeLength(space, place, &got); rc != kOk) return rc;
  if (int rc = ReadImage(space, place, got); rc != kOk) return rc;
  SetDeletedBit(Leader(space)->status, space->xrfFlags);
  Leader(space)->mfn = mfn;
  return space->xrfFlags & velor_01::kStatusDeleted ? kDeleted : kOk;
}

int VelorReadBack(TVelorSpace* space, int mfn, int stepsBack, bool skipCheck) {
  if (!IsOpen(space)) return kNoSpace;
  if (int rc = WakeRecordFiles(space); rc != kOk) return rc;
  Place place;
  if (int rc = Locate(space, mfn, skipCheck, &place); rc != kOk) return rc;
  if (space->xrfFlags & velor_01::kStatusPhysicallyDeleted) return kPhysicallyDeleted;
  if (int rc = StepBack(place, stepsBack, &place.offset); rc != kOk) return rc;
  return ReadVersion(space, mfn, place);
}

int VelorRecord(TVelorSpace* space, int shelf, int mfn, bool skipCheck) {
  if (!space) return kNoSpace;
  return AtEdge([&] {
    if (IsRemote(space)) return ReadRemote(space, shelf, mfn, 0);
    if (int rc = CheckShelf(space, shelf); rc != kOk) return rc;
    return Deliver(space, shelf, VelorRead(space, mfn, skipCheck));
  });
}

int VelorRecordBack(TVelorSpace* space, int shelf, int mfn, int stepsBack, bool skipCheck) {
  if (!space) return kNoSpace;
  return AtEdge([&] {
    if (IsRemote(space)) return ReadRemote(space, shelf, mfn, stepsBack);
    if (int rc = CheckShelf(space, shelf); rc != kOk) return rc;
    return Deliver(space, shelf, VelorReadBack(space, mfn, stepsBack, skipCheck));
  });
}

int VelorRecordAt(TVelorSpace* space, int shelf, int mfn, std::int64_t offset) {
  if (!IsOpen(space)) return kNoSpace;
  return AtEdge([&] {
    if (int rc = CheckShelf(space, shelf); rc != kOk) return rc;
    if (int rc = WakeRecordFiles(space); rc != kOk) return rc;
    Place place;
    if (int rc = Locate(space, mfn, false, &place); rc != kOk) return rc;
    if (offset < velor_01::kControlSize || offset >= place.offset) return kDamaged;
    place.offset = offset;
    return Deliver(space, shelf, ReadVersion(space, mfn, place));
  });
}

int VelorReadVersion(TVelorSpace* space, int mfn) {
  if (!IsOpen(space)) return kNoSpace;
  Place place;
  if (WakeRecordFiles(space) != kOk || Locate(space, mfn, false, &place) != kOk) return kMfnRange;
  if (space->xrfFlags & velor_01::kStatusPhysicallyDeleted) return 0;
  Tlider leader;
  return ReadLeaderAt(place.files.mstFile, place.offset, &leader) ? leader.version : kMfnRange;
}

int VelorReadGuid(TVelorSpace* space, int mfn, char guid[velor_01::kGuidLength + 1]) {
  if (!IsOpen(space)) return kNoSpace;
  return space->isFullText ? ReadStoredGuid(space, mfn, guid) : kNotFound;
}

int ReadStoredGuid(TVelorSpace* space, int mfn, char guid[velor_01::kGuidLength + 1]) {
  if (!IsOpen(space)) return kNoSpace;
  Place place;
  if (WakeRecordFiles(space) != kOk || Locate(space, mfn, false, &place) != kOk) return kMfnRange;
  if (space->xrfFlags & velor_01::kStatusPhysicallyDeleted) return kOk;
  Tlider leader;
  if (!ReadLeaderAt(place.files.mstFile, place.offset, &leader)) return kMfnRange;
  if (leader.nvf < 1) return kOk;
  TDirEntry entry;
  if (!utils::ReadAt(place.files.mstFile, place.offset + kLeaderSize, &entry, sizeof entry)) return kMfnRange;
  backup::ntoh_velor_struct(&entry, backup::kDirectoryStruct);
  if (entry.tag != velor_01::kGuidTag || entry.pos != 0 || entry.len != velor_01::kGuidLength) return kOk;
  char text[velor_01::kGuidLength];
  if (!utils::ReadAt(place.files.mstFile, place.offset + leader.base, text, sizeof text)) return kMfnRange;
  std::memcpy(guid, text, sizeof text);
  guid[velor_01::kGuidLength] = '\0';
  return kOk;
}

int LastMfn(TVelorSpace* space) {
  const int end = Velormaxmfn(space);
  if (end < 1) return 0;
  if (IsRemote(space)) return end - 1;
  std::int64_t most = 0;
  for (int fragment = 0; fragment <= LastFragment(space); ++fragment) {
    const FilePair files = ReadHandles(space, fragment);
    const std::int64_t own = std::max(utils::FileSize(files.mstFile) / kLeaderSize,
                                      utils::FileSize(files.xrfFile) / velor_01::kXrfEntrySize);
    const auto local = static_cast<int>(std::min<std::int64_t>(own, std::numeric_limits<int>::max()));
    if (local > 0) most = std::max(most, GlobalMfn(space, fragment, local));
  }
  return static_cast<int>(std::min<std::int64_t>(end - 1, most));
}

int Velormaxmfn(TVelorSpace* space) {
  if (!IsOpen(space)) return kNoSpace;
  if (IsRemote(space)) {
    const StorageHooks* hooks = space->app->hooks;
    return hooks && hooks->maxMfn ? hooks->maxMfn(space) : kNoRecordFiles;
  }
  if (int rc = WakeRecordFiles(space); rc != kOk) return rc;
  const velor_01::Tcntmst& base = space->mst->control;
  if (base.fragmentCount > 0 && base.fragmentCount < 2) return 0;
  const int last = LastFragment(space);
  const int file = ReadHandles(space, last).mstFile;

  velor_01::Tcntmst control = DefaultControl();
  const bool isMissingFragment = last > 0 && file < 0;
  if (!isMissingFragment && ::lseek(file, 0, SEEK_END) != 0 && !ReadControl(file, &control))
    return kNoRecordFiles;
  if (last == 0) return control.nxtmfn;
  const std::int64_t before =
      std::int64_t{base.fragmentSize} * last;  // what the files before it hold when full
  return static_cast<int>(std::min<std::int64_t>(before + control.nxtmfn, std::numeric_limits<int>::max()));
}

}  // namespace velor_32
