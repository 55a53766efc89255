#pragma once

#include "storage/velor_space.h"

/// The lock of a whole database: the lock flag in the control record of its base file. A locked database
/// refuses record locks, unlocks, physical deletes, checked updates and status changes. It outlives the
/// process that set it.
namespace velor_32 {

/// -300 when locked, 0 when free, -400 when the control record cannot be read. Reads the file anew.
int VelorIsDBLocked(const TVelorSpace* space);
[[nodiscard]] bool VelorIsDBLocked(const velor_01::Tcntmst* control);

/// Locks. Results 0, -100, -300 (locked already), -400; the Time form also -300 without the mutex.
int VelorLockDB(TVelorSpace* space);
int VelorLockDBTime(TVelorSpace* space, int timeoutSeconds);

/// Frees, whoever locked it. The Time form gives 0, -100, -300, or -400 when the flag stays set because the
/// file cannot be written.
void VelorUnLockDB(TVelorSpace* space);
int VelorUnLockDBTime(TVelorSpace* space, int timeoutSeconds);

/// Empties the record files and the inverted file of a database, and of its companion, removes its fragments
/// and clears the lock flag. Results 0, -100, -400, -401; the Time form also -300.
int VelorDBEmpty(TVelorSpace* space);
int VelorDBEmptyTime(TVelorSpace* space, int timeoutSeconds);

}  // namespace velor_32
