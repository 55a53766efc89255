#include "exchange/merge_records.h"

#include <string>
#include <string_view>
#include <unordered_map>
#include <unordered_set>

#include "storage/codes.h"
#include "storage/fields.h"
#include "storage/shelf.h"
#include "utils/string_utils.h"

namespace velora {

using velor_01::TVelorSpace;
using velor_32::FieldText;
using velor_32::kOk;
using velor_32::Velornfields;

namespace {

/// The record that takes the fields, and the keys of the fields that it has.
class OldRecord {
 public:
  OldRecord(TVelorSpace* space, int slot) : space_(space), slot_(slot) {
    const int count = Velornfields(space, slot);
    keys_.reserve(static_cast<std::size_t>(count));
    for (int i = 1; i <= count; ++i) {
      int tag = 0;
      const std::string_view text = FieldText(space, slot, i, &tag);
      keys_.insert(KeyOf(tag, text));
    }
  }

  /// True when the record was changed.
  bool Take(int tag, std::string_view text, bool isSingle) {
    const std::string& key = KeyOf(tag, text);
    if (keys_.contains(key)) return false;
    // Added before the others go: without memory for it, and with an empty text, nothing is lost.
    if (velor_32::Velorfldadd(space_, slot_, tag, 0, text.data(), static_cast<int>(text.size())) != kOk)
      return false;
    keys_.insert(key);
    if (isSingle) RemoveOthers(tag);
    return true;
  }

 private:
  const std::string& KeyOf(int tag, std::string_view text) {
    utils::StringUtils::ToUpper(text, upper_);
    key_ = std::to_string(tag);
    key_.append(": ").append(upper_);
    return key_;
  }

  /// Removes the fields of a tag but the one at the end. What is left of the tag is known after the first
  /// time, so that many fields of one tag do not each look through the record.
  void RemoveOthers(int tag) {
    const auto [left, isFirst] = left_.try_emplace(tag, 1);
    int others = isFirst ? velor_32::Velornocc(space_, slot_, tag) - 1 : left->second;
    for (int i = Velornfields(space_, slot_) - 1; i >= 1 && others > 0; --i) {
      if (velor_32::Velorfldtag(space_, slot_, i) != tag) continue;
      keys_.erase(KeyOf(tag, FieldText(space_, slot_, i)));
      velor_32::Velorfldrep(space_, slot_, i, nullptr, 0);
      --others;
    }
  }

  TVelorSpace* space_;
  int slot_;
  std::unordered_set<std::string> keys_;
  std::unordered_map<int, int> left_;  // fields of the tags that do not repeat, once one was replaced
  std::string upper_;
  std::string key_;
};

}  // namespace

bool MergeRecords(TVelorSpace* space, int newSlot, int oldSlot, const FieldTable& fieldTable) {
  if (velor_32::CheckShelf(space, newSlot) != kOk || velor_32::CheckShelf(space, oldSlot) != kOk)
    return false;
  OldRecord old(space, oldSlot);
  bool isChanged = false;
  for (int i = 1; i <= Velornfields(space, newSlot); ++i) {
    int tag = 0;
    const std::string_view text = FieldText(space, newSlot, i, &tag);
    isChanged |= old.Take(tag, text, fieldTable.IsSingle(tag));
  }
  return isChanged;
}

bool MergeRecords(TVelorSpace* space, int newSlot, int oldSlot, velor_01::TStringList* fieldTable) {
  return MergeRecords(space, newSlot, oldSlot, fieldTable ? FieldTable(*fieldTable) : FieldTable());
}

}  // namespace velora
