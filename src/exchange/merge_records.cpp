#include "exchange/merge_records.h"

#include <string>
#include <string_view>
#include <unordered_map>
#include <unordered_set>
#include <vector>

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

/// What comes of the old record. It is changed at the end only: a field that is added and replaced again
/// costs nothing then, and taking a field out of a record moves all that lie behind it.
class Merge {
 public:
  Merge(TVelorSpace* space, int oldSlot)
      : space_(space), slot_(oldSlot), oldCount_(Velornfields(space, oldSlot)) {
    keys_.reserve(static_cast<std::size_t>(oldCount_));
    for (int i = 1; i <= oldCount_; ++i) {
      int tag = 0;
      const std::string_view text = FieldText(space, oldSlot, i, &tag);
      keys_.insert(KeyOf(tag, text));
    }
  }

  /// A field of the new record, which stays where it is until the end. An empty text is no field.
  void Take(int tag, std::string_view text, bool isSingle) {
    if (text.empty() || !keys_.insert(KeyOf(tag, text)).second) return;
    if (isSingle) Replace(tag);
    added_.push_back({tag, text});
  }

  /// True when the old record was changed. The new fields come first: without memory for them nothing goes.
  bool Finish() {
    for (const auto& [tag, text] : added_) {
      if (text.empty()) continue;
      if (velor_32::Velorfldadd(space_, slot_, tag, 0, text.data(), static_cast<int>(text.size())) != kOk)
        return Velornfields(space_, slot_) > oldCount_;
    }
    if (!lastAdded_.empty())
      for (int i = oldCount_; i >= 1; --i)
        if (lastAdded_.contains(velor_32::Velorfldtag(space_, slot_, i)))
          velor_32::Velorfldrep(space_, slot_, i, nullptr, 0);
    return !added_.empty();
  }

 private:
  struct Field {
    int tag;
    std::string_view text;  // empty once it was replaced
  };

  const std::string& KeyOf(int tag, std::string_view text) {
    utils::StringUtils::ToUpper(text, upper_);
    key_ = std::to_string(tag);
    key_.append(": ").append(upper_);
    return key_;
  }

  /// The next field to be added takes the place of those of its tag.
  void Replace(int tag) {
    const auto [last, isFirst] = lastAdded_.try_emplace(tag, added_.size());
    if (isFirst) {
      ForgetOld(tag);
      return;
    }
    keys_.erase(KeyOf(tag, added_[last->second].text));
    added_[last->second].text = {};
    last->second = added_.size();
  }

  void ForgetOld(int tag) {
    for (int i = 1; i <= oldCount_; ++i)
      if (velor_32::Velorfldtag(space_, slot_, i) == tag)
        keys_.erase(KeyOf(tag, FieldText(space_, slot_, i)));
  }

  TVelorSpace* space_;
  int slot_;
  int oldCount_;
  std::unordered_set<std::string> keys_;
  std::vector<Field> added_;
  std::unordered_map<int, std::size_t> lastAdded_;  // place in added_ of the field of each replaced tag
  std::string upper_;
  std::string key_;
};

}  // namespace

bool MergeRecords(TVelorSpace* space, int newSlot, int oldSlot, const FieldTable& fieldTable) {
  if (velor_32::CheckShelf(space, newSlot) != kOk || velor_32::CheckShelf(space, oldSlot) != kOk)
    return false;
  Merge merge(space, oldSlot);
  for (int i = 1; i <= Velornfields(space, newSlot); ++i) {
    int tag = 0;
    const std::string_view text = FieldText(space, newSlot, i, &tag);
    merge.Take(tag, text, fieldTable.IsSingle(tag));
  }
  return merge.Finish();
}

bool MergeRecords(TVelorSpace* space, int newSlot, int oldSlot, velor_01::TStringList* fieldTable) {
  return MergeRecords(space, newSlot, oldSlot, fieldTable ? FieldTable(*fieldTable) : FieldTable());
}

}  // namespace velora
