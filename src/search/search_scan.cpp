#include <algorithm>
#include <array>
#include <cstring>
#include <string_view>

#include "format/format_run.h"
#include "search/rang_search.h"
#include "search/search18.h"
#include "storage/app_context.h"
#include "storage/codes.h"
#include "storage/record_read.h"

namespace {

using velor_01::TVelorSpace;

constexpr int kResultLimit = 32000;        // bytes
constexpr std::size_t kShortFormat = 500;  // bytes, exclusive
constexpr int kShelf = 0;
constexpr int kAlternateShelf = 1;

/// Calls through which a format runs another one, which may change the record.
constexpr std::array<std::string_view, 4> kOuterFormatCalls = {"&unifor('6", "&uf('6", "&unifor(\"6",
                                                               "&uf(\"6"};

/// A short format reads few fields of each record: while the object lives they are taken from the record
/// itself, instead of making a cache of all fields for every record. A format that runs another one keeps
/// the cache.
class LoweredRecordCache {
 public:
  LoweredRecordCache(app::VelorAppContext* app, std::string_view format)
      : app_(app), option_(app->recordCacheOpt) {
    const auto holds = [&](std::string_view call) { return format.find(call) != std::string_view::npos; };
    if (app->xpftEnabled && format.size() < kShortFormat && std::ranges::none_of(kOuterFormatCalls, holds))
      app->recordCacheOpt = app::RecordCacheOpt::kOption0;
  }
  ~LoweredRecordCache() { app_->recordCacheOpt = option_; }
  LoweredRecordCache(const LoweredRecordCache&) = delete;
  LoweredRecordCache& operator=(const LoweredRecordCache&) = delete;

 private:
  app::VelorAppContext* app_;
  app::RecordCacheOpt::Type option_;
};

bool Passes(TVelorSpace* space, int mfn) {
  if (velor_32::VelorRecord(space, kShelf, mfn) != velor_32::kOk) return false;
  const int rc = fmt_64::Velor_Format(space, kShelf, kAlternateShelf, kResultLimit, 0, "");
  if (rc != velor_32::kOk) return false;
  const char* const flags = xpft::Velor_FormatResult(space);
  return std::strlen(flags) == 1 ? *flags == '1' : RangSearch::IsSequenceTrue(flags, false);
}

}  // namespace

int SearchScan(TVelorSpace* space, const std::string& format, velor_01::TIntList* list, int) {
  if (format.empty() || list->GetCount() == 0) return velor_32::kOk;
  if (!velor_32::IsOpen(space) || space->app == nullptr) return velor_32::kNoSpace;
  const LoweredRecordCache lowered(space->app, format);
  const int rc = fmt_64::Velor_InitPFT(space, format.data(), static_cast<int>(format.size()));
  const int behindLast = rc == velor_32::kOk ? velor_32::Velormaxmfn(space) : 0;
  int kept = 0;
  for (int i = 0; i < list->GetCount() && !app::CheckStopProcess(space->app); ++i) {
    const int mfn = list->Get(i);
    if (mfn < behindLast && Passes(space, mfn)) list->Put(kept++, mfn);
  }
  list->SetCount(kept);
  return rc;
}
