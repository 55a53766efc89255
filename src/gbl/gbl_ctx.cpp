#include "gbl/gbl_ctx.h"

#include <algorithm>

#include "format/format_run.h"
#include "storage/codes.h"
#include "storage/master_file.h"
#include "storage/process.h"
#include "utils/log_util.h"
#include "utils/string_utils.h"

namespace global {

using velor_01::TVelorSpace;
using velor_32::kOk;

namespace {

constexpr int kMaxOutput = 32000;
constexpr std::string_view kRecordEnd = "@@@";

/// The first `count` characters of a UTF-8 text.
std::string_view FirstCharacters(std::string_view text, std::size_t count) {
  std::size_t end = 0;
  while (end < text.size()) {
    const bool startsCharacter = (static_cast<unsigned char>(text[end]) & 0xC0) != 0x80;
    if (startsCharacter && count-- == 0) break;
    ++end;
  }
  return text.substr(0, end);
}

}  // namespace

void GblCtx::Fail(std::string_view key, std::string_view text) {
  errorStream.append(key).append("=").append(text).append(kRecordEnd);
  abortFlag = 1;
}

void GblCtx::FailFormat(int code, std::string_view format, std::size_t shown) {
  std::string text = std::to_string(code) + "-";
  text.append(FirstCharacters(format, shown)).append("...");
  Fail("FORMAT_ERROR", text);
}

void GblCtx::Protocol(std::string_view text) {
  protocolStream.append("GBL_PROTOCOL=").append(text).append(kRecordEnd);
}

Target SpaceTarget(GblCtx* ctx, TVelorSpace* space, int slot, int i) {
  TVelorSpace* target = ctx->spaces.At(i);
  if (target == nullptr) return {};
  if (target == space) return {space, slot};
  if (velor_32::VelorUnlazy(target) != kOk) return {};
  return {target, 0};
}

int NewRecordIndex(const GblCtx* ctx) {
  return ctx->newRecReady == 1 ? ctx->spaces.IndexOfId(ctx->newRecId) : SpaceTable::kNone;
}

Target FindTarget(GblCtx* ctx, TVelorSpace* space, int slot, bool needsHits) {
  if (ctx->inCorrec == 1) {
    if (needsHits && ctx->correcHits < 1) return {};
    return SpaceTarget(ctx, space, slot, ctx->targetIndex);
  }
  if (ctx->inNewRec == 1) return SpaceTarget(ctx, space, slot, NewRecordIndex(ctx));
  return {space, slot};
}

bool Evaluate(GblCtx* ctx, Target target, const std::string& format, std::size_t shown, std::string* output) {
  output->clear();
  const std::string text = "!" + format;
  int rc = fmt_64::Velor_InitPFT(target.space, text.data(), static_cast<int>(text.size()));
  if (rc == kOk)
    rc = fmt_64::Velor_Format(target.space, target.slot, target.slot + 1, kMaxOutput, 0, "format32");
  if (rc != kOk) {
    ctx->FailFormat(rc, format, shown);
    return false;
  }
  int length = 0;
  const char* result = xpft::Velor_FormatResult(target.space, &length);
  output->assign(result, static_cast<std::size_t>(length));
  return true;
}

void SplitLines(std::string_view output, std::vector<std::string>* lines) {
  lines->clear();
  for (const std::string_view line : utils::StringUtils::SplitLines(output)) lines->emplace_back(line);
}

std::string_view LineAt(const std::vector<std::string>& lines, int i) {
  if (i < 0 || static_cast<std::size_t>(i) >= lines.size()) return {};
  return lines[static_cast<std::size_t>(i)];
}

std::string MasterPath(GblCtx* ctx, const TVelorSpace* space) {
  int rc = kOk;
  const auto database = ctx->pool->Find(space->app, ctx->dbName, &rc);
  return database ? database->path : std::string();
}

int LogException(const char* name, const char* what, int onFailure) {
  const std::string text = std::string("global::") + name;
  utils::LogUtil::LogErrorPid(app::AppPrefixText(),
                              what != nullptr ? text + " exception " + what : text + " unknown exception");
  return onFailure;
}

}  // namespace global
