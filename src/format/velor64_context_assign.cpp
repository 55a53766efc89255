#include <algorithm>

#include "format/ast_extension.h"
#include "format/string_fragment.h"
#include "format/velor64_context.h"
#include "storage/app_context.h"
#include "storage/fields.h"
#include "utils/text_util.h"

// Assignments: changes of the record in memory, and of the global variables, which are a record too.

namespace xpft {

using ast::FieldAssignSpec;
using ast::FieldFragment;
using ast::FieldRepeat;
using ast::SubfieldCmd;

namespace {

/// A place in a text.
struct Span {
  std::size_t begin;
  std::size_t length;
};

/// The body of a subfield, where it lies in the text. Code "*" is what stands before the first mark.
bool FindBody(std::string_view text, char code, int index, Span* body) {
  std::string_view part;
  if (!GetSubElement(text, code, index, part)) return false;
  *body = {static_cast<std::size_t>(part.data() - text.data()), part.size()};
  return true;
}

/// The characters of a fragment, where they lie in the text; behind it when the text is shorter.
Span FindSpan(std::string_view text, const FieldFragment& fragment) {
  const auto offset = static_cast<std::size_t>(std::max(fragment.GetOffset(), 0));
  const std::size_t begin = PrefixBytes(text, offset);
  if (fragment.GetLength() < 0) return {begin, text.size() - begin};
  return {begin, PrefixBytes(text.substr(begin), static_cast<std::size_t>(fragment.GetLength()))};
}

/// The text with a span of its characters, or all of it, replaced.
std::string ReplaceFieldOccurrence(std::string_view text, const FieldFragment* fragment,
                                   std::string_view value) {
  if (!fragment) return std::string(value);
  const Span span = FindSpan(text, *fragment);
  std::string out(text);
  return out.replace(span.begin, span.length, value);
}

/// The text with one subfield rewritten: it is added when it is not there, and goes with its mark when its
/// new text is empty.
std::string ReplaceSubfieldOccurrence(std::string_view text, char code, int index,
                                      const FieldFragment* fragment, std::string_view value) {
  std::string out(text);
  Span body{};
  if (!FindBody(text, code, index, &body)) {
    if (value.empty()) return out;
    return code == '*' ? std::string(value) + out : out + '^' + code + std::string(value);
  }
  const std::string rewritten = ReplaceFieldOccurrence(text.substr(body.begin, body.length), fragment, value);
  const bool hasMark = body.begin >= 2 && text[body.begin - 2] == '^';
  if (rewritten.empty() && hasMark) return out.erase(body.begin - 2, body.length + 2);
  return out.replace(body.begin, body.length, rewritten);
}

/// The text with a range of subfields rewritten, all of which are there.
std::string ReplaceSubfieldRange(std::string_view text, char code, int first, int last,
                                 const FieldFragment* fragment, std::string_view value) {
  std::string out;
  std::size_t kept = 0;  // bytes of the text that are dealt with
  for (const std::string_view body : SubFieldRange(text, code, first, last)) {
    const auto begin = static_cast<std::size_t>(body.data() - text.data());
    const std::string rewritten = ReplaceFieldOccurrence(body, fragment, value);
    const std::size_t markLength = rewritten.empty() ? 2 : 0;
    out.append(text, kept, begin - markLength - kept);
    out += rewritten;
    kept = begin + body.size();
  }
  return out.append(text, kept);
}

/// The field of a record that an assignment changes.
class TargetField {
 public:
  TargetField(velor_01::TVelorSpace* space, int shelf, int tag) : space_(space), shelf_(shelf), tag_(tag) {
    for (int i = 1; i <= velor_32::Velornfields(space, shelf); ++i)
      if (velor_32::Velorfldtag(space, shelf, i) == tag) indexes_.push_back(i);
  }
  [[nodiscard]] int count() const { return static_cast<int>(indexes_.size()); }
  [[nodiscard]] std::string_view Text(int occurrence) const {
    return velor_32::FieldText(space_, shelf_, indexes_[static_cast<std::size_t>(occurrence)]);
  }
  /// An empty text removes the occurrence. Occurrences are changed from the last to the first, so that the
  /// places of the others stay right.
  void Replace(int occurrence, const std::string& text) {
    velor_32::Velorfldrep(space_, shelf_, indexes_[static_cast<std::size_t>(occurrence)], text.data(),
                          static_cast<int>(text.size()));
  }
  void Append(const std::string& text) {
    if (!text.empty())
      velor_32::Velorfldadd(space_, shelf_, tag_, 0, text.data(), static_cast<int>(text.size()));
  }
  /// Puts texts in the place of the occurrences first to last (below first: before it; behind the field: at
  /// the end).
  void ReplaceRange(int first, int last, const std::vector<std::string>& texts) {
    const int place = first < count() ? indexes_[static_cast<std::size_t>(first)] : 0;
    for (int i = std::min(last, count() - 1); i >= first; --i) Replace(i, "");
    for (std::size_t i = texts.size(); i > 0 && place > 0; --i)
      velor_32::Velorfldadd(space_, shelf_, tag_, place, texts[i - 1].data(),
                            static_cast<int>(texts[i - 1].size()));
    if (place == 0)
      for (const std::string& text : texts) Append(text);
  }

 private:
  velor_01::TVelorSpace* space_;
  int shelf_;
  int tag_;
  std::vector<int> indexes_;  // in the directory, from 1
};

/// What an assignment writes to, evaluated.
struct Target {
  bool isAppend = false;
  ast::FieldBounds occurrences;
  bool hasSubfield = false;
  char code = 0;
  ast::FieldBounds subfields;
  const FieldFragment* fragment = nullptr;

  Target(IPftContext* ctx, const FieldRepeat* repeat, const SubfieldCmd* subfield,
         const FieldFragment* theFragment)
      : isAppend(repeat && repeat->IsAppend()), fragment(theFragment) {
    if (repeat) occurrences = repeat->Evaluate(ctx);
    if (!subfield) return;
    hasSubfield = true;
    code = subfield->GetCode();
    if (subfield->GetRepeat()) subfields = subfield->GetRepeat()->Evaluate(ctx);
  }
  [[nodiscard]] bool IsWhole() const { return !hasSubfield && !fragment; }

  /// Occurrences from 0; the last is below the first when none is chosen.
  [[nodiscard]] int First(int count) const {
    return occurrences.isGiven ? std::max(occurrences.First(count), 0) : 0;
  }
  [[nodiscard]] int Last(int count) const {
    return occurrences.isGiven ? std::min(occurrences.Last(count), count - 1) : count - 1;
  }

  /// The text of an occurrence after the assignment.
  [[nodiscard]] std::string Rewrite(std::string_view text, std::string_view value) const {
    if (!hasSubfield) return ReplaceFieldOccurrence(text, fragment, value);
    if (!subfields.isGiven) return ReplaceSubfieldOccurrence(text, code, 0, fragment, value);
    const int count = CountSubfields(text, code);
    const int first = std::max(subfields.First(count), 0);
    const int last = std::min(subfields.Last(count), count - 1);
    if (first >= last || code == '*') return ReplaceSubfieldOccurrence(text, code, first, fragment, value);
    return ReplaceSubfieldRange(text, code, first, last, fragment, value);
  }
};

void SetOne(velor_01::TVelorSpace* space, int shelf, int tag, const Target& target,
            const std::string& value) {
  if (tag < 1) return;
  TargetField field(space, shelf, tag);
  if (target.isAppend || target.First(field.count()) >= field.count()) {
    field.Append(target.Rewrite("", value));
    return;
  }
  const int first = target.First(field.count());
  const int last = target.Last(field.count());
  if (target.IsWhole() && !target.occurrences.isGiven) {
    for (int i = last; i > first; --i) field.Replace(i, "");
    field.Replace(first, value);
    return;
  }
  for (int i = last; i >= first; --i) field.Replace(i, target.Rewrite(field.Text(i), value));
}

/// Whole occurrences replace the chosen ones together; into subfields and fragments they go one by one, those
/// left over making occurrences of their own.
void SetMany(velor_01::TVelorSpace* space, int shelf, int tag, const Target& target,
             const std::vector<std::string>& values) {
  if (tag < 1) return;
  TargetField field(space, shelf, tag);
  const int count = field.count();
  const int first = target.isAppend ? count : std::min(target.First(count), count);
  const int last = target.isAppend ? count - 1 : target.Last(count);
  if (target.IsWhole()) {
    field.ReplaceRange(first, last, values);
    return;
  }
  const int chosen = std::max(last - first + 1, 0);
  for (int i = std::min(chosen, static_cast<int>(values.size())) - 1; i >= 0; --i)
    field.Replace(first + i, target.Rewrite(field.Text(first + i), values[static_cast<std::size_t>(i)]));
  for (std::size_t i = static_cast<std::size_t>(chosen); i < values.size(); ++i)
    field.Append(target.Rewrite("", values[i]));
}

/// The views may lie in the record that is about to change.
std::vector<std::string> Copies(const Occurrences& occurrences) {
  std::vector<std::string> copies;
  for (const std::string_view text : occurrences)
    if (!text.empty()) copies.emplace_back(text);
  return copies;
}

}  // namespace

void Velor64Context::SetRecordFieldValue(int tag, const FieldRepeat* repeat, const SubfieldCmd* subfield,
                                         const FieldFragment* fragment, const std::string& value) {
  const Target target(this, repeat, subfield, fragment);
  SetOne(space_, currShelf_, tag, target, value);
  ClearFieldCache();
}

void Velor64Context::SetRecordFieldValue(const Occurrences& occurrences, const FieldAssignSpec& spec) {
  const std::vector<std::string> values = Copies(occurrences);
  const Target target(this, spec.repeat.get(), spec.subfield.get(), spec.fragment.get());
  SetMany(space_, currShelf_, spec.tag, target, values);
  ClearFieldCache();
}

void Velor64Context::AddRecordField(int tag, const std::string& text) {
  velor_32::Velorfldadd(space_, currShelf_, tag, 0, text.data(), static_cast<int>(text.size()));
  ClearFieldCache();
}

void Velor64Context::RemoveRecordField(int tag) {
  for (int i = velor_32::Velornfields(space_, currShelf_); i >= 1; --i)
    if (velor_32::Velorfldtag(space_, currShelf_, i) == tag)
      velor_32::Velorfldrep(space_, currShelf_, i, nullptr, 0);
  ClearFieldCache();
}

void Velor64Context::RemoveRecordField(int tag, int occurrence) {
  const int index = velor_32::Velorfieldn(space_, currShelf_, tag, occurrence);
  if (velor_32::Velorfldtag(space_, currShelf_, index) != tag) return;
  velor_32::Velorfldrep(space_, currShelf_, index, nullptr, 0);
  ClearFieldCache();
}

void Velor64Context::RemoveRecordFields() {
  velor_32::Velorfldempty(space_, currShelf_);
  ClearFieldCache();
}

// ---- global variables ----

void Velor64Context::SetGlobalVarValue(int tag, const FieldRepeat* repeat, const SubfieldCmd* subfield,
                                       const FieldFragment* fragment, const std::string& value) {
  if (!app_) return;
  const Target target(this, repeat, subfield, fragment);
  SetOne(app::velor_app_global_space(app_), 0, tag, target, value);
  if (app_->xpftRecord) app_->xpftRecord->Clear();
}

void Velor64Context::SetGlobalVarValue(const Occurrences& occurrences, const FieldAssignSpec& spec) {
  if (!app_) return;
  const std::vector<std::string> values = Copies(occurrences);
  const Target target(this, spec.repeat.get(), spec.subfield.get(), spec.fragment.get());
  SetMany(app::velor_app_global_space(app_), 0, spec.tag, target, values);
  if (app_->xpftRecord) app_->xpftRecord->Clear();
}

}  // namespace xpft
