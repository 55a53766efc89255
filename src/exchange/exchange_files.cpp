#include "exchange/exchange_files.h"

#include <unistd.h>

#include <filesystem>
#include <system_error>

#include "format/format_files.h"
#include "format/xpft_fst.h"
#include "storage/app_paths.h"
#include "utils/path_util.h"

namespace velora {

std::string WorkDirectory(const app::VelorAppContext* ctx) {
  std::string path = fmt_64::WorkDirectoryPath(ctx);
  std::error_code ignored;  // what cannot be made shows when a file in it cannot be created
  std::filesystem::create_directories(path, ignored);
  return path;
}

std::string LookupFile(const app::VelorAppContext* ctx, const std::string& database, const std::string& name,
                       const char* extension) {
  if (utils::PathUtil::IsFile(name)) return name;
  for (const auto kind : {xpft::VelorPath::kDatabase, xpft::VelorPath::kWork}) {
    std::string path = xpft::LookupFile(ctx, kind, database, name + extension, true);
    if (!path.empty()) return path;
  }
  return {};
}

bool LoadTable(const app::VelorAppContext* ctx, const std::string& database, const std::string& name,
               velor_01::TStringList* table) {
  table->Clear();
  const std::string path = LookupFile(ctx, database, name, ".fst");
  if (path.empty() || !table->LoadFromFile(path)) return false;
  velor_server_proc::ParseFst(table);
  return table->GetCount() > 0;
}

std::string WorkFile(const app::VelorAppContext* ctx, const std::string& file, const char* middle) {
  return WorkDirectory(ctx) + utils::PathUtil::GetFileNameWithoutExtension(file) + middle +
         std::to_string(::getpid()) + ".txt";
}

void SkipByteOrderMark(std::ifstream& stream) {
  constexpr std::string_view kMark = "\xEF\xBB\xBF";
  std::size_t matched = 0;
  while (matched < kMark.size() && stream.peek() == static_cast<unsigned char>(kMark[matched])) {
    stream.get();
    ++matched;
  }
  if (stream.eof()) stream.clear();
  if (matched == kMark.size()) return;
  for (; matched > 0; --matched) stream.unget();
}

}  // namespace velora
