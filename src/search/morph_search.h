#pragma once

#include <iosfwd>
#include <string>

#include "storage/velor_space.h"
#include "utils/int_list.h"

namespace velor_server_proc {

/// Search of the server's procedures, set up by the main INI file, section MAIN:
///
///   MORPH               name of the morphology database for terms that end in "@"; without it there is none
///   BlockSearch         1: the search runs under the mutex of the database
///   UpDownSearchResult  1: highest record number first
///
/// Results as for Search18::VelorFreeVelorSearch. A morphology database that does not open is told on `out`,
/// and the search goes on without one.
int FreeSearchWithMorph(velor_01::TVelorSpace* space, std::string& expression, velor_01::TIntList* result,
                        std::ostream& out);

}  // namespace velor_server_proc
