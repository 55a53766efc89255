#include "storage/opened_database.h"

#include <ostream>

#include "storage/codes.h"
#include "storage/database_open.h"
#include "utils/string_utils.h"

namespace velor_server_proc {

OpenedDatabase::OpenedDatabase(app::VelorAppContext* ctx, const std::string& db, std::ostream& out)
    : name_(utils::StringUtils::ToLower(db)), space_(VelorOpenDb(ctx, name_, out, &result_)) {
  if (space_ == nullptr) return;
  settings_.reset(velora::VelorA_init(ctx));
  if (settings_ == nullptr) result_ = velor_32::kNoMemory;
}

int ReportOutcome(const std::string& subject, int rc, std::ostream& out) {
  if (rc == 0) {
    out << "Done\n";
    LogTool(subject + " done");
  } else {
    out << "Error " << rc << '\n';
    LogTool(subject + " error " + std::to_string(rc));
  }
  return rc;
}

}  // namespace velor_server_proc
