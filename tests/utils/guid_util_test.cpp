#include "utils/guid_util.h"

#include <gtest/gtest.h>

#include <regex>
#include <set>

namespace {

TEST(GuidUtil, FormOfVersionFour) {
  const std::regex form(R"(\{[0-9A-F]{8}-[0-9A-F]{4}-4[0-9A-F]{3}-[89AB][0-9A-F]{3}-[0-9A-F]{12}\})");
  std::set<std::string> seen;
  for (int i = 0; i < 1000; ++i) {
    const std::string guid = utils::GuidUtil::CreateGuid();
    EXPECT_TRUE(std::regex_match(guid, form)) << guid;
    EXPECT_TRUE(seen.insert(guid).second) << "twice: " << guid;
  }
}

}  // namespace
