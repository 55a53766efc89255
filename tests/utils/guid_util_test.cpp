#include "utils/guid_util.h"

#include <gtest/gtest.h>

#include <set>
#include <string_view>

namespace {

/// X stands for a hexadecimal digit in upper case, Y for one of the four variant digits.
bool HasForm(std::string_view text, std::string_view form) {
  if (text.size() != form.size()) return false;
  for (std::size_t i = 0; i < form.size(); ++i) {
    const std::string_view allowed = form[i] == 'X'   ? "0123456789ABCDEF"
                                     : form[i] == 'Y' ? "89AB"
                                                      : form.substr(i, 1);
    if (allowed.find(text[i]) == std::string_view::npos) return false;
  }
  return true;
}

TEST(GuidUtil, FormOfVersionFour) {
  std::set<std::string> seen;
  for (int i = 0; i < 1000; ++i) {
    const std::string guid = utils::GuidUtil::CreateGuid();
    EXPECT_TRUE(HasForm(guid, "{XXXXXXXX-XXXX-4XXX-YXXX-XXXXXXXXXXXX}")) << guid;
    EXPECT_TRUE(seen.insert(guid).second) << "twice: " << guid;
  }
}

}  // namespace
