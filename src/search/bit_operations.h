#pragma once

#include "utils/bit_list.h"
#include "utils/int_list.h"

/// Set operations on bit lists and their change into lists of numbers, a machine word at a time. Bit n - 1
/// stands for the number n. Functions that give a bool give false when memory runs out; the list that they
/// change is then unchanged.

/// a becomes a OR b. A list a of count 0 takes a copy of b; otherwise the longer count survives.
bool MergeList(Bitarr::TBitList* a, const Bitarr::TBitList* b) noexcept;

namespace Search18 {

/// a becomes a AND b. The shorter count survives.
void CrossList(Bitarr::TBitList* a, const Bitarr::TBitList* b) noexcept;

/// a becomes a AND NOT b. The count of a survives: where b ends earlier, nothing is taken away.
void NotList(Bitarr::TBitList* a, const Bitarr::TBitList* b) noexcept;

/// Replaces the contents of `list` by the numbers in `bits`, ascending. Without memory the list is empty.
bool BitToIntList(const Bitarr::TBitList* bits, velor_01::TIntList* list) noexcept;

/// Replaces the contents of `bits` by the numbers of `list`, in whatever order they stand. Numbers below 1
/// have no bit.
bool IntToBitList(const velor_01::TIntList* list, Bitarr::TBitList* bits) noexcept;

/// The highest number in the list, 0 for none.
[[nodiscard]] int HighestNumber(const Bitarr::TBitList& bits) noexcept;

}  // namespace Search18
