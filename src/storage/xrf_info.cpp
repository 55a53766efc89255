#include "storage/xrf_info.h"

#include <algorithm>

#include "storage/app_context.h"
#include "storage/codes.h"
#include "storage/edge.h"
#include "storage/master_file.h"
#include "storage/record_read.h"
#include "storage/xrf_entries.h"
#include "utils/int_list.h"

namespace velor_32 {

using velor_01::TNew_Xrf;

namespace {

constexpr int kEntriesBetweenPolls = 3200;

/// Gives each entry of one file, from `localMfn` on, to `visit(localMfn, flags)` until that returns false.
/// Result false when it did, or on a stop request.
template <class Visit>
bool VisitFile(const TVelorSpace* space, int fragment, std::int64_t localMfn, Visit&& visit) {
  const FilePair files = ReadHandles(space, fragment);
  velor_01::Tcntmst control;
  if (!ReadControl(files.mstFile, &control)) return true;
  bool goOn = true;
  VisitXrfEntries(files.xrfFile, localMfn, std::int64_t{control.nxtmfn} - 1,
                  [&](int mfn, const TNew_Xrf& entry) {
                    const bool polls = (mfn - localMfn) % kEntriesBetweenPolls == 0;
                    goOn = !(polls && app::CheckStopProcess(space->app)) && visit(mfn, entry.flags);
                    return goOn;
                  });
  return goOn;
}

/// The same over all files, with the numbers of the whole database.
template <class Visit>
void VisitEntries(TVelorSpace* space, int fromMfn, Visit&& visit) {
  int first = 0;
  std::int64_t localMfn = backup::VelorGetMfn(space, std::max(fromMfn, 1), &first);
  for (int fragment = first; fragment <= LastFragment(space); ++fragment, localMfn = 1) {
    const bool goOn = VisitFile(space, fragment, localMfn, [&](int local, std::int32_t flags) {
      return visit(static_cast<int>(GlobalMfn(space, fragment, local)), flags);
    });
    if (!goOn) return;
  }
}

/// Result 0, -100 or -400.
int CheckReadable(TVelorSpace* space) {
  if (!IsOpen(space)) return kNoSpace;
  if (int rc = WakeRecordFiles(space); rc != kOk) return rc;
  return space->mst->mstFile < 0 ? kNoRecordFiles : kOk;
}

}  // namespace

int VelorNotActList(TVelorSpace* space, velor_01::TIntList* list) {
  return velora::isisxrfinfo(space, {.notActualized = list});
}

int XrfFindPhysDel(TVelorSpace* space, int fromMfn) {
  if (CheckReadable(space) != kOk) return 0;
  int found = 0;
  VisitEntries(space, fromMfn, [&](int mfn, std::int32_t flags) {
    if (flags & velor_01::kStatusPhysicallyDeleted) found = mfn;
    return found == 0;
  });
  return found;
}

int VelorXrfGetFirstPhysDel(TVelorSpace* space) {
  return XrfFindPhysDel(space, 1);
}

}  // namespace velor_32

namespace velora {

int isisxrfinfo(velor_01::TVelorSpace* space, const XrfLists& lists) {
  using namespace velor_01;
  const struct {
    std::int32_t bit;
    TIntList* list;
  } wanted[] = {
      {kStatusDeleted, lists.deleted},
      {kStatusNotActualized, lists.notActualized},
      {kStatusLocked, lists.locked},
      {kStatusFullTextNotActualized, lists.fullTextNotActualized},
  };
  if (lists.physicallyDeleted) lists.physicallyDeleted->Clear();
  for (const auto& state : wanted)
    if (state.list) state.list->Clear();

  return velor_32::AtEdge([&] {
    if (int rc = velor_32::CheckReadable(space); rc != velor_32::kOk) return rc;
    velor_32::VisitEntries(space, 1, [&](int mfn, std::int32_t flags) {
      if (flags & kStatusPhysicallyDeleted) {
        if (lists.physicallyDeleted) lists.physicallyDeleted->Add(mfn);
        return true;
      }
      for (const auto& state : wanted)
        if (state.list && (flags & state.bit)) state.list->Add(mfn);
      return true;
    });
    return velor_32::kOk;
  });
}

}  // namespace velora
