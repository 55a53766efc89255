#include "storage/record_image.h"

#include <fcntl.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <cstring>
#include <memory>
#include <new>

#include "storage/codes.h"
#include "storage/record_read.h"
#include "storage/shelf.h"
#include "utils/endian.h"
#include "utils/file_layer.h"

namespace velor_32 {

using velor_01::TDirEntry;
using velor_01::TRecordShelf;

namespace {

bool IsPacked(const TRecordShelf& record) {
  std::int32_t expected = 0;
  for (std::int32_t i = 0; i < record.leader->nvf; ++i) {
    if (record.directory()[i].pos != expected) return false;
    expected += record.directory()[i].len;
  }
  return true;
}

constexpr std::int64_t RoundUp(std::int64_t size, std::int64_t step) {
  return (size + step - 1) / step * step;
}

}  // namespace

int PackShelf(TRecordShelf& record) {
  if (IsPacked(record)) return kOk;
  const std::size_t used = static_cast<std::size_t>(UsedData(record));
  const std::unique_ptr<char[]> old(new (std::nothrow) char[used + 1]);
  if (!old) return kNoMemory;
  std::memcpy(old.get(), record.data, used);
  std::int32_t expected = 0;
  for (std::int32_t i = 0; i < record.leader->nvf; ++i) {
    TDirEntry& entry = record.directory()[i];
    std::memcpy(record.data + expected, old.get() + entry.pos, static_cast<std::size_t>(entry.len));
    entry.pos = expected;
    expected += entry.len;
  }
  return kOk;
}

int WriteImage(TVelorSpace* space, const TRecordShelf& record, int localMfn, int mstFile,
               std::int64_t offset) {
  const std::size_t length = static_cast<std::size_t>(record.leader->length);
  if (int rc = ReserveReadBuf(space, record.leader->length); rc != kOk) return rc;
  const std::size_t head = static_cast<std::size_t>(record.leader->base);
  std::memcpy(space->readBuf, record.leader, head);
  reinterpret_cast<velor_01::Tlider*>(space->readBuf)->mfn = localMfn;
  backup::ntoh_words(space->readBuf, head / 4);
  std::memcpy(space->readBuf + head, record.data, length - head);
  return utils::WriteAt(mstFile, offset, space->readBuf, length) ? kOk : kNoRecordFiles;
}

bool PadFile(int file, std::int64_t currentSize, std::int64_t size, std::int64_t step) {
  const std::int64_t wanted = RoundUp(std::max(currentSize, size), step);
  if (wanted <= currentSize) return true;
  // Reserving the blocks makes a full disk known before anything is claimed.
  const int error = ::posix_fallocate(file, currentSize, wanted - currentSize);
  if (error == 0) return true;
  if (error != EINVAL && error != EOPNOTSUPP) return false;
  return ::ftruncate(file, wanted) == 0;
}

bool WriteControl(int mstFile, velor_01::Tcntmst control) {
  backup::hton_velor_struct(&control, backup::kControlStruct);
  return utils::WriteAt(mstFile, 0, &control, sizeof control);
}

bool WriteEntryAt(int xrfFile, int localMfn, velor_01::TNew_Xrf entry) {
  backup::hton_velor_struct(&entry, backup::kXrfStruct);
  return utils::WriteAt(xrfFile, velor_01::kXrfEntrySize * (std::int64_t{localMfn} - 1), &entry,
                        sizeof entry);
}

bool WriteWordAt(int file, std::int64_t offset, std::int32_t word) {
  unsigned char raw[4];
  utils::StoreBe32(raw, static_cast<std::uint32_t>(word));
  return utils::WriteAt(file, offset, raw, sizeof raw);
}

}  // namespace velor_32
