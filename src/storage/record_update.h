#pragma once

#include "storage/velor_space.h"

/// Writing of records. Operations ending in 0 do the file work and need the database mutex held; those ending
/// in Time take it, waiting at most `timeoutSeconds` (clipped to 1..300), and give -300 when they do not get
/// it. In client mode the Time operations go to the server.
///
/// An update appends the new image, then turns the cross-reference entry to it. Whoever reads beside it, or
/// after a crash in the middle, finds the old record or the new one; what a crash can leave is claimed space
/// without an image and, for a new record, a number whose entry is zero (reading it gives -141).
namespace velor_32 {

/// Stores the record of a shelf as a new version, or as a new record when its number is 0.
///   keepLock     an update leaves the record locked; without effect on a new record
///   checkDbLock  refuse when the whole database is locked
/// Afterwards the shelf holds the record as a reader would get it: number, version, status, offset. Results
/// 0, -100, -102, -140, -300 (database locked), -400, -602 (another user holds the record), -608 (the version
/// in the file is another one: nothing is written), -609.
int VelorRecUpdate0(TVelorSpace* space, int shelf, bool keepLock, bool checkDbLock);

/// The same under the mutex; with `updateIf` the inverted file follows in the same hold. `result` receives
/// what the update gave, `ifResult` what the index gave (0 without it). Returns 0, or -300 without the mutex
/// or on a stop request; `result` is then -300 too.
int VelorRecUpdateTime(TVelorSpace* space, int shelf, bool keepLock, bool updateIf, int timeoutSeconds,
                       int* result, int* ifResult);

/// What a tool does with a record of its own: VelorRecUpdateTime without a lock that stays, and when that
/// stored it VelorRecCleanMtxTime (record_lock.h). Result: that of the update; `ifResult`, which may be null,
/// receives that of the index.
int StoreRecord(TVelorSpace* space, int shelf, bool updateIf, int timeoutSeconds, int* ifResult = nullptr);

/// Deletes a record physically: its entry becomes {0, 0, 2}, its number may be taken again. The image is no
/// longer reachable; postings are the caller's business. Results 0, -100, -140, -141, -300, -400.
int VelorRecPhysDel0(TVelorSpace* space, int mfn, bool checkDbLock);
int VelorRecPhysDelTime(TVelorSpace* space, int mfn, int timeoutSeconds);

/// Marks a record as not actualized. Results 0, -100, -140, -141, -300, -400.
int VelorRecUnactual0(TVelorSpace* space, int mfn);
int VelorRecUnactualTime(TVelorSpace* space, int mfn, int timeoutSeconds);

/// Sets or clears the bit "full text not actualized". Results as above.
int VelorSetFullTextActualizedBit(TVelorSpace* space, int mfn, bool on);
int VelorSetFullTextActualizedBitTime(TVelorSpace* space, int mfn, bool on, int timeoutSeconds);

/// Brings the inverted file up to date for one record.
int VelorRecIfUpdateTime(TVelorSpace* space, int shelf, int mfn, int timeoutSeconds);

}  // namespace velor_32
