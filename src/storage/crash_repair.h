#pragma once

#include "storage/velor_space.h"

namespace velor_32 {

/// Puts right what a writer leaves that died holding the database mutex. The order of its steps leaves one
/// thing to do: a new record whose number was claimed but whose entry was not written yet; the number becomes
/// physically deleted, so that it can be taken again. To be called under the mutex.
void MendAfterDeadWriter(TVelorSpace* space);

}  // namespace velor_32
