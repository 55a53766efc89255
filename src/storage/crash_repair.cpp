#include "storage/crash_repair.h"

#include "storage/bulk_writer.h"
#include "storage/codes.h"
#include "storage/record_image.h"
#include "storage/record_read.h"

namespace velor_32 {

void MendAfterDeadWriter(TVelorSpace* space) {
  UpdateFiles open;
  if (open.Open(space, LastFragment(space)) != kOk) return;
  velor_01::Tcntmst control;
  velor_01::TNew_Xrf entry;
  if (!ReadControl(open.files.mstFile, &control)) return;
  if (control.nxtmfn < 2) return;
  const int last = control.nxtmfn - 1;
  if (!ReadEntryAt(open.files.xrfFile, last, &entry)) return;
  if (entry.offsetLow != 0 || entry.offsetHigh != 0 || entry.flags != 0) return;
  // When this fails the number stays as the dead writer left it, which a reader reports as damage.
  (void)WriteEntryAt(open.files.xrfFile, last, {0, 0, velor_01::kStatusPhysicallyDeleted});
}

}  // namespace velor_32
