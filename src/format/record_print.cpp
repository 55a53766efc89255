#include "format/record_print.h"

#include "format/format_run.h"
#include "storage/app_context.h"
#include "storage/codes.h"
#include "storage/master_file.h"
#include "storage/process.h"
#include "storage/shelf.h"
#include "utils/log_util.h"

namespace velora {

namespace {

constexpr int kMaxLength = 32000;

}  // namespace

int RecordPrint::Prepare(const std::string& format) {
  format_ = format;
  if (format_.empty()) return velor_32::kOk;
  if (!format_.starts_with('@')) format_.insert(0, 1, '!');  // it is UTF-8 already
  return Compile();
}

int RecordPrint::Compile() {
  return fmt_64::Velor_InitPFT(space_, format_.data(), static_cast<int>(format_.size()));
}

bool RecordPrint::Run(int slot, std::string_view* output) {
  // The space holds one prepared format, and another may have been put there. The cache has this one.
  int rc = Compile();
  if (rc == velor_32::kOk) rc = fmt_64::Velor_Format(space_, slot, slot + 1, kMaxLength, 0, "VELOR64");
  if (rc == velor_32::kOk) {
    int length = 0;
    const char* text = xpft::Velor_FormatResult(space_, &length);
    *output = {text, static_cast<std::size_t>(length)};
    return true;
  }
  utils::LogUtil::LogErrorPid(app::AppPrefixText(), backup::GetDbNameEK(space_) + " format error mfn=" +
                                                        std::to_string(velor_32::Velormfn(space_, slot)) +
                                                        " " + std::to_string(rc));
  return false;
}

}  // namespace velora
