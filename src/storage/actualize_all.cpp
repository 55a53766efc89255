#include "storage/actualize_all.h"

#include <algorithm>
#include <optional>

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

/// Marks records while the mutex is held, with the files of a fragment opened once.
class Marker {
 public:
  explicit Marker(TVelorSpace* space) : space_(space) {}

  /// The image first: an entry without the bit says that both are done.
  bool Mark(int mfn) {
    int fragment = 0;
    const int localMfn = backup::VelorGetMfn(space_, mfn, &fragment);
    if (localMfn < 1 || !Open(fragment)) return false;
    const WriteFiles& files = open_->files;
    TNew_Xrf entry;
    if (!ReadEntryAt(files.xrfFile, localMfn, &entry)) return false;
    const std::int64_t offset = backup::New_XrfToMstOffSet(entry);
    Tlider leader;
    if (!ReadLeaderAt(files.mstFile, offset, &leader) || leader.mfn != localMfn) return true;
    if ((leader.status & kStatusNotActualized) != 0 &&
        !WriteWordAt(files.mstFile, offset + velor_01::kStatusWordOffset,
                     leader.status & ~kStatusNotActualized))
      return false;
    entry.flags &= ~kStatusNotActualized;
    return WriteEntryAt(files.xrfFile, localMfn, entry);
  }

 private:
  bool Open(int fragment) {
    if (open_ && fragment == fragment_) return true;
    fragment_ = fragment;
    open_.emplace();
    return open_->Open(space_, fragment) == kOk;
  }

  TVelorSpace* space_;
  int fragment_ = 0;
  std::optional<UpdateFiles> open_;
};

}  // namespace

int MarkAllActualized(TVelorSpace* space, int timeoutSeconds) {
  velor_01::TIntList pending;
  if (int rc = VelorNotActList(space, &pending); rc != kOk) return rc;
  if (pending.GetCount() == 0) return kOk;
  int rc = kOk;
  for (int next = 0; rc == kOk && next < pending.GetCount();) {
    const int end = std::min(next + kRecordsPerHold, pending.GetCount());
    rc = UnderDatabaseMutex(space, timeoutSeconds, [&] {
      if (app::CheckStopProcess(space->app)) return kStopRequested;
      Marker marker(space);
      for (; next < end; ++next)
        if (!marker.Mark(pending.Get(next))) return kNoRecordFiles;
      return kOk;
    });
  }
  return rc;
}

}  // namespace velor_32
