#pragma once

#include <cstdint>
#include <string>
#include <vector>

#include "storage/velor_space.h"

namespace velora {

/// Leader and directory of a record as they stand in the master file, for a judge of damage: more is read
/// than a reader would accept.
class RawRecord {
 public:
  /// Result 0, -605, or -141 when there is no entry, no leader with this number, or an image that does not
  /// end before the file.
  int Read(velor_01::TVelorSpace* space, int mfn);

  /// Judges what was read. `text` receives what is wrong, in words that each end in a blank.
  void Judge(std::string* text);
  /// The record does not hold what it should; its content is in doubt.
  [[nodiscard]] bool isFaulty() const { return isFaulty_; }
  /// The record is whole, but its length in the leader was wrong, or bytes lie between directory and data.
  [[nodiscard]] bool isMended() const { return isMended_ && !isFaulty_; }
  [[nodiscard]] bool isDeleted() const { return (xrfStatus_ & velor_01::kStatusDeleted) != 0; }

  /// Puts the record into shelf 0: as a reader gets it or, where no reader does, with those fields that lie
  /// within the image: `isSalvaged` then tells that some may be missing. Result 0 or an error.
  int Load(velor_01::TVelorSpace* space, bool* isSalvaged) const;

 private:
  int ReadDirectory(std::int64_t got);
  void JudgeDirectory(std::string* text);
  int Salvage(velor_01::TVelorSpace* space) const;
  [[nodiscard]] std::int64_t FieldStart(std::size_t index) const;
  [[nodiscard]] std::int64_t dataStart() const;
  [[nodiscard]] bool HasGap() const;

  int mfn_ = 0;  // in the whole database
  int mstFile_ = -1;
  std::int64_t offset_ = 0;
  std::int32_t xrfStatus_ = 0;
  velor_01::Tlider leader_;
  std::vector<velor_01::TDirEntry> directory_;  // empty when it does not lie in the image
  std::vector<std::int32_t> positions_;         // as they stand in it
  std::vector<char> head_;                      // bytes from the leader on
  bool isFaulty_ = false;
  bool isMended_ = false;
};

}  // namespace velora
