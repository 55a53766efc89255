#include "maint/diagnosis.h"

#include <algorithm>
#include <chrono>
#include <cstdint>
#include <cstdio>
#include <ostream>
#include <thread>

#include "exchange/exchange_files.h"
#include "maint/file_window.h"
#include "storage/codes.h"
#include "storage/database_open.h"
#include "storage/master_file.h"
#include "storage/record_read.h"
#include "utils/file_layer.h"

namespace velora {
namespace {

bool HasControl(const velor_01::TVelorSpace* space, int fragment) {
  velor_01::Tcntmst control;
  return velor_32::ReadControl(velor_32::ReadHandles(space, fragment).mstFile, &control);
}

bool ReopenFragment(velor_01::TVelorSpace* space, int fragment) {
  return velor_32::VelorInitMSTXRF(space, fragment - 1, velor_32::kOpenRead) == 1;
}

bool HasEntries(const velor_01::TVelorSpace* space, int fragment) {
  constexpr std::int64_t kBlockBytes = 0x10000;
  const int handle =
      backup::_lopen(velor_32::FragmentPath(space, ".xrf", fragment).c_str(), velor_32::kOpenRead);
  if (handle < 0) return false;
  FileWindow window(handle, backup::_llseek(handle, 0, SEEK_END), kBlockBytes);
  const bool hasEntries = window.EndOfZeros(0) < window.size();
  backup::_lclose(handle);
  return hasEntries;
}

void Complain(const std::string& message, std::ostream& out) {
  out << message << '\n';
  velor_server_proc::LogTool(message);
}

}  // namespace

bool DiagReport::Create(const app::VelorAppContext* ctx, const std::string& file, std::ostream& out) {
  path_ = WorkDirectory(ctx) + file;
  if (file_.Create(path_)) return true;
  Complain("failed to open file for writhing " + path_, out);
  return false;
}

int DiagReport::Close(std::ostream& out) {
  if (file_.Close()) return velor_32::kOk;
  Complain("failed to write file " + path_, out);
  return velor_32::kNoRecordFiles;
}

void DiagReport::Line(std::string_view text) {
  Text(text);
  Text("\n");
}

void DiagReport::Text(std::string_view text) {
  if (file_.isOpen()) file_.Write(text.data(), text.size());
}

MfnRange ClipRange(velor_01::TVelorSpace* space, int from, int to) {
  const int last = velor_32::LastMfn(space);
  return {std::max(from, 1), to < 1 || to > last ? last : to};
}

bool AwaitLastRecord(const std::function<bool()>& isThere) {
  constexpr int kTries = 50;
  for (int i = 0; i < kTries; ++i) {
    if (isThere()) return true;
    std::this_thread::sleep_for(std::chrono::milliseconds(10));
  }
  return isThere();
}

/// A writer makes the control record before the entries, so that where there are entries it is looked for
/// anew.
FragmentState OpenFragment(velor_01::TVelorSpace* space, int fragment) {
  if (HasControl(space, fragment)) return FragmentState::kOpen;
  if (fragment == 0) return FragmentState::kDamaged;
  const bool areThere = ReopenFragment(space, fragment);
  if (HasControl(space, fragment)) return FragmentState::kOpen;
  if (areThere && !HasEntries(space, fragment)) return FragmentState::kUnused;
  return ReopenFragment(space, fragment) && HasControl(space, fragment) ? FragmentState::kOpen
                                                                        : FragmentState::kDamaged;
}

void WriteVerdict(std::string_view subject, bool hasReport, std::ostream& out) {
  out << subject << (hasReport ? "Have report" : "Everything ok") << '\n';
}

}  // namespace velora

namespace velor_server_proc {

int RunDiagnosis(app::VelorAppContext* ctx, const std::string& db, const char* title, std::ostream& out,
                 const std::function<int(const OpenedDatabase&)>& work) {
  const OpenedDatabase database(ctx, db, out);
  if (!database.isReady()) return database.result();
  const std::string subject = std::string(title) + " " + database.name();
  out << title << '\n';
  LogTool(subject);
  return ReportOutcome(subject, work(database), out);
}

}  // namespace velor_server_proc
