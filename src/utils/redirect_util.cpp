#include "utils/redirect_util.h"

#include "utils/text_util.h"

namespace utils {

namespace {

constexpr char kMark = '%';
constexpr const char* kSection = "REDIRECT";

}  // namespace

bool RedirectUtil::CheckRedirectDb(std::string_view name, std::size_t* start, std::size_t* length) {
  const std::size_t first = name.find(kMark);
  if (first == std::string_view::npos || first == 0) return false;
  const std::size_t second = name.find(kMark, first + 1);
  if (second == std::string_view::npos || second == first + 1) return false;
  *start = first + 1;
  *length = second - first - 1;
  return true;
}

bool RedirectUtil::GetRedirectDb(const IniFile& ini, const std::string& name, std::string* database,
                                 std::string* address, std::string* user, std::string* password,
                                 int* guidOption) {
  std::size_t start = 0;
  std::size_t length = 0;
  if (!CheckRedirectDb(name, &start, &length)) return false;
  const std::string alias = name.substr(start, length);
  const std::string found = ini.Get(kSection, alias, "");
  if (found.empty()) return false;
  *address = found;
  *database = name.substr(0, start - 1);
  *user = ini.Get(kSection, alias + "_LOGIN", "");
  *password = ini.Get(kSection, alias + "_PASSWORD", "");
  *guidOption = TextUtil::Int32ParseExact(ini.Get(kSection, alias + "_GUID_OPTION", ""), -1);
  return true;
}

}  // namespace utils
