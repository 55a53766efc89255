#pragma once

#include "exchange/field_table.h"
#include "storage/velor_space.h"
#include "utils/string_list.h"

namespace velora {

/// Puts the fields of one record into another, in memory. A field whose text the old record has under the
/// same tag, in upper or lower case, changes nothing. Any other is added at the end; when the table says that
/// its field does not repeat, those with its tag go.
///   fieldTable  as LoadFieldTable makes it; null or empty: all fields repeat
/// True when the record in `oldSlot` was changed; false, too, for a bad slot.
bool MergeRecords(velor_01::TVelorSpace* space, int newSlot, int oldSlot, velor_01::TStringList* fieldTable);
bool MergeRecords(velor_01::TVelorSpace* space, int newSlot, int oldSlot, const FieldTable& fieldTable);

}  // namespace velora
