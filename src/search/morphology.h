#pragma once

#include <string>

#include "search/tmthrd_32.h"

namespace Tmthrd_32 {

/// Whether "@" at the end of a term has a meaning in the space.
[[nodiscard]] bool HasMorphology(const TVelorSpace* space);

/// The forms of a word that is written as a dictionary term, prefix included: the term itself, and those that
/// the records of the morphology database tell, which it finds under "K=" and the word. All are upper-case
/// terms with the prefix of the term. A full-text space searches the stem of a word that the database does
/// not know: the only form is then the stem with "$".
void ExpandWord(TVelorSpace* space, const std::string& term, TStringList* forms);

}  // namespace Tmthrd_32
