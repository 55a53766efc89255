#pragma once

#include <gtest/gtest.h>

#include <map>
#include <string>
#include <vector>

#include "storage/term_read.h"
#include "utils/posting_list.h"

namespace test {

using PostingVector = std::vector<velor_01::TifpItemPosting>;
using DictionaryModel = std::map<std::string, PostingVector>;

/// All terms of an open dictionary that have postings, by walking through it.
inline DictionaryModel ReadDictionaryModel(velor_32::TVelorSpace* space) {
  DictionaryModel model;
  char term[velor_01::kTermBufferSize] = "\x01";
  for (int rc = velor_32::Velorfind0(space, term, true); rc == 0 || rc == -202 || rc == -204;) {
    if (*term == '\0') break;
    PostingVector postings;
    while (velor_32::Velornxtpost(space) == 0) {
      const auto field = [&](int n) { return velor_32::Velorposting(space, n); };
      postings.push_back({field(1), field(2), field(3), field(4), field(5), field(6), field(7), field(8)});
    }
    EXPECT_EQ(static_cast<int>(postings.size()), velor_32::Velornposts(space)) << term;
    if (!postings.empty()) model[term] = postings;
    rc = velor_32::Velornxtterm(space, term);
  }
  return model;
}

}  // namespace test
