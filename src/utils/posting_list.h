#pragma once

#include <cstdint>

#include "utils/plain_list.h"

namespace velor_01 {

/// One posting: a place at which a term stands. Numbers are in host order here.
/// In a full-text database all eight words are stored, in an ordinary one the first four, and the rest is
/// zero.
///
///   field         catalogue term     term of a page             word of a picture
///   mfn           record number      record number              record number
///   tag           tag of the table   tag of the table           -(x1 + 65536 * y1) of the word's box
///   occ           occurrence, from 1 the record number again    -(x2 + 65536 * y2)
///   pos           position in it     word number in the record  number of the word map entry, from 1
///   wordsInPiece  0                  words on the page          0
///   reserved      0                  0                          0
///   page          0                  page, from 1               0
///   pageWord      0                  word number on the page    0
///
/// The table is the selection table of the dictionary.
struct TifpItemPosting {
  std::int32_t mfn = 0;
  std::int32_t tag = 0;
  std::int32_t occ = 0;
  std::int32_t pos = 0;
  std::int32_t wordsInPiece = 0;
  std::int32_t reserved = 0;
  std::int32_t page = 0;
  std::int32_t pageWord = 0;

  friend bool operator==(const TifpItemPosting&, const TifpItemPosting&) = default;
};
static_assert(sizeof(TifpItemPosting) == 32, "eight words, as in the posting file");

/// A posting and the number carried with it. The index update says there what to do: 0 insert, 1 delete.
struct TIfpPostingListItem {
  TifpItemPosting posting;
  std::int32_t object = 0;
};
static_assert(sizeof(TIfpPostingListItem) == 36);

/// A list of postings with a number each. See PlainList for what every list promises.
class TIfpPostingList : private PlainList<TIfpPostingListItem> {
 public:
  TIfpPostingList() noexcept = default;

  using PlainList::Clear;
  using PlainList::Delete;
  using PlainList::GetCapacity;
  using PlainList::GetCount;
  using PlainList::GetPortion;
  using PlainList::IsIndex;
  using PlainList::Items;
  using PlainList::kPortion;
  using PlainList::SetCapacity;

  /// Kept for callers that tune every list alike: additions grow the list by 1000 whatever is set here.
  void SetPortion(int n) noexcept { portion = n; }

  [[nodiscard]] TifpItemPosting Get(int i) const noexcept { return PlainList::Get(i).posting; }
  /// The posting itself, null for a bad index; good until the list changes.
  [[nodiscard]] const TifpItemPosting* At(int i) const noexcept {
    return IsIndex(i) ? &items[i].posting : nullptr;
  }
  [[nodiscard]] std::int32_t GetObject(int i) const noexcept { return PlainList::Get(i).object; }

  bool Add(const TifpItemPosting& posting) noexcept { return AddObject(posting, 0); }
  bool AddObject(const TifpItemPosting& posting, std::int32_t object) noexcept;
  bool Insert(int i, const TifpItemPosting& posting) noexcept;
  /// Replaces the posting of item i; its object stays.
  bool Put(int i, const TifpItemPosting& posting) noexcept;
  bool PutObject(int i, std::int32_t object) noexcept;

  bool Append(const TIfpPostingList& other) noexcept { return PlainList::Append(other); }
  bool Assign(const TIfpPostingList& other) noexcept { return PlainList::Assign(other); }

  /// Index of the first posting with the same eight words, -1 when there is none.
  [[nodiscard]] int IndexOf(const TifpItemPosting& posting) const noexcept;
};

}  // namespace velor_01

namespace backup {

/// Order of postings in the posting file: the eight words in turn, each as an unsigned number.
/// Below 0, 0 or above 0, as strcmp.
[[nodiscard]] int ComparePostings(const velor_01::TifpItemPosting& a,
                                  const velor_01::TifpItemPosting& b) noexcept;

}  // namespace backup
