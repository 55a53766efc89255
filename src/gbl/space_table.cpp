#include "gbl/space_table.h"

#include <algorithm>
#include <utility>

namespace global {

namespace {

bool IsNewRecord(std::string_view name) {
  return name.ends_with(".0");
}

}  // namespace

velor_01::TVelorSpace* SpaceTable::At(int i) const {
  return IsIndex(i) ? spaces_[static_cast<std::size_t>(i)].space : nullptr;
}

int SpaceTable::Add(velor_01::TVelorSpace* space, const std::string& name) {
  const int id = ++lastId_;
  names_.push_back({name, id});
  spaces_.push_back({space, id});
  if (!IsNewRecord(name)) nameIds_.emplace(name, id);
  return id;
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
  return found == nameIds_.end() ? kNone : IndexIn(names_, found->second);
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
  LowerIndexes(i);
}

void SpaceTable::RemoveNewRecord(int i) {
  if (!IsIndex(i)) return;
  spaces_.erase(spaces_.begin() + i);
  RemoveName(GetCount() - 1);
}

void SpaceTable::PushHit(int i) {
  if (!IsIndex(i)) {
    hits_.push_back({.index = i});
    ++hitsByIndex_;
    return;
  }
  Space& entry = spaces_[static_cast<std::size_t>(i)];
  ++entry.waitingHits;
  hits_.push_back({.id = entry.id});
}

int SpaceTable::TakeHit() {
  if (!HasHits()) return kNone;
  const Hit hit = hits_[nextHit_++];
  if (hit.id == 0) {
    --hitsByIndex_;
    return IsIndex(hit.index) ? hit.index : kNone;
  }
  const int i = IndexIn(spaces_, hit.id);
  if (i != kNone) --spaces_[static_cast<std::size_t>(i)].waitingHits;
  return i;
}

bool SpaceTable::IsWaitingByIndex(int i) const {
  for (std::size_t hit = nextHit_; hitsByIndex_ > 0 && hit < hits_.size(); ++hit)
    if (hits_[hit].id == 0 && hits_[hit].index == i) return true;
  return false;
}

void SpaceTable::LowerIndexes(int above) {
  for (std::size_t hit = nextHit_; hitsByIndex_ > 0 && hit < hits_.size(); ++hit)
    if (hits_[hit].id == 0 && hits_[hit].index > above) --hits_[hit].index;
}

bool SpaceTable::IsWaiting(int i) const {
  if (!IsIndex(i)) return false;
  return spaces_[static_cast<std::size_t>(i)].waitingHits > 0 || IsWaitingByIndex(i);
}

void SpaceTable::ClearHits() {
  hits_.clear();
  nextHit_ = 0;
  hitsByIndex_ = 0;
  for (Space& entry : spaces_) entry.waitingHits = 0;
}

}  // namespace global
