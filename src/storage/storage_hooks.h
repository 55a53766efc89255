#pragma once

#include "storage/velor_space.h"

namespace velor_32 {

/// Calls that storage makes upward: the index that follows a record, the field selection tables of a
/// database, and the server that holds the records in client mode. The upper folders fill in
/// DefaultStorageHooks() at start, and each context that is made points to it. A null member means that
/// nothing stands behind it: the index calls then do nothing, the client calls fail with -400.
struct StorageHooks {
  /// Brings the inverted file up to date for one record, under the database mutex that the caller holds.
  int (*recIfUpdate)(velor_01::TVelorSpace* space, int shelf, int mfn) = nullptr;

  /// Loads the field selection table and the stop words from `path` (directory and name, no extension) and
  /// gives them up again. `companion` says that they are those of the page texts.
  int (*initInvContext)(velor_01::TVelorSpace* space, const char* path, bool companion) = nullptr;
  void (*freeInvContext)(velor_01::TVelorSpace* space) = nullptr;

  /// Client mode.
  int (*readRecord)(velor_01::TVelorSpace* space, int shelf, int mfn, int stepsBack) = nullptr;
  int (*writeRecord)(velor_01::TVelorSpace* space, int shelf, bool keepLock, bool updateIf,
                     int* ifResult) = nullptr;
  int (*lockRecord)(velor_01::TVelorSpace* space, int shelf, int mfn) = nullptr;
  int (*unlockRecord)(velor_01::TVelorSpace* space, int mfn) = nullptr;
  int (*actualRecord)(velor_01::TVelorSpace* space, int mfn) = nullptr;
  int (*maxMfn)(velor_01::TVelorSpace* space) = nullptr;
};

/// Written before the first context is made, not later.
StorageHooks& DefaultStorageHooks();

}  // namespace velor_32
