// The table of a space, cut down to the lines that a change concerns.

#include <algorithm>
#include <map>
#include <set>
#include <span>
#include <string_view>
#include <vector>

#include "index/record_index.h"
#include "storage/fields.h"
#include "utils/int_list.h"
#include "utils/list.h"

namespace recif {

using velor_01::TIntList;

namespace {

struct Field {
  int tag = 0;
  std::string_view text;
};

std::vector<Field> FieldsOf(const TVelorSpace* space, int shelf) {
  std::vector<Field> fields(static_cast<std::size_t>(std::max(velor_32::Velornfields(space, shelf), 0)));
  int index = 0;
  for (Field& field : fields) field.text = velor_32::FieldText(space, shelf, ++index, &field.tag);
  return fields;
}

/// The occurrences of each tag.
std::map<int, std::vector<std::string_view>> ByTag(const std::vector<Field>& fields) {
  std::map<int, std::vector<std::string_view>> occurrences;
  for (const Field& field : fields) occurrences[field.tag].push_back(field.text);
  return occurrences;
}

/// Tags in which two records differ, in the order in which a walk over the new one and then over the old one
/// comes upon a difference.
std::vector<int> ChangedTags(const std::vector<Field>& newFields, const std::vector<Field>& oldFields) {
  const auto old = ByTag(oldFields);
  std::map<int, std::size_t> seen;
  std::vector<int> changed;
  std::set<int> marked;
  const auto mark = [&](int tag) {
    if (marked.insert(tag).second) changed.push_back(tag);
  };
  for (const Field& field : newFields) {
    const std::size_t before = seen[field.tag]++;
    const auto place = old.find(field.tag);
    const bool isSame =
        place != old.end() && before < place->second.size() && place->second[before] == field.text;
    if (!isSame) mark(field.tag);
  }
  for (const Field& field : oldFields)
    if (old.at(field.tag).size() > seen[field.tag]) mark(field.tag);
  return changed;
}

/// Lines of the table, each once, in the order in which they are gathered.
class LineSelection {
 public:
  explicit LineSelection(const TVelorSpace* space)
      : space_(space), taken_(static_cast<std::size_t>(space->fstAllLines->GetCount())) {}

  void AddThoseThatRead(int tag) {
    const int entry = space_->fstDependTags->IndexOf(tag);
    if (entry < 0) return;
    for (const int line : static_cast<const TIntList*>(space_->fstDependLines->Get(entry))->Items())
      Add(line);
  }

  /// Two lines with one search tag can give the same posting of the same term: both have to be looked at to
  /// know whether it goes.
  void AddThoseOfTheSameTags() {
    std::set<int> tags;
    for (const int line : lines_) tags.insert(space_->fstAllLines->GetNumObject(line));
    for (int line = 0; line < space_->fstAllLines->GetCount(); ++line)
      if (tags.count(space_->fstAllLines->GetNumObject(line)) > 0) Add(line);
  }

  [[nodiscard]] std::span<const int> Lines() const { return lines_; }

 private:
  void Add(int line) {
    const auto place = static_cast<std::size_t>(line);
    if (place >= taken_.size() || taken_[place]) return;
    taken_[place] = true;
    lines_.push_back(line);
  }

  const TVelorSpace* space_;
  std::vector<bool> taken_;
  std::vector<int> lines_;
};

bool IsLine(const TVelorSpace* space, int i, int line) {
  return space->fstMethods->Get(i) == space->fstAllMethods->Get(line) &&
         space->fstLines->GetNumObject(i) == space->fstAllLines->GetNumObject(line) &&
         std::string_view(space->fstLines->Get(i)) == space->fstAllLines->Get(line);
}

bool HasTheseLines(const TVelorSpace* space, std::span<const int> lines) {
  if (static_cast<std::size_t>(space->fstLines->GetCount()) != lines.size()) return false;
  for (std::size_t i = 0; i < lines.size(); ++i)
    if (!IsLine(space, static_cast<int>(i), lines[i])) return false;
  return true;
}

/// Makes these lines the table. The compiled one goes only when it is another: in a run over many records the
/// same fields tend to change.
void UseLines(TVelorSpace* space, std::span<const int> lines) {
  if (HasTheseLines(space, lines)) return;
  space->xpftFst.reset();
  space->fstLines->Clear();
  space->fstMethods->Clear();
  for (const int line : lines) {
    space->fstLines->AddObject(space->fstAllLines->Get(line), space->fstAllLines->GetNumObject(line));
    space->fstMethods->Add(space->fstAllMethods->Get(line));
  }
}

}  // namespace

bool HasDependencyIndex(const TVelorSpace* space) {
  return space->fstDependTags && space->fstDependTags->GetCount() > 0;
}

void SpecialFSTModify_NEW(TVelorSpace* space, int shelf, int oldShelf) {
  LineSelection selection(space);
  for (const int tag : ChangedTags(FieldsOf(space, shelf), FieldsOf(space, oldShelf)))
    selection.AddThoseThatRead(tag);
  selection.AddThoseOfTheSameTags();
  UseLines(space, selection.Lines());
}

void RestoreTable(TVelorSpace* space) {
  std::vector<int> all(static_cast<std::size_t>(space->fstAllLines->GetCount()));
  for (std::size_t i = 0; i < all.size(); ++i) all[i] = static_cast<int>(i);
  UseLines(space, all);
}

}  // namespace recif
