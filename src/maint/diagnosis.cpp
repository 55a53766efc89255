#include "maint/diagnosis.h"

#include <algorithm>
#include <chrono>
#include <cstdint>
#include <cstdio>
#include <ostream>
#include <thread>

#include "exchange/exchange_files.h"
#include "maint/file_window.h"
#include "storage/database_open.h"
#include "storage/master_file.h"
#include "storage/record_read.h"
#include "utils/file_layer.h"

namespace velora {
namespace {

/// How many records the files have room for: each has an image or an entry. A damaged control record may tell
/// of thousands of millions.
std::int64_t MostRecords(const velor_01::TVelorSpace* space) {
  std::int64_t most = 0;
  for (int fragment = 0; fragment <= velor_32::LastFragment(space); ++fragment) {
    const velor_32::FilePair files = velor_32::ReadHandles(space, fragment);
    const std::int64_t images = backup::_llseek(files.mstFile, 0, SEEK_END) / velor_01::kLeaderSize;
    const std::int64_t entries = backup::_llseek(files.xrfFile, 0, SEEK_END) / velor_01::kXrfEntrySize;
    const std::int64_t own = std::min<std::int64_t>(std::max(images, entries), INT32_MAX);
    if (own > 0) most = std::max(most, velor_32::GlobalMfn(space, fragment, static_cast<int>(own)));
  }
  return most;
}

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

}  // namespace

bool DiagReport::Create(const app::VelorAppContext* ctx, const std::string& file, std::ostream& out) {
  const std::string path = WorkDirectory(ctx) + file;
  if (file_.Create(path)) return true;
  const std::string message = "failed to open file for writhing " + path;
  out << message << '\n';
  velor_server_proc::LogTool(message);
  return false;
}

void DiagReport::Line(std::string_view text) {
  Text(text);
  Text("\n");
}

void DiagReport::Text(std::string_view text) {
  if (file_.isOpen()) file_.Write(text.data(), text.size());
}

std::string DatabaseFileName(const velor_01::TVelorSpace* space) {
  return backup::GetDbNameEK(space) + (space->isTextSpace ? "--text" : "");
}

MfnRange ClipRange(velor_01::TVelorSpace* space, int from, int to) {
  const int last =
      static_cast<int>(std::min<std::int64_t>(velor_32::Velormaxmfn(space) - 1, MostRecords(space)));
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
