#include "gbl/operators.h"
#include "storage/app_context.h"

namespace global {

using velor_01::TVelorSpace;

namespace {

/// Makes a list of depths hold an entry for `depth` and sets it.
void SetAtDepth(std::vector<std::int32_t>* list, std::int32_t depth, std::int32_t value) {
  const auto index = static_cast<std::size_t>(depth);
  if (index >= list->size()) list->resize(index + 1);
  (*list)[index] = value;
}

std::int32_t AtDepth(const std::vector<std::int32_t>& list, std::int32_t depth) {
  const auto index = static_cast<std::size_t>(depth);
  return index < list.size() ? list[index] : 0;
}

/// Whether a condition prints exactly "1" on its first line. True also without a record to ask: the body then
/// runs, and its operators find no record either.
bool IsTrue(GblCtx* ctx, TVelorSpace* space, int slot, const std::string& condition) {
  const Target target = FindTarget(ctx, space, slot, false);
  if (!target) return true;
  std::string output;
  if (!Evaluate(ctx, target, condition, kShownOfCondition, &output)) return true;
  SplitLines(output, &ctx->formatLines);
  return LineAt(ctx->formatLines, 0) == "1";
}

void EndLoop(GblCtx* ctx) {
  SetAtDepth(&ctx->repeatActive, ctx->repeatDepth, 0);
  --ctx->repeatDepth;
}

/// Whether the loop goes on: its condition yields exactly "1" and it has rounds left. False also for a
/// condition that fails; `failed` then says so, and the loop stays open.
bool GoesOn(GblCtx* ctx, TVelorSpace* space, int slot, int index, bool* failed) {
  const bool isLast = AtDepth(ctx->repeatCount, ctx->repeatDepth) >= space->app->maxRepeat;
  if (ctx->skipFlag == 1 || !ctx->lines->Has(index + 1)) return false;
  const Target target = FindTarget(ctx, space, slot, true);
  if (!target) return false;
  std::string output;
  *failed = !Evaluate(ctx, target, ctx->lines->Line(index + 1), kShownOfCondition, &output);
  return !*failed && !isLast && output == "1" && !app::CheckStopProcess(space->app);
}

}  // namespace

int ExecuteIF(GblCtx* ctx, TVelorSpace* space, int slot, int index) {
  return Guarded("ExecuteIF", index + 2, [&] {
    SetAtDepth(&ctx->ifStack, ++ctx->ifDepth, 0);
    if (ctx->skipFlag == 1 || !ctx->lines->Has(index + 1)) return index + 2;
    if (!IsTrue(ctx, space, slot, ctx->lines->Line(index + 1))) {
      ctx->skipFlag = 1;
      SetAtDepth(&ctx->ifStack, ctx->ifDepth, 1);
    }
    return index + 2;
  });
}

int ExecuteFI(GblCtx* ctx, int index) {
  if (AtDepth(ctx->ifStack, ctx->ifDepth) == 1) {
    SetAtDepth(&ctx->ifStack, ctx->ifDepth, 0);
    ctx->skipFlag = 0;
  }
  if (ctx->ifDepth >= 1) --ctx->ifDepth;
  return index + 1;
}

int ExecuteREPEAT(GblCtx* ctx, int index) {
  return Guarded("ExecuteREPEAT", index + 1, [&] {
    const std::int32_t depth = ++ctx->repeatDepth;
    SetAtDepth(&ctx->repeatActive, depth, 1);
    SetAtDepth(&ctx->repeatCount, depth, 0);
    if (ctx->skipFlag == 0) SetAtDepth(&ctx->repeatStart, depth, index + 1);
    return index + 1;
  });
}

int ExecuteUNTIL(GblCtx* ctx, TVelorSpace* space, int slot, int index) {
  return Guarded("ExecuteUNTIL", index + 2, [&] {
    const std::int32_t depth = ctx->repeatDepth;
    if (AtDepth(ctx->repeatActive, depth) != 1) {
      ctx->Fail("FORMAT_ERROR", "REPEAT_UNTIL");
      return index + 2;
    }
    SetAtDepth(&ctx->repeatCount, depth, AtDepth(ctx->repeatCount, depth) + 1);
    bool failed = false;
    if (GoesOn(ctx, space, slot, index, &failed)) return AtDepth(ctx->repeatStart, depth);
    if (!failed) EndLoop(ctx);
    return index + 2;
  });
}

}  // namespace global
