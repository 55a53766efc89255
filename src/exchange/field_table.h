#pragma once

#include <unordered_map>

#include "storage/velor_space.h"
#include "utils/string_list.h"

/// The field table of a database: which fields a record has once, and which repeat.
///
/// It is a worksheet file. Line 0 is a count n, and the 2n + 1 lines from there on describe other things. The
/// rest are rows of a fixed number of lines, one row for each field: line 0 is the tag, line 2 "1" for a
/// field that repeats.
namespace velora {

/// Loads the rows of the table that WSFDT of section MAIN names ("DEFAULT") + ".ws", in lower case, from the
/// table directory of the database or the deposit directory. DefFieldNumb of section MAIN is the number of
/// lines of a row, 10 without it. The first line of each row gets its tag as object number. An empty list
/// when there is no such file.
void LoadFieldTable(const velor_01::TVelorSpace* space, velor_01::TStringList* table);

/// The rows in a form for many questions.
class FieldTable {
 public:
  FieldTable() = default;
  explicit FieldTable(const velor_01::TStringList& rows);

  /// The tag has a row, and the row does not say that it repeats. Of two rows for a tag the first counts.
  [[nodiscard]] bool IsSingle(int tag) const;

 private:
  std::unordered_map<int, bool> repeats_;
};

}  // namespace velora
