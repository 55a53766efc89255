#include "format/velor64_context.h"

#include <algorithm>
#include <cstdlib>
#include <cstring>

#include "format/ast_field.h"
#include "format/text_cleanup.h"
#include "storage/app_context.h"
#include "utils/string_utils.h"
#include "utils/text_util.h"

// The output, the group, the control flags and the variables of a run. The record is in
// velor64_context_record.cpp, assignments in velor64_context_assign.cpp, databases, files and functions in
// velor64_context_database.cpp.

namespace xpft {

namespace {

constexpr std::size_t kBufferStep = 32000;                         // bytes
constexpr std::ptrdiff_t kDeepestStack = std::ptrdiff_t{2} << 20;  // bytes that nested lists may use
constexpr int kOutputTooLong = 63;                                 // error codes of the run
constexpr int kNestedTooDeep = 64;

}  // namespace

FormatHooks& DefaultFormatHooks() {
  static FormatHooks hooks;
  return hooks;
}

Velor64Context::Velor64Context(velor_01::TVelorSpace* space)
    : app_(space ? space->app : nullptr), space_(space), baseShelfCount_(space ? space->shelfCount : 0) {}

Velor64Context::~Velor64Context() {
  while (!altSpaces_.empty()) CloseAltDb();
  if (space_ && !ownSpace_ && space_->mst && space_->shelfCount > baseShelfCount_)
    velor_32::VelorInitAltShelf(space_, baseShelfCount_);
}

void Velor64Context::SetCurrShelf(int shelf) {
  if (shelf != currShelf_) ClearFieldCache();
  currShelf_ = shelf;
}

// ---- output ----

void Velor64Context::ReserveBuffer(std::size_t size) {
  if (size <= buffer_->capacity()) return;
  // Half as much again, so that a long output is not copied for each step.
  const std::size_t wanted = std::max(size, buffer_->capacity() + buffer_->capacity() / 2);
  buffer_->reserve((wanted + kBufferStep - 1) / kBufferStep * kBufferStep);
}

void Velor64Context::AppendBuffer(std::string_view text) {
  const std::size_t size = buffer_->size() + text.size();
  if (size > kMaxOutputBytes) {
    if (errorCode_ == 0)
      ast::PftExpr::LogError(this, "",
                             "format output is longer than " + std::to_string(kMaxOutputBytes) + " bytes", 0,
                             0, kOutputTooLong);
    return;
  }
  ReserveBuffer(size);
  buffer_->append(text);
}

void Velor64Context::AppendFill(int count, char c) {
  constexpr std::size_t kChunk = 256;
  const std::string chunk(std::min<std::size_t>(static_cast<std::size_t>(count), kChunk), c);
  for (std::size_t left = static_cast<std::size_t>(count); left > 0 && errorCode_ == 0;) {
    const std::size_t part = std::min(left, chunk.size());
    AppendBuffer(std::string_view(chunk).substr(0, part));
    left -= part;
  }
}

void Velor64Context::Start() {
  buffer_->clear();
  line_ = 0;
  if (!keepColumn_) column_ = 0;
}

void Velor64Context::SetFieldIndent(const ast::FieldIndent* indent) {
  indent_ = indent;
  if (indent) SetMargin(indent->GetFirst(), indent->GetNext());
}

void Velor64Context::SetMargin(int first, int next) {
  marginFirst_ = first;
  marginNext_ = next;
}

void Velor64Context::MakeMargin() {
  if (column_ != 0 || !indent_) return;
  InsertSpaces(line_ == 0 ? marginFirst_ : marginNext_);
}

void Velor64Context::Print(std::string_view text) {
  if (text.empty()) return;
  MakeMargin();
  if (upperCase_) {
    utils::StringUtils::ToUpper(
        utils::TextUtil::CheckUTF8(text) ? text : utils::TextUtil::ReadAllTextUtf8(text), upper_);
    AppendBuffer(upper_);
  } else {
    AppendBuffer(text);
  }
  column_ += static_cast<int>(text.size());
}

void Velor64Context::Print(const char* text, int length) {
  if (text && length > 0) Print(std::string_view(text, static_cast<std::size_t>(length)));
}

void Velor64Context::PrintWithRepeatIncrement(std::string_view text) {
  if (text.empty()) return;
  Print(text);
  if (!group_.inGroup) return;
  group_.hasMore = true;
  group_.maxNumber = group_.occurrence + 2;
  group_.passes = std::max(group_.passes, group_.occurrence + 2);
}

void Velor64Context::PrintWithRepeatIncrement(const char* text, int length) {
  if (text && length > 0) PrintWithRepeatIncrement(std::string_view(text, static_cast<std::size_t>(length)));
}

void Velor64Context::PrintWithPostProcessing(std::string_view text) {
  std::string cleaned(text);
  CleanupText(cleaned);
  Print(cleaned);
}

void Velor64Context::InsertSpaces(int count) {
  if (count < 1) return;
  AppendFill(count, ' ');
  if (errorCode_ == 0) column_ += count;  // else they were too many
}

void Velor64Context::SetPrintPosition(int column) {
  if (column_ >= column) UnconditionalBlankLine();
  InsertSpaces(column - column_ - 1);
}

void Velor64Context::NewLine() {
  if (column_ != 0) UnconditionalBlankLine();
}

void Velor64Context::UnconditionalBlankLine() {
  AppendBuffer("\r");
  ++line_;
  column_ = 0;
}

void Velor64Context::SuppressBlanks() {
  while (!buffer_->empty() && buffer_->back() == '\r') {
    buffer_->pop_back();
    if (line_ > 0) --line_;
  }
  const auto* lineEnd = static_cast<const char*>(memrchr(buffer_->data(), '\r', buffer_->size()));
  const char* line = lineEnd ? lineEnd + 1 : buffer_->data();
  column_ = static_cast<int>(buffer_->data() + buffer_->size() - line);
}

const char* Velor64Context::GetBuffer(int& length) const {
  length = static_cast<int>(buffer_->size());
  return buffer_->c_str();
}

void Velor64Context::Clear(bool clearCache) {
  const char here = 0;
  stackBase_ = &here;
  while (!stateStack_.empty()) PopState();  // a run that ended by an exception may have left some
  mode_ = 'p';
  upperCase_ = false;
  group_ = {};
  groupStack_.clear();
  line_ = column_ = 0;
  marginFirst_ = marginNext_ = 0;
  indent_ = nullptr;
  errorCode_ = 0;
  errorText_.clear();
  break_ = ifThenElse_ = while_ = continue_ = exit_ = false;
  extFmt_ = false;
  args_ = nullptr;  // those of a run that ended by an exception are gone
  if (clearCache) ClearFieldCache();
}

// ---- output states ----

void Velor64Context::PushState() {
  std::unique_ptr<std::string> own = TakeText();
  own->clear();
  std::string* target = own.get();
  PushState(target);
  stateStack_.back().owned = std::move(own);
}

void Velor64Context::PushState(std::string* target) {
  stateStack_.push_back({buffer_, nullptr, line_, column_, space_, currShelf_, altShelf_});
  buffer_ = target;
}

void Velor64Context::ResetBuffer() {
  detached_.clear();
  buffer_ = &detached_;
}

void Velor64Context::PopState() {
  if (stateStack_.empty()) return;
  OutputState& state = stateStack_.back();
  buffer_ = state.buffer;
  line_ = state.line;
  column_ = state.column;
  UseSpace(state.space, state.currShelf, state.altShelf);
  if (state.owned) GiveText(std::move(state.owned));
  stateStack_.pop_back();
}

// ---- repeat group ----

void Velor64Context::BeginRepGroup() {
  group_ = {};
  group_.inGroup = true;
}

void Velor64Context::EndRepGroup() {
  group_ = {};
}

void Velor64Context::StartRepGroup() {
  group_.tag = 0;
  group_.maxNumber = 0;
  group_.passes = 0;
  group_.hasMore = false;
}

int Velor64Context::NextRepGroup() {
  group_.tag = 0;
  ++group_.occurrence;
  if (group_.occurrence >= group_.passes) group_.hasMore = false;
  group_.maxNumber = 0;
  return group_.occurrence;
}

void Velor64Context::SetHasMoreOccurrence(bool more) {
  group_.hasMore = more;
  group_.isStopped = !more;
}

void Velor64Context::PopRepGrpState() {
  if (groupStack_.empty()) return;
  group_ = groupStack_.back();
  groupStack_.pop_back();
}

int Velor64Context::GetGroupMaxOccurrence() const {
  return app_ ? app_->maxRepeat : app::kDefaultMaxRepeat;
}

std::string Velor64Context::GetRepGroupError() const {
  return " (более " + std::to_string(GetGroupMaxOccurrence()) + ") !!БЕСКОНЕЧНЫЙ ЦИКЛ!!";
}

bool Velor64Context::MayGoOn() {
  if (!(app_ && app_->finishesFormats) && app::CheckStopProcess(app_)) return false;
  const char here = 0;
  if (!stackBase_) stackBase_ = &here;
  if (std::abs(stackBase_ - &here) < kDeepestStack) return true;
  if (errorCode_ == 0) ast::PftExpr::LogError(this, "", "formats nested too deep", 0, 0, kNestedTooDeep);
  return false;
}

// ---- variables ----

long double Velor64Context::GetNumVar(int number) const {
  if (number < 0 || !app_) return 0;
  const auto found = app_->numericVariables.find(number);
  return found == app_->numericVariables.end() ? 0 : found->second;
}

void Velor64Context::SetNumVar(int number, long double value) {
  if (number >= 0 && app_) app_->numericVariables[number] = value;
}

const std::string& Velor64Context::GetStrVar(int number) const {
  static const std::string kUnset;
  if (number < 0 || !app_) return kUnset;
  const auto found = app_->stringVariables.find(number);
  return found == app_->stringVariables.end() ? kUnset : found->second;
}

void Velor64Context::SetStrVar(int number, const std::string& value) {
  if (number >= 0 && app_) app_->stringVariables[number] = value;
}

}  // namespace xpft
