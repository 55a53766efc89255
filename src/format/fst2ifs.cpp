#include "format/fst2ifs.h"

#include <algorithm>
#include <optional>
#include <ostream>
#include <unordered_set>
#include <vector>

#include "format/format_files.h"
#include "format/format_run.h"
#include "format/velor64_context.h"
#include "format/xpft_formatter.h"
#include "storage/codes.h"
#include "storage/database_open.h"
#include "storage/record_read.h"
#include "utils/log_util.h"
#include "utils/path_util.h"
#include "utils/string_list.h"
#include "utils/string_utils.h"
#include "utils/text_util.h"

namespace xpft {

namespace {

using utils::LogUtil;
using utils::TextUtil;

struct TableLine {
  int tag;
  int method;
  std::string_view format;
};

int ReadNumber(std::string_view text, int def) {
  return TextUtil::Int32ParseFast(text.data(), static_cast<int>(text.size()), def);
}

/// Nothing for a line that stays as it is.
std::optional<TableLine> ParseLine(std::string_view line) {
  if (line.empty() || line[0] == '@') return {};
  const std::size_t first = line.find(' ');
  if (first == std::string_view::npos) return {};
  const int tag = ReadNumber(line.substr(0, std::min(first, line.find(','))), 0);
  const std::size_t second = line.find(' ', first + 1);
  if (tag <= 0 || second == std::string_view::npos) return {};
  const int method = ReadNumber(line.substr(first + 1, second - first - 1), -1);
  if (method < 0) return {};
  return TableLine{tag, method, line.substr(second + 1)};
}

/// The fields without repetition; one that cannot be told makes all others superfluous.
std::vector<int> Distinct(const std::vector<int>& tags) {
  if (std::find(tags.begin(), tags.end(), 0) != tags.end()) return {0};
  std::vector<int> distinct;
  std::unordered_set<int> seen;
  for (const int tag : tags)
    if (seen.insert(tag).second) distinct.push_back(tag);
  return distinct;
}

std::string Rewrite(const TableLine& line, const std::vector<int>& fields) {
  std::string text = std::to_string(line.tag);
  for (const int field : fields) text += ',' + std::to_string(field);
  return text + ' ' + std::to_string(line.method) + ' ' + std::string(line.format);
}

bool ReadLines(const std::string& path, velor_01::TStringList* lines, std::ostream& out) {
  if (!utils::PathUtil::IsFile(path)) {
    out << "input file not found: " << path << std::endl;
    return false;
  }
  if (lines->LoadFromFile(path)) return true;
  out << "input file not read: " << path << std::endl;
  return false;
}

class Conversion {
 public:
  Conversion(Velor64Context* context, int shelf, int altShelf, std::string inputPath, std::ostream& out)
      : context_(context), path_(std::move(inputPath)), out_(out) {
    context_->Clear();
    context_->SetCurrShelf(shelf);
    context_->SetAltShelf(altShelf);
  }

  /// False when a format does not compile.
  bool Convert(velor_01::TStringList* lines) {
    for (int i = 0; i < lines->GetCount(); ++i) {
      const std::string text = lines->Get(i);
      const std::optional<TableLine> line = ParseLine(text);
      if (!line) continue;
      std::vector<int> fields;
      if (!FindFields(line->format, i + 1, &fields)) return false;
      lines->Put(i, Rewrite(*line, fields));
    }
    return true;
  }

 private:
  bool FindFields(std::string_view format, int number, std::vector<int>* fields) {
    int code = 0;
    std::string error;
    const std::string text = TextOfFormat(context_->app(), format);
    const auto formatter = XpftFormatter::GetFormatter("", text, false, code, error);
    if (formatter == nullptr) {
      out_ << "format not compiled: line " << number << " look at error.log" << std::endl;
      LogUtil::XpftErrorLog("Failed to compile format: " + path_ + "\r\nerror: " + error);
      return false;
    }
    std::vector<int> tags;
    formatter->GetCmdList()->GetFieldTags(context_, tags);
    *fields = Distinct(tags);
    return true;
  }

  Velor64Context* context_;  // of the space
  std::string path_;
  std::ostream& out_;
};

}  // namespace

bool XpftFst2Ifs(velor_01::TVelorSpace* space, int shelf, int altShelf, const std::string& inputPath,
                 const std::string& outputPath, std::ostream& out) {
  velor_01::TStringList lines;
  Velor64Context* context = SpaceContext(space);
  if (context == nullptr || !ReadLines(inputPath, &lines, out)) return false;
  if (!Conversion(context, shelf, altShelf, inputPath, out).Convert(&lines)) return false;
  if (lines.SaveToFile(outputPath)) return true;
  out << "cannot create file: " << outputPath << std::endl;
  return false;
}

}  // namespace xpft

namespace velor_server_proc {

namespace {

constexpr int kShelf = 0;
constexpr int kAltShelf = 1;

void Tell(const std::string& message, std::ostream& out) {
  out << message << std::endl;
  LogTool(message);
}

bool ReadFirstRecord(app::VelorAppContext* ctx, velor_01::TVelorSpace* space) {
  const int end = velor_32::Velormaxmfn(space);
  for (int mfn = 1; mfn < end; ++mfn) {
    if (app::CheckStopProcess(ctx)) {
      LogTool("Process stop");
      return false;
    }
    const int rc = velor_32::VelorRecord(space, kShelf, mfn);
    if (rc == velor_32::kOk || rc == velor_32::kDeleted) return true;
  }
  return false;
}

}  // namespace

int VelorFst2Ifs(app::VelorAppContext* ctx, const std::string& database, const std::string& inputPath,
                 const std::string& outputPath, std::ostream& out) {
  const std::string name = utils::StringUtils::ToLower(database);
  int result = velor_32::kOk;
  const velor_32::SpacePointer space(VelorOpenDb(ctx, name, out, &result));
  if (!space) return result;
  out << "VelorFst2Ifs" << std::endl;
  LogTool("VelorFst2Ifs " + name);
  if (!ReadFirstRecord(ctx, space.get())) Tell("Failed to read any record", out);
  xpft::XpftFst2Ifs(space.get(), kShelf, kAltShelf, inputPath, outputPath, out);
  Tell("Done", out);
  return velor_32::kOk;
}

}  // namespace velor_server_proc
