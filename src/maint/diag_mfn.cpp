#include "maint/diag_mfn.h"

#include <unistd.h>

#include <algorithm>
#include <ostream>

#include "maint/diagnosis.h"
#include "storage/codes.h"
#include "storage/edge.h"
#include "storage/master_file.h"
#include "storage/record_read.h"
#include "storage/xrf_entries.h"
#include "utils/file_layer.h"

namespace velora {

using utils::FileSize;
using velor_01::kXrfEntrySize;
using velor_01::TNew_Xrf;

namespace {

constexpr int kEntriesBetweenPolls = 1 << 20;

void AddLine(const std::string& line, std::string* message) {
  if (!message->empty()) *message += '\n';
  *message += line;
}

void Complain(std::int64_t wanted, std::int64_t found, std::string* message) {
  AddLine("Not valid mst file size - Size in cnt= " + std::to_string(wanted) +
              " Size of mst= " + std::to_string(found),
          message);
}

/// Of files that cannot be used: the master file has no control record, or its cross-reference file is gone.
void ComplainOfRemains(const velor_01::TVelorSpace* space, int fragment, std::string* message) {
  const int mstFile =
      backup::_lopen(velor_32::FragmentPath(space, ".mst", fragment).c_str(), velor_32::kOpenRead);
  velor_01::Tcntmst control;
  if (velor_32::ReadControl(mstFile, &control)) {
    Complain(std::int64_t{control.nxtmfn} - 1, 0, message);
  } else {
    Complain(velor_01::kControlSize, mstFile < 0 ? 0 : FileSize(mstFile), message);
  }
  if (mstFile >= 0) backup::_lclose(mstFile);
}

/// Number of the last entry behind `first` that is not zero; `first` without one.
std::int64_t LastEntryInUse(int xrfFile, std::int64_t first) {
  std::int64_t last = first;
  velor_32::VisitXrfEntries(xrfFile, first + 1, FileSize(xrfFile) / kXrfEntrySize,
                            [&](int mfn, const TNew_Xrf& entry) {
                              if (entry.offsetLow || entry.offsetHigh || entry.flags) last = mfn;
                              return true;
                            });
  return last;
}

/// Whoever writes lengthens the files before the control record, and that before the entries: so the control
/// record is read before the sizes, and anew after the entries that nobody should have written yet.
void CheckSizes(const velor_32::FilePair& files, const velor_01::Tcntmst& control, std::string* message) {
  const std::int64_t count = std::int64_t{control.nxtmfn} - 1;
  const std::int64_t next = backup::MakeInt64(control.nxtLow, control.nxtHigh);
  const std::int64_t mstSize = FileSize(files.mstFile);
  if (next < velor_01::kControlSize || next > mstSize) Complain(next, mstSize, message);
  if (count < 0 || count * kXrfEntrySize > FileSize(files.xrfFile)) {
    Complain(count, FileSize(files.xrfFile) / kXrfEntrySize, message);
    return;
  }
  velor_01::Tcntmst now;
  const std::int64_t inUse = LastEntryInUse(files.xrfFile, count);
  if (inUse > count && velor_32::ReadControl(files.mstFile, &now) && inUse > now.nxtmfn - 1)
    Complain(now.nxtmfn - 1, inUse, message);
}

bool IsGoodEntry(const velor_32::FilePair& files, int mfn, const TNew_Xrf& entry) {
  const std::int64_t offset = backup::New_XrfToMstOffSet(entry);
  if (entry.flags & velor_01::kStatusPhysicallyDeleted)
    return offset == 0 && entry.flags == velor_01::kStatusPhysicallyDeleted;
  velor_01::Tlider leader;
  return velor_32::ReadLeaderAt(files.mstFile, offset, &leader) && leader.mfn == mfn;
}

/// The part of the range that lies in one fragment, in its own numbers.
MfnRange LocalRange(const velor_01::TVelorSpace* space, int fragment, MfnRange range, int lastMfn) {
  const auto local = [&](int mfn) {
    const std::int64_t number = mfn - velor_32::GlobalMfn(space, fragment, 0);
    return static_cast<int>(std::clamp<std::int64_t>(number, 0, std::int64_t{lastMfn} + 1));
  };
  return {std::max(local(range.from), 1), std::min(local(range.to), lastMfn)};
}

/// False on a stop request.
bool CheckFragment(velor_01::TVelorSpace* space, int fragment, MfnRange range, velor_01::TIntList* bad,
                   std::string* message) {
  const FragmentState state = OpenFragment(space, fragment);
  if (state == FragmentState::kUnused) return true;
  const velor_32::FilePair files = velor_32::ReadHandles(space, fragment);
  velor_01::Tcntmst control;
  if (state == FragmentState::kDamaged || !velor_32::ReadControl(files.mstFile, &control)) {
    ComplainOfRemains(space, fragment, message);
    return true;
  }
  CheckSizes(files, control, message);
  const MfnRange own = LocalRange(space, fragment, range, std::max(control.nxtmfn, 1) - 1);
  bool isStopped = false;
  velor_32::VisitXrfEntries(files.xrfFile, own.from, own.to, [&](int mfn, TNew_Xrf& entry) {
    const auto isGood = [&] { return IsGoodEntry(files, mfn, entry); };
    const auto isGoodNow = [&] { return velor_32::ReadEntryAt(files.xrfFile, mfn, &entry) && isGood(); };
    if (!isGood() && !(mfn == control.nxtmfn - 1 && AwaitLastRecord(isGoodNow)))
      bad->Add(static_cast<int>(velor_32::GlobalMfn(space, fragment, mfn)));
    isStopped = (mfn - own.from) % kEntriesBetweenPolls == 0 && app::CheckStopProcess(space->app);
    return !isStopped;
  });
  return !isStopped;
}

}  // namespace

int isisdiagmfn(velor_01::TVelorSpace* space, int from, int to, velor_01::TIntList* bad,
                std::string* message) {
  bad->Clear();
  message->clear();
  if (!velor_32::IsOpen(space)) return velor_32::kNoSpace;
  return velor_32::AtEdge([&] {
    if (int rc = velor_32::WakeRecordFiles(space); rc != velor_32::kOk) return rc;
    const MfnRange range = ClipRange(space, from, to);
    for (int fragment = 0; fragment <= velor_32::LastFragment(space); ++fragment) {
      if (CheckFragment(space, fragment, range, bad, message)) continue;
      AddLine(kStopped, message);
      break;
    }
    return velor_32::kOk;
  });
}

}  // namespace velora

namespace velor_server_proc {
namespace {

int WriteProtocol(app::VelorAppContext* ctx, const std::string& name, const velor_01::TIntList& bad,
                  const std::string& message, std::ostream& out) {
  velora::DiagReport protocol;
  if (!protocol.Create(ctx, name + "_protocol_" + std::to_string(::getpid()) + ".txt", out))
    return velor_32::kNoRecordFiles;
  if (!message.empty()) protocol.Line(message);
  if (bad.GetCount() > 0) protocol.Line("bad mfns");
  for (int i = 0; i < bad.GetCount(); ++i) protocol.Line(std::to_string(bad.Get(i)));
  return protocol.Close(out);
}

}  // namespace

int VelorDiagMfn(app::VelorAppContext* ctx, const std::string& db, int from, int to, std::ostream& out) {
  return RunDiagnosis(ctx, db, "DiagMfn", out, [&](const OpenedDatabase& database) {
    velor_01::TIntList bad;
    std::string message;
    if (int rc = velora::isisdiagmfn(database.space(), from, to, &bad, &message); rc != velor_32::kOk)
      return rc;
    const bool hasReport = bad.GetCount() > 0 || !message.empty();
    if (!message.empty()) out << message << '\n';
    if (hasReport)
      if (int rc = WriteProtocol(ctx, database.name(), bad, message, out); rc != velor_32::kOk) return rc;
    velora::WriteVerdict("", hasReport, out);
    return velor_32::kOk;
  });
}

}  // namespace velor_server_proc
