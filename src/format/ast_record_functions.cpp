#include <algorithm>
#include <span>

#include "format/ast_numeric_functions.h"
#include "format/ast_string_functions.h"
#include "format/extended_number_cast.h"
#include "format/node_support.h"
#include "format/outside_group.h"

// What reads, writes or makes a record as a whole: MFN, MAXMFN, VER, SAVE, DELETE, REF, NEWREC.

namespace xpft::ast {

namespace {

constexpr int kDefaultMfnDigits = 6;
constexpr int kWidestMfn = 10;         // digits of the default form
constexpr int kWidestMfnForm = 10000;  // keeps a wild length from filling the memory
constexpr int kWritesForbidden = -403;

void PrintWhole(IPftContext* ctx, long double value) {
  ctx->Print(std::to_string(ToInt64(value)));
}

}  // namespace

// ---- MFN ----

void Mfn::Print(IPrintContext* out) const {
  out->Print("mfn");
  if (length_ == kDefaultMfnDigits && noPlus_) return;
  out->Print(noPlus_ ? "(" : "(+");
  PrintNumber(out, length_);
  out->Print(")");
}

void Mfn::DoCmd(IPftContext* ctx) const {
  const int length = length_ == kDefaultMfnDigits ? kWidestMfn : std::clamp(length_, 0, kWidestMfnForm);
  const auto width = static_cast<std::size_t>(length);
  std::string digits = std::to_string(ctx->GetMfn());
  if (digits.size() < width) digits.insert(0, width - digits.size(), '0');
  if (noPlus_) digits.resize(width);
  ctx->Print(digits);
}

long double Mfn::GetNumVal(IPftContext* ctx) const {
  return ctx->GetMfn();
}

void MaxMfn::Print(IPrintContext* out) const {
  out->Print("maxmfn");
}
void MaxMfn::DoCmd(IPftContext* ctx) const {
  PrintWhole(ctx, GetNumVal(ctx));
}
long double MaxMfn::GetNumVal(IPftContext* ctx) const {
  return static_cast<long double>(ctx->GetMaxMfn()) - 1;
}

void Version::Print(IPrintContext* out) const {
  out->Print("ver");
}
void Version::DoCmd(IPftContext* ctx) const {
  PrintWhole(ctx, GetNumVal(ctx));
}
long double Version::GetNumVal(IPftContext* ctx) const {
  return ctx->GetVersion();
}

// ---- REGMATCH ----

void RegMatch::Print(IPrintContext* out) const {
  out->Print("regmatch(");
  PrintChild(out, number_.get());
  out->Print(",");
  PrintChild(out, text_.get());
  out->Print(";");
  PrintChild(out, pattern_.get());
  out->Print(")");
}

void RegMatch::GetFieldTags(IPftContext* ctx, std::vector<int>& tags) const {
  AddTags(ctx, tags, number_.get(), text_.get(), pattern_.get());
}

// ---- SAVE, DELETE ----

namespace {

constexpr int kUpdateMaster = 1;
constexpr int kUpdateIndex = 2;
constexpr int kUpdateAll = 3;

}  // namespace

int NumParamSpec::Evaluate(IPftContext* ctx) const {
  return expr ? ToInt32(expr->GetNumVal(ctx)) : value;
}

void SaveRec::Print(IPrintContext* out) const {
  static constexpr const char* kWords[] = {"updmst", "updif", "updall"};
  out->Print(Name());
  if (!isWritten_) return;
  out->Print("(");
  if (what_.expr) {
    what_.expr->Print(out);
  } else if (what_.value >= kUpdateMaster && what_.value <= kUpdateAll) {
    out->Print(kWords[what_.value - kUpdateMaster]);
  }
  out->Print(")");
}

void SaveRec::GetFieldTags(IPftContext* ctx, std::vector<int>& tags) const {
  AddTags(ctx, tags, what_.expr.get());
}

void SaveRec::DoCmd(IPftContext* ctx) const {
  (void)GetNumVal(ctx);
}

long double SaveRec::GetNumVal(IPftContext* ctx) const {
  const int what = what_.Evaluate(ctx);
  const int result =
      Run(ctx, what == kUpdateMaster || what == kUpdateAll, what == kUpdateIndex || what == kUpdateAll);
  if (result == kWritesForbidden) {
    LogError(ctx, place_, std::string("Function ") + Name() + " not allowed here", result);
  } else if (result != 0) {
    LogError(ctx, place_, "Record update error", result);
  }
  return result;
}

int SaveRec::Run(IPftContext* ctx, bool updateMaster, bool updateIndex) const {
  return ctx->WriteRecord(updateMaster, updateIndex);
}

/// A deletion is a state of the master file, so it is written there even where only the index was asked for.
int DeleteRec::Run(IPftContext* ctx, bool updateMaster, bool updateIndex) const {
  if (!updateMaster && !updateIndex) return ctx->WriteRecord(false, false);
  return ctx->DeleteRecord(updateIndex);
}

// ---- REF ----

void SfncRef::Print(IPrintContext* out) const {
  out->Print("ref");
  database_.PrintArrow(out);
  out->Print("(");
  database_.PrintBracket(out);
  PrintChild(out, mfn_.get());
  out->Print(",");
  PrintChild(out, list_.get());
  out->Print(")");
}

/// The list reads another record: its fields do not count.
void SfncRef::GetFieldTags(IPftContext* ctx, std::vector<int>& tags) const {
  AddTags(ctx, tags, database_.expr.get(), mfn_.get());
}

void SfncRef::DoCmd(IPftContext* ctx) const {
  if (!mfn_ || !list_) return;
  ScratchText text(ctx);
  if (mfn_->GetType() == NodeType::kNfncLr) {
    std::vector<long double> numbers;
    mfn_->GetNumVals(ctx, numbers);
    Run(ctx, numbers, *text);
  } else {
    const long double number = mfn_->GetNumVal(ctx);
    Run(ctx, {&number, 1}, *text);
  }
  ctx->Print(*text);
}

void SfncRef::Run(IPftContext* ctx, std::span<const long double> numbers, std::string& out) const {
  if (database_.IsGiven()) {
    RunThere(ctx, numbers, out);
  } else {
    RunHere(ctx, numbers, out);
  }
}

namespace {

/// Adds what the list prints over the record that is loaded now.
void AppendList(IPftContext* ctx, const CommandList* list, std::string& out) {
  const OutsideGroup outside(ctx);
  ScratchText part(ctx);
  ICommand::GetArguments(ctx, list, *part);
  out += *part;
}

bool IsReadable(long double number) {
  return ToInt32(number) > 0;
}

/// An error of the run or a stop ends a list of records.
bool EndsRun(IPftContext* ctx, const std::string& out) {
  return ctx->GetErrorCode() != 0 || out.size() > kMaxOutputBytes || !ctx->MayGoOn();
}

}  // namespace

void SfncRef::RunHere(IPftContext* ctx, std::span<const long double> numbers, std::string& out) const {
  for (const long double number : numbers) {
    if (EndsRun(ctx, out)) return;
    if (!IsReadable(number) || !ctx->LoadAltRecord(ToInt32(number))) continue;
    AppendList(ctx, list_.get(), out);
    ctx->CloseAltRecord();
  }
}

void SfncRef::RunThere(IPftContext* ctx, std::span<const long double> numbers, std::string& out) const {
  if (std::none_of(numbers.begin(), numbers.end(), IsReadable)) return;
  const std::string name = database_.Evaluate(ctx);
  ctx->PushState();
  if (ctx->OpenAltDb(name)) {
    for (const long double number : numbers) {
      if (EndsRun(ctx, out)) break;
      if (IsReadable(number) && ctx->LoadRecord(ToInt32(number))) AppendList(ctx, list_.get(), out);
    }
    ctx->CloseAltDb();
  }
  ctx->PopState();
}

// ---- NEWREC ----

void SfncNewRec::Print(IPrintContext* out) const {
  out->Print("newrec");
  database_.PrintArrow(out);
  out->Print("(");
  database_.PrintBracket(out);
  PrintChild(out, list_.get());
  out->Print(")");
}

void SfncNewRec::GetFieldTags(IPftContext* ctx, std::vector<int>& tags) const {
  AddTags(ctx, tags, database_.expr.get());
}

namespace {

/// Keeps the loops and conditions around a node from seeing what runs inside it.
class ControlState {
 public:
  explicit ControlState(IPftContext* ctx)
      : ctx_(ctx),
        ifThenElse_(ctx->GetIfThenElse()),
        while_(ctx->GetWhile()),
        continue_(ctx->GetContinue()),
        exit_(ctx->GetExit()),
        uniCount_(ctx->GetUniCount()) {
    Set(false, false, false, false);
  }
  ~ControlState() {
    Set(ifThenElse_, while_, continue_, exit_);
    ctx_->SetUniCount(uniCount_);
    ctx_->SetBreak(false);
  }
  ControlState(const ControlState&) = delete;
  ControlState& operator=(const ControlState&) = delete;

 private:
  void Set(bool ifThenElse, bool inWhile, bool isContinue, bool isExit) {
    ctx_->SetIfThenElse(ifThenElse);
    ctx_->SetWhile(inWhile);
    ctx_->SetContinue(isContinue);
    ctx_->SetExit(isExit);
  }

  IPftContext* ctx_;
  bool ifThenElse_;
  bool while_;
  bool continue_;
  bool exit_;
  int uniCount_;
};

}  // namespace

void SfncNewRec::DoCmd(IPftContext* ctx) const {
  if (!list_) return;
  ScratchText text(ctx);
  const std::string name = database_.Evaluate(ctx);
  const bool isElsewhere = database_.IsGiven();
  {
    const ControlState control(ctx);
    ctx->PushState(&*text);
    ctx->Start();
    ctx->PushRepGrpState();
    ctx->EndRepGroup();
    RunOnNewRecord(ctx, isElsewhere ? &name : nullptr);
    ctx->PopState();
    ctx->PopRepGrpState();
  }
  ctx->Print(*text);
}

void SfncNewRec::RunOnNewRecord(IPftContext* ctx, const std::string* database) const {
  if (database == nullptr) {
    if (!ctx->NewAltRecord()) return;
    list_->DoCmd(ctx);
    ctx->CloseAltRecord();
  } else if (ctx->OpenAltDb(*database)) {
    if (ctx->NewRecord()) list_->DoCmd(ctx);
    ctx->CloseAltDb();
  }
}

}  // namespace xpft::ast
