#pragma once

#include <string>

#include "storage/maintenance_context.h"
#include "utils/int_list.h"

namespace velora {

/// Whether the marks of a record are believed; see index/record_index.h.
enum class IndexWork { kByMarks, kRepair };

/// ActualIfFTMfnList with a choice of how the records are done.
int ActualizeList(VelorAContext* context, const std::string& db, const velor_01::TIntList* records,
                  const velor_01::TIntList* fullTexts, IndexWork work);

}  // namespace velora
