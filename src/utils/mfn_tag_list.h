#pragma once

#include <cstdint>
#include <span>
#include <string_view>

#include "utils/bit_list.h"
#include "utils/plain_list.h"
#include "utils/sort_type.h"

namespace ExtList {

using velor_01::TSortType;

/// A record number with a number that belongs to it: a tag, a page, a facet value. Eight bytes, as in a cell
/// file.
struct TMfnTag {
  std::int32_t mfn = 0;
  std::int32_t tag = 0;

  friend bool operator==(const TMfnTag&, const TMfnTag&) = default;
};
static_assert(sizeof(TMfnTag) == 8, "the struct is the image in the cell file");

/// A list of such pairs with a bit per record number that tells at once whether the number was added. It may
/// hold the whole number range of a database: on a full list the room doubles up to 10485760 items and grows
/// by that many from there on. Unless SetDuplicate(true) was said, a record number stands at most once, and
/// an addition of it is refused. Record numbers are 0 or above; a negative one is refused. The bit set costs
/// up to 256 MiB of address space for the largest numbers. See PlainList for what every list promises.
///
/// A cell file is the bare sequence of pairs in machine byte order, mfn first, sorted by mfn as its writers
/// leave it:
///
///   byte  size  field
///      0     4  mfn
///      4     4  value, the number of the facet value in its cell, from 1
class TMfnTagList : private velor_01::PlainList<TMfnTag> {
 public:
  TMfnTagList() noexcept;

  using PlainList::GetCapacity;
  using PlainList::GetCount;
  using PlainList::GetPortion;
  using PlainList::IsIndex;
  using PlainList::Reserve;
  using PlainList::SetCapacity;
  [[nodiscard]] TMfnTag Get(int i) const noexcept { return PlainList::Get(i); }
  [[nodiscard]] std::span<const TMfnTag> Items() const noexcept { return PlainList::Items(); }

  [[nodiscard]] bool GetDuplicate() const noexcept { return allowDuplicate; }
  void SetDuplicate(bool allow) noexcept { allowDuplicate = allow; }

  /// Whether this record number is in the list, told by its bit.
  [[nodiscard]] bool Contains(std::int32_t mfn) const noexcept { return present.Get(mfn); }

  bool Add(TMfnTag item) noexcept { return Insert(GetCount(), item); }
  bool AddItem(std::int32_t mfn, std::int32_t tag) noexcept { return Add(TMfnTag{mfn, tag}); }
  bool Insert(int i, TMfnTag item) noexcept;
  /// Replaces item i. Refused when the record number changes to one that is present and duplicates are not
  /// allowed.
  bool Put(int i, TMfnTag item) noexcept;
  bool Delete(int i) noexcept;
  /// Makes the list and its bit set empty; the room stays.
  void Clear() noexcept;

  /// Adds 1 to the tag of item i; a tag at its largest value stays there.
  bool IncTag(int i) noexcept;

  /// Index of the first item with this record number by linear search, -1 when there is none.
  [[nodiscard]] int IndexOf(std::int32_t mfn) const noexcept;

  /// Binary search in a list sorted by record number in the direction `type`. Gives whether the number is
  /// there; `index` receives the first item with it or the place where it belongs. With `useBits` a number
  /// that was never added gives false at once, `index` is then -1, as it is when the direction is none.
  bool Find(std::int32_t mfn, bool useBits, int* index, TSortType type = TSortType::up) const noexcept;

  /// Stable sorts by record number or by tag.
  void Sort(TSortType type = TSortType::up) noexcept;
  void SortByTag(TSortType type = TSortType::up) noexcept;

  static constexpr int kOk = 0;
  static constexpr int kNoMemory = -100;
  static constexpr int kLocked = -300;
  static constexpr int kNoFile = -400;

  /// Appends the pairs to a cell file, which is made when missing; a caller that means to replace a file
  /// removes it first. A half pair that an interrupted writer left at the end of the file is cut off before,
  /// and when the writing fails the file gets its old length again. Result 0, or -400 the file cannot be
  /// opened or written.
  [[nodiscard]] int SaveToFileCellIndex0(const char* path) const noexcept;

  /// The same under a named mutex, waiting for it `timeoutSeconds`, held between 1 and 300. `mutexName` is
  /// the name of the database's mutex; without one it is made of the file name: "VELOR64_MUTEX" and the
  /// upper-cased name without extension and cell number. Result 0, -300 the mutex was not obtained, -400 as
  /// above.
  [[nodiscard]] int SaveToFileCellIndexTime(const char* path, int timeoutSeconds,
                                            std::string_view mutexName = {}) const noexcept;
  /// The same with the longest wait.
  [[nodiscard]] int SaveToFileCellIndex(const char* path) const noexcept;

  /// Adds all pairs of a cell file, after Clear when `clear` is set. Pairs that Add would refuse are passed
  /// over, and so is a half pair at the end of the file. Result 0, also for an empty or missing file, or -100
  /// no memory for the pairs; the list is then as before, or empty when `clear` is set.
  [[nodiscard]] int LoadFromFileCellIndex(const char* path, bool clear) noexcept;

 private:
  void Unmark(std::int32_t mfn) noexcept;
  bool IsRefused(std::int32_t mfn) const noexcept;

  Bitarr::TBitList present;
  bool allowDuplicate = false;
};

}  // namespace ExtList
