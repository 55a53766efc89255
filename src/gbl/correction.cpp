#include "gbl/correction.h"

#include "format/format_run.h"
#include "gbl/correc.h"
#include "gbl/gbl_ctx.h"
#include "gbl/operators.h"
#include "gbl/record_fields.h"
#include "gbl/run_settings.h"
#include "gbl/task_run.h"
#include "storage/codes.h"
#include "storage/maintenance_context.h"
#include "storage/master_file.h"
#include "utils/text_util.h"

namespace global {

using velor_01::TVelorSpace;
using velor_32::kOk;

namespace {

constexpr int kCorrecFieldTag = 1001;
constexpr std::string_view kTagMark = "v***";
constexpr std::string_view kOccurrenceMark = "&&&";

/// The walk of one task over one record.
class Walk {
 public:
  Walk(TVelorSpace* space, int slot, const TaskText& task, const RecordDone& recordDone, BlockSpaces* pool)
      : space_(space), slot_(slot), task_(task) {
    ctx_.lines = &task;
    ctx_.dbName = backup::GetDbNameEK(space);
    ctx_.recordDone = recordDone;
    ctx_.pool = pool;
    ctx_.lazyGlobal = velora::MainText(*space->app, "LAZY_GLOBAL", "") == "1";
  }

  void Run();
  void CloseSpaces(velor_01::TList* changedSpaces);
  [[nodiscard]] const GblCtx& context() const { return ctx_; }

 private:
  void TakeNextHit();
  void PrepareOperands(int index);

  GblCtx ctx_;
  TVelorSpace* space_;
  int slot_;
  const TaskText& task_;
};

void Walk::Run() {
  int i = task_.start;
  if (task_.GetCount() == 0) ctx_.Fail("PARAM_ERROR", "");  // there was no memory for its lines
  // A stop request ends the walk: the caller leaves the record as it is in the file.
  while (task_.Has(i) && ctx_.abortFlag == 0 && !app::CheckStopProcess(space_->app)) {
    const Operator* op = task_.lines[static_cast<std::size_t>(i)].op;
    if (task_.Has(i + 1)) {
      TakeNextHit();
      if (op != nullptr && op->isFieldOperator) PrepareOperands(i);
    }
    if (ctx_.abortFlag == 1) break;
    i = op != nullptr ? op->run({&ctx_, space_, slot_, i}) : i + 1;
  }
  if (ctx_.abortFlag == 1) ctx_.Fail("IND_ERROR", std::to_string(i));
}

/// In a CORREC block, before the first line of each round: the record of the next hit, with its fields 1001.
void Walk::TakeNextHit() {
  if (ctx_.inCorrec != 1 || ctx_.hitPositioned != 0 || ctx_.skipFlag != 0 || !ctx_.spaces.HasHits()) return;
  const auto takeFirst = [](std::deque<std::int32_t>& list) {
    if (list.empty()) return 0;
    const std::int32_t first = list.front();
    list.pop_front();
    return first;
  };
  ctx_.targetIndex = ctx_.spaces.TakeHit();
  ctx_.hitPositioned = 1;
  ctx_.hitTag = takeFirst(ctx_.hitTags);
  ctx_.hitOcc = takeFirst(ctx_.hitOccs);
  TVelorSpace* hit = OpenHit(&ctx_, space_, ctx_.targetIndex);
  if (hit == nullptr) return;
  for (const std::string& line : ctx_.correcFieldLines)
    AddField({hit, hit == space_ ? slot_ : 0}, kCorrecFieldTag, 0, line);
}

/// The operands of a field operator, with the marks for tag and occurrence of the hit replaced.
void Walk::PrepareOperands(int index) {
  const std::string& fieldLine = task_.Line(index + 1);
  const std::size_t caret = fieldLine.find('^');
  ctx_.fieldText = fieldLine.substr(0, caret);
  ctx_.subfieldText = caret == std::string::npos ? "" : fieldLine.substr(caret + 1);
  ReplVal(ctx_.fieldText, std::string(kTagMark), std::to_string(ctx_.hitTag));
  int tag = 0;
  if (!utils::TextUtil::Int32ParseExact(ctx_.fieldText, &tag)) ctx_.Fail("MET_ERROR", fieldLine);
  if (!task_.Has(index + 4)) return;
  std::string* const operands[] = {&ctx_.occText, &ctx_.valueText, &ctx_.value2Text};
  for (int k = 0; k < 3; ++k) {
    std::string& operand = *operands[k];
    operand = task_.Line(index + 2 + k);
    if (ctx_.hitTag != 0) ReplVal(operand, std::string(kTagMark), std::to_string(ctx_.hitTag));
    if (ctx_.hitOcc != 0) ReplVal(operand, std::string(kOccurrenceMark), std::to_string(ctx_.hitOcc));
  }
}

/// Those with changes go to the caller, the others are closed.
void Walk::CloseSpaces(velor_01::TList* changedSpaces) {
  for (int i = 0; i < ctx_.spaces.GetCount(); ++i) {
    TVelorSpace* space = ctx_.spaces.At(i);
    if (space == nullptr || space == space_) continue;
    if (ctx_.spaces.HasChanges(i) && changedSpaces != nullptr && changedSpaces->Add(space)) {
      if (ctx_.lazyGlobal) velor_32::VelorLazy(space);
    } else {
      ctx_.pool->Close(velor_32::SpacePointer(space));
    }
  }
}

}  // namespace

void RunTask(TVelorSpace* space, int slot, const TaskText& task, velor_01::TList* changedSpaces,
             std::string& errors, std::string& protocol, const RecordDone& recordDone, BlockSpaces* pool) {
  const bool wasLazy = space->lazyMst || space->lazyTerm;
  if (wasLazy && velor_32::VelorUnlazy(space) != kOk) return;
  {
    const RunSettings settings(space);
    Guarded("IsisRecUpdateSpecial", 0, [&] {
      Walk walk(space, slot, task, recordDone, pool);
      Guarded("IsisRecUpdateSpecial", 0, [&] {
        walk.Run();
        return 0;
      });
      errors += walk.context().errorStream;
      protocol += walk.context().protocolStream;
      walk.CloseSpaces(changedSpaces);
      return 0;
    });
  }
  if (wasLazy) velor_32::VelorLazy(space);
}

void IsisRecUpdateSpecial(TVelorSpace* space, int slot, const velor_01::TStringList* task,
                          velor_01::TList* changedSpaces, std::string& errors, std::string& protocol,
                          const RecordDone& recordDone) {
  if (space == nullptr || space->app == nullptr || task == nullptr || task->GetCount() == 0) return;
  BlockSpaces pool;
  RunTask(space, slot, ReadTask(space->app, *task), changedSpaces, errors, protocol, recordDone, &pool);
}

void IsisRecUpdateSpecial(TVelorSpace* space, int slot, const velor_01::TStringList* task,
                          velor_01::TList* changedSpaces, std::string& errors, std::string& protocol) {
  IsisRecUpdateSpecial(space, slot, task, changedSpaces, errors, protocol, {});
}

}  // namespace global
