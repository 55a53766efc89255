#include "gbl/mst_global.h"
#include "gbl/operators.h"
#include "gbl/record_fields.h"
#include "storage/codes.h"
#include "storage/fields.h"
#include "storage/shelf.h"
#include "utils/log_util.h"
#include "utils/text_util.h"

namespace global {

using utils::TextUtil;
using velor_01::TVelorSpace;
using velor_32::kOk;

namespace {

/// Where ALL copies to; no target at top level, and none when the block works on the current record itself.
CountedTarget DestinationOfAll(GblCtx* ctx, TVelorSpace* space, int slot) {
  if (ctx->inNewRec == 1) {
    const int built = NewRecordIndex(ctx);
    return {SpaceTarget(ctx, space, slot, built), built};
  }
  if (ctx->inCorrec != 1 || ctx->correcHits < 1 || ctx->spaces.At(ctx->targetIndex) == space) return {};
  return {SpaceTarget(ctx, space, slot, ctx->targetIndex), ctx->targetIndex};
}

/// The operand runs, unless the operator is passed over or has none. False when there is nothing to do.
bool EvaluateOperand(GblCtx* ctx, TVelorSpace* space, int slot, int index, Target* target) {
  if (ctx->skipFlag == 1 || !ctx->lines->Has(index + 1)) return false;
  *target = FindTarget(ctx, space, slot, true);
  if (!*target) return false;
  std::string output;
  if (!Evaluate(ctx, *target, ctx->lines->Line(index + 1), kShownOfCondition, &output)) return false;
  SplitLines(output, &ctx->formatLines);
  return true;
}

bool HasScratchField(const GblCtx* ctx) {
  return ctx->defSpace && ctx->defTag >= 1;
}

/// Opens the scratch record anew.
int OpenScratch(GblCtx* ctx, TVelorSpace* space, const std::string& masterPath) {
  ctx->defSpace.reset(velor_32::Velorinit(space->app));
  if (!ctx->defSpace) return velor_32::kNoMemory;
  if (int rc = VelorInitMstGlobal(ctx->defSpace.get(), masterPath.c_str()); rc != kOk) return rc;
  return velor_32::Velornewrec(ctx->defSpace.get(), 0);
}

}  // namespace

int ExecuteALL(GblCtx* ctx, TVelorSpace* space, int slot, int index) {
  return Guarded("ExecuteALL", index + 1, [&] {
    if (ctx->skipFlag == 1) return index + 1;
    const CountedTarget to = DestinationOfAll(ctx, space, slot);
    if (to && CopyFields({space, slot}, to)) ctx->spaces.CountChange(to.index);
    return index + 1;
  });
}

int ExecuteEMPTY(GblCtx* ctx, TVelorSpace* space, int slot, int index) {
  return Guarded("ExecuteEMPTY", index + 1, [&] {
    if (ctx->skipFlag == 1) return index + 1;
    if (ctx->inCorrec != 1 || ctx->inNewRec == 1) {
      ctx->Fail("GBL_ERROR", "EMPTY");
      return index + 1;
    }
    if (const Target target = FindTarget(ctx, space, slot, true); target)
      velor_32::Velorfldempty(target.space, target.slot);
    return index + 1;
  });
}

int ExecuteDEFFLD(GblCtx* ctx, TVelorSpace* space, int index, const std::string& masterPath) {
  return Guarded("ExecuteDEFFLD", index + 2, [&] {
    if (ctx->skipFlag == 1 || !ctx->lines->Has(index + 1)) return index + 2;
    ctx->defTag = TextUtil::Int32ParseExact(ctx->lines->Line(index + 1), 0);
    if (ctx->defTag < 1 || masterPath.empty()) {
      ctx->defTag = 0;
      return index + 2;
    }
    if (int rc = OpenScratch(ctx, space, masterPath); rc != kOk) {
      ctx->defTag = 0;
      utils::LogUtil::XpftErrorLog("DEFFLD " + ctx->dbName + " db init error " + std::to_string(rc));
    }
    return index + 2;
  });
}

int ExecutePUTFLD(GblCtx* ctx, TVelorSpace* space, int slot, int index) {
  return Guarded("ExecutePUTFLD", index + 2, [&] {
    Target target;
    if (!HasScratchField(ctx) || !EvaluateOperand(ctx, space, slot, index, &target)) return index + 2;
    for (const std::string& line : ctx->formatLines) AddField({ctx->defSpace.get(), 0}, ctx->defTag, 0, line);
    return index + 2;
  });
}

int ExecuteGETFLD(GblCtx* ctx, TVelorSpace* space, int slot, int index) {
  return Guarded("ExecuteGETFLD", index + 2, [&] {
    if (ctx->skipFlag == 1 || !ctx->lines->Has(index + 1) || !HasScratchField(ctx)) return index + 2;
    TVelorSpace* scratch = ctx->defSpace.get();
    const int count = velor_32::Velornocc(scratch, 0, ctx->defTag);
    if (count < 1) return index + 2;
    const Target target = FindTarget(ctx, space, slot, true);
    if (!target) return index + 2;
    const std::string& operand = ctx->lines->Line(index + 1);
    int tag = 0;
    if (!TextUtil::Int32ParseExact(operand, &tag)) {
      ctx->Fail("MET_ERROR", operand);
      return index + 2;
    }
    for (int position = 1; position <= count; ++position)
      AddField(target, tag, 0, velor_32::FieldText(scratch, 0, position));
    return index + 2;
  });
}

int ExecutePUTLOG(GblCtx* ctx, TVelorSpace* space, int slot, int index) {
  return Guarded("ExecutePUTLOG", index + 2, [&] {
    Target target;
    if (!EvaluateOperand(ctx, space, slot, index, &target)) return index + 2;
    for (const std::string& line : ctx->formatLines) ctx->Protocol(line);
    return index + 2;
  });
}

}  // namespace global
