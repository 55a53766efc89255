#pragma once

#include "storage/velor_space.h"

/// The GUID of a record: a text of 38 bytes, "{" and "}" around 36. On disk it is the first field, with tag
/// 2147483647; in memory it stands in the shelf's `guid` and not among the fields.
namespace velor_32 {

/// True for a text of exactly 38 bytes that begins with "{".
[[nodiscard]] bool VelorIsGuid(const char* text);

/// The shelf's GUID; null when the space keeps none or the shelf has no valid one. Valid until the shelf
/// changes.
[[nodiscard]] const char* VelorGetGuid(const TVelorSpace* space, int shelf);

/// Sets the shelf's GUID. -404 in a space that keeps none, -609 for a bad text.
int VelorSetGuid(TVelorSpace* space, int shelf, const char* text);

/// In an ordinary space with GUIDs switched on: moves the GUID field into `guid`, or makes a new GUID for a
/// record that has none. Result 1, or 0 when the space keeps no GUIDs.
int VelorRecordCheckGuid(TVelorSpace* space, int shelf);

/// Removes all GUID fields, then puts one in first place. Result 0, -100, -101, or -609 for a bad text.
int VelorFldAddGUID(TVelorSpace* space, int shelf, const char* text);

/// In a full-text space: moves field 1 into `guid`. -609, and an empty record, when it is no GUID field.
int TakeGuidField(TVelorSpace* space, int shelf);

/// Removes all GUID fields.
void RemoveGuidFields(TVelorSpace* space, int shelf);

}  // namespace velor_32
