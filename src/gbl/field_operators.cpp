#include "gbl/field_workers.h"
#include "gbl/operators.h"

namespace global {

using velor_01::TVelorSpace;

namespace {

constexpr int kLength = 5;  // lines of a field operator

bool IsPassedOver(const GblCtx* ctx, int index) {
  return ctx->skipFlag == 1 || !ctx->lines->Has(index + kLength - 1);
}

/// The record that a field operator changes.
CountedTarget FindCounted(GblCtx* ctx, TVelorSpace* space, int slot) {
  CountedTarget found{FindTarget(ctx, space, slot, true)};
  if (ctx->inCorrec == 1)
    found.index = ctx->targetIndex;
  else if (ctx->inNewRec == 1)
    found.index = NewRecordIndex(ctx);
  return found;
}

void Count(GblCtx* ctx, const CountedTarget& target, int result) {
  if (result != 0) return;
  if (target.index == SpaceTable::kNone)
    ++ctx->changeCount;
  else
    ctx->spaces.CountChange(target.index);
}

/// What DEL, REP and CHA have in common around their work.
template <class Worker>
int Execute(const char* name, GblCtx* ctx, TVelorSpace* space, int slot, int index, Worker&& worker) {
  return Guarded(name, index + kLength, [&] {
    if (IsPassedOver(ctx, index)) return index + kLength;
    if (const CountedTarget target = FindCounted(ctx, space, slot); target)
      Count(ctx, target, worker(target.space, target.slot));
    return index + kLength;
  });
}

}  // namespace

int ExecuteADD(GblCtx* ctx, TVelorSpace* space, int slot, int index) {
  return Guarded("ExecuteADD", index + kLength, [&] {
    if (IsPassedOver(ctx, index)) return index + kLength;
    const bool buildsRecord = ctx->inNewRec == 1 && ctx->inCorrec != 1;
    const CountedTarget target = FindCounted(ctx, space, slot);
    if (!target) return index + kLength;
    // A new record is built from the current one: its format and its occurrences count.
    const Target source = buildsRecord ? Target{space, slot} : static_cast<const Target&>(target);
    Count(ctx, target,
          ADDF(ctx, buildsRecord ? 1 : 0, target.space, source.space, source.slot, ctx->fieldText,
               ctx->subfieldText, ctx->occText, ctx->valueText));
    return index + kLength;
  });
}

int ExecuteDEL(GblCtx* ctx, TVelorSpace* space, int slot, int index) {
  return Execute("ExecuteDEL", ctx, space, slot, index, [&](TVelorSpace* target, int targetSlot) {
    return DEL(ctx, target, targetSlot, ctx->fieldText, ctx->subfieldText, ctx->occText, ctx->valueText);
  });
}

int ExecuteREP(GblCtx* ctx, TVelorSpace* space, int slot, int index) {
  return Execute("ExecuteREP", ctx, space, slot, index, [&](TVelorSpace* target, int targetSlot) {
    return REP(ctx, target, targetSlot, ctx->fieldText, ctx->subfieldText, ctx->occText, ctx->valueText);
  });
}

int ExecuteCHA(GblCtx* ctx, TVelorSpace* space, int slot, int index, std::string_view keyword) {
  ctx->caseSensitive = keyword == "CHAC" ? 1 : 0;
  return Execute("ExecuteCHA", ctx, space, slot, index, [&](TVelorSpace* target, int targetSlot) {
    return CHA(ctx, target, targetSlot, ctx->fieldText, ctx->subfieldText, ctx->occText, ctx->valueText,
               ctx->value2Text);
  });
}

}  // namespace global
