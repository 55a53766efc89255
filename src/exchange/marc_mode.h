#pragma once

#include <string>

#include "storage/velor_space.h"

/// MARC mode: the exchange of records whose subfields are opened by the byte 1F hex, where the databases here
/// have a "^". It is switched on by the name of the reformatting table.
namespace velora {

constexpr char kMarcDelimiter = '\x1F';
constexpr char kSubfieldMark = '^';
constexpr int kImportedLeaderTag = 1000;  // an import keeps the record label in this field, all 24 bytes
constexpr int kExportedLeaderTag = 999;   // an export takes up to 8 bytes of the label from this one

/// True when the name holds the text that the key PRMARCFORMAT of the main ini names ("MARC" by default),
/// letter case aside.
[[nodiscard]] bool IsMarcTable(const app::VelorAppContext* ctx, const std::string& table);

/// Replaces a byte in all field texts of a slot.
void ReplaceInFields(velor_01::TVelorSpace* space, int slot, char from, char to);

}  // namespace velora
