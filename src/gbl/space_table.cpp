#include "gbl/space_table.h"

#include <algorithm>
#include <utility>

namespace global {

namespace {

bool IsNewRecord(std::string_view name) {
  return name.ends_with(".0");
}

}  // namespace

template <class List>
int SpaceTable::IndexOfId(const List& list, int id) {
  const auto place = std::ranges::lower_bound(list, id, {}, [](const auto& entry) { return entry.id; });
  return place != list.end() && place->id == id ? static_cast<int>(place - list.begin()) : kNone;
}

velor_01::TVelorSpace* SpaceTable::At(int i) const {
  return IsIndex(i) ? spaces_[static_cast<std::size_t>(i)].space : nullptr;
}

void SpaceTable::Add(velor_01::TVelorSpace* space, const std::string& name) {
  const int id = ++lastId_;
  names_.push_back({name, id});
  spaces_.push_back({space, id});
  if (!IsNewRecord(name)) nameIds_.emplace(name, id);
}

void SpaceTable::AddHit(std::shared_ptr<const BlockDatabase> database, int mfn, const std::string& name) {
  Add(nullptr, name);
  spaces_.back().database = std::move(database);
  spaces_.back().mfn = mfn;
}

void SpaceTable::SetSpace(int i, velor_01::TVelorSpace* space) {
  if (IsIndex(i)) spaces_[static_cast<std::size_t>(i)].space = space;
}

const BlockDatabase* SpaceTable::DatabaseOf(int i) const {
  return IsIndex(i) ? spaces_[static_cast<std::size_t>(i)].database.get() : nullptr;
}

int SpaceTable::MfnOf(int i) const {
  return IsIndex(i) ? spaces_[static_cast<std::size_t>(i)].mfn : 0;
}

int SpaceTable::IndexOfName(const std::string& name) const {
  const auto found = nameIds_.find(name);
  return found == nameIds_.end() ? kNone : IndexOfId(names_, found->second);
}

void SpaceTable::CountChange(int i) {
  if (i >= 0 && i < static_cast<int>(names_.size())) ++names_[static_cast<std::size_t>(i)].changes;
}

bool SpaceTable::HasChanges(int i) const {
  return i >= 0 && i < static_cast<int>(names_.size()) && names_[static_cast<std::size_t>(i)].changes > 0;
}

void SpaceTable::RemoveName(int i) {
  if (i < 0 || i >= static_cast<int>(names_.size())) return;
  const auto name = names_.begin() + i;
  if (!IsNewRecord(name->text)) nameIds_.erase(name->text);
  names_.erase(name);
}

void SpaceTable::Remove(int i) {
  if (!IsIndex(i)) return;
  spaces_.erase(spaces_.begin() + i);
  RemoveName(i);
}

void SpaceTable::RemoveNewRecord() {
  if (spaces_.empty()) return;
  spaces_.pop_back();
  RemoveName(GetCount() - 1);
}

void SpaceTable::PushHit(int i) {
  hits_.push_back(kNone);
  if (!IsIndex(i)) return;
  Space& entry = spaces_[static_cast<std::size_t>(i)];
  ++entry.waitingHits;
  hits_.back() = entry.id;
}

int SpaceTable::TakeHit() {
  if (!HasHits()) return kNone;
  const int i = IndexOfId(spaces_, hits_[nextHit_++]);
  if (i != kNone) --spaces_[static_cast<std::size_t>(i)].waitingHits;
  return i;
}

bool SpaceTable::IsWaiting(int i) const {
  return IsIndex(i) && spaces_[static_cast<std::size_t>(i)].waitingHits > 0;
}

void SpaceTable::ClearHits() {
  hits_.clear();
  nextHit_ = 0;
  for (Space& entry : spaces_) entry.waitingHits = 0;
}

}  // namespace global
