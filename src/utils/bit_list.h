#pragma once

#include <cstdint>
#include <span>

namespace Bitarr {

/// A growable set of small numbers, one bit each. Bit i lies in byte i / 8, the most significant bit first.
/// `count` is the number of valid bits; every bit at or beyond it is 0, up to the end of the room, so that
/// whole bytes may be combined. Where a bit stands for a record number, bit n - 1 stands for number n. As the
/// other lists it does not throw: what needs memory and gets none gives false and changes nothing.
class TBitList {
 public:
  /// Room for n bits, the portion being n rounded to the next multiple of 8 above it; n below 1 gives 40008
  /// bits.
  explicit TBitList(int n = 0) noexcept;
  ~TBitList();
  TBitList(const TBitList&) = delete;
  TBitList& operator=(const TBitList&) = delete;

  [[nodiscard]] int GetCount() const noexcept { return count; }
  [[nodiscard]] int GetCapacity() const noexcept { return capacity; }
  [[nodiscard]] int GetPortion() const noexcept { return portion; }

  /// The bit, false for an index outside the list.
  [[nodiscard]] bool Get(int i) const noexcept {
    return i >= 0 && i < count && (bits[i >> 3] & MaskOf(i)) != 0;
  }
  /// Sets or clears bit i; an index at or beyond the count makes the list that long. False for a negative
  /// index and on memory failure.
  bool Put(int i, bool value) noexcept;
  bool Add(bool value) noexcept { return Put(count, value); }
  /// Puts a bit before bit i, or takes bit i out; the bits behind it move by one.
  bool Insert(int i, bool value) noexcept;
  bool Delete(int i) noexcept;
  /// Makes the list empty; the room stays.
  void Clear() noexcept { SetCount(0); }

  /// Index of the first bit with this value, -1 when there is none.
  [[nodiscard]] int IndexOf(bool value) const noexcept;

  /// Cuts the list, or lengthens it with zero bits.
  bool SetCount(int n) noexcept;
  /// Makes room for n bits, rounded up to (n / portion + 1) * portion. False when n is below 1 or below the
  /// count; an n that equals the capacity changes nothing.
  bool SetCapacity(int n) noexcept;

  /// Makes this list equal to `other`, count included.
  bool Assign(const TBitList& other) noexcept;

  /// The bytes that hold the valid bits: (count + 7) / 8. Writing must leave the bits beyond the count at 0.
  [[nodiscard]] std::span<std::uint8_t> Bytes() noexcept { return {bits, ByteCount(count)}; }
  [[nodiscard]] std::span<const std::uint8_t> Bytes() const noexcept { return {bits, ByteCount(count)}; }

 private:
  static std::uint8_t MaskOf(int i) noexcept { return static_cast<std::uint8_t>(128 >> (i & 7)); }
  static std::size_t ByteCount(int bitCount) noexcept { return (static_cast<std::size_t>(bitCount) + 7) / 8; }
  void Store(int i, bool value) noexcept;
  bool Grow(std::size_t bytes) noexcept;

  std::uint8_t* bits = nullptr;
  std::int32_t capacity = 0;  // in bits, a multiple of 8
  std::int32_t count = 0;     // in bits
  std::int32_t portion;       // in bits, a multiple of 8
};

}  // namespace Bitarr
