#include "utils/ini_line.h"

#include "utils/string_utils.h"

namespace utils {

namespace {

IniLine ReadHead(std::string_view line) {
  const std::string_view name = StringUtils::Trim(line, " \t[]");
  if (name.empty()) return {};
  if (name.front() == '@') return {IniLine::Kind::kInclude, name.substr(1), {}};
  return {IniLine::Kind::kSection, name, {}};
}

}  // namespace

IniLine ReadIniLine(std::string_view line) {
  if (line.starts_with('#') || line.starts_with("/*")) return {};
  if (line.starts_with('[')) return ReadHead(line);
  const std::size_t equals = line.find('=');
  if (equals == std::string_view::npos) return {};
  return {IniLine::Kind::kKey, StringUtils::Trim(line.substr(0, equals)),
          StringUtils::Trim(line.substr(equals + 1))};
}

std::string FoldIniName(std::string_view name) {
  return StringUtils::ToLower(name);
}

}  // namespace utils
