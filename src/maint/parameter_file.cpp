#include "maint/parameter_file.h"

#include <algorithm>
#include <filesystem>

#include "maint/list_file.h"
#include "utils/path_util.h"
#include "utils/string_list.h"
#include "utils/string_utils.h"

namespace velor_server_proc {

using utils::StringUtils;

namespace {

constexpr int kDirectoryLines = 10;

/// How the parameter file names a directory: relative to the system directory where that leads back to it
/// (relative paths are folded to lower case), otherwise in full. One of the current directory would be looked
/// for below the system directory.
std::string ParameterPath(const app::VelorAppContext* ctx, const std::string& directory) {
  if (!utils::PathUtil::IsPathRooted(directory))
    return std::filesystem::absolute(directory).lexically_normal().string();
  if (ctx->execDir.empty() || !StringUtils::StartsWith(directory, ctx->execDir)) return directory;
  const std::string relative = directory.substr(ctx->execDir.size());
  if (StringUtils::ToLower(relative) != relative) return directory;
  std::string path = ".\\" + StringUtils::ToUpper(relative);
  std::ranges::replace(path, '/', '\\');
  return path;
}

}  // namespace

std::string ParameterFile(const app::VelorAppContext* ctx, const std::string& name) {
  return ctx->dataPath + name + ".par";
}

bool WriteParameterFile(const app::VelorAppContext* ctx, const std::string& templateDb,
                        const std::string& name, bool hasTextStore) {
  std::string text;
  velor_01::TStringList old;
  old.LoadFromFile(ParameterFile(ctx, templateDb).c_str());
  for (const velor_01::TStringItem& item : old.Items())
    if (StringUtils::StartsWith(item.text, "0=")) text.append(item.text).append("\r\n");

  const std::string path = ParameterPath(ctx, ctx->dataPath + name + "/");
  for (int n = 1; n <= kDirectoryLines; ++n) text += std::to_string(n) + "=" + path + "\r\n";
  const char* texts = path.back() == '\\' ? "texts\\" : "texts/";
  if (hasTextStore) text += std::to_string(kDirectoryLines + 1) + "=" + path + texts + "\r\n";
  return RewriteFile(ParameterFile(ctx, name), text);
}

}  // namespace velor_server_proc
