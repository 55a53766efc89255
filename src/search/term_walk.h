#pragma once

#include <string>

#include "search/operand.h"
#include "search/posting_collector.h"

namespace Tmthrd_32 {

/// Walks through the terms that an operand stands for and gives the postings of each to a collector.
class TermWalk {
 public:
  /// Walks with the term cache when it is on, `db` being the database's name there; without `db` it reads the
  /// dictionary.
  TermWalk(TVelorSpace* space, PostingCollector& collector, std::string db = {});

  void Run(const Operand& operand);

 private:
  void ReadExact(const std::string& term);
  void ReadMany(const Operand& operand);
  bool ReadDictionary(const Operand& operand, const std::string& root);
  void ReadCached(const std::string& term);
  void ReadCurrent(const char* term, const std::string& root);
  [[nodiscard]] int FindFirst(const std::string& from, char* termBuffer);

  TVelorSpace* space_;
  PostingCollector& collector_;
  velor_32::PostingBlocks blocks_;
  std::string db_;
  bool noCache_;
};

}  // namespace Tmthrd_32
