#include "maint/facet_cells_tool.h"

#include <ostream>

#include "index/facet_cells.h"
#include "storage/database_open.h"
#include "storage/opened_database.h"

namespace velor_server_proc {

namespace {

int RunOnCells(app::VelorAppContext* app, const std::string& db, const std::string& title,
               int (*work)(velora::VelorAContext*, velor_01::TVelorSpace*), std::ostream& out) {
  const OpenedDatabase database(app, db, out);
  if (!database.isReady()) return database.result();
  const std::string subject = title + " " + database.name();
  out << title << '\n';
  LogTool(subject);
  return ReportOutcome(subject, work(database.settings(), database.space()), out);
}

}  // namespace

int VelorCreateCells(app::VelorAppContext* app, const std::string& db, std::ostream& out) {
  return RunOnCells(app, db, "CreateCells", velora::VelorCreateCells, out);
}

int VelorDeleteCells(app::VelorAppContext* app, const std::string& db, std::ostream& out) {
  return RunOnCells(app, db, "DeleteCells", velora::VelorDeleteCells, out);
}

}  // namespace velor_server_proc
