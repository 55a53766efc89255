#pragma once

#include <cstddef>
#include <string>
#include <string_view>
#include <vector>

namespace xpft {

/// One value of a selection: a view into the record where that will do, else a text of its own. Good until
/// the record changes.
class FieldSelectValue {
 public:
  bool Exists = false;            // the occurrence is there, and the whole of it was asked for
  bool ExistsSubelement = false;  // the subfield that was asked for is there
  int occurrence = 0;             // from 0

  [[nodiscard]] std::string_view text() const { return isOwned_ ? std::string_view(owned_) : view_; }
  [[nodiscard]] bool IsEmpty() const { return text().empty() && !Exists && !ExistsSubelement; }

  /// No text and no flag; the memory stays.
  void Reset() {
    Exists = ExistsSubelement = isOwned_ = false;
    view_ = {};
    occurrence = 0;
  }
  void SetView(std::string_view text) {
    view_ = text;
    isOwned_ = false;
  }
  /// Cuts the text down to a part of it.
  void Narrow(std::string_view part) {
    if (!isOwned_) {
      view_ = part;
    } else if (part.empty()) {
      owned_.clear();
    } else {
      const std::size_t begin = static_cast<std::size_t>(part.data() - owned_.data());
      owned_.resize(begin + part.size());
      owned_.erase(0, begin);
    }
  }
  /// Makes the text the value's own, so that it can be changed.
  std::string& Own() {
    if (!isOwned_) owned_.assign(view_);
    isOwned_ = true;
    return owned_;
  }

 private:
  std::string_view view_;
  std::string owned_;
  bool isOwned_ = false;
};

/// A list of values whose memory is used again after Clear.
class FieldSelectValues {
 public:
  void Clear() { count_ = 0; }
  [[nodiscard]] std::size_t size() const { return count_; }
  [[nodiscard]] bool empty() const { return count_ == 0; }
  FieldSelectValue& operator[](std::size_t i) { return items_[i]; }
  /// A value in its reset state at the end of the list.
  FieldSelectValue& Add() {
    if (count_ == items_.size()) items_.emplace_back();
    FieldSelectValue& value = items_[count_++];
    value.Reset();
    return value;
  }
  void RemoveLast() { --count_; }

 private:
  std::vector<FieldSelectValue> items_;
  std::size_t count_ = 0;
};

}  // namespace xpft
