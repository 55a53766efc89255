#include "format/format_run.h"

#include <cstdlib>
#include <cstring>
#include <memory>
#include <string_view>

#include "format/format_files.h"
#include "format/velor64_context.h"
#include "format/xpft_formatter.h"
#include "storage/app_context.h"
#include "storage/codes.h"
#include "storage/edge.h"
#include "storage/process.h"
#include "storage/shelf.h"
#include "utils/log_util.h"

namespace xpft {

using velor_01::TVelorSpace;

namespace {

constexpr int kNothingPrepared = -1;
constexpr int kNoBuffer = -1;  // error code of a run whose output does not fit into memory

/// The output of a run: zero-terminated, in a block that only grows.
class ResultBuffer {
 public:
  [[nodiscard]] const char* text() const { return block_ ? block_.get() : ""; }
  [[nodiscard]] std::size_t length() const { return length_; }

  void Empty() {
    length_ = 0;
    if (block_) *block_ = '\0';
  }

  /// Bytes of the block that holds a text of that length.
  [[nodiscard]] static std::size_t SizeFor(std::size_t length) {
    constexpr std::size_t kStep = velor_01::kDefaultCapacity;
    return (length + kStep - 1) / kStep * kStep + 1;
  }

  /// False, and the buffer as it was, when there is no memory.
  [[nodiscard]] bool Set(std::string_view text) {
    if (const std::size_t size = SizeFor(text.size()); size > size_) {
      auto* grown = static_cast<char*>(std::realloc(block_.get(), size));
      if (grown == nullptr) return false;
      static_cast<void>(block_.release());
      block_.reset(grown);
      size_ = size;
    }
    std::memcpy(block_.get(), text.data(), text.size());
    block_.get()[text.size()] = '\0';
    length_ = text.size();
    return true;
  }

 private:
  struct Free {
    void operator()(char* block) const { std::free(block); }
  };
  std::unique_ptr<char, Free> block_;
  std::size_t size_ = 0;
  std::size_t length_ = 0;
};

}  // namespace

struct FormatState {
  explicit FormatState(TVelorSpace* space) : context(space) {}
  Velor64Context context;
  std::shared_ptr<XpftFormatter> format;  // null until one is prepared
  ResultBuffer result;
};

namespace {

/// Throws std::bad_alloc.
FormatState& StateOf(TVelorSpace* space) {
  if (!space->formatState) space->formatState = std::make_shared<FormatState>(space);
  return *space->formatState;
}

std::string Prepare(const TVelorSpace* space, std::string_view text) {
  return text.starts_with('@') ? std::string(text) : TextOfFormat(space->app, text);
}

int Run(FormatState& state, int shelf, int mfn) {
  Velor64Context& context = state.context;
  context.Clear();
  context.Start();
  context.SetCurrShelf(shelf);
  context.SetAltShelf(mfn);
  state.format->GetCmdList()->DoCmd(&context);
  const std::string_view output = context.Output();
  if (state.result.Set(output)) return context.GetErrorCode();
  context.SetErrorCode(kNoBuffer);
  context.SetErrorText("realloc failed " + std::to_string(ResultBuffer::SizeFor(output.size())));
  return velor_32::kNoMemory;
}

bool CanRun(const TVelorSpace* space) {
  return space != nullptr && space->app != nullptr;
}

}  // namespace

int Velor_InitXPFT(TVelorSpace* space, const char* text, int length) {
  if (!CanRun(space) || text == nullptr || length < 0) return velor_32::kNoSpace;
  return velor_32::AtEdge([&] {
    FormatState& state = StateOf(space);
    state.format.reset();
    state.result.Empty();
    state.context.Clear();
    const std::string prepared = Prepare(space, {text, static_cast<std::size_t>(length)});
    state.format = state.context.GetPrintFormat(prepared, false);
    const int code = state.context.GetErrorCode();
    return state.format == nullptr && code == 0 ? kNothingPrepared : code;
  });
}

int Velor_FormatXPFT(TVelorSpace* space, int shelf, int mfn, int) {
  if (space == nullptr || !space->formatState) return kNothingPrepared;
  FormatState& state = *space->formatState;
  state.result.Empty();
  if (state.format == nullptr) return kNothingPrepared;
  // Held here too: a format may prepare another one on its own space.
  const std::shared_ptr<XpftFormatter> inUse = state.format;
  return velor_32::AtEdge([&] { return Run(state, shelf, mfn); });
}

const char* Velor_FormatResult(TVelorSpace* space, int* length) {
  if (length != nullptr) *length = 0;
  if (space == nullptr) return nullptr;
  if (!space->formatState) return "";
  const ResultBuffer& result = space->formatState->result;
  if (length != nullptr) *length = static_cast<int>(result.length());
  return result.text();
}

void Velor_ClearXPFTFieldCache(TVelorSpace* space, bool disable) {
  if (space == nullptr || !space->formatState) return;
  space->formatState->context.ClearFieldCache();
  space->formatState->context.DisableFieldCache(disable);
}

Velor64Context* SpaceContext(TVelorSpace* space) {
  if (!CanRun(space)) return nullptr;
  const int rc = velor_32::AtEdge([&] {
    StateOf(space);
    return velor_32::kOk;
  });
  return rc == velor_32::kOk ? &space->formatState->context : nullptr;
}

}  // namespace xpft

namespace fmt_64 {

namespace {

int ReportNoClassicFormats() {
  utils::LogUtil::LogErrorPid(app::AppPrefixText(), "classic formats: not built yet");
  return -1;
}

}  // namespace

int Velor_InitPFT(velor_01::TVelorSpace* space, const char* text, int length) {
  if (space == nullptr || space->app == nullptr) return velor_32::kNoSpace;
  if (!space->app->xpftEnabled) return ReportNoClassicFormats();
  return xpft::Velor_InitXPFT(space, text, length);
}

int Velor_Format(velor_01::TVelorSpace* space, int shelf, int mfn, int maxLength, int, const char*) {
  if (space == nullptr || space->app == nullptr) return velor_32::kNoSpace;
  if (int rc = velor_32::CheckShelf(space, shelf); rc != velor_32::kOk) return rc;
  if (!space->app->xpftEnabled) return ReportNoClassicFormats();
  return xpft::Velor_FormatXPFT(space, shelf, mfn, maxLength);
}

}  // namespace fmt_64
