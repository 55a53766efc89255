#include "utils/ext_list.h"

#include <algorithm>
#include <cmath>

namespace ExtList {

namespace {

// Less-than over all values: a comparison with NaN alone would not order anything, and a sort would run off
// the array.
bool IsBelow(long double a, long double b) {
  if (std::isnan(a) || std::isnan(b)) return std::isnan(a) && !std::isnan(b);
  return a < b;
}

bool ValueUp(const TExtInt& a, const TExtInt& b) {
  return IsBelow(a.value, b.value);
}
bool ValueDown(const TExtInt& a, const TExtInt& b) {
  return IsBelow(b.value, a.value);
}
bool NumberUp(const TExtInt& a, const TExtInt& b) {
  return a.number < b.number;
}
bool NumberDown(const TExtInt& a, const TExtInt& b) {
  return b.number < a.number;
}

using Order = bool (*)(const TExtInt&, const TExtInt&);

bool FindFirst(std::span<const TExtInt> all, const TExtInt& wanted, Order isBefore, int* index) {
  const auto place = std::lower_bound(all.begin(), all.end(), wanted, isBefore);
  *index = static_cast<int>(place - all.begin());
  return place != all.end() && !isBefore(wanted, *place);
}

}  // namespace

int TExtList::IndexOf(long double value) const noexcept {
  for (int i = 0; i < count; ++i) {
    if (!IsBelow(items[i].value, value) && !IsBelow(value, items[i].value)) return i;
  }
  return -1;
}

bool TExtList::Find(long double value, int* index, TSortType type) const noexcept {
  *index = -1;
  if (items == nullptr || !velor_01::IsSortType(type)) return false;
  return FindFirst(Items(), TExtInt{value, 0}, type == TSortType::up ? ValueUp : ValueDown, index);
}

bool TExtList::FindByInt(std::int32_t number, int* index, TSortType type) const noexcept {
  *index = -1;
  if (items == nullptr || !velor_01::IsSortType(type)) return false;
  return FindFirst(Items(), TExtInt{0, number}, type == TSortType::up ? NumberUp : NumberDown, index);
}

void TExtList::Sort(TSortType type) noexcept {
  if (!velor_01::IsSortType(type)) return;
  std::stable_sort(items, items + count, type == TSortType::up ? ValueUp : ValueDown);
}

void TExtList::SortByInt(TSortType type) noexcept {
  if (!velor_01::IsSortType(type)) return;
  std::stable_sort(items, items + count, type == TSortType::up ? NumberUp : NumberDown);
}

void TExtList::QuickSort(TSortType type) noexcept {
  if (!velor_01::IsSortType(type)) return;
  std::sort(items, items + count, type == TSortType::up ? ValueUp : ValueDown);
}

}  // namespace ExtList
