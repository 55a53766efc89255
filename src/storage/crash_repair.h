#pragma once

#include "storage/velor_space.h"

namespace velor_32 {

/// Puts right what a writer leaves that died holding the database mutex; to be called under the mutex. It
/// reads each entry and the leader that it leads to.
///
/// The dead writer's claim is the last one in its file, and its entry was not written: a finished update
/// needs no mending. So the update is taken back. A number that it claimed becomes physically deleted and can
/// be taken again; the image before is the last version again; its own image, whole or torn, becomes zero
/// bytes, and the space goes back to the file. That happens only when the claim reaches to the end of the
/// space in use and nothing that an entry leads to lies behind it.
///
/// Besides, a mark that entry and image disagree on is set, the padding of the files is completed, and a
/// change of the dictionary is undone that was cut off (see term_journal.h).
void MendAfterDeadWriter(TVelorSpace* space);

}  // namespace velor_32
