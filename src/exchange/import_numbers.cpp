#include "exchange/import_numbers.h"

#include <sys/statvfs.h>

#include <string>

#include "storage/app_context.h"
#include "storage/codes.h"
#include "storage/database_open.h"
#include "storage/record_guid.h"
#include "storage/record_read.h"
#include "storage/record_status.h"
#include "storage/record_update.h"
#include "storage/shelf.h"
#include "storage/xrf_info.h"

namespace velora {

using velor_01::TVelorSpace;
using velor_32::kOk;

namespace {

/// A number far away is refused before it fills the disk.
bool HasRoomFor(const TVelorSpace* space, std::int64_t records) {
  constexpr std::int64_t kBytesEach = velor_01::kLeaderSize + velor_01::kXrfEntrySize;
  struct statvfs disk {};
  if (::statvfs((space->path + ".mst").c_str(), &disk) != 0) return false;
  return records * kBytesEach <
         static_cast<std::int64_t>(disk.f_bavail) * static_cast<std::int64_t>(disk.f_frsize);
}

/// Writes blank records and deletes them physically until `mfn` is the next free number.
bool ExtendTo(TVelorSpace* space, int mfn, int blankSlot, int timeout) {
  int next = velor_32::Velormaxmfn(space);
  if (next < 1 || (next < mfn && !HasRoomFor(space, std::int64_t{mfn} - next))) return false;
  for (; next < mfn && next >= 1; next = velor_32::Velormaxmfn(space)) {
    if (app::CheckStopProcess(space->app)) return false;
    int result = kOk;
    int ignored = kOk;
    velor_32::Velornewrec(space, blankSlot);
    velor_32::VelorRecUpdateTime(space, blankSlot, false, false, timeout, &result, &ignored);
    if (result != kOk) return false;
    const int blank = velor_32::Velormfn(space, blankSlot);
    if (int rc = velor_32::VelorRecPhysDelTime(space, blank, timeout); rc != kOk)
      velor_server_proc::LogTool("VelorRecPhysDelTime error mfn " + std::to_string(blank) + " " +
                                 std::to_string(rc));
  }
  return next >= mfn;
}

}  // namespace

void MakeNewRecord(TVelorSpace* space, int slot) {
  const char* guid = velor_32::VelorGetGuid(space, slot);
  const std::string kept = guid ? guid : "";
  velor_32::Velorchangemfn(space, slot, 0);
  if (!kept.empty()) velor_32::VelorSetGuid(space, slot, kept.c_str());
}

int TakeHeaderNumber(TVelorSpace* space, int slot, int blankSlot, int timeoutSeconds) {
  const int mfn = velor_32::Velormfn(space, slot);
  if (!ExtendTo(space, mfn, blankSlot, timeoutSeconds)) return velor_32::kMfnRange;
  if (mfn >= velor_32::Velormaxmfn(space)) {
    MakeNewRecord(space, slot);
    return kOk;
  }
  const int version = velor_32::VelorReadVersion(space, mfn);
  if (version < 0) return velor_32::kDamaged;
  velor_32::Velorchangeversion(space, slot, version);
  // The state in the file tells of the record that was exported; it is no right to the one that somebody
  // holds here.
  velor_32::Velorrecunlock(space, slot);
  return kOk;
}

void FreedNumbers::Load(TVelorSpace* space) {
  isisxrfinfo(space, {.physicallyDeleted = &numbers_});
}

void FreedNumbers::GiveNext(TVelorSpace* space, int slot) {
  velor_32::Velorchangemfn(space, slot, numbers_.Get(next_++));
  velor_32::Velorchangeversion(space, slot, 0);
}

}  // namespace velora
