#pragma once

#include <cstdint>

#include "utils/plain_list.h"
#include "utils/sort_type.h"

namespace ExtList {

using velor_01::TSortType;

/// A number of extended precision, usually a score, and the integer it belongs to, usually a record or page.
struct TExtInt {
  long double value = 0;
  std::int32_t number = 0;
};
static_assert(sizeof(TExtInt) == 32);

/// A list of scored integers. See PlainList for what every list promises.
/// In every order a value that is no number (NaN) stands below all numbers.
class TExtList : public velor_01::PlainList<TExtInt> {
 public:
  TExtList() noexcept = default;

  using PlainList::Add;
  bool Add(long double value, std::int32_t number) noexcept { return Add(TExtInt{value, number}); }

  /// Index of the first item with this value by linear search, -1 when there is none.
  [[nodiscard]] int IndexOf(long double value) const noexcept;

  /// Binary search in a list sorted by value, or by integer, in the direction `type`. Gives whether such an
  /// item is there; `index` receives the first one or the place where it belongs, and -1 when the list has no
  /// array or the direction is none.
  bool Find(long double value, int* index, TSortType type = TSortType::up) const noexcept;
  bool FindByInt(std::int32_t number, int* index, TSortType type = TSortType::up) const noexcept;

  /// Stable sorts: items that are equal in the sorting key keep their sequence.
  void Sort(TSortType type = TSortType::up) noexcept;
  void SortByInt(TSortType type = TSortType::up) noexcept;
  /// Sorts by value in place, without the memory of Sort; equal values come in no promised sequence.
  void QuickSort(TSortType type = TSortType::up) noexcept;
};

}  // namespace ExtList
