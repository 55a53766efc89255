#pragma once

#include <string>
#include <string_view>
#include <vector>

#include "gbl/gbl_ctx.h"

/// Fields of a record as the operators handle them.
namespace global {

/// Adds a field at a directory position, or behind the last with 0. False when nothing was added: an empty
/// text, a tag below 1, or no memory.
bool AddField(Target to, int tag, int position, std::string_view text);

/// Adds every field of a record, in order, each at its own position. The records are different ones. False
/// when there was none.
bool CopyFields(Target from, Target to);

/// The texts of the fields with a tag, in order.
void ReadOccurrences(Target record, int tag, std::vector<std::string>* texts);

/// True for a "^" and one character: a subfield without a value.
[[nodiscard]] bool IsBareSubfield(std::string_view text);

/// Puts the fields of a record in the place of all those of another one. False, and the record as it was,
/// when there is no memory.
bool ReplaceFields(Target from, Target to);

/// Replaces all fields with a tag by the texts that are not empty, behind all other fields. `dropBare`: bare
/// subfields are left out, too. False, and the record as it was, when there is no memory.
bool RewriteOccurrences(Target record, int tag, const std::vector<std::string>& texts, bool dropBare);

/// Which occurrences an operator works on. Occurrences count from 1.
struct Selection {
  int first = 0;
  int last = 0;
  bool byLines = false;  ///< each has its own line of output
};

/// Reads an occurrence selector: all, "F", counted from the end, the last one, or a number. `count`: how many
/// there are. False, and a REP_ERROR, for a text that is none.
[[nodiscard]] bool ReadSelector(GblCtx* ctx, std::string_view text, int count, Selection* selection);
/// The same with the rules of ADD: "F" must be the whole text, and a blank means all.
[[nodiscard]] bool ReadSelectorOfAdd(GblCtx* ctx, std::string_view text, int count, Selection* selection);

/// True when the range lies within 1..count.
[[nodiscard]] inline bool IsWithin(const Selection& selection, int count) {
  return selection.last >= 1 && selection.last <= count && selection.first <= selection.last;
}

}  // namespace global
