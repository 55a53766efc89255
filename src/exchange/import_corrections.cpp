#include "exchange/import_corrections.h"

#include <ostream>
#include <utility>

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
  velor_server_proc::VelorGblRecContext context;
  context.ifUpdate = updateIndex;
  context.flc = params.flc;
  context.autoin = params.autoin;
  if (params.autoin) {
    velor_server_proc::LoadAutomaticInput(space_, &automaticInputLines_);
    automaticInput_ = global::ReadTask(space_->app, automaticInputLines_);
    context.autoinList = &automaticInputLines_;
  }
  context.finished = [this](velor_01::TVelorSpace*, int, const std::string& errors, const std::string&) {
    errors_ = errors;
  };
  runner_ = std::make_unique<velor_server_proc::GblRecRunner>(space_, context);
  context.autoin = context.flc = false;
  context.writeRecord = [](velor_01::TVelorSpace*, int) { return kOk; };
  repeater_ = std::make_unique<velor_server_proc::GblRecRunner>(space_, std::move(context));
  tableDirectory_ = xpft::TableDirectory(space_->app, space_->path);
  logicControl_ = velor_server_proc::LogicControlName(*space_->app);
  hasLogicControl_ = params.flc && velor_server_proc::HasLogicControl(space_, tableDirectory_, logicControl_);
  return kOk;
}

int ImportCorrections::LoadMergeTask(const std::string& database, const std::string& name,
                                     std::ostream& out) {
  const std::string path = LookupFile(space_->app, database, name, ".gbl");
  TStringList lines;
  if (!path.empty() && lines.LoadFromFile(path) && lines.GetCount() > 0) {
    mergeTask_ = global::ReadTask(space_->app, lines);
    return kOk;
  }
  const std::string message =
      (path.empty() ? "Task file not found " : "Task file empty ") + database + " " + name;
  out << message << std::endl;
  velor_server_proc::LogTool(message);
  return velor_32::kNotFound;
}

const std::string& ImportCorrections::RunAutomaticInput(int slot, bool isRepeated) {
  return Run(isRepeated ? repeater_.get() : runner_.get(), automaticInput_, slot);
}

const std::string& ImportCorrections::Run(velor_server_proc::GblRecRunner* runner,
                                          const global::TaskText& task, int slot) {
  errors_.clear();
  if (task.GetCount() > 0) runner->Run(slot, task);
  return errors_;
}

bool ImportCorrections::PassesLogicControl(int slot, std::string* result) {
  return !hasLogicControl_ ||
         velor_server_proc::DBN_Flc_record(space_, slot, tableDirectory_, logicControl_, *result);
}

}  // namespace velora
