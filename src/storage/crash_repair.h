#pragma once

#include "storage/velor_space.h"

namespace velor_32 {

/// Puts right what a writer leaves that died holding the database mutex; to be called under the mutex.
/// Nothing that an entry leads to is touched.
///
/// The dead writer's claim is the last one in its file, and its entry was not written: a finished update
/// needs no mending. So the update is taken back. A number that it claimed becomes physically deleted and can
/// be taken again; its image, whole or torn, becomes zero bytes, and the image before it is the last version
/// again.
void MendAfterDeadWriter(TVelorSpace* space);

}  // namespace velor_32
