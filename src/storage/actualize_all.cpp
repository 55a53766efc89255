#include "storage/actualize_all.h"

#include <algorithm>
#include <vector>

#include "storage/app_context.h"
#include "storage/codes.h"
#include "storage/database_mutex.h"
#include "storage/record_image.h"
#include "storage/record_read.h"
#include "storage/xrf_info.h"
#include "utils/int_list.h"

namespace velor_32 {

using velor_01::kStatusNotActualized;
using velor_01::Tlider;
using velor_01::TNew_Xrf;

namespace {

constexpr int kRecordsPerHold = 1000;  // of the mutex
constexpr int kStopRequested = -999;

/// The image first: an entry without the bit says that both are done.
bool MarkRecord(TVelorSpace* space, int mfn) {
  int fragment = 0;
  const int localMfn = backup::VelorGetMfn(space, mfn, &fragment);
  UpdateFiles open;
  TNew_Xrf entry;
  if (localMfn < 1 || open.Open(space, fragment) != kOk) return false;
  if (!ReadEntryAt(open.files.xrfFile, localMfn, &entry)) return false;
  const std::int64_t offset = backup::New_XrfToMstOffSet(entry);
  Tlider leader;
  if (!ReadLeaderAt(open.files.mstFile, offset, &leader) || leader.mfn != localMfn) return true;
  const bool isMarked = (leader.status & kStatusNotActualized) == 0 ||
                        WriteWordAt(open.files.mstFile, offset + velor_01::kStatusWordOffset,
                                    leader.status & ~kStatusNotActualized);
  entry.flags &= ~kStatusNotActualized;
  return isMarked && WriteEntryAt(open.files.xrfFile, localMfn, entry);
}

}  // namespace

int MarkAllActualized(TVelorSpace* space, int timeoutSeconds) {
  velor_01::TIntList pending;
  if (int rc = VelorNotActList(space, &pending); rc != kOk) return rc;
  if (pending.GetCount() == 0) return kOk;
  if (int rc = VelorBulkStart(space); rc != kOk) return rc;
  int rc = kOk;
  for (int next = 0; rc == kOk && next < pending.GetCount();) {
    const int end = std::min(next + kRecordsPerHold, pending.GetCount());
    rc = UnderDatabaseMutex(space, timeoutSeconds, [&] {
      if (app::CheckStopProcess(space->app)) return kStopRequested;
      for (; next < end; ++next)
        if (!MarkRecord(space, pending.Get(next))) return kNoRecordFiles;
      return kOk;
    });
  }
  VelorBulkStop(space);
  return rc;
}

}  // namespace velor_32
