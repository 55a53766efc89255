#pragma once

#include "storage/velor_space.h"

namespace velor_32 {

/// Marks every record as actualized: for a dictionary that was built anew from all of them. The database may
/// be locked, by the caller. Records without a sound image stay as they are.
/// Result 0, -100, -300 without the mutex, -400; -999 on a stop request.
int MarkAllActualized(TVelorSpace* space, int timeoutSeconds);

}  // namespace velor_32
