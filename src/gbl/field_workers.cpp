#include "gbl/field_workers.h"

#include <algorithm>

#include "gbl/record_fields.h"
#include "gbl/subfield_text.h"
#include "storage/fields.h"
#include "utils/string_utils.h"
#include "utils/text_util.h"

namespace global {

using utils::TextUtil;
using velor_01::TVelorSpace;

namespace {

/// What an operator works with.
struct Work {
  GblCtx* ctx;
  Target record;
  int tag;
  wchar_t code = 0;  // of the subfield; 0 for the whole field
  int count = 0;     // occurrences in the record
  Selection selection = {};
  bool changed = false;

  std::string& Entry(int k) { return ctx->workLines[static_cast<std::size_t>(k) - 1]; }
  void Put(int k, std::string text) {
    Entry(k) = std::move(text);
    changed = true;
  }
};

Work Begin(GblCtx* ctx, Target record, const std::string& tag, const std::string& subfield) {
  ctx->formatLines.clear();
  ctx->workLines.clear();
  Work work{ctx, record, TextUtil::Int32ParseExact(tag, 0)};
  if (!subfield.empty()) work.code = Widen(subfield)[0];
  work.count = velor_32::Velornocc(record.space, record.slot, work.tag);
  return work;
}

/// Runs a format on the record into a list of lines.
bool EvaluateLines(Work& work, const std::string& format, std::vector<std::string>* lines) {
  std::string output;
  if (!Evaluate(work.ctx, work.record, format, kShownOfValue, &output)) return false;
  SplitLines(output, lines);
  return true;
}

/// Takes the occurrences into the working copy. False when the selection lies outside of them.
bool TakeOccurrences(Work& work) {
  ReadOccurrences(work.record, work.tag, &work.ctx->workLines);
  work.count = static_cast<int>(work.ctx->workLines.size());
  return IsWithin(work.selection, work.count);
}

int Finish(Work& work, bool dropBare) {
  if (!work.changed) return kUnchanged;
  return RewriteOccurrences(work.record, work.tag, work.ctx->workLines, dropBare) ? 0 : kUnchanged;
}

}  // namespace

// ---- ADD ----

namespace {

/// New fields. With a subfield only the first line makes one.
int AddFields(Work& work, Target to, const std::string& subfield) {
  const std::vector<std::string>& lines = work.ctx->formatLines;
  if (lines.empty()) return kUnchanged;
  if (!subfield.empty()) {
    const std::string text = "^" + subfield + lines[0];
    return !IsBareSubfield(text) && AddField(to, work.tag, 0, text) ? 0 : kUnchanged;
  }
  int result = kUnchanged;
  for (const std::string& line : lines)
    if (!IsBareSubfield(line) && AddField(to, work.tag, 0, line)) result = 0;
  return result;
}

/// The occurrence with the subfield behind it; unchanged ones are empty.
std::string WithSubfield(std::string occurrence, const std::string& added, bool changedBefore) {
  if (occurrence.empty()) return occurrence;
  if (IsBareSubfield(added) && !changedBefore) return {};
  return occurrence + added;
}

int AddSubfields(Work& work, Target to, const std::string& subfield, const std::string& occurrence) {
  std::vector<std::string>& entries = work.ctx->workLines;
  const std::vector<std::string>& lines = work.ctx->formatLines;
  if (!ReadSelectorOfAdd(work.ctx, occurrence, work.count, &work.selection)) return kUnchanged;
  ReadOccurrences(to, work.tag, &entries);
  const auto [first, last, byLines] = work.selection;
  if (lines.empty() || last < 1 || first > last) return kUnchanged;

  std::vector<std::string> sources;
  ReadOccurrences(work.record, work.tag, &sources);
  for (int k = first; k <= std::min(last, work.count); ++k) {
    const int line = byLines ? k - 1 : 0;
    const bool hasLine = line < static_cast<int>(lines.size());
    const std::string added = hasLine ? "^" + subfield + lines[static_cast<std::size_t>(line)] : "";
    std::string text = WithSubfield(sources[static_cast<std::size_t>(k) - 1], added, work.changed);
    if (text.empty() && !work.changed) continue;
    if (static_cast<std::size_t>(k) <= entries.size()) work.Entry(k) = std::move(text);
    work.changed = true;
  }
  if (!work.changed) return kUnchanged;
  // From the last to the first: an empty one goes, and must not move those still to be written.
  for (int k = static_cast<int>(entries.size()); k >= 1; --k) {
    const std::string& text = work.Entry(k);
    if (IsBareSubfield(text)) continue;
    const int place = velor_32::Velorfieldn(to.space, to.slot, work.tag, k);
    velor_32::Velorfldrep(to.space, to.slot, place, text.data(), static_cast<int>(text.size()));
  }
  return 0;
}

}  // namespace

int ADDF(GblCtx* ctx, int toOther, TVelorSpace* other, TVelorSpace* space, int slot, const std::string& tag,
         const std::string& subfield, const std::string& occurrence, const std::string& format) {
  return Guarded("ADDF", kUnchanged, [&] {
    Work work = Begin(ctx, {space, slot}, tag, subfield);
    const Target to = toOther != 0 ? Target{other, 0} : work.record;
    if (!EvaluateLines(work, format, &ctx->formatLines)) return kUnchanged;
    const int place = TextUtil::Int32ParseExact(occurrence, 0);
    if (subfield.empty() || work.count < 1 || occurrence.empty() || place > work.count)
      return AddFields(work, to, subfield);
    return AddSubfields(work, to, subfield, occurrence);
  });
}

// ---- DEL ----

int DEL(GblCtx* ctx, TVelorSpace* space, int slot, const std::string& tag, const std::string& subfield,
        const std::string& occurrence, const std::string& format) {
  return Guarded("DEL", kUnchanged, [&] {
    Work work = Begin(ctx, {space, slot}, tag, subfield);
    if (work.count < 1 || !ReadSelector(ctx, occurrence, work.count, &work.selection)) return kUnchanged;
    if (work.selection.byLines && !EvaluateLines(work, format, &ctx->formatLines)) return kUnchanged;
    if (!TakeOccurrences(work)) return kUnchanged;
    for (int k = work.selection.first; k <= work.selection.last; ++k) {
      if (work.selection.byLines && LineAt(ctx->formatLines, k - 1) != "1") continue;
      if (work.code == 0) {
        work.Put(k, "");
        continue;
      }
      if (work.Entry(k).empty()) continue;
      std::wstring text = Widen(work.Entry(k));
      delsubfield(text, work.code);
      work.Put(k, Narrow(text));  // kept: an occurrence without that subfield counts as changed too
    }
    return Finish(work, false);
  });
}

// ---- REP ----

namespace {

/// The occurrence with the value of a subfield replaced, where it stands; a new one goes to the front. An
/// empty value removes it.
std::string ReplaceSubfield(const std::string& occurrence, wchar_t code, std::string_view value) {
  std::wstring text = Widen(occurrence);
  std::size_t place = std::wstring::npos;
  for (const wchar_t form : {utils::StringUtils::ToLower(code), utils::StringUtils::ToUpper(code)})
    if (place == std::wstring::npos) place = text.find(std::wstring{L'^', form});
  delsubfield(text, code);
  if (value.empty()) return Narrow(text);
  if (place == std::wstring::npos) place = 0;
  text.insert(std::min(place, text.size()), std::wstring{L'^', code} + Widen(value));
  return Narrow(text);
}

}  // namespace

int REP(GblCtx* ctx, TVelorSpace* space, int slot, const std::string& tag, const std::string& subfield,
        const std::string& occurrence, const std::string& format) {
  return Guarded("REP", kUnchanged, [&] {
    Work work = Begin(ctx, {space, slot}, tag, subfield);
    if (work.count < 1 || !ReadSelector(ctx, occurrence, work.count, &work.selection)) return kUnchanged;
    const bool byLines = work.selection.byLines;
    if ((byLines || !format.empty()) && !EvaluateLines(work, format, &ctx->formatLines)) return kUnchanged;
    if (!TakeOccurrences(work)) return kUnchanged;
    for (int k = work.selection.first; k <= work.selection.last; ++k) {
      const int line = byLines ? k - 1 : 0;
      if (byLines && line >= static_cast<int>(ctx->formatLines.size())) break;
      const std::string_view value = LineAt(ctx->formatLines, line);
      work.Put(k, work.code == 0 ? std::string(value) : ReplaceSubfield(work.Entry(k), work.code, value));
    }
    return Finish(work, true);
  });
}

// ---- CHA ----

namespace {

/// One replacement within a text; an empty `from` means that `to` goes behind it.
struct Change {
  std::wstring from;
  std::wstring to;
  bool ignoreCase;

  [[nodiscard]] std::wstring Apply(const std::wstring& text) const {
    std::wstring changed = from.empty() ? text + to : WideStringReplace(text, from, to, true, ignoreCase);
    DropEmptySubfields(changed);
    return changed;
  }
};

bool IsBare(const std::wstring& text) {
  return text.size() == 2 && text[0] == L'^';
}

std::wstring ChangeField(const std::wstring& occurrence, const Change& change) {
  std::wstring changed = change.Apply(occurrence);
  return IsBare(changed) ? std::wstring() : changed;
}

/// False when the occurrence has no such subfield, or an empty one.
bool ChangeSubfield(std::wstring& occurrence, wchar_t code, const Change& change) {
  const std::wstring value = getsubfield(occurrence, code);
  if (value.empty()) return false;
  const std::size_t place = FindSubfield(occurrence, code);
  const std::wstring changed = change.Apply(occurrence.substr(place, 2) + value);
  delsubfield(occurrence, code);
  if (!IsBare(changed)) occurrence.insert(place, changed);
  return true;
}

}  // namespace

int CHA(GblCtx* ctx, TVelorSpace* space, int slot, const std::string& tag, const std::string& subfield,
        const std::string& occurrence, const std::string& from, const std::string& to) {
  return Guarded("CHA", kUnchanged, [&] {
    Work work = Begin(ctx, {space, slot}, tag, subfield);
    if (work.count < 1 || !ReadSelector(ctx, occurrence, work.count, &work.selection)) return kUnchanged;
    if (!EvaluateLines(work, from, &ctx->formatLines) || !EvaluateLines(work, to, &ctx->toLines))
      return kUnchanged;
    if (!TakeOccurrences(work)) return kUnchanged;
    for (int k = work.selection.first; k <= work.selection.last; ++k) {
      const int line = work.selection.byLines ? k - 1 : 0;
      const Change change{Widen(LineAt(ctx->formatLines, line)), Widen(LineAt(ctx->toLines, line)),
                          ctx->caseSensitive == 0};
      std::wstring text = Widen(work.Entry(k));
      if (work.code == 0)
        text = ChangeField(text, change);
      else if (!ChangeSubfield(text, work.code, change))
        continue;
      work.Put(k, Narrow(text));
    }
    return Finish(work, true);
  });
}

}  // namespace global
