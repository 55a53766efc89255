#pragma once

#include <string>
#include <string_view>

#include "exchange/field_table.h"
#include "format/record_print.h"
#include "storage/velor_space.h"

namespace velora {

/// Merging by format: finds by a key the record of the database that a new record belongs to, and puts the
/// fields of the new one into it.
///
/// The first line of what the format prints is the key: "@" and a number for the record of that number, any
/// other text for the record of the first posting of that term. The index alone knows the terms: a record
/// that is not indexed yet is not found by them.
class RecordMerger {
 public:
  enum class Outcome {
    kNoPartner,  ///< nothing to merge with
    kUnchanged,  ///< the record of the database has all of it already
    kMerged,     ///< the slot behind the new record holds the merged one, not written yet
    kFailed,     ///< the index could not be read: whether there is a partner is not known
  };

  explicit RecordMerger(velor_01::TVelorSpace* space) : space_(space), print_(space) {}

  /// Takes the words of the option, "@" and the key lines themselves, or a format or its name, and loads the
  /// field table. Result 0, -404 for no format, -401 when of the files of the index some are empty and others
  /// are not, or the code of the compiler.
  int Prepare(const std::string& words);

  /// Merges the record in `slot` into the slot behind it. The lock that somebody may hold on the record of
  /// the database stays that somebody's: writing the merged record is refused then.
  Outcome Merge(int slot);

  /// Of the last Merge: the number of the partner, 0 without one.
  [[nodiscard]] int mfn() const { return mfn_; }
  /// The code with which the index or the partner could not be read, 0 when all went well.
  [[nodiscard]] int error() const { return error_; }
  /// True when the format of the key failed: it is not known whether there is a partner.
  [[nodiscard]] bool keyFailed() const { return keyFailed_; }

 private:
  std::string_view KeyOf(int slot);
  int FindPartner(std::string_view key);
  int FindByTerm(std::string_view key);

  velor_01::TVelorSpace* space_;
  RecordPrint print_;
  std::string literal_;  // key lines that hold for every record
  FieldTable fieldTable_;
  int mfn_ = 0;
  int error_ = 0;
  bool keyFailed_ = false;
};

}  // namespace velora
