#include "format/record_cache.h"

#include <algorithm>

namespace xpft {

namespace {

constexpr std::size_t kFewestSlots = 64;

std::size_t Hash(int tag) {
  return static_cast<std::uint32_t>(tag) * 2654435769u >> 16;
}

}  // namespace

const std::vector<std::string_view>& RecordField::GetOcc() {
  if (space_ != nullptr) Read();
  return occurrences_;
}

const std::vector<std::string_view>& RecordField::GetOccNonEmpty() {
  if (space_ != nullptr) Read();
  if (!hasEmpty_) return occurrences_;
  if (!nonEmptyIsFilled_) FillNonEmpty();
  return nonEmpty_;
}

void RecordField::AddOcc(std::string_view text) {
  occurrences_.push_back(text);
  hasEmpty_ |= text.empty();
}

void RecordField::Read() {
  ForEachField(space_, shelf_, [this](int tag, std::string_view text) {
    if (tag == tag_) AddOcc(text);
  });
  space_ = nullptr;
}

void RecordField::FillNonEmpty() {
  nonEmpty_.clear();
  for (const std::string_view text : occurrences_)
    if (!text.empty()) nonEmpty_.push_back(text);
  nonEmptyIsFilled_ = true;
}

void Record::Load(const velor_01::TVelorSpace* space, int shelf, bool lazy) {
  Clear();
  isLoaded_ = true;
  const velor_01::TRecordShelf* record = velor_32::FindShelf(space, shelf);
  const std::size_t fieldCount = record ? static_cast<std::size_t>(record->leader->nvf) : 0;
  std::size_t slotCount = kFewestSlots;
  while (slotCount < 2 * fieldCount) slotCount *= 2;
  slots_.assign(slotCount, 0);
  ForEachField(space, shelf, [&](int tag, std::string_view text) {
    if (tag < 1) return;
    RecordField& field = Open(tag);
    if (lazy) {
      field.space_ = space;
      field.shelf_ = shelf;
    } else {
      field.AddOcc(text);
    }
  });
}

/// The field of that tag, made when it is not there.
RecordField& Record::Open(int tag) {
  const std::size_t mask = slots_.size() - 1;
  std::size_t slot = Hash(tag) & mask;
  for (; slots_[slot] != 0; slot = (slot + 1) & mask)
    if (fields_[slots_[slot] - 1].tag_ == tag) return fields_[slots_[slot] - 1];
  if (count_ == fields_.size()) fields_.emplace_back();
  RecordField& field = fields_[count_++];
  slots_[slot] = static_cast<std::uint32_t>(count_);
  field.tag_ = tag;
  field.occurrences_.clear();
  field.hasEmpty_ = field.nonEmptyIsFilled_ = false;
  field.space_ = nullptr;
  return field;
}

RecordField* Record::GetField(int tag) {
  if (slots_.empty()) return nullptr;
  const std::size_t mask = slots_.size() - 1;
  for (std::size_t slot = Hash(tag) & mask; slots_[slot] != 0; slot = (slot + 1) & mask)
    if (fields_[slots_[slot] - 1].tag_ == tag) return &fields_[slots_[slot] - 1];
  return nullptr;
}

void Record::Clear() {
  isLoaded_ = false;
  count_ = 0;
  std::fill(slots_.begin(), slots_.end(), 0);
}

}  // namespace xpft
