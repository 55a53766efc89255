#pragma once

#include "storage/velor_space.h"

/// A user's exclusive right to a record: bit 64 of its cross-reference entry. It has no owner and no expiry;
/// it ends by an unlock, or by an update that does not keep it.
namespace velor_32 {

/// Reads the record into the shelf and locks it. A deleted record can be locked too. Results 0, -100, -102,
/// -140, -141, -300 (database locked), -400, or -602 when it is locked already (the record is then in the
/// shelf as well).
int VelorRecLock0(TVelorSpace* space, int shelf, int mfn);
int VelorRecLockTime(TVelorSpace* space, int shelf, int mfn, int timeoutSeconds);

/// Unlocks, whoever locked it; 0 also when it was not locked. The server gives 3 for that case.
int VelorRecUnLock0(TVelorSpace* space, int mfn);
int VelorRecUnLockTime(TVelorSpace* space, int mfn, int timeoutSeconds);

/// Removes the shared memory object of the full-text mutex of the record in a shelf. Acts in a full-text
/// space that is no companion. Results 0, -100, -102, -300.
int VelorRecCleanMtx0(TVelorSpace* space, int shelf, bool checkDbLock);
int VelorRecCleanMtxTime(TVelorSpace* space, int shelf, int timeoutSeconds);

}  // namespace velor_32
