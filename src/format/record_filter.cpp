#include "format/record_filter.h"

#include "format/format_files.h"
#include "format/format_run.h"
#include "storage/app_context.h"
#include "storage/codes.h"
#include "storage/master_file.h"
#include "storage/process.h"
#include "storage/shelf.h"
#include "utils/log_util.h"
#include "utils/string_utils.h"
#include "utils/text_util.h"

namespace velora {

namespace {

constexpr int kMaxLength = 32000;

bool IsFormatFile(const velor_01::TVelorSpace* space, const std::string& text) {
  const xpft::FormatReference reference = xpft::ParseFormatReference(text);
  return !xpft::LookupFile(space->app, reference.kind, space->path, reference.FileName(), true).empty();
}

}  // namespace

std::string ScanFormat(std::string_view expression) {
  for (const char mark : {'?', '!', '|'})
    if (expression.starts_with(mark)) expression.remove_prefix(1);
  if (utils::StringUtils::StartsWithNoCase(expression, "IF")) return std::string(expression);
  return "(IF " + std::string(expression) + " then '1' FI)";
}

std::string LookupFormat(const velor_01::TVelorSpace* space, const std::string& words) {
  const std::string text = utils::TextUtil::ReadAllTextUtf8(words);
  if (text.starts_with('@')) return IsFormatFile(space, text.substr(1)) ? text : "";
  return IsFormatFile(space, text) ? "@" + text : text;
}

int RecordFilter::Prepare(const std::string& format) {
  format_ = format;
  if (format_.empty()) return velor_32::kOk;
  if (!format_.starts_with('@')) format_.insert(0, 1, '!');  // it is UTF-8 already
  return Compile();
}

int RecordFilter::Compile() {
  return fmt_64::Velor_InitPFT(space_, format_.data(), static_cast<int>(format_.size()));
}

bool RecordFilter::Passes(int slot) {
  if (format_.empty()) return true;
  // The space holds one prepared format, and another filter may have put its own there. The cache has this
  // one.
  int rc = Compile();
  if (rc == velor_32::kOk) rc = fmt_64::Velor_Format(space_, slot, slot + 1, kMaxLength, 0, "VELOR64");
  if (rc == velor_32::kOk) return *xpft::Velor_FormatResult(space_) == '1';
  utils::LogUtil::LogErrorPid(app::AppPrefixText(), backup::GetDbNameEK(space_) + " format error mfn=" +
                                                        std::to_string(velor_32::Velormfn(space_, slot)) +
                                                        " " + std::to_string(rc));
  return false;
}

}  // namespace velora
