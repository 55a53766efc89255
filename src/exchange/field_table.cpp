#include "exchange/field_table.h"

#include <algorithm>
#include <cstdint>
#include <string>

#include "format/format_files.h"
#include "storage/app_context.h"
#include "storage/maintenance_context.h"
#include "utils/string_utils.h"
#include "utils/text_util.h"

namespace velora {

using velor_01::TStringList;

namespace {

constexpr int kRepeatLine = 2;  // of a row
constexpr int kDefaultRowLines = 10;

int NumberOf(const char* line) {
  return utils::TextUtil::Int32ParseExact(utils::StringUtils::Trim(std::string_view(line)), 0);
}

int RowLines(const app::VelorAppContext& ctx) {
  const int lines = MainNumber(ctx, "DefFieldNumb", kDefaultRowLines);
  return lines < 1 ? kDefaultRowLines : lines;
}

}  // namespace

void LoadFieldTable(const velor_01::TVelorSpace* space, TStringList* table) {
  table->Clear();
  const app::VelorAppContext* ctx = space->app;
  if (ctx == nullptr || !ctx->mainIni) return;
  const std::string name =
      utils::StringUtils::ToLower(ctx->mainIni->Get("MAIN", "WSFDT", "DEFAULT") + std::string(".ws"));
  TStringList lines;
  // That of the database wins whatever the setting for other shared files says.
  const std::string directory = xpft::TableDirectory(ctx, space->path);
  if (directory.empty() || !lines.LoadFromFile(directory + name))
    backup::LoadEmbededResourse(ctx, directory, name, &lines);

  const std::int64_t count = lines.GetCount();
  const std::int64_t rowLines = RowLines(*ctx);
  const std::int64_t head = std::int64_t{std::max(NumberOf(lines.Get(0)), 0)} * 2 + 1;
  for (std::int64_t i = head; i < count; ++i) {
    const char* line = lines.Get(static_cast<int>(i));
    table->AddObject(line, (i - head) % rowLines == 0 ? NumberOf(line) : 0);
  }
}

FieldTable::FieldTable(const TStringList& rows) {
  // A row that the file ends in says nothing: better a field too many than one replaced.
  for (int i = 0; i + kRepeatLine < rows.GetCount(); ++i) {
    const int tag = rows.GetNumObject(i);
    if (tag < 1) continue;
    const std::string_view repeat = rows.Get(i + kRepeatLine);
    repeats_.emplace(tag, utils::StringUtils::Trim(repeat) == "1");
  }
}

bool FieldTable::IsSingle(int tag) const {
  const auto row = repeats_.find(tag);
  return row != repeats_.end() && !row->second;
}

}  // namespace velora
