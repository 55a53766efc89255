#pragma once

#include "storage/velor_space.h"

/// Passes over the cross-reference files of a database, fragments included. Every pass reads blocks of 3200
/// entries and ends early on a stop request, or where a file ends before its entries do.
namespace velor_32 {

/// All records with the not-actualized bit, in ascending order. Clears the list first. Result 0, -100 or
/// -400.
int VelorNotActList(TVelorSpace* space, velor_01::TIntList* list);

/// Number of the first physically deleted record, from `fromMfn` on; 0 when there is none or a stop was
/// requested.
int VelorXrfGetFirstPhysDel(TVelorSpace* space);
int XrfFindPhysDel(TVelorSpace* space, int fromMfn);

}  // namespace velor_32

namespace velora {

/// Where isisxrfinfo puts the numbers of the records in each state; null where a state is of no interest. A
/// record may stand in several lists; a physically deleted one stands in that list alone.
struct XrfLists {
  velor_01::TIntList* physicallyDeleted = nullptr;
  velor_01::TIntList* deleted = nullptr;
  velor_01::TIntList* notActualized = nullptr;
  velor_01::TIntList* locked = nullptr;
  velor_01::TIntList* fullTextNotActualized = nullptr;
};

/// Fills the lists in one pass, in ascending order; they are cleared first. Result 0, -100 or -400.
int isisxrfinfo(velor_01::TVelorSpace* space, const XrfLists& lists);

}  // namespace velora
