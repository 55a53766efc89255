#pragma once

#include <cstdint>
#include <string_view>
#include <vector>

#include "storage/shelf.h"
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
  /// False before the first Load and after Clear.
  [[nodiscard]] bool isLoaded() const { return isLoaded_; }
  void Clear();

 private:
  RecordField& Open(int tag);

  std::vector<RecordField> fields_;  // the first count_ are in use
  std::size_t count_ = 0;
  bool isLoaded_ = false;
  // Open addressing over the tags: place + 1 in fields_, 0 for a free slot. A power of two, at most half
  // full.
  std::vector<std::uint32_t> slots_;
};

/// Calls visit(tag, text) for each field of a shelf in its order.
template <class Visit>
void ForEachField(const velor_01::TVelorSpace* space, int shelf, Visit&& visit) {
  const velor_01::TRecordShelf* record = velor_32::FindShelf(space, shelf);
  if (record == nullptr) return;
  const velor_01::TDirEntry* entry = record->directory();
  for (const velor_01::TDirEntry* end = entry + record->leader->nvf; entry != end; ++entry)
    visit(entry->tag, std::string_view(record->data + entry->pos, static_cast<std::size_t>(entry->len)));
}

}  // namespace xpft
