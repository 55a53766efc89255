#include "format/format_cache.h"

#include <algorithm>
#include <utility>
#include <vector>

#include "format/format_files.h"
#include "format/velor64_context.h"
#include "utils/log_util.h"

namespace xpft {

namespace {

constexpr std::chrono::minutes kIdleTime{30};
constexpr std::chrono::minutes kSweepPause{1};  // between two looks for idle entries
constexpr std::size_t kMaxEntries = 4096;       // of each kind
constexpr std::size_t kMaxTextBytes = 4 << 20;  // of all texts; a tree may take thirty times its text

const std::string& DatabaseOf(const Velor64Context* ctx) {
  static const std::string none;
  return ctx->space() != nullptr ? ctx->space()->path : none;
}

/// The first error of a run stands.
void KeepError(Velor64Context* ctx, int code, const std::string& text) {
  if (ctx->GetErrorCode() != 0) return;
  ctx->SetErrorCode(code);
  ctx->SetErrorText(text);
}

}  // namespace

std::shared_ptr<XpftFormatter> Velor64Cache::GetFormat(Velor64Context* ctx, const std::string& name,
                                                       bool quiet) {
  if (name.starts_with('@')) return GetFormatterByFileName(ctx, name.substr(1), quiet);
  return GetFormatterByText(ctx, name, quiet);
}

std::shared_ptr<XpftFormatter> Velor64Cache::GetFormatterByFileName(Velor64Context* ctx,
                                                                    const std::string& name, bool quiet) {
  const std::string key = DatabaseOf(ctx) + '\n' + name;
  const bool checksDate = fileDateCheck_ && GetRuntimeDateCheck();
  std::time_t date = checksDate ? GetFormatLastWriteDate(ctx, name) : 0;
  if (auto formatter = Find(files_, key, checksDate ? &date : nullptr)) return formatter;

  // Taken before the text is read: a change in between then shows at the next use.
  if (fileDateCheck_ && !checksDate) date = GetFormatLastWriteDate(ctx, name);
  std::string text;
  std::string path;
  std::shared_ptr<XpftFormatter> formatter;
  if (GetFormatText(ctx, name, text, path)) {
    formatter = Compile(ctx, name, text, quiet);
    if (formatter != nullptr) formatter->SetFullPath(path);
  } else {
    formatter = GetFileNotFoundFormatter(ctx, name);
  }
  if (formatter != nullptr) Store(files_, key, formatter, date);
  return formatter;
}

std::shared_ptr<XpftFormatter> Velor64Cache::GetFormatterByText(Velor64Context* ctx, const std::string& text,
                                                                bool quiet) {
  if (auto formatter = Find(texts_, text, nullptr)) return formatter;
  auto formatter = Compile(ctx, "", text, quiet);
  if (formatter != nullptr) Store(texts_, text, formatter, 0);
  return formatter;
}

/// That a format is missing shows in the output; it is no error.
std::shared_ptr<XpftFormatter> Velor64Cache::GetFileNotFoundFormatter(Velor64Context* ctx,
                                                                      const std::string& name) {
  if (ctx->GetErrorText().empty()) ctx->SetErrorText("file not found " + name);
  auto list = std::make_unique<ast::CommandList>();
  list->Add(std::make_unique<ast::UncondLiter>(" !" + ParseFormatReference(name).FileName() +
                                               ": FILE NOT FOUND! "));
  return std::make_shared<XpftFormatter>(std::move(list));
}

bool Velor64Cache::GetFormatText(Velor64Context* ctx, const std::string& name, std::string& text,
                                 std::string& path) {
  const FormatReference reference = ParseFormatReference(name);
  path = ctx->LookupFile(reference.kind, DatabaseOf(ctx), reference.FileName(), true);
  std::string bytes;
  if (path.empty() || !ctx->ReadFile(reference.kind, reference.FileName(), true, bytes)) return false;
  text = TextOfFile(bytes);
  return true;
}

std::time_t Velor64Cache::GetFormatLastWriteDate(Velor64Context* ctx, const std::string& name) {
  const FormatReference reference = ParseFormatReference(name);
  std::time_t date = 0;
  return ctx->ReadFileDate(reference.kind, reference.FileName(), true, date) ? date : 0;
}

std::shared_ptr<XpftFormatter> Velor64Cache::Compile(Velor64Context* ctx, std::string_view name,
                                                     const std::string& text, bool quiet) {
  int code = 0;
  std::string error;
  auto formatter = XpftFormatter::GetFormatter(name, text, false, code, error);
  if (formatter != nullptr) return formatter;
  if (!quiet && !ctx->GetNoErrorLog())
    utils::LogUtil::XpftErrorLog("Failed to compile format: " + text + "\r\nerror: " + error);
  KeepError(ctx, code, error);
  return nullptr;
}

std::shared_ptr<XpftFormatter> Velor64Cache::Find(Items& items, const std::string& key,
                                                  const std::time_t* date) {
  const std::lock_guard lock(mutex_);
  const auto entry = items.find(key);
  if (entry == items.end()) return nullptr;
  if (date != nullptr && *date != entry->second.lastWrite) {
    items.erase(entry);
    return nullptr;
  }
  entry->second.lastUse = Clock::now();
  return entry->second.value;
}

void Velor64Cache::Store(Items& items, const std::string& key, std::shared_ptr<XpftFormatter> formatter,
                         std::time_t date) {
  const std::lock_guard lock(mutex_);
  const Clock::time_point now = Clock::now();
  if (now - lastSweep_ > kSweepPause) Sweep(now - kIdleTime);
  if (items.size() >= kMaxEntries) MakeRoom(items, now);
  if (&items == &texts_) MakeRoomForText(key.size(), now);
  items.insert_or_assign(key, CacheItem<std::shared_ptr<XpftFormatter>>{std::move(formatter), date, now});
}

/// Drops the half of the entries that was used longest ago.
void Velor64Cache::MakeRoom(Items& items, Clock::time_point now) {
  std::vector<Clock::duration> ages;
  for (const auto& [key, item] : items) ages.push_back(now - item.lastUse);
  const auto middle = ages.begin() + static_cast<std::ptrdiff_t>(ages.size() / 2);
  std::nth_element(ages.begin(), middle, ages.end());
  std::erase_if(items, [&](const auto& entry) { return now - entry.second.lastUse >= *middle; });
}

void Velor64Cache::MakeRoomForText(std::size_t length, Clock::time_point now) {
  textBytes_ += length;
  while (textBytes_ > kMaxTextBytes && !texts_.empty()) {
    MakeRoom(texts_, now);
    textBytes_ = length;
    for (const auto& [text, item] : texts_) textBytes_ += text.size();
  }
}

int Velor64Cache::GetCount() {
  const std::lock_guard lock(mutex_);
  return static_cast<int>(files_.size() + texts_.size());
}

void Velor64Cache::Clear() {
  const std::lock_guard lock(mutex_);
  files_.clear();
  texts_.clear();
}

void Velor64Cache::RemoveInactiveFormats(Clock::time_point before) {
  const std::lock_guard lock(mutex_);
  Sweep(before);
}

void Velor64Cache::Sweep(Clock::time_point before) {
  lastSweep_ = Clock::now();
  for (Items* items : {&files_, &texts_})
    std::erase_if(*items, [&](const auto& entry) { return entry.second.lastUse < before; });
}

void Velor64Cache::Merge(Velor64Cache* other) {
  if (other == nullptr || other == this) return;
  const std::scoped_lock lock(mutex_, other->mutex_);
  files_.insert(other->files_.begin(), other->files_.end());
  texts_.insert(other->texts_.begin(), other->texts_.end());
}

}  // namespace xpft
