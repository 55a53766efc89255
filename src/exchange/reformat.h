#pragma once

#include <iosfwd>
#include <memory>
#include <string>

#include "format/xpft_fst.h"
#include "storage/velor_space.h"
#include "utils/string_list.h"

namespace velora {

/// Builds a record by a table (format/xpft_fst.h) from another one, adding to what `toSlot` holds.
///   formatSlotEnd  slots from here on are free for alternate records that formats read
///   addRest        what the lines with tag 0 print is read as fields, a line "#tag: text" each
/// Each line that a format prints becomes a field of the line's tag, unless it is empty or no UTF-8. Errors
/// of formats are logged, what they print up to the error counts.
void RecReformat(velor_01::TVelorSpace* space, int fromSlot, int toSlot, int formatSlotEnd, bool addRest,
                 velor_01::TStringList* table);

/// The same with the table compiled beforehand, for many records.
void RecReformat(velor_01::TVelorSpace* space, int fromSlot, int toSlot, int formatSlotEnd, bool addRest,
                 const velor_01::TStringList& table, xpft::XpftFst* compiled);

/// The table of -t, compiled once for the records of a run.
class ReformatTable {
 public:
  /// Loads the table by its name. One that is not there is told on `out` and in the log, and then every
  /// record goes on as it is.
  void Load(velor_01::TVelorSpace* space, const std::string& database, const std::string& name,
            std::ostream& out);
  [[nodiscard]] bool isLoaded() const { return compiled_ != nullptr; }
  /// Builds the record of `toSlot`, emptied, from that of `fromSlot`.
  void Run(velor_01::TVelorSpace* space, int fromSlot, int toSlot);

 private:
  velor_01::TStringList table_;
  std::unique_ptr<xpft::XpftFst> compiled_;
};

}  // namespace velora
