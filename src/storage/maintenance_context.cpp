#include "storage/maintenance_context.h"

#include <sys/sysinfo.h>

#include <memory>
#include <new>
#include <string_view>

#include "storage/app_paths.h"
#include "utils/ini_file.h"
#include "utils/string_utils.h"
#include "utils/text_util.h"

namespace velora {
namespace {

constexpr int kDefaultRelayRecTime = 5;

std::string GetDbName(const utils::IniFile* ini, std::string_view key, std::string_view def) {
  return utils::StringUtils::ToLower(ini != nullptr ? ini->Get("Main", key, def) : std::string(def));
}

void ReadIni(const utils::IniFile& ini, VelorAContext& context) {
  context.relayRecTime = MainNumber(*context.app, "RELAY_RECTIME", kDefaultRelayRecTime);
  context.multiload = MainNumber(*context.app, "MULTILOAD", context.multiload);
  if (MainNumber(*context.app, "REPORT_PROGRESS", 0) > 0) context.reportProgress = true;
  context.dataPathRaw = ini.Get("Main", "Datapath", "");
  context.dataPath = fmt_64::GetDataPath(context.app, fmt_64::GetExecDir(context.app));
  if (!context.dataPath.ends_with('/')) context.dataPath += '/';
}

}  // namespace

VelorAContext* VelorA_init(app::VelorAppContext* ctx) {
  if (ctx == nullptr) return nullptr;
  try {
    auto context = std::make_unique<VelorAContext>();
    const utils::IniFile* ini = ctx->mainIni.get();
    context->app = ctx;
    context->reportProgress = ctx->progressCallback != nullptr;
    context->multiload = get_nprocs();
    context->etalonDb = GetDbName(ini, "EtalonDBN", "ORYX");
    context->emptyDb = GetDbName(ini, "EmptyDBN", "BLANK");
    context->dataPath = fmt_64::GetExecDir(ctx);
    if (ini != nullptr) ReadIni(*ini, *context);
    return context.release();
  } catch (const std::bad_alloc&) {
    return nullptr;
  }
}

int MainNumber(const app::VelorAppContext& ctx, const char* key, int byDefault) {
  if (ctx.mainIni == nullptr) return byDefault;
  return utils::TextUtil::Int32ParseExact(ctx.mainIni->Get("Main", key, "").c_str(), byDefault);
}

std::string MainText(const app::VelorAppContext& ctx, const char* key, const char* byDefault) {
  return ctx.mainIni != nullptr ? ctx.mainIni->Get("Main", key, byDefault) : byDefault;
}

void VelorA_close(VelorAContext* context) {
  delete context;
}

}  // namespace velora
