#include "search/morph_search.h"

#include <ostream>

#include "search/search18.h"
#include "search/tmthrd_32.h"
#include "storage/app_context.h"
#include "storage/codes.h"
#include "storage/maintenance_context.h"

namespace velor_server_proc {

namespace {

void SetUpMorphology(velor_01::TVelorSpace* space, std::ostream& out) {
  const std::string name = velora::MainText(*space->app, "MORPH", "");
  if (name.empty()) {
    Tmthrd_32::ClearMorph(space);
    return;
  }
  if (const int rc = Tmthrd_32::InitMorph(space, name); rc != velor_32::kOk)
    out << "OpenDB " << name << " failed: " << rc << std::endl;
}

}  // namespace

int FreeSearchWithMorph(velor_01::TVelorSpace* space, std::string& expression, velor_01::TIntList* result,
                        std::ostream& out) {
  if (!space || !space->app) return velor_32::kNoSpace;
  SetUpMorphology(space, out);
  return Search18::VelorFreeVelorSearch(space, expression, result,
                                        velora::MainText(*space->app, "BlockSearch", "") == "1",
                                        velora::MainText(*space->app, "UpDownSearchResult", "") == "1");
}

}  // namespace velor_server_proc
