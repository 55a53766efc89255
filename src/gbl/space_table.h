#pragma once

#include <algorithm>
#include <deque>
#include <memory>
#include <string>
#include <string_view>
#include <unordered_map>
#include <vector>

#include "gbl/mst_global.h"
#include "storage/velor_space.h"

namespace global {

/// The spaces that the blocks of one run work on, and their names, each with a count of the changes.
///
/// The two lists run side by side and are addressed by index; closing the space of a new record takes away
/// the name before the last, so that they can get out of step. Hits that wait are kept by identity, not by
/// index: a removal then moves none of them, and a block with very many hits stays linear.
class SpaceTable {
 public:
  static constexpr int kNone = -1;

  SpaceTable() = default;
  SpaceTable(const SpaceTable&) = delete;
  SpaceTable& operator=(const SpaceTable&) = delete;

  [[nodiscard]] int GetCount() const { return static_cast<int>(spaces_.size()); }
  [[nodiscard]] bool IsIndex(int i) const { return i >= 0 && i < GetCount(); }
  /// Null for a bad index, and for a hit whose turn has not come.
  [[nodiscard]] velor_01::TVelorSpace* At(int i) const;

  /// Adds a space and its name, "db.mfn", or "db.0" for a new record. The space stays the caller's to close.
  /// Gives the id of the entry, which does not move with its index.
  int Add(velor_01::TVelorSpace* space, const std::string& name);
  /// kNone when the entry is gone.
  [[nodiscard]] int IndexOfId(int id) const { return IndexIn(spaces_, id); }
  /// Adds a record that gets its space when its turn comes: a block may have very many hits.
  void AddHit(std::shared_ptr<const BlockDatabase> database, int mfn, const std::string& name);
  void SetSpace(int i, velor_01::TVelorSpace* space);
  /// Database and number of a record that was added as a hit; null and 0 for any other.
  [[nodiscard]] const BlockDatabase* DatabaseOf(int i) const;
  [[nodiscard]] int MfnOf(int i) const;

  /// Index of a name of an existing record, kNone when there is none.
  [[nodiscard]] int IndexOfName(const std::string& name) const;

  void CountChange(int i);
  [[nodiscard]] bool HasChanges(int i) const;

  /// Removes entry i of both lists.
  void Remove(int i);
  /// Removes a new record: its space, and of the names the one before the last.
  void RemoveNewRecord(int i);

  /// Hits waiting: to be worked in the order in which they were pushed.
  void PushHit(int i);
  [[nodiscard]] bool HasHits() const { return nextHit_ < hits_.size(); }
  [[nodiscard]] int HitCount() const { return static_cast<int>(hits_.size() - nextHit_); }
  /// Index of the first one, which is taken; kNone when its space is gone.
  int TakeHit();
  [[nodiscard]] bool IsWaiting(int i) const;
  void ClearHits();

 private:
  struct Space {
    velor_01::TVelorSpace* space;
    int id;  // ascends in the list
    int waitingHits = 0;
    std::shared_ptr<const BlockDatabase> database = nullptr;
    int mfn = 0;
  };
  struct Name {
    std::string text;
    int id;
    int changes = 0;
  };
  /// A hit is kept by the id of its space. When the names are ahead of the spaces its index may be that of
  /// none yet: then it is kept as it is.
  struct Hit {
    int id = 0;
    int index = kNone;
  };
  [[nodiscard]] bool IsWaitingByIndex(int i) const;
  void LowerIndexes(int above);
  template <class List>
  static int IndexIn(const List& list, int id);
  void RemoveName(int i);

  std::deque<Space> spaces_;
  std::deque<Name> names_;
  std::unordered_map<std::string, int> nameIds_;  // of existing records
  std::vector<Hit> hits_;                         // those before nextHit_ are taken
  std::size_t nextHit_ = 0;
  int hitsByIndex_ = 0;  // among those that wait
  int lastId_ = 0;
};

template <class List>
int SpaceTable::IndexIn(const List& list, int id) {
  const auto place = std::ranges::lower_bound(list, id, {}, [](const auto& entry) { return entry.id; });
  return place != list.end() && place->id == id ? static_cast<int>(place - list.begin()) : kNone;
}

}  // namespace global
