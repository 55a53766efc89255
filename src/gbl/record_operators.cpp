#include <limits>

#include "gbl/mst_global.h"
#include "gbl/operators.h"
#include "gbl/record_fields.h"
#include "storage/codes.h"
#include "storage/fields.h"
#include "storage/record_read.h"
#include "storage/record_status.h"
#include "storage/shelf.h"
#include "utils/file_layer.h"
#include "utils/log_util.h"
#include "utils/text_util.h"

namespace global {

using utils::TextUtil;
using velor_01::TVelorSpace;
using velor_32::kOk;

namespace {

constexpr int kStatusLength = 5;  // lines of DELR and UNDEL
constexpr int kNothingToRestore = -1;

int DELR(TVelorSpace* space, int slot) {
  velor_32::Velorrecdel(space, slot);
  return 0;
}

int UNDELR(TVelorSpace* space, int slot) {
  velor_32::Velorrecundelete(space, slot);
  return 0;
}

/// The hit of a CORREC block, otherwise the current record, also within the block of a new one.
int ChangeStatus(const char* name, GblCtx* ctx, TVelorSpace* space, int slot, int index,
                 int (*work)(TVelorSpace*, int)) {
  return Guarded(name, index + kStatusLength, [&] {
    if (ctx->skipFlag == 1 || !ctx->lines->Has(index + kStatusLength - 1)) return index + kStatusLength;
    if (ctx->inCorrec != 1) {
      work(space, slot);
      ++ctx->changeCount;
    } else if (const Target target = FindTarget(ctx, space, slot, true); target) {
      work(target.space, target.slot);
      ctx->spaces.CountChange(ctx->targetIndex);
    }
    return index + kStatusLength;
  });
}

/// Steps back version by version as long as there is one that is not deleted. Each image lies before the one
/// that follows it; a chain that does not go down is damaged.
void ReadEarliest(TVelorSpace* history, int slot, int mfn) {
  int rc = velor_32::VelorRecordBack(history, slot, mfn, 1);
  std::int64_t last = std::numeric_limits<std::int64_t>::max();
  while (rc == kOk) {
    const velor_01::Tlider& leader = *velor_32::FindShelf(history, slot)->leader;
    const std::int64_t offset = backup::MakeInt64(leader.backLow, leader.backHigh);
    if (offset >= last) return;
    last = offset;
    rc = velor_32::VelorRecordAt(history, slot, mfn, offset);
  }
}

/// Reads an earlier version into the history slot: a number of steps back, or with "*" the earliest one. A
/// negative number gives the version that the file has.
int UNDOR(GblCtx* ctx, TVelorSpace* space, int slot, TVelorSpace* history, int historySlot,
          const std::string& format) {
  return Guarded("UNDOR", kNothingToRestore, [&] {
    std::string output;
    if (!Evaluate(ctx, {space, slot}, format, kShownOfValue, &output)) return kNothingToRestore;
    SplitLines(output, &ctx->formatLines);
    const std::string line(LineAt(ctx->formatLines, 0));
    const int mfn = velor_32::Velormfn(space, slot);
    if (line.starts_with('*')) {
      ReadEarliest(history, historySlot, mfn);
      return 0;
    }
    const int back = TextUtil::Int32ParseExact(line, 0);
    if (back == 0) return kNothingToRestore;
    const int rc = velor_32::VelorRecordBack(history, historySlot, mfn, back);
    return rc == velor_32::kDeleted ? kOk : rc;
  });
}

int OpenHistory(velor_32::SpacePointer* history, app::VelorAppContext* app, const std::string& masterPath) {
  history->reset(velor_32::Velorinit(app));
  if (!*history) return velor_32::kNoMemory;
  if (int rc = VelorInitMstGlobal(history->get(), masterPath.c_str()); rc != kOk) return rc;
  return velor_32::Velornewrec(history->get(), 0);
}

}  // namespace

int ExecuteDELR(GblCtx* ctx, TVelorSpace* space, int slot, int index) {
  return ChangeStatus("ExecuteDELR", ctx, space, slot, index, DELR);
}

int ExecuteUNDELR(GblCtx* ctx, TVelorSpace* space, int slot, int index) {
  return ChangeStatus("ExecuteUNDELR", ctx, space, slot, index, UNDELR);
}

int ExecuteUNDOR(GblCtx* ctx, TVelorSpace* space, int slot, int index, const std::string& masterPath) {
  return Guarded("ExecuteUNDOR", index + 2, [&] {
    if (ctx->skipFlag == 1 || !ctx->lines->Has(index + 1) || masterPath.empty()) return index + 2;
    velor_32::SpacePointer history;
    if (int rc = OpenHistory(&history, space->app, masterPath); rc != kOk) {
      utils::LogUtil::XpftErrorLog("UNDOR " + ctx->dbName + " db init error " + std::to_string(rc));
      return index + 2;
    }
    if (UNDOR(ctx, space, slot, history.get(), 0, ctx->lines->Line(index + 1)) != 0) return index + 2;
    if (velor_32::Velornfields(history.get(), 0) < 1) return index + 2;
    ReplaceFields({history.get(), 0}, {space, slot});
    return index + 2;
  });
}

}  // namespace global
