#pragma once

#include "storage/velor_space.h"

namespace indexing {

/// The index context of one database at a time, for spaces that were opened without one: it is loaded once
/// and lent to one space after the other while the index of its record is updated.
class SharedTables {
 public:
  /// Gives the context of its database to a space without one; nothing happens to one that has its own.
  void LendTo(velor_01::TVelorSpace* space);
  void TakeBack(velor_01::TVelorSpace* space);

 private:
  velor_32::SpacePointer keeper_;  // without files, null before the first database
  std::string path_;               // of the record files of that database
  bool isLent_ = false;
};

}  // namespace indexing
