#include "format/ast_string_functions.h"
#include "format/format_files.h"
#include "utils/md5.h"
#include "utils/path_util.h"
#include "utils/text_util.h"

// CAT, MD5 and FILEMD5, FILENAME, FILEPATH and FILEEXT.

namespace xpft::ast {

namespace {

/// A file as CAT and FILEMD5 name it: "kind,name" or "name". A kind that is no number makes the name a path.
struct FileReference {
  VelorPath kind = VelorPath::kDatabaseFile;
  std::string name;

  [[nodiscard]] bool IsOfDatabase() const {
    return kind == VelorPath::kDatabase || kind == VelorPath::kDatabaseFile || kind == VelorPath::kTexts;
  }
};

FileReference ParseFileReference(const std::string& text) {
  const std::size_t comma = text.find(',');
  if (comma == std::string::npos) return {.name = text};
  const int kind =
      utils::TextUtil::Int32ParseExact(text.substr(0, comma), static_cast<int>(VelorPath::kNone));
  return {.kind = static_cast<VelorPath>(kind), .name = text.substr(comma + 1)};
}

}  // namespace

void SfncCat::DoCmd(IPftContext* ctx) const {
  ScratchText text(ctx);
  GetArguments(ctx, list(), *text);
  const FileReference file = ParseFileReference(*text);
  std::string content;
  if (ctx->ReadFile(file.kind, file.name, file.IsOfDatabase(), content)) ctx->Print(TextOfFile(content));
}

void SfncMd5::DoCmd(IPftContext* ctx) const {
  ScratchText text(ctx);
  GetArguments(ctx, list(), *text);
  if (!ofFile_) {
    ctx->Print(utils::Md5Hex(*text));
    return;
  }
  const FileReference file = ParseFileReference(*text);
  ctx->Print(ctx->FileMd5(file.kind, file.name, file.IsOfDatabase()));
}

const char* SfncFileInfo::Name() const {
  switch (part_) {
    case Part::kName:
      return "filename";
    case Part::kPath:
      return "filepath";
    case Part::kExtension:
      break;
  }
  return "fileext";
}

namespace {

/// The directory with the separator that closes it in the path.
std::string DirectoryWithSeparator(const std::string& path) {
  std::string directory = utils::PathUtil::GetDirectoryName(path);
  const std::size_t last = path.find_last_of("\\/");
  if (directory == "/") return directory;
  return directory + (last == std::string::npos ? '/' : path[last]);
}

}  // namespace

void SfncFileInfo::DoCmd(IPftContext* ctx) const {
  ScratchText path(ctx);
  GetArguments(ctx, list(), *path);
  switch (part_) {
    case Part::kName:
      ctx->Print(utils::PathUtil::GetFileName(*path));
      break;
    case Part::kPath:
      ctx->Print(DirectoryWithSeparator(*path));
      break;
    case Part::kExtension:
      ctx->Print(utils::PathUtil::GetExtension(*path));
      break;
  }
}

}  // namespace xpft::ast
