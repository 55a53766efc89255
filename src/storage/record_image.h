#pragma once

#include <cstdint>

#include "storage/velor_space.h"

namespace velor_32 {

/// Packs the field bytes of a shelf into directory order, and sets positions, base and length true.
/// -100 when there is no memory.
int PackShelf(velor_01::TRecordShelf& record);

/// Writes a packed record in file form at `offset` in one call. `localMfn` is the number the leader gets in
/// the file. Uses `readBuf` of the space. -100 without memory, -400 when the write fails.
int WriteImage(TVelorSpace* space, const velor_01::TRecordShelf& record, int localMfn, int mstFile,
               std::int64_t offset);

/// Makes a file `size` bytes long, rounded up to a multiple of `step`; the new bytes are zero. False when the
/// disk is full.
[[nodiscard]] bool PadFile(int file, std::int64_t currentSize, std::int64_t size, std::int64_t step);

/// Write one structure, given in host order.
[[nodiscard]] bool WriteControl(int mstFile, velor_01::Tcntmst control);
[[nodiscard]] bool WriteEntryAt(int xrfFile, int localMfn, velor_01::TNew_Xrf entry);
[[nodiscard]] bool WriteWordAt(int file, std::int64_t offset, std::int32_t word);

}  // namespace velor_32
