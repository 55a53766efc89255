#pragma once

#include <cstdint>
#include <cstdlib>
#include <cstring>
#include <limits>
#include <span>
#include <type_traits>

namespace velor_01 {

/// The growable array below every list of the system: one malloc block of plain items, a count and a room
/// that grows in steps of a fixed size, the portion.
///
/// What the lists share:
///   - Indexes start at 0. A reading call with a bad index gives a zero item, a changing call gives false.
///   - No operation throws. When memory runs out a list keeps its old contents and the call gives false; a
///   list
///     whose first block could not be had is empty and tries again at the next addition.
///   - Add on a full list moves the room up by one portion; Clear and Delete keep the room.
///   - Items are handed out by value. The span of Items() ends with the next call that changes the list.
///   - Lists are not copied by accident: Assign and Append say it where it is meant.
template <typename Item>
class PlainList {
  static_assert(std::is_trivially_copyable_v<Item>, "items move with memmove and realloc");

 public:
  static constexpr int kPortion = 1000;

  /// An empty list with room for one portion of items; a portion below 1 means kPortion.
  explicit PlainList(int growthPortion = kPortion) noexcept
      : portion(growthPortion < 1 ? kPortion : growthPortion) {
    Resize(portion);
  }
  ~PlainList() { std::free(items); }
  PlainList(const PlainList&) = delete;
  PlainList& operator=(const PlainList&) = delete;

  [[nodiscard]] int GetCount() const noexcept { return count; }
  [[nodiscard]] int GetCapacity() const noexcept { return capacity; }
  [[nodiscard]] int GetPortion() const noexcept { return portion; }
  [[nodiscard]] bool IsIndex(int i) const noexcept { return i >= 0 && i < count; }
  [[nodiscard]] Item Get(int i) const noexcept { return IsIndex(i) ? items[i] : Item{}; }
  [[nodiscard]] std::span<const Item> Items() const noexcept {
    return {items, static_cast<std::size_t>(count)};
  }
  [[nodiscard]] std::span<Item> Items() noexcept { return {items, static_cast<std::size_t>(count)}; }

  bool Put(int i, Item item) noexcept {
    if (!IsIndex(i)) return false;
    items[i] = item;
    return true;
  }

  bool Add(Item item) noexcept { return Insert(count, item); }

  /// Puts `item` before item i; i may be the count, which appends.
  bool Insert(int i, Item item) noexcept { return InsertWithStep(i, item, portion); }

  bool Delete(int i) noexcept {
    if (!IsIndex(i)) return false;
    std::memmove(items + i, items + i + 1, sizeof(Item) * static_cast<std::size_t>(count - i - 1));
    --count;
    return true;
  }

  void Clear() noexcept { count = 0; }

  /// Makes the room exactly n items. False when n is below 1 or below the count, and on memory failure.
  bool SetCapacity(int n) noexcept {
    if (n < 1 || n < count) return false;
    return n == capacity || Resize(n);
  }

  /// Room for n items at least: raises the capacity to n when it is below.
  bool Reserve(int n) noexcept { return n <= capacity || SetCapacity(n); }

  /// Adds the items of `other` behind the own ones; `other` may be this list.
  bool Append(const PlainList& other) noexcept {
    const int added = other.count;
    if (added == 0) return true;
    if (added > kMaxCount - count || !Reserve(count + added)) return false;
    std::memcpy(items + count, other.items, sizeof(Item) * static_cast<std::size_t>(added));
    count += added;
    return true;
  }

  /// Makes this list hold the items of `other`; on memory failure it keeps its own.
  bool Assign(const PlainList& other) noexcept {
    if (this == &other) return true;
    if (!Reserve(other.count)) return false;
    count = 0;
    return Append(other);
  }

 protected:
  static constexpr int kMaxCount = std::numeric_limits<std::int32_t>::max();

  /// Insert that makes room for `step` more items when the list is full.
  bool InsertWithStep(int i, Item item, int step) noexcept {
    if (i < 0 || i > count) return false;
    if (count == capacity && (step > kMaxCount - capacity || !Resize(capacity + step))) return false;
    if (i < count) std::memmove(items + i + 1, items + i, sizeof(Item) * static_cast<std::size_t>(count - i));
    items[i] = item;
    ++count;
    return true;
  }

  Item* items = nullptr;
  std::int32_t capacity = 0;
  std::int32_t count = 0;
  std::int32_t portion;

 private:
  bool Resize(int n) noexcept {
    auto* grown = static_cast<Item*>(std::realloc(items, sizeof(Item) * static_cast<std::size_t>(n)));
    if (grown == nullptr) return false;
    items = grown;
    capacity = n;
    return true;
  }
};

}  // namespace velor_01
