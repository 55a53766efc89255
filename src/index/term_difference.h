#pragma once

#include "storage/velor_space.h"
#include "utils/posting_list.h"
#include "utils/string_list.h"

/// Applying terms of a record to a dictionary that is open for writing. The number of a term is the index of
/// its posting.
namespace recif {

/// Inserts all terms; the last failure is the result, or 0.
int InsertTerms(velor_01::TVelorSpace* space, const velor_01::TStringList& list,
                const velor_01::TIfpPostingList& postings);

/// Deletes terms up to the first failure.
int DeleteTerms(velor_01::TVelorSpace* space, const velor_01::TStringList& list,
                const velor_01::TIfpPostingList& postings);

/// Deletes those of `oldTerms` that are not among `newTerms`, whether or not the dictionary has them. The
/// last failure is the result, or 0.
int DeleteLostTerms(velor_01::TVelorSpace* space, const velor_01::TStringList& newTerms,
                    const velor_01::TStringList& oldTerms, const velor_01::TIfpPostingList& postings);

}  // namespace recif
