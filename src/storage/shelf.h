#pragma once

#include <cstdint>

#include "storage/velor_space.h"

/// The shelves of a space: their memory and their state as a whole. Single fields are in fields.h.
///
/// In every function here and in fields.h, record_status.h and record_guid.h: result -100 without an open
/// space, -102 for a shelf number outside the array, unless the function says otherwise.
namespace velor_32 {

/// The shelf, or null when the space is not open or has no such shelf.
[[nodiscard]] velor_01::TRecordShelf* FindShelf(const TVelorSpace* space, int shelf);

/// -100, -102 or 0.
[[nodiscard]] int CheckShelf(const TVelorSpace* space, int shelf);

/// Sets the number of shelves to n: those beyond n are freed, new ones are made with the capacity of shelf 0.
/// n below 1 frees all. Result 0 or -100, the shelves that could be made being kept.
int VelorInitAltShelf(TVelorSpace* space, int n);

/// Empties the shelf: no fields, mfn 0, version 1, status 32. Where the space keeps GUIDs a new one is made.
int Velornewrec(TVelorSpace* space, int shelf);

/// Number of the record in the shelf (0 for one that was not stored yet), and its version.
[[nodiscard]] int Velormfn(const TVelorSpace* space, int shelf);
[[nodiscard]] int Velorversion(const TVelorSpace* space, int shelf);

/// Sets them. A number of 0 makes the record a new one and clears its GUID.
int Velorchangemfn(TVelorSpace* space, int shelf, int mfn);
int Velorchangeversion(TVelorSpace* space, int shelf, int version);

/// A block that replaces the allocation of a shelf frees the former one only here, so that a text which lies
/// in it may still be copied.
class FormerBlock {
 public:
  FormerBlock() = default;
  ~FormerBlock();
  FormerBlock(const FormerBlock&) = delete;
  FormerBlock& operator=(const FormerBlock&) = delete;
  void Take(void* block);

 private:
  void* block_ = nullptr;
};

/// Makes every area of the shelf `capacity` bytes large, keeping the record. `capacity` must not be below
/// what the record needs. Result false, and the shelf as it was, when there is no memory or the capacity
/// passes 32 bits.
[[nodiscard]] bool ResizeShelf(velor_01::TRecordShelf& shelf, std::int64_t capacity, FormerBlock* former);

/// Allocates an empty shelf; frees one.
[[nodiscard]] bool AllocateShelf(velor_01::TRecordShelf& shelf, std::int32_t capacity);
void FreeShelf(velor_01::TRecordShelf& shelf);

/// The state of a new or emptied shelf, its GUID cleared.
void ResetShelf(velor_01::TRecordShelf& shelf);

/// Bytes of field data in use.
[[nodiscard]] inline std::int32_t UsedData(const velor_01::TRecordShelf& shelf) {
  return shelf.leader->length - shelf.leader->base;
}

}  // namespace velor_32
