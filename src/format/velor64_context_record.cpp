#include <algorithm>

#include "format/string_fragment.h"
#include "format/velor64_context.h"
#include "storage/app_context.h"
#include "storage/fields.h"
#include "storage/master_file.h"
#include "storage/record_read.h"
#include "storage/shelf.h"
#include "utils/text_util.h"

// What a run reads of its record.

namespace xpft {

using ast::FieldFragment;
using ast::FieldRepeat;
using ast::SubfieldCmd;

namespace {

const Occurrences kNoOccurrences;

int CountFields(const velor_01::TVelorSpace* space, int shelf) {
  return std::max(velor_32::Velornfields(space, shelf), 0);
}

bool IsThere(const FieldSelectValue& value) {
  return value.Exists || value.ExistsSubelement;
}

void Collect(const velor_01::TVelorSpace* space, int shelf, int tag, bool includeEmpty, Occurrences& out) {
  out.clear();
  if (tag < 1) return;
  ForEachField(space, shelf, [&](int fieldTag, std::string_view text) {
    if (fieldTag == tag && (includeEmpty || !text.empty())) out.push_back(text);
  });
}

const Occurrences& OccurrencesIn(Record& record, int tag, bool includeEmpty) {
  RecordField* field = record.GetField(tag);
  if (!field) return kNoOccurrences;
  return includeEmpty ? field->GetOcc() : field->GetOccNonEmpty();
}

}  // namespace

Velor64Context::Selection::Selection(IPftContext* ctx, const FieldRepeat* repeat, const SubfieldCmd* subfield,
                                     const FieldFragment* theFragment)
    : fragment(theFragment) {
  if (repeat) occurrences = repeat->Evaluate(ctx);
  if (subfield) {
    hasSubfield = true;
    code = subfield->GetCode();
    if (subfield->GetRepeat()) subfields = subfield->GetRepeat()->Evaluate(ctx);
  }
  if (fragment) offset = fragment->GetOffset();
}

bool Velor64Context::KeepsFields() const {
  return !cacheIsDisabled_ && app_ && app_->recordCacheOpt != app::RecordCacheOpt::kOption0;
}

bool Velor64Context::GetLazyBool() const {
  return app_ && (app_->lazyBool || app_->recordCacheOpt == app::RecordCacheOpt::kOption2);
}

void Velor64Context::DisableFieldCache(bool disable) {
  cacheIsDisabled_ = disable;
  ClearFieldCache();
}

void Velor64Context::ClearFieldCache() {
  if (record_.isLoaded()) record_.Clear();
}

const Occurrences& Velor64Context::OccurrencesOf(int tag, bool includeEmpty) {
  if (KeepsFields()) {
    if (!record_.isLoaded()) record_.Load(space_, currShelf_, GetLazyBool());
    return OccurrencesIn(record_, tag, includeEmpty);
  }
  Collect(space_, currShelf_, tag, includeEmpty, scratchOccurrences_);
  return scratchOccurrences_;
}

/// The record of the global variables stays loaded until one of them is assigned.
const Occurrences& Velor64Context::GlobalOccurrencesOf(int tag, bool includeEmpty) {
  if (!app_) return kNoOccurrences;
  if (!app_->xpftRecord) app_->xpftRecord = new Record;
  if (!app_->xpftRecord->isLoaded()) app_->xpftRecord->Load(app::velor_app_global_space(app_), 0, false);
  return OccurrencesIn(*app_->xpftRecord, tag, includeEmpty);
}

// ---- values ----

void Velor64Context::GetValues(int tag, const FieldRepeat* repeat, const SubfieldCmd* subfield,
                               const FieldFragment* fragment, FieldSelectValues& list, bool includeEmpty) {
  Selection selection(this, repeat, subfield, fragment);
  SelectValues(OccurrencesOf(tag, includeEmpty), tag, selection, list);
}

void Velor64Context::GetGlobalVarValues(int tag, const FieldRepeat* repeat, const SubfieldCmd* subfield,
                                        const FieldFragment* fragment, FieldSelectValues& list,
                                        bool includeEmpty) {
  Selection selection(this, repeat, subfield, fragment);
  SelectValues(GlobalOccurrencesOf(tag, includeEmpty), tag, selection, list);
}

void Velor64Context::GetValues(const Occurrences& occurrences, int tag, const FieldRepeat* repeat,
                               const SubfieldCmd* subfield, const FieldFragment* fragment,
                               FieldSelectValues& list) {
  Selection selection(this, repeat, subfield, fragment);
  SelectValues(occurrences, tag, selection, list);
}

void Velor64Context::SelectValues(const Occurrences& occurrences, int tag, Selection& selection,
                                  FieldSelectValues& list) {
  group_.tag = tag;
  if (group_.inGroup) {
    SelectInGroup(occurrences, selection, list);
    return;
  }
  const int count = static_cast<int>(occurrences.size());
  int first = 0;
  int end = count;
  if (selection.occurrences.isGiven) {
    first = std::max(selection.occurrences.First(count), 0);
    end = std::clamp(selection.occurrences.Last(count) + 1, std::min(1, count), count);
  }
  for (int i = first; i < end; ++i) AddValue(occurrences[static_cast<std::size_t>(i)], i, selection, list);
}

/// The occurrence that belongs to the pass. A group goes on as long as the longest field that it reads; a
/// range stands for one pass, and its end counts for nothing.
void Velor64Context::SelectInGroup(const Occurrences& occurrences, Selection& selection,
                                   FieldSelectValues& list) {
  const int count = static_cast<int>(occurrences.size());
  group_.maxNumber = std::max(group_.maxNumber, count + 1);
  int index = group_.occurrence;
  if (selection.occurrences.isGiven) {
    index = selection.occurrences.First(count);
    if (index >= 0 && index < count) {
      group_.maxNumber = std::max(group_.maxNumber, group_.occurrence + 2);
      group_.passes = std::max(group_.passes, group_.occurrence + 1);
    }
  } else {
    group_.passes = std::max(group_.passes, count);
  }
  index = std::max(index, 0);
  if (index < count) AddValue(occurrences[static_cast<std::size_t>(index)], index, selection, list);
}

/// A value that is not there is left out, unless an occurrence was asked for by its number.
void Velor64Context::AddValue(std::string_view text, int occurrence, Selection& selection,
                              FieldSelectValues& list) {
  FieldSelectValue& value = list.Add();
  value.occurrence = occurrence;
  FillValue(text, selection, value);
  if (selection.fragment) CutFragment(selection, value);
  group_.hasMore = true;
  if (!selection.occurrences.isGiven && value.IsEmpty()) list.RemoveLast();
}

void Velor64Context::FillValue(std::string_view text, const Selection& selection, FieldSelectValue& value) {
  if (!selection.hasSubfield) {
    value.SetView(text);
    value.Exists = true;
  } else if (selection.subfields.isGiven) {
    JoinSubfields(text, selection, value);
  } else {
    std::string_view part;
    value.ExistsSubelement = GetSubElement(text, selection.code, 0, part);
    value.SetView(part);
  }
}

/// The subfields of a range, with nothing between them.
void Velor64Context::JoinSubfields(std::string_view text, const Selection& selection,
                                   FieldSelectValue& value) {
  const int count = CountSubfields(text, selection.code);
  const int first = std::max(selection.subfields.First(count), 0);
  const int last = std::max(std::min(selection.subfields.Last(count), count - 1), first);
  if (first < last && selection.code != '*') {
    const std::vector<std::string_view> parts = SubFieldRange(text, selection.code, first, last);
    for (const std::string_view part : parts) value.Own() += part;
    value.ExistsSubelement = !parts.empty();
    return;
  }
  std::string_view part;
  value.ExistsSubelement = GetSubElement(text, selection.code, first, part);
  value.SetView(part);
}

/// Cuts the value. The offset is in characters for this value; the bytes that the characters before it take
/// here are the offset for the next. Formats rely on it: plain Latin text leaves the offset alone, a shorter
/// value shrinks it, Cyrillic text enlarges it.
void Velor64Context::CutFragment(Selection& selection, FieldSelectValue& value) {
  const FieldFragment fragment(selection.offset, selection.fragment->GetLength());
  const std::string_view text = value.text();
  if (selection.offset > 0) {
    const auto offset = static_cast<std::size_t>(selection.offset);
    selection.offset = static_cast<int>(utils::TextUtil::CheckUTF8(text)
                                            ? PrefixBytes(text, offset)
                                            : PrefixBytes(utils::TextUtil::ReadAllTextUtf8(text), offset));
  }
  std::string_view part;
  if (FindStringFragment(text, fragment, part)) {
    value.Narrow(part);
  } else {
    std::string cut;
    GetStringFragment(text, fragment, cut);
    value.Own() = std::move(cut);
  }
}

bool Velor64Context::ExistsField(int tag, const FieldRepeat* repeat, const SubfieldCmd* subfield,
                                 const FieldFragment* fragment, bool hasRepeat, bool includeEmpty) {
  ScratchValues values(this);
  GetValues(tag, repeat, subfield, fragment, *values, includeEmpty || hasRepeat);
  for (std::size_t i = 0; i < (*values).size(); ++i)
    if (IsThere((*values)[i])) return true;
  return false;
}

bool Velor64Context::ExistsGlobalVar(int tag, const FieldRepeat* repeat, const SubfieldCmd* subfield,
                                     const FieldFragment* fragment, bool hasRepeat, bool includeEmpty) {
  ScratchValues values(this);
  GetGlobalVarValues(tag, repeat, subfield, fragment, *values, includeEmpty || hasRepeat);
  for (std::size_t i = 0; i < (*values).size(); ++i)
    if (IsThere((*values)[i])) return true;
  return false;
}

namespace {

/// Values that count: with text, or there without any.
int CountOf(FieldSelectValues& values, bool includeEmpty) {
  int count = 0;
  for (std::size_t i = 0; i < values.size(); ++i)
    count += includeEmpty || values[i].IsEmpty() || IsThere(values[i]);
  return count;
}

}  // namespace

int Velor64Context::GetRepeatCount(int tag, const FieldRepeat* repeat, const SubfieldCmd* subfield,
                                   const FieldFragment* fragment, bool includeEmpty) {
  if (!repeat && !subfield && !fragment) return static_cast<int>(OccurrencesOf(tag, includeEmpty).size());
  ScratchValues values(this);
  GetValues(tag, repeat, subfield, fragment, *values, includeEmpty);
  return CountOf(*values, includeEmpty);
}

int Velor64Context::GetGlobalVarRepeatCount(int tag, const FieldRepeat* repeat, const SubfieldCmd* subfield,
                                            const FieldFragment* fragment, bool includeEmpty) {
  if (tag == 0 && app_) return CountFields(app::velor_app_global_space(app_), 0);
  if (!repeat && !subfield && !fragment)
    return static_cast<int>(GlobalOccurrencesOf(tag, includeEmpty).size());
  ScratchValues values(this);
  GetGlobalVarValues(tag, repeat, subfield, fragment, *values, includeEmpty);
  return CountOf(*values, includeEmpty);
}

void Velor64Context::GetRecordField(int tag, Occurrences& occurrences) {
  occurrences = OccurrencesOf(tag, true);
}

void Velor64Context::GetGlobalVarField(int tag, Occurrences& occurrences) {
  occurrences = GlobalOccurrencesOf(tag, true);
}

// ---- the record as a whole ----

void Velor64Context::WholeRecord(const velor_01::TVelorSpace* space, int shelf, FieldSelectValues& list) {
  int index = 0;
  ForEachField(space, shelf, [&](int tag, std::string_view text) {
    const int place = index++;
    if (group_.inGroup && place != group_.occurrence) return;
    FieldSelectValue& value = list.Add();
    value.Own() = "#" + std::to_string(tag) + ": ";
    value.Own() += text;
    value.Exists = true;
    value.occurrence = place;
    group_.hasMore = true;
  });
  group_.tag = 0;
  group_.maxNumber = std::max(group_.maxNumber, index + 1);
  group_.passes = std::max(group_.passes, index);
}

void Velor64Context::GetRecord(FieldSelectValues& list) {
  WholeRecord(space_, currShelf_, list);
}

void Velor64Context::GetGlobalVar(FieldSelectValues& list) {
  if (app_) WholeRecord(app::velor_app_global_space(app_), 0, list);
}

bool Velor64Context::ExistsRecord() {
  if (!group_.inGroup) return GetFieldCount() > 0;
  ScratchValues values(this);
  GetRecord(*values);
  return !(*values).empty();
}

bool Velor64Context::ExistsGlobalVar() {
  ScratchValues values(this);
  GetGlobalVar(*values);
  return !(*values).empty();
}

int Velor64Context::GetFieldCount() const {
  return CountFields(space_, currShelf_);
}

int Velor64Context::GetMfn() const {
  return std::max(velor_32::Velormfn(space_, currShelf_), 0);
}

int Velor64Context::GetVersion() const {
  return std::max(velor_32::Velorversion(space_, currShelf_), 0);
}

int Velor64Context::GetMaxMfn() const {
  return std::max(velor_32::Velormaxmfn(space_), 1);
}

std::string Velor64Context::GetDbName() const {
  return space_ ? backup::GetDbNameEK(space_) : std::string();
}

int Velor64Context::GetSubfieldRepeatCount(std::string_view text, char code) const {
  return CountSubfields(text, code);
}

int Velor64Context::GetSubfieldRepeatCount(char code) {
  int count = 0;
  for (const std::string_view text : OccurrencesOf(group_.tag, true)) count += CountSubfields(text, code);
  return count;
}

}  // namespace xpft
