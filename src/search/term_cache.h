#pragma once

#include <memory>
#include <string>
#include <string_view>
#include <unordered_map>
#include <vector>

#include "utils/posting_list.h"

/// Postings of terms in memory, for searches that read the same terms again.
///
/// It belongs to a context (app::VelorAppContext::termCache) and lives as long. It has no bound of its own
/// and does not see changes of the dictionary, so that it suits short runs that do not write; it is used
/// while useTermCache is set.
namespace trmcache {

/// A term: what its search gave and, once they have been read to the end, its postings.
class TrmCacheItem {
 public:
  TrmCacheItem(int status, int count) : status_(status), count_(count) {}

  /// Status of the first search for the term.
  [[nodiscard]] int GetResult() const { return status_; }
  /// Its postings as the dictionary tells.
  [[nodiscard]] int GetCount() const { return count_; }

  std::vector<velor_01::TifpItemPosting> postings;
  bool isComplete = false;

 private:
  int status_;
  int count_;
};

/// `db` and `term` make the key in every call.
struct TrmCache {
 public:
  /// The item of a term, null when there is none. Good until the item is removed.
  [[nodiscard]] TrmCacheItem* FindTerm(std::string_view db, std::string_view term);
  /// Whether the postings of a term are all here.
  [[nodiscard]] bool ContainsTerm(std::string_view db, std::string_view term);
  /// Adds a term without postings, or gives the one that is here.
  TrmCacheItem* AddTerm(std::string_view db, std::string_view term, int status, int count);
  void RemoveTerm(std::string_view db, std::string_view term);
  /// Status of the first search; `absent` for a term that is not here.
  [[nodiscard]] int GetResult(std::string_view db, std::string_view term, int absent);
  /// Records among the complete postings of a term; 0 otherwise.
  [[nodiscard]] int CountDocs(std::string_view db, std::string_view term);

  /// Ties a term to the truncated operand that opened it. The list of an operand counts once it is closed.
  void AddSubTerm(std::string_view db, std::string_view root, std::string_view term);
  void CloseSubTerms(std::string_view db, std::string_view root);
  /// Forgets the list of an operand.
  void RemoveSubTerm(std::string_view db, std::string_view root);
  /// The terms of an operand in order, null unless the list is closed.
  [[nodiscard]] const std::vector<std::string>* SubTerms(std::string_view db, std::string_view root);

  /// Begins to read a term: from memory when it is complete; otherwise Load fills it until EndLoad. Null when
  /// it is not here.
  TrmCacheItem* BeginLoad(std::string_view db, std::string_view term);
  void Load(const velor_01::TifpItemPosting& posting);
  /// `isComplete` false throws away what was loaded, and the item with it.
  void EndLoad(bool isComplete);

  /// Whether the term in hand is one to be read from memory; NextPosting then gives its postings in turn,
  /// null behind the last.
  [[nodiscard]] bool ReadsFromMemory() const { return reading_ != nullptr && reading_->isComplete; }
  const velor_01::TifpItemPosting* NextPosting();
  [[nodiscard]] const velor_01::TifpItemPosting* CurrentPosting() const { return current_; }
  [[nodiscard]] const TrmCacheItem* CurrentItem() const { return reading_; }
  /// No term is in hand any longer.
  void ForgetCurrent();

 private:
  struct SubTermList {
    std::vector<std::string> terms;
    bool isClosed = false;
  };

  std::unordered_map<std::string, std::unique_ptr<TrmCacheItem>> items_;
  std::unordered_map<std::string, SubTermList> subTerms_;
  TrmCacheItem* reading_ = nullptr;  // item being filled or read
  std::string readingKey_;
  std::size_t position_ = 0;  // of the next posting to be read from memory
  const velor_01::TifpItemPosting* current_ = nullptr;
};

}  // namespace trmcache
