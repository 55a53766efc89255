#include "format/record_filter.h"

#include "format/format_files.h"
#include "utils/string_utils.h"
#include "utils/text_util.h"

namespace velora {

namespace {

bool IsFormatFile(const velor_01::TVelorSpace* space, const std::string& text) {
  const xpft::FormatReference reference = xpft::ParseFormatReference(text);
  return !xpft::LookupFile(space->app, reference.kind, space->path, reference.FileName(), true).empty();
}

}  // namespace

std::string ScanFormat(std::string_view expression, std::string_view marks) {
  for (const char mark : marks)
    if (expression.starts_with(mark)) expression.remove_prefix(1);
  if (utils::StringUtils::StartsWithNoCase(expression, "IF")) return std::string(expression);
  return "(IF " + std::string(expression) + " then '1' FI)";
}

std::string LookupFormat(const velor_01::TVelorSpace* space, const std::string& words) {
  const std::string text = utils::TextUtil::ReadAllTextUtf8(words);
  if (text.starts_with('@')) return IsFormatFile(space, text.substr(1)) ? text : "";
  return IsFormatFile(space, text) ? "@" + text : text;
}

bool RecordFilter::Passes(int slot) {
  if (!print_.isPrepared()) return true;
  std::string_view output;
  return print_.Run(slot, &output) && output.starts_with('1');
}

}  // namespace velora
