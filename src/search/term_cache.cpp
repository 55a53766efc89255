#include "search/term_cache.h"

namespace trmcache {

using velor_01::TifpItemPosting;

namespace {

/// No file name holds a zero byte, so that no two pairs make one key.
std::string KeyOf(std::string_view db, std::string_view term) {
  std::string key(db);
  key += '\0';
  key += term;
  return key;
}

}  // namespace

TrmCacheItem* TrmCache::FindTerm(std::string_view db, std::string_view term) {
  const auto found = items_.find(KeyOf(db, term));
  return found == items_.end() ? nullptr : found->second.get();
}

bool TrmCache::ContainsTerm(std::string_view db, std::string_view term) {
  const TrmCacheItem* item = FindTerm(db, term);
  return item != nullptr && item->isComplete;
}

TrmCacheItem* TrmCache::AddTerm(std::string_view db, std::string_view term, int status, int count) {
  std::unique_ptr<TrmCacheItem>& item = items_[KeyOf(db, term)];
  if (!item) item = std::make_unique<TrmCacheItem>(status, count);
  return item.get();
}

void TrmCache::RemoveTerm(std::string_view db, std::string_view term) {
  const auto found = items_.find(KeyOf(db, term));
  if (found == items_.end()) return;
  if (found->second.get() == reading_) ForgetCurrent();
  items_.erase(found);
}

int TrmCache::GetResult(std::string_view db, std::string_view term, int absent) {
  const TrmCacheItem* item = FindTerm(db, term);
  return item == nullptr ? absent : item->GetResult();
}

int TrmCache::CountDocs(std::string_view db, std::string_view term) {
  const TrmCacheItem* item = FindTerm(db, term);
  if (item == nullptr || !item->isComplete) return 0;
  int docs = 0;
  std::int32_t last = 0;
  for (const TifpItemPosting& posting : item->postings) {
    if (docs == 0 || posting.mfn != last) ++docs;
    last = posting.mfn;
  }
  return docs;
}

void TrmCache::AddSubTerm(std::string_view db, std::string_view root, std::string_view term) {
  subTerms_[KeyOf(db, root)].terms.emplace_back(term);
}

void TrmCache::CloseSubTerms(std::string_view db, std::string_view root) {
  subTerms_[KeyOf(db, root)].isClosed = true;
}

void TrmCache::RemoveSubTerm(std::string_view db, std::string_view root) {
  subTerms_.erase(KeyOf(db, root));
}

const std::vector<std::string>* TrmCache::SubTerms(std::string_view db, std::string_view root) {
  const auto found = subTerms_.find(KeyOf(db, root));
  return found == subTerms_.end() || !found->second.isClosed ? nullptr : &found->second.terms;
}

TrmCacheItem* TrmCache::BeginLoad(std::string_view db, std::string_view term) {
  ForgetCurrent();
  readingKey_ = KeyOf(db, term);
  const auto found = items_.find(readingKey_);
  if (found == items_.end()) return nullptr;
  reading_ = found->second.get();
  if (!reading_->isComplete) reading_->postings.clear();
  return reading_;
}

void TrmCache::Load(const TifpItemPosting& posting) {
  if (reading_ != nullptr && !reading_->isComplete) reading_->postings.push_back(posting);
}

void TrmCache::EndLoad(bool isComplete) {
  TrmCacheItem* const item = reading_;
  ForgetCurrent();
  if (item == nullptr || item->isComplete) return;
  if (isComplete) {
    item->postings.shrink_to_fit();
    item->isComplete = true;
  } else {
    items_.erase(readingKey_);
  }
}

const TifpItemPosting* TrmCache::NextPosting() {
  const bool isThere = ReadsFromMemory() && position_ < reading_->postings.size();
  current_ = isThere ? &reading_->postings[position_++] : nullptr;
  return current_;
}

void TrmCache::ForgetCurrent() {
  reading_ = nullptr;
  position_ = 0;
  current_ = nullptr;
}

}  // namespace trmcache
