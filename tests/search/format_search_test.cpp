// What L, LR and NPOST of the format language find in a dictionary.

#include "search/format_search.h"

#include <gtest/gtest.h>

#include "format/velor64_context.h"
#include "storage/app_context.h"
#include "support/dictionary.h"

namespace {

using xpft::QueryType;

TEST(FormatSearch, FindsByTermBeginningAndExpression) {
  const test::Dictionary dictionary;
  const struct {
    const char* term;
    std::vector<int> records;
  } terms[] = {{"A", {1, 1, 2}},   {"AB", {2, 3}}, {"T=[...] B", {4}},
               {"T=[...] C", {5}}, {"\"Q", {6}},   {"Z", {7}}};
  for (const auto& [term, records] : terms) {
    int pos = 0;
    for (const int mfn : records) ASSERT_EQ(dictionary.Insert(term, {mfn, 1, 1, ++pos}), 0);
  }
  Search18::InstallFormatSearch();
  dictionary.space()->app->maxDocSearch = 3;
  const std::string tooLong(300, 'A');

  const struct {
    const char* why;
    std::string query;
    QueryType type;
    int from, count;
    std::vector<int> records;
    int postings;
  } cases[] = {
      {"a term", "A", QueryType::kDefault, 0, 0, {1, 2}, 3},
      {"its first record", "A", QueryType::kDefault, 0, 1, {1}, 3},
      {"its second", "A", QueryType::kExact, 1, 1, {2}, 3},
      {"behind its last", "A", QueryType::kDefault, 2, 5, {}, 3},
      {"an expression", "A ^ AB", QueryType::kDefault, 0, 0, {1}, 0},
      {"no expression behind -", "A ^ AB", QueryType::kExact, 0, 0, {}, 0},
      {"a beginning", "A", QueryType::kPrefix, 0, 0, {1, 2, 3}, 5},
      {"not beyond the limit", "A + Z", QueryType::kDefault, 0, 0, {1, 2, 7}, 0},
      {"a window may be wider", "A$ + Z", QueryType::kDefault, 0, 9, {1, 2, 3, 7}, 0},
      {"a beginning is no range", "T=[...] ", QueryType::kPrefix, 0, 0, {4, 5}, 2},
      {"nor has it quotes", "\"", QueryType::kPrefix, 0, 0, {6}, 1},
      {"nothing so long", tooLong, QueryType::kPrefix, 0, 0, {}, 0},
      {"nothing asked", "", QueryType::kPrefix, 0, 0, {}, 0},
  };
  for (const auto& c : cases) {
    SCOPED_TRACE(c.why);
    std::vector<int> found;
    xpft::DefaultFormatHooks().searchMfn(dictionary.space(), c.query, c.from, c.count, c.type, found);
    EXPECT_EQ(found, c.records);
    EXPECT_EQ(xpft::DefaultFormatHooks().countPostings(dictionary.space(), c.query, c.type), c.postings);
  }
}

}  // namespace
