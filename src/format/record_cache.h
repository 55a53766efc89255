#pragma once

#include <cstdint>
#include <string_view>
#include <vector>

#include "storage/velor_space.h"

namespace xpft {

/// The occurrences of one field, as views into the shelf of the record.
class RecordField {
 public:
  [[nodiscard]] const std::vector<std::string_view>& GetOcc();
  /// Those with any text.
  [[nodiscard]] const std::vector<std::string_view>& GetOccNonEmpty();
  void AddOcc(std::string_view text);

 private:
  friend class Record;
  void Read();
  void FillNonEmpty();

  int tag_ = 0;
  std::vector<std::string_view> occurrences_;
  std::vector<std::string_view> nonEmpty_;
  bool hasEmpty_ = false;
  bool nonEmptyIsFilled_ = false;
  const velor_01::TVelorSpace* space_ = nullptr;  // while the occurrences are still to be read
  int shelf_ = 0;
};

/// A record by tag, so that a format that reads many fields walks the record once. Good until the record
/// changes; the memory is used again for the next record.
class Record {
 public:
  /// Replaces the contents. `lazy`: the occurrences of a field are read when it is asked for.
  void Load(const velor_01::TVelorSpace* space, int shelf, bool lazy);
  /// Null when the record has no such field.
  [[nodiscard]] RecordField* GetField(int tag);
  void Clear();
  void Clear(int tag);

 private:
  RecordField& Open(int tag);

  std::vector<RecordField> fields_;  // the first count_ are in use
  std::size_t count_ = 0;
  // Open addressing over the tags: place + 1 in fields_, 0 for a free slot. A power of two, at most half
  // full.
  std::vector<std::uint32_t> slots_;
};

}  // namespace xpft
