#include "format/print_file.h"

#include <memory>
#include <ostream>

#include "format/format_files.h"
#include "format/print_context.h"
#include "format/xpft_formatter.h"
#include "utils/path_util.h"
#include "utils/text_util.h"

namespace xpft {

namespace {

using utils::TextUtil;

bool ReadInput(const std::string& path, std::string* text, std::ostream& stream) {
  std::string bytes;
  if (!utils::PathUtil::IsFile(path)) {
    stream << "input file not found: " << path << std::endl;
  } else if (!TextUtil::FileReadAllBytes(path, bytes)) {
    stream << "input file not read: " << path << std::endl;
  } else {
    *text = TextOfFile(bytes);
    return true;
  }
  return false;
}

std::string TextOfTree(const XpftFormatter& formatter, bool pretty) {
  std::unique_ptr<IPrintContext> out = std::make_unique<PlainPrintContext>();
  if (pretty) out = std::make_unique<PrettyPrintContext>();
  out->Start();
  formatter.Print(out.get());
  std::string text;
  out->GetText(text);
  return text;
}

bool WriteOutput(const std::string& path, const std::string& text, std::ostream& stream) {
  if (path.empty()) {
    stream << text << std::endl;
    return true;
  }
  if (TextUtil::FileWriteAllBytes(path, text)) return true;
  stream << "cannot create file: " << path << std::endl;
  return false;
}

}  // namespace

bool XpftPrintFile(const std::string& input, const std::string& output, bool pretty, std::ostream& stream) {
  std::string text;
  if (!ReadInput(input, &text, stream)) return false;

  int code = 0;
  std::string error;
  const auto formatter =
      XpftFormatter::GetFormatter(utils::PathUtil::GetFileName(input), text, true, code, error);
  if (formatter == nullptr) {
    stream << error << std::endl;
    return false;
  }
  return WriteOutput(output, TextOfTree(*formatter, pretty), stream);
}

}  // namespace xpft
