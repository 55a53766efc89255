#include "gbl/correc.h"
#include "gbl/mst_global.h"
#include "gbl/operators.h"
#include "gbl/remote_block.h"
#include "storage/app_context.h"
#include "storage/codes.h"
#include "storage/master_file.h"
#include "storage/shelf.h"
#include "utils/log_util.h"
#include "utils/string_utils.h"

namespace global {

using velor_01::TVelorSpace;
using velor_32::kOk;

bool RunRemotely(GblCtx* ctx, TVelorSpace* space, int slot, const char* keyword, const std::string& name) {
  std::string protocol;
  std::string errors;
  ctx->remoteEnd = RemoteGlobalBlock(space, slot, *ctx->lines, ctx->blockLine, name, protocol, errors);
  if (ctx->remoteEnd < 1) return false;
  const std::string head = std::string(keyword) + " " + name + ": ";
  if (!protocol.empty()) ctx->Protocol(head + protocol);
  if (!errors.empty()) ctx->Fail("GBL_ERROR", head + errors);
  return true;
}

void FailDatabase(GblCtx* ctx, const char* keyword, int rc, const std::string& name) {
  ctx->Fail("DBN_ERROR", std::to_string(rc) + "=" + name);
  utils::LogUtil::XpftErrorLog(std::string(keyword) + " " + name + " db init error " + std::to_string(rc));
}

namespace {

constexpr int kNoNewRecord = 1;

/// Opens the database that the format names and makes the new record in it. Result 0, also when another
/// server ran the block.
int NEWMFN(GblCtx* ctx, TVelorSpace* space, int slot, const std::string& format) {
  return Guarded("NEWMFN", kNoNewRecord, [&] {
    std::string output;
    if (!Evaluate(ctx, {space, slot}, format, kShownOfValue, &output)) return kNoNewRecord;
    std::string name = utils::StringUtils::ToLower(output);
    if (name.empty()) return kNoNewRecord;
    if (RunRemotely(ctx, space, slot, "NEWMFN", name)) return kOk;
    if (name == "*") name = ctx->dbName;
    int rc = kOk;
    velor_32::SpacePointer opened;
    if (const auto database = ctx->pool->Find(space->app, name, &rc); database)
      opened = ctx->pool->Open(space->app, *database, space->deflex, &rc);
    if (rc != kOk) {
      FailDatabase(ctx, "NEWMFN", rc, name);
      return rc;
    }
    ++ctx->openCount;
    TVelorSpace* added = opened.release();  // closed with the run, or when it is done
    ctx->newRecId = ctx->spaces.Add(added, name + ".0");
    rc = velor_32::Velornewrec(added, 0);
    if (rc != kOk) ctx->Fail("NEWREC_ERROR", std::to_string(rc));
    if (ctx->lazyGlobal) velor_32::VelorLazy(added);
    return rc;
  });
}

/// The format of the database for NEWREC: the current one when the condition yields "1", none otherwise.
std::string NEWREC(GblCtx* ctx, TVelorSpace* space, int slot, const std::string& format) {
  std::string database;
  Guarded("NEWREC", kNoNewRecord, [&] {
    std::string output;
    if (Evaluate(ctx, {space, slot}, format, kShownOfValue, &output) && output == "1") database = "'*'";
    return kOk;
  });
  return database;
}

/// Hands a record that the block is done with to the caller. True when its space may be closed. A stop
/// request may have cut the block off: such a record is not handed over.
bool IsDone(GblCtx* ctx, TVelorSpace* space) {
  return ctx->recordDone && !app::CheckStopProcess(space->app) && ctx->recordDone(space, 0);
}

void EndHit(GblCtx* ctx, TVelorSpace* space) {
  TVelorSpace* hit = ctx->spaces.At(ctx->targetIndex);
  if (hit == nullptr || hit == space || !(ctx->lazyGlobal || ctx->recordDone)) return;
  if (IsDone(ctx, hit) && !ctx->spaces.IsWaiting(ctx->targetIndex)) {
    ctx->pool->Close(velor_32::SpacePointer(hit));
    ctx->spaces.Remove(ctx->targetIndex);
  } else if (ctx->lazyGlobal) {
    velor_32::VelorLazy(hit);
  }
}

void EndNewRecord(GblCtx* ctx) {
  const int index = NewRecordIndex(ctx);
  TVelorSpace* built = ctx->spaces.At(index);
  if (built == nullptr || !(ctx->lazyGlobal || ctx->recordDone)) return;
  if (IsDone(ctx, built)) {
    ctx->pool->Close(velor_32::SpacePointer(built));
    ctx->spaces.RemoveNewRecord(index);
  } else if (ctx->lazyGlobal) {
    velor_32::VelorLazy(built);
  }
}

}  // namespace

int ExecuteNEWREC(GblCtx* ctx, TVelorSpace* space, int slot, int index, std::string_view keyword) {
  return Guarded("ExecuteNEWREC", index + 2, [&] {
    ctx->blockLine = index;
    ctx->remoteEnd = 0;
    if (ctx->skipFlag == 1 || !ctx->lines->Has(index + 1)) return index + 2;
    std::string format = ctx->lines->Line(index + 1);
    if (keyword == "NEWREC") format = NEWREC(ctx, space, slot, format);
    if (ctx->abortFlag == 1) return index + 2;
    ctx->inNewRec = 1;
    ctx->newRecReady = NEWMFN(ctx, space, slot, format) == kOk ? 1 : 0;
    if (ctx->remoteEnd <= index) return index + 2;
    ctx->inNewRec = 0;
    ctx->newRecReady = 0;
    return ctx->remoteEnd;
  });
}

int ExecuteCORREC(GblCtx* ctx, TVelorSpace* space, int slot, int index) {
  return Guarded("ExecuteCORREC", index + kCorrecLength, [&] {
    ctx->blockLine = index;
    ctx->remoteEnd = 0;
    const TaskText& lines = *ctx->lines;
    if (ctx->skipFlag != 1 && lines.Has(index + 3)) {
      // The hit of an earlier block is none of this one's; that of a block around it ends with the next END.
      if (ctx->inCorrec == 0) ctx->targetIndex = SpaceTable::kNone;
      ctx->inCorrec = 1;
      ctx->spaces.ClearHits();
      ctx->correcHits = CORREC(ctx, space, slot, lines.Line(index + 1), lines.Line(index + 2),
                               lines.Line(index + 3), lines.Has(index + 4) ? lines.Line(index + 4) : "");
      if (ctx->remoteEnd > index) {
        ctx->inCorrec = 0;  // its END was run there, too
        return ctx->remoteEnd;
      }
    }
    ctx->correcLoopLine = index + kCorrecLength;
    return ctx->correcLoopLine;
  });
}

namespace {

/// One half of END. What the caller's function throws keeps neither the other half nor the walk from going
/// on.
template <class Body>
void Half(Body&& body) {
  Guarded("ExecuteEND", 0, [&] {
    body();
    return 0;
  });
}

}  // namespace

int ExecuteEND(GblCtx* ctx, TVelorSpace* space, int index) {
  int next = index + 1;
  if (ctx->skipFlag == 1) return next;
  if (ctx->inCorrec == 1) {
    // A round that took no hit, the END being the last line, would come again for ever.
    const bool tookHit = ctx->hitPositioned == 1;
    ctx->hitPositioned = 0;
    if (ctx->spaces.HasHits() && tookHit) {
      next = ctx->correcLoopLine;
    } else {
      ctx->inCorrec = ctx->correcHits = ctx->correcLoopLine = 0;
      ctx->hitTag = ctx->hitOcc = 0;
    }
    Half([&] { EndHit(ctx, space); });
  }
  if (ctx->inNewRec == 1) {
    Half([&] { EndNewRecord(ctx); });
    ctx->inNewRec = ctx->newRecReady = 0;
    ctx->hitTag = ctx->hitOcc = 0;
  }
  return next;
}

}  // namespace global
