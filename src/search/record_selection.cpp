#include "search/record_selection.h"

#include <ostream>

#include "search/morph_search.h"

namespace velora {

int SearchRecords(velor_01::TVelorSpace* space, std::string expression, velor_01::TIntList* found,
                  std::ostream& out) {
  out << "free search: " << expression << std::endl;
  const int rc = velor_server_proc::FreeSearchWithMorph(space, expression, found, out);
  if (rc == 0) out << "found: " << found->GetCount() << std::endl;
  return rc;
}

}  // namespace velora
