#pragma once

#include <cstdint>
#include <string>

#include "utils/plain_list.h"
#include "utils/sort_type.h"

namespace velor_01 {

/// A list of 32-bit integers: record numbers, sizes, flattened tuples. See PlainList for what every list
/// promises.
class TIntList : public PlainList<std::int32_t> {
 public:
  TIntList() noexcept = default;
  explicit TIntList(int growthPortion) noexcept : PlainList(growthPortion) {}

  /// As in PlainList, but a refused size (below 1 or below the count) gives true: the list already has its
  /// room.
  bool SetCapacity(int n) noexcept;

  /// Cuts the list or lengthens it with zeros. False for n below 0 and on memory failure.
  bool SetCount(int n) noexcept;

  /// Index of the first equal item by linear search, -1 when there is none.
  [[nodiscard]] int IndexOf(std::int32_t value) const noexcept;

  /// Binary search in a list that is sorted in the direction `type`. Gives whether the value is there.
  /// `index` receives the first equal item or the place where the value belongs, and -1 when the list has no
  /// array or the direction is none.
  bool Find(std::int32_t value, int* index, TSortType type = TSortType::up) const noexcept;

  void Sort(TSortType type = TSortType::up) noexcept;

  /// Replaces the contents by the numbers of a text, one decimal number a line. Lines end at CR, LF, CR LF or
  /// NUL; a line that is no number is passed over. False on memory failure; the numbers read so far then
  /// stand.
  bool Parse(const char* text, std::int64_t length) noexcept;

  /// Parse of a whole file, a UTF-8 byte-order mark being skipped. A file that cannot be read gives an empty
  /// list and false.
  bool LoadFromFile(const char* path) noexcept;
  bool LoadFromFile(const std::string& path) noexcept { return LoadFromFile(path.c_str()); }
};

}  // namespace velor_01
