#include "storage/app_paths.h"

#include <algorithm>
#include <memory>

#include "utils/ini_file.h"
#include "utils/path_util.h"
#include "utils/text_util.h"

namespace fmt_64 {
namespace {

using utils::PathUtil;

int GetNumber(const utils::IniFile& ini, std::string_view key, int def) {
  return utils::TextUtil::Int32ParseExact(ini.Get("MAIN", key, "").c_str(), def);
}

// MAXCYCLE is the older name of the limit; "-" stands for an absent MAXREPEAT.
int GetMaxRepeat(const utils::IniFile& ini) {
  std::string text = ini.Get("MAIN", "MAXREPEAT", "-");
  if (text == "-") text = ini.Get("MAIN", "MAXCYCLE", "");
  return utils::TextUtil::Int32ParseExact(text.c_str(), app::kDefaultMaxRepeat);
}

std::string WithSlash(std::string_view path) {
  std::string stored(path);
  if (!stored.empty() && stored.back() != '/' && stored.back() != '\\') stored += '/';
  return stored;
}

std::string GetDirectory(const app::VelorAppContext* ctx, std::string_view key, std::string_view base,
                         std::string_view underBase) {
  std::string path = std::string(base) + std::string(underBase);
  if (ctx != nullptr && ctx->mainIni != nullptr) path = ctx->mainIni->Get("MAIN", key, path);
  std::replace(path.begin(), path.end(), '\\', '/');
  return backup::CorPath(base, path);
}

}  // namespace

void velor_MainIni_Init(app::VelorAppContext* ctx, const std::string& path) {
  ctx->mainIni.reset();
  // One that is there and cannot be read is none: with the defaults a tool would work on other databases.
  std::string text;
  if (!utils::TextUtil::FileReadAllBytes(path, text)) return;

  const std::string includeBase =
      ctx->execDir.empty() ? PathUtil::GetDirectoryName(PathUtil::GetExePathA()) : ctx->execDir;
  ctx->mainIni = utils::IniFile::ParseFile(path, includeBase);
  if (ctx->mainIni == nullptr) return;

  const utils::IniFile& ini = *ctx->mainIni;
  ctx->maxRepeat = GetMaxRepeat(ini);
  ctx->guidOption = static_cast<std::int16_t>(GetNumber(ini, "GUID_OPTION", 0));
  ctx->maxDocSearch = GetNumber(ini, "MAXDOCSEARCH", app::kDefaultMaxDocSearch);
  ctx->allUtf8 = GetNumber(ini, "ALLUTF8", 0) > 0;
  ctx->reusePhysDel = GetNumber(ini, "REUSE_PHYS_DEL", 0) > 0;
  ctx->lazyBool = GetNumber(ini, "LAZY_BOOL", 0) > 0;
}

void velor_init_ExecDir(app::VelorAppContext* ctx, std::string_view path) {
  ctx->execDir = WithSlash(path);
}

void velor_init_DataPath(app::VelorAppContext* ctx, std::string_view path) {
  ctx->dataPath = WithSlash(path);
}

void velor_init_DepositPath(app::VelorAppContext* ctx, std::string_view path) {
  ctx->depositPath = WithSlash(path);
}

std::string GetExecDir(const app::VelorAppContext* ctx) {
  return ctx != nullptr ? ctx->execDir : "";
}

std::string GetDataPath(const app::VelorAppContext* ctx) {
  return ctx != nullptr ? ctx->dataPath : "";
}

std::string GetDepositPath(const app::VelorAppContext* ctx) {
  return ctx != nullptr ? ctx->depositPath : "";
}

std::string GetDataPath(const app::VelorAppContext* ctx, std::string_view base) {
  return GetDirectory(ctx, "Datapath", base, "datai/");
}

std::string GetWorkDir(const app::VelorAppContext* ctx, std::string_view base) {
  return GetDirectory(ctx, "workdir", base, "workdir/");
}

std::string GetDepositPath(const app::VelorAppContext* ctx, std::string_view base) {
  return GetDirectory(ctx, "DepositPath", base, "datai/deposit/");
}

std::string WorkDirectoryPath(const app::VelorAppContext* ctx) {
  const std::string path = GetWorkDir(ctx, GetExecDir(ctx));
  return path.empty() ? GetExecDir(ctx) + "workdir/" : WithSlash(path);
}

void velor_set_options(app::VelorAppContext* ctx, bool, bool decompiled, bool) {
  ctx->decompiledFormats = decompiled;
}

void velor_enable_xpft(app::VelorAppContext* ctx, bool enabled, int cacheOption) {
  ctx->xpftEnabled = enabled;
  ctx->recordCacheOpt = static_cast<app::RecordCacheOpt::Type>(cacheOption);
}

void velor_enable_xpft_update(app::VelorAppContext* ctx, bool enabled) {
  ctx->xpftUpdateEnabled = enabled;
}

}  // namespace fmt_64
