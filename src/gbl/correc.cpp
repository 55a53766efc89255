#include "gbl/correc.h"

#include <algorithm>
#include <utility>

#include "gbl/mst_global.h"
#include "index/words.h"
#include "storage/app_context.h"
#include "storage/codes.h"
#include "storage/record_read.h"
#include "storage/shelf.h"
#include "storage/term_first.h"
#include "storage/term_read.h"
#include "utils/path_util.h"
#include "utils/string_utils.h"
#include "utils/text_util.h"

namespace global {

using velor_01::TVelorSpace;
using velor_32::kOk;

namespace {

constexpr std::size_t kMaxKey = 254;  // bytes

/// A key as the dictionary compares it: without control characters and blanks at its end, and up to a zero.
std::string_view TrimKey(std::string_view key) {
  key = key.substr(0, key.find('\0'));
  while (!key.empty() && static_cast<unsigned char>(key.back()) < 33) key.remove_suffix(1);
  return key;
}

/// The search for hits in one database.
class HitSearch {
 public:
  HitSearch(GblCtx* ctx, TVelorSpace* space, int slot, int limit)
      : ctx_(ctx), space_(space), limit_(limit), currentMfn_(velor_32::Velormfn(space, slot)) {}

  ~HitSearch() { ctx_->pool->Close(std::move(index_)); }
  HitSearch(const HitSearch&) = delete;
  HitSearch& operator=(const HitSearch&) = delete;

  int Open(const std::string& name);
  void FindKey(std::string key, bool isPrefix);

 private:
  bool TakePostings();
  void TakeHit(int mfn, int tag, int occurrence);

  GblCtx* ctx_;
  TVelorSpace* space_;
  int limit_;  // postings of a term; 0 for all
  int currentMfn_;
  bool isCurrentDatabase_ = false;
  std::string name_;
  std::shared_ptr<const BlockDatabase> database_;
  velor_32::SpacePointer index_;
};

int HitSearch::Open(const std::string& name) {
  name_ = name;
  isCurrentDatabase_ = name == utils::StringUtils::ToLower(ctx_->dbName);
  int rc = kOk;
  database_ = ctx_->pool->Find(space_->app, name, &rc);
  if (database_) index_ = ctx_->pool->Open(space_->app, *database_, space_->deflex, &rc);
  if (rc != kOk) FailDatabase(ctx_, "CORREC", rc, name);
  return rc;
}

void HitSearch::FindKey(std::string key, bool isPrefix) {
  backup::concatUtf8(key, kMaxKey);
  backup::Translate(key, space_->app->ucTable.data());
  backup::concatUtf8(key, kMaxKey);
  const std::string_view wanted = TrimKey(key);
  char term[velor_01::kTermBufferSize] = {};
  wanted.copy(term, sizeof term - 1);
  if (!isPrefix) {
    if (velor_32::Velorfind(index_.get(), term) == kOk) TakePostings();
    return;
  }
  int rc = velor_32::FindFirstTerm(index_.get(), term);
  while (rc == kOk && (term == wanted || std::string_view(term).starts_with(key)) && TakePostings())
    rc = velor_32::Velornxtterm(index_.get(), term);
}

/// False when a posting cannot be read.
bool HitSearch::TakePostings() {
  if (velor_32::Velorinitpost(index_.get()) != kOk) return false;
  int count = velor_32::Velornposts(index_.get());
  if (limit_ > 0) count = std::min(count, limit_);
  for (int i = 0; i < count; ++i) {
    if (velor_32::Velornxtpost(index_.get()) != kOk) return false;
    const int mfn = velor_32::Velorposting(index_.get(), 1);
    if (mfn > 0)
      TakeHit(mfn, velor_32::Velorposting(index_.get(), 2), velor_32::Velorposting(index_.get(), 3));
  }
  return true;
}

/// A record that is a hit already is worked once more, without a tag and an occurrence of its own.
void HitSearch::TakeHit(int mfn, int tag, int occurrence) {
  const std::string id = name_ + "." + std::to_string(mfn);
  if (const int known = ctx_->spaces.IndexOfName(id); known != SpaceTable::kNone) {
    ctx_->spaces.PushHit(known);
    return;
  }
  if (isCurrentDatabase_ && mfn == currentMfn_) {
    ctx_->spaces.Add(space_, id);
  } else {
    ctx_->spaces.AddHit(database_, mfn, id);
    if (const int rc = velor_32::VelorRecord(index_.get(), 0, mfn); rc != kOk)
      ctx_->Fail("RECREAD_ERROR", std::to_string(rc) + "=" + std::to_string(mfn));
  }
  ctx_->spaces.PushHit(ctx_->spaces.GetCount() - 1);
  ctx_->hitTags.push_back(tag);
  ctx_->hitOccs.push_back(occurrence);
}

/// The keys, and whether they are prefixes.
bool ReadKeys(GblCtx* ctx, Target current, std::string keyFormat, bool* arePrefixes) {
  *arePrefixes = keyFormat.ends_with('$');
  if (*arePrefixes) keyFormat.pop_back();
  std::string output;
  if (!Evaluate(ctx, current, keyFormat, kShownOfValue, &output)) return false;
  SplitLines(output, &ctx->keyLines);
  return !ctx->keyLines.empty();
}

/// The lines of field 1001. False when their format fails.
bool ReadFieldLines(GblCtx* ctx, Target current, const std::string& format) {
  ctx->correcFieldLines.clear();
  if (format.empty()) return true;
  std::string output;
  if (!Evaluate(ctx, current, format, kShownOfValue, &output)) return false;
  SplitLines(output, &ctx->correcFieldLines);
  return true;
}

}  // namespace

int CORREC(GblCtx* ctx, TVelorSpace* space, int slot, const std::string& dbFormat,
           const std::string& fieldsFormat, std::string keyFormat, const std::string& limit) {
  return Guarded("CORREC", 0, [&] {
    const Target current{space, slot};
    std::string output;
    if (!Evaluate(ctx, current, dbFormat, kShownOfValue, &output)) return 0;
    std::string name = utils::StringUtils::ToLower(output);
    if (!name.empty() && RunRemotely(ctx, space, slot, "CORREC", name)) return 0;
    if (name == "*") name = utils::StringUtils::ToLower(ctx->dbName);
    bool arePrefixes = false;
    if (!ReadFieldLines(ctx, current, fieldsFormat)) return 0;
    if (!ReadKeys(ctx, current, std::move(keyFormat), &arePrefixes)) return 0;
    HitSearch search(ctx, space, slot, utils::TextUtil::Int32ParseExact(limit, 0));
    if (search.Open(name) != kOk) return 0;
    for (const std::string& key : ctx->keyLines) search.FindKey(key, arePrefixes);
    return ctx->spaces.HitCount();
  });
}

TVelorSpace* OpenHit(GblCtx* ctx, const TVelorSpace* space, int index) {
  if (TVelorSpace* opened = ctx->spaces.At(index); opened != nullptr) return opened;
  const BlockDatabase* database = ctx->spaces.DatabaseOf(index);
  if (database == nullptr) return nullptr;
  const std::string name = utils::PathUtil::GetFileName(database->path);
  int rc = kOk;
  velor_32::SpacePointer hit = ctx->pool->Open(space->app, *database, space->deflex, &rc);
  if (!hit) {
    FailDatabase(ctx, "CORREC", rc, name);
    return nullptr;
  }
  ++ctx->openCount;
  const int mfn = ctx->spaces.MfnOf(index);
  rc = velor_32::VelorRecord(hit.get(), 0, mfn);
  if (rc != kOk) ctx->Fail("RECREAD_ERROR", std::to_string(rc) + "=" + std::to_string(mfn));
  TVelorSpace* opened = hit.release();  // closed with the run, or when it is done
  ctx->spaces.SetSpace(index, opened);
  return opened;
}

}  // namespace global
