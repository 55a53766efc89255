#pragma once

#include <string>

#include "storage/maintenance_context.h"
#include "storage/velor_space.h"

namespace velora {

/// The reverse of loading: writes the terms and postings of a dictionary to a term file (term_line.h), in
/// order, so that it can be loaded as it is or sorted with others. Terms without postings are left out.
/// The file appears when it is whole. Result 0; -100; -400 when the file is not made; -401 for a damaged
/// dictionary; -516 when it is not written; -999 on a stop request.
int VelorLnk_Creat(VelorAContext* ctx, velor_01::TVelorSpace* space, const std::string& file);

}  // namespace velora
