#include "maint/diagnosis.h"

#include <algorithm>
#include <ostream>

#include "exchange/exchange_files.h"
#include "storage/database_open.h"
#include "storage/master_file.h"
#include "storage/record_read.h"

namespace velora {

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
  const int last = velor_32::Velormaxmfn(space) - 1;
  return {std::max(from, 1), to < 1 || to > last ? last : to};
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
