#include "format/xpft_fst.h"

#include <string>
#include <string_view>

#include "format/format_files.h"
#include "utils/text_util.h"

namespace velor_server_proc {

namespace {

int ReadTag(std::string_view text) {
  text = text.substr(0, text.find(','));
  return utils::TextUtil::Int32ParseFast(text.data(), static_cast<int>(text.size()), 0);
}

/// What stands behind the second blank.
std::string_view FormatOf(std::string_view line, std::size_t firstBlank) {
  if (firstBlank == std::string_view::npos) return {};
  const std::size_t secondBlank = line.find(' ', firstBlank + 1);
  return secondBlank == std::string_view::npos ? std::string_view() : line.substr(secondBlank + 1);
}

}  // namespace

void ParseFst(velor_01::TStringList* lines) {
  for (int i = 0; i < lines->GetCount(); ++i) {
    const std::string line = lines->Get(i);
    const std::size_t blank = line.find(' ');
    lines->PutObject(i, ReadTag(std::string_view(line).substr(0, blank)));
    lines->Put(i, FormatOf(line, blank));
  }
}

}  // namespace velor_server_proc

namespace xpft {

XpftFst::XpftFst(velor_01::TVelorSpace* space, const velor_01::TStringList* lines, bool skipUntagged)
    : space_(space), context_(space) {
  for (const velor_01::TStringItem& line : lines->Items())
    formatters_.push_back(skipUntagged && line.numObject < 1 ? nullptr : Compile(line.text));
}

std::shared_ptr<XpftFormatter> XpftFst::Compile(const char* text) {
  context_.Clear();
  auto formatter = context_.GetPrintFormat(TextOfFormat(space_->app, text), false);
  haveErrors_ |= formatter == nullptr;
  return formatter;
}

void XpftFst::Format(velor_01::TVelorSpace* space, int shelf, int nextShelf, velor_01::TStringList* out) {
  if (space != space_) return;
  bool isFirst = true;
  for (const auto& formatter : formatters_) {
    if (formatter == nullptr) {
      out->Add("");
      continue;
    }
    context_.Clear(isFirst);
    isFirst = false;
    context_.Start();
    context_.SetCurrShelf(shelf);
    context_.SetAltShelf(nextShelf);
    formatter->GetCmdList()->DoCmd(&context_);
    haveErrors_ |= context_.GetErrorCode() != 0;
    out->Add(context_.Output());
  }
}

}  // namespace xpft
