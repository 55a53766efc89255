#include "exchange/import_corrections.h"

#include <ostream>

#include "exchange/exchange_files.h"
#include "format/format_files.h"
#include "gbl/record_checks.h"
#include "storage/app_context.h"
#include "storage/codes.h"
#include "storage/database_open.h"

namespace velora {

using velor_01::TStringList;
using velor_32::kOk;
using velor_server_proc::VelorImportContext;

int ImportCorrections::Prepare(const std::string& database, const VelorImportContext& params,
                               bool updateIndex, std::ostream& out) {
  if (params.mergeMode == VelorImportContext::kMergeByCorrection)
    if (int rc = LoadMergeTask(database, params.merge, out); rc != kOk) return rc;
  if (params.autoin) velor_server_proc::LoadAutomaticInput(space_, &automaticInput_);
  context_.ifUpdate = updateIndex;
  context_.flc = params.flc;
  context_.autoin = params.autoin;
  if (params.autoin) context_.autoinList = &automaticInput_;
  hasLogicControl_ = params.flc;
  if (!params.flc) return kOk;
  tableDirectory_ = xpft::TableDirectory(space_->app, space_->path);
  logicControl_ = velor_server_proc::LogicControlName(*space_->app);
  return kOk;
}

int ImportCorrections::LoadMergeTask(const std::string& database, const std::string& name,
                                     std::ostream& out) {
  const std::string path = LookupFile(space_->app, database, name, ".gbl");
  if (!path.empty() && mergeTask_.LoadFromFile(path) && mergeTask_.GetCount() > 0) return kOk;
  const std::string message =
      (path.empty() ? "Task file not found " : "Task file empty ") + database + " " + name;
  out << message << std::endl;
  velor_server_proc::LogTool(message);
  return velor_32::kNotFound;
}

std::string ImportCorrections::Run(const TStringList& task, int slot) {
  std::string texts;
  if (task.GetCount() == 0) return texts;
  context_.finished = [&](velor_01::TVelorSpace*, int, const std::string& errors, const std::string&) {
    texts = errors;
  };
  const int rc = velor_server_proc::VelorGblRec(space_, slot, &task, context_);
  context_.finished = nullptr;  // it looks at a local
  return rc != kOk && texts.empty() ? std::to_string(rc) : texts;
}

bool ImportCorrections::PassesLogicControl(int slot, std::string* result) {
  return !hasLogicControl_ ||
         velor_server_proc::DBN_Flc_record(space_, slot, tableDirectory_, logicControl_, *result);
}

}  // namespace velora
