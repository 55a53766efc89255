#include "gbl/record_fields.h"

#include <algorithm>
#include <cctype>
#include <cstdint>
#include <limits>

#include "storage/codes.h"
#include "storage/fields.h"
#include "utils/text_util.h"
#include "utils/utf8_char.h"

namespace global {

using utils::TextUtil;

namespace {

constexpr std::size_t kLongestField = std::numeric_limits<std::int32_t>::max();  // bytes

}  // namespace

bool AddField(Target to, int tag, int position, std::string_view text) {
  if (tag < 1 || text.empty() || text.size() > kLongestField) return false;
  return velor_32::Velorfldadd(to.space, to.slot, tag, position, text.data(),
                               static_cast<int>(text.size())) == velor_32::kOk;
}

bool CopyFields(Target from, Target to) {
  const int count = velor_32::Velornfields(from.space, from.slot);
  for (int k = 1; k <= count; ++k) {
    int tag = 0;
    const std::string_view text = velor_32::FieldText(from.space, from.slot, k, &tag);
    AddField(to, tag, k, text);
  }
  return count > 0;
}

void ReadOccurrences(Target record, int tag, std::vector<std::string>* texts) {
  texts->clear();
  const int count = velor_32::Velornfields(record.space, record.slot);
  for (int k = 1; k <= count; ++k) {
    int found = 0;
    const std::string_view text = velor_32::FieldText(record.space, record.slot, k, &found);
    if (found == tag) texts->emplace_back(text);
  }
}

bool IsBareSubfield(std::string_view text) {
  if (text.size() < 2 || text[0] != '^') return false;
  int used = 0;
  static_cast<void>(utils::ReadUtf8Char(text.data() + 1, text.size() - 1, &used));
  return static_cast<std::size_t>(used) + 1 == text.size();
}

namespace {

/// Takes away the fields behind the first `count`: what was added before the memory ended.
bool TakeBack(Target record, int count) {
  for (int k = velor_32::Velornfields(record.space, record.slot); k > count; --k)
    velor_32::Velorfldrep(record.space, record.slot, k, nullptr, 0);
  return false;
}

}  // namespace

// What is new is added before what was there goes, so that nothing is lost when the memory ends.

bool ReplaceFields(Target from, Target to) {
  const int before = velor_32::Velornfields(to.space, to.slot);
  const int count = velor_32::Velornfields(from.space, from.slot);
  for (int k = 1; k <= count; ++k) {
    int tag = 0;
    const std::string_view text = velor_32::FieldText(from.space, from.slot, k, &tag);
    if (!text.empty() && !AddField(to, tag, 0, text)) return TakeBack(to, before);
  }
  for (int k = before; k >= 1; --k) velor_32::Velorfldrep(to.space, to.slot, k, nullptr, 0);
  return true;
}

bool RewriteOccurrences(Target record, int tag, const std::vector<std::string>& texts, bool dropBare) {
  const int before = velor_32::Velornfields(record.space, record.slot);
  for (const std::string& text : texts) {
    if (text.empty() || (dropBare && IsBareSubfield(text))) continue;
    if (!AddField(record, tag, 0, text)) return TakeBack(record, before);
  }
  for (int k = before; k >= 1; --k)
    if (velor_32::Velorfldtag(record.space, record.slot, k) == tag)
      velor_32::Velorfldrep(record.space, record.slot, k, nullptr, 0);
  return true;
}

namespace {

/// The number behind the "-" of "L-n": up to three blanks may stand before it.
bool ReadDistance(std::string_view text, int* distance) {
  for (int blanks = 0; blanks < 3 && text.starts_with(' '); ++blanks) text.remove_prefix(1);
  if (text.empty() || std::isspace(static_cast<unsigned char>(text[0]))) return false;
  return TextUtil::Int32ParseExact(text, distance);
}

/// "L-n" and "L".
bool ReadFromEnd(GblCtx* ctx, std::string_view text, int count, Selection* selection) {
  selection->first = selection->last = count;
  const std::size_t dash = text.find('-');
  if (dash == std::string_view::npos) return true;
  int distance = 0;
  if (!ReadDistance(text.substr(dash + 1), &distance)) {
    ctx->Fail("REP_ERROR", text.substr(dash + 1));
    return false;
  }
  const std::int64_t place = std::max<std::int64_t>(std::int64_t{count} - distance, 1);
  selection->first = selection->last =
      static_cast<int>(std::min<std::int64_t>(place, std::numeric_limits<int>::max()));
  return true;
}

bool ReadPlace(GblCtx* ctx, std::string_view text, int count, Selection* selection) {
  if (text.find('L') != std::string_view::npos) return ReadFromEnd(ctx, text, count, selection);
  int place = 0;
  if (!TextUtil::Int32ParseExact(text, &place)) {
    ctx->Fail("REP_ERROR", text);
    return false;
  }
  selection->first = selection->last = place;
  return true;
}

}  // namespace

bool ReadSelector(GblCtx* ctx, std::string_view text, int count, Selection* selection) {
  *selection = {1, count};
  if (text == "*" || text.empty()) return true;
  selection->byLines = text.find('F') != std::string_view::npos;
  return selection->byLines || ReadPlace(ctx, text, count, selection);
}

bool ReadSelectorOfAdd(GblCtx* ctx, std::string_view text, int count, Selection* selection) {
  *selection = {1, count, text == "F"};
  return selection->byLines || text == "*" || text == " " || ReadPlace(ctx, text, count, selection);
}

}  // namespace global
