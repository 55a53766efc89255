#pragma once

/// Result codes of the storage functions. 0 is success, everything else is negative; a code goes up
/// unchanged.
namespace velor_32 {

constexpr int kOk = 0;
constexpr int kNoMemory = -100;           // no memory, no space, or no open master file
constexpr int kNoSpace = -100;            // the same number under its other meaning
constexpr int kGuidMemory = -101;         // no memory while the GUID field was put in
constexpr int kBadShelf = -102;           // shelf number outside the array
constexpr int kMfnRange = -140;           // record number out of range
constexpr int kDamaged = -141;            // read failure or damage in the record files
constexpr int kBadArgument = -200;        // bad argument to a field operation
constexpr int kNoVersion = -201;          // no earlier version of that depth
constexpr int kTermNotFound = -202;       // no such term; the next greater one was given
constexpr int kBehindLastTerm = -203;     // behind the last term
constexpr int kBelowFirstTerm = -204;     // below the first term of an index
constexpr int kLocked = -300;             // database locked, or mutex not obtained in time
constexpr int kLockedByCaller = -301;     // locked, but not against this caller: work may go on
constexpr int kNoRecordFiles = -400;      // record files cannot be opened or read
constexpr int kNoInvertedFile = -401;     // inverted file cannot be opened
constexpr int kNotFound = -404;           // GUID operation on a space that keeps none; not found
constexpr int kRecordLocked = -602;       // another user holds the record
constexpr int kDeleted = -603;            // logically deleted, the data is delivered
constexpr int kPhysicallyDeleted = -605;  // physically deleted, there is no data
constexpr int kVersionMismatch = -608;    // the record was changed since it was read
constexpr int kBadGuid = -609;            // stored or given GUID is invalid
constexpr int kNoParameterFile = -5555;   // the database has no .par file, or there is no main ini

}  // namespace velor_32
