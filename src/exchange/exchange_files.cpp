#include "exchange/exchange_files.h"

#include <unistd.h>

#include <filesystem>
#include <system_error>

#include "format/format_files.h"
#include "format/xpft_fst.h"
#include "storage/app_paths.h"
#include "utils/file_layer.h"
#include "utils/path_util.h"

namespace velora {

namespace {

constexpr std::size_t kFlushSize = std::size_t{1} << 18;

}  // namespace

std::string WorkDirectory(const app::VelorAppContext* ctx) {
  std::string path = fmt_64::GetWorkDir(ctx, ctx->execDir);
  if (path.empty()) path = ctx->execDir + "workdir/";
  if (path.back() != '/') path += '/';
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

OutputFile::~OutputFile() {
  Close();
}

bool OutputFile::Create(const std::string& path) {
  handle_ = backup::_lcreat(path.c_str(), 0);
  failed_ = false;
  buffer_.clear();
  return isOpen();
}

void OutputFile::Write(const char* data, std::size_t length) {
  buffer_.append(data, length);
  FlushIfLarge();
}

void OutputFile::FlushIfLarge() {
  if (buffer_.size() >= kFlushSize) Flush();
}

void OutputFile::Flush() {
  const std::int64_t size = static_cast<std::int64_t>(buffer_.size());
  failed_ |= backup::_lwrite64(handle_, buffer_.data(), size) != size;
  buffer_.clear();
}

bool OutputFile::Close() {
  if (!isOpen()) return !failed_;
  if (!buffer_.empty()) Flush();
  failed_ |= backup::_lclose(handle_) != 0;
  handle_ = -1;
  return !failed_;
}

}  // namespace velora
