#pragma once

#include <cstdint>

#include "storage/velor_space.h"

/// Reading of records. No function here takes a lock: a writer in another process may replace an entry at any
/// moment, and writes an image before the entry that points to it, so that a reader sees the old record or
/// the new one.
///
/// Results 0, -603 (logically deleted, the data is delivered), -605 (physically deleted), -100, -102, -140
/// (number out of range), -141 (read failure or damage), -201 (no version of that depth), -400 (no files),
/// -609 (bad GUID).
namespace velor_32 {

/// Reads the current image of a record into `readBuf` of the space (leader and directory in host order, the
/// number being that in the whole database), and its cross-reference entry into `xrfOffset` and `xrfFlags`.
/// `skipCheck` saves the look at the control record, and so the range check. Positions and lengths in the
/// directory are as stored: VelorRecord checks them.
int VelorRead(TVelorSpace* space, int mfn, bool skipCheck);

/// The same for an earlier version, 0 steps back being the current one. The number in the leader is not
/// compared, and -603 depends on the status of that image.
int VelorReadBack(TVelorSpace* space, int mfn, int stepsBack, bool skipCheck);

/// Read into a shelf. Where the result says that there is no data (all but 0, -603 and -609) the shelf stays
/// as it was. The GUID field goes into the shelf's `guid` and does not show among the fields; on -609 the
/// record is empty.
int VelorRecord(TVelorSpace* space, int shelf, int mfn, bool skipCheck = false);
int VelorRecordBack(TVelorSpace* space, int shelf, int mfn, int stepsBack, bool skipCheck = false);

/// Reads the earlier version whose image lies at `offset`, found by walking the back chain, into a shelf.
/// Results as for VelorRecordBack; -141 for an offset that the current image does not lie behind.
int VelorRecordAt(TVelorSpace* space, int shelf, int mfn, std::int64_t offset);

/// Version of the current image; 0 for a physically deleted record, -140 when it cannot be read.
int VelorReadVersion(TVelorSpace* space, int mfn);

/// The GUID stored with a record of a full-text space (-404 in any other). Left untouched, result 0, when the
/// image has none or the record is physically deleted.
int VelorReadGuid(TVelorSpace* space, int mfn, char guid[velor_01::kGuidLength + 1]);

/// The same without regard to the kind of the space.
int ReadStoredGuid(TVelorSpace* space, int mfn, char guid[velor_01::kGuidLength + 1]);

/// One above the highest record number in use, read anew from the file; 1 in an empty database, -400 on a
/// read error.
int Velormaxmfn(TVelorSpace* space);

/// The last record number of a walk over all records: the highest one in use, but not above what the files
/// have room for, each record having an image or an entry. A damaged control record may tell of thousands of
/// millions. 0 in an empty database and on a read error.
[[nodiscard]] int LastMfn(TVelorSpace* space);

/// The cross-reference entry of a record, in host order; untouched unless the result is 0. -100, -140 for a
/// number below 1, -141 when the file ends before it.
[[nodiscard]] int ReadXrfEntry(const TVelorSpace* space, int mfn, velor_01::TNew_Xrf* entry);

/// Reads entry `localMfn` of a cross-reference file.
[[nodiscard]] bool ReadEntryAt(int xrfFile, int localMfn, velor_01::TNew_Xrf* entry);

/// Reads the leader of an image, in host order. False for an offset below 36 or behind the end.
[[nodiscard]] bool ReadLeaderAt(int mstFile, std::int64_t offset, velor_01::Tlider* leader);

/// Makes `readBuf` hold at least `lengthBytes` and a zero; its contents are lost. -100 without memory.
[[nodiscard]] int ReserveReadBuf(TVelorSpace* space, std::int64_t lengthBytes);

}  // namespace velor_32
