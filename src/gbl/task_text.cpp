#include "gbl/task_text.h"

#include <algorithm>
#include <cstdint>
#include <limits>
#include <new>
#include <string_view>

#include "gbl/operators.h"
#include "utils/code_page.h"
#include "utils/string_utils.h"
#include "utils/text_util.h"

namespace global {

using utils::StringUtils;
using utils::TextUtil;

namespace {

std::string ReadLine(std::string_view line, bool keepsUtf8) {
  if (line.starts_with('!')) return std::string(line.substr(1));
  if (keepsUtf8 && TextUtil::CheckUTF8(line)) return std::string(line);
  return backup::AnsiToUtf8(line);
}

/// Line of the first operator: behind the pairs of lines of the parameters.
int StartLine(std::string_view head) {
  const std::int64_t parameters = TextUtil::Int32ParseExact(head, 0);
  if (parameters < 1) return 1;
  return static_cast<int>(std::min<std::int64_t>(2 * parameters + 1, std::numeric_limits<int>::max()));
}

}  // namespace

namespace {

TaskText ReadLines(const app::VelorAppContext* ctx, const velor_01::TStringList& task) {
  TaskText text;
  const int count = task.GetCount();
  std::string_view head = task.Get(0);
  const bool isUtf8 = head.starts_with('!');
  if (isUtf8) head.remove_prefix(1);
  text.start = StartLine(head);
  const bool keepsUtf8 = ctx != nullptr && ctx->allUtf8;
  text.lines.reserve(static_cast<std::size_t>(count));
  for (int i = 0; i < count; ++i) {
    const std::string_view line = task.Get(i);
    text.lines.push_back({isUtf8 || i == 0 ? std::string(line) : ReadLine(line, keepsUtf8)});
    text.lines.back().op = FindOperator(text.lines.back().text);
  }
  return text;
}

}  // namespace

TaskText ReadTask(const app::VelorAppContext* ctx, const velor_01::TStringList& task) noexcept {
  try {
    return task.GetCount() > 0 ? ReadLines(ctx, task) : TaskText();
  } catch (const std::bad_alloc&) {
    return {};
  }
}

namespace {

/// What a search for the end of a block does at a keyword.
struct BlockRow {
  std::string_view keyword;
  int step = 1;               // lines of the operator with its operands
  const char* end = nullptr;  // of the block that it opens
};

constexpr BlockRow kBlockRows[] = {
    {"ADD", 5},           {"DELR", 5},
    {"DEL", 5},           {"REP", 5},
    {"CHA", 5},           {"CHAC", 5},
    {"UNDEL", 5},         {"NEWREC", 1, "END"},
    {"NEWMFN", 1, "END"}, {"CORREC", 1, "END"},
    {"IF", 1, "FI"},      {"REPEAT", 1, "UNTIL"},
    {"UNTIL", 2},         {"FI", 1},
    {"END", 1},
};

BlockRow FindBlockRow(std::string_view line) {
  for (const BlockRow& row : kBlockRows)
    if (row.keyword == line) return row;
  return {line};
}

bool IsEndWord(std::string_view line) {
  return line == "FI" || line == "END" || line == "UNTIL";
}

}  // namespace

int ParseCommands(const velor_01::TStringList* lines, const std::string& stopWord, int start,
                  bool stopAfterFirst) {
  // The words that end the blocks which are open, innermost last: a task may nest them without limit.
  std::vector<std::string_view> open = {stopWord};
  int i = std::max(start, 0);
  while (i < lines->GetCount()) {
    const std::string_view line = lines->Get(i);
    const BlockRow row = FindBlockRow(line);
    i += row.step;
    if (row.end != nullptr) open.emplace_back(row.end);
    if (!IsEndWord(line) || line != open.back()) continue;
    open.pop_back();
    if (open.empty() || (stopAfterFirst && open.size() == 1)) return i;
  }
  return i;
}

void ReplVal(std::string& text, const std::string& what, const std::string& with) {
  text = with.find(what) != std::string::npos ? StringUtils::Replace(text, what, with)
                                              : StringUtils::ReplaceAll(text, what, with);
}

void RepToC0D0A(std::string& text, const std::string& what) {
  text = StringUtils::Replace(text, what, "\r\n");
}

}  // namespace global
