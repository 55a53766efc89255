#include "storage/term_swap.h"

#include <unistd.h>

#include <cerrno>
#include <cstdio>

#include "storage/codes.h"
#include "utils/file_layer.h"
#include "utils/path_util.h"

namespace velor_32 {

namespace {

using velor_01::kMaxTermIndexes;

constexpr const char* kExtensions[] = {".n01", ".l01", ".ifp"};
constexpr char kSplitMark = '1';
constexpr char kOneIndexMark = '0';

/// A file that is not there has been renamed before.
bool RenameIfThere(const std::string& file) {
  return std::rename((file + "_").c_str(), file.c_str()) == 0 || errno == ENOENT;
}

bool RenameIndex(const std::string& path, int index) {
  bool isDone = true;
  for (const char* extension : kExtensions) isDone &= RenameIfThere(path + extension + IndexSuffix(index));
  return isDone;
}

void RemoveIndex(const std::string& path, int index) {
  for (const char* extension : kExtensions) ::unlink((path + extension + IndexSuffix(index)).c_str());
}

bool WriteMark(const std::string& file, char mark) {
  const int handle = backup::_lcreat(file.c_str(), 0);
  const bool isWritten = handle >= 0 && backup::_lwrite(handle, &mark, 1) == 1;
  return handle >= 0 && backup::_lclose(handle) == 0 && isWritten;
}

}  // namespace

std::string IndexSuffix(int index) {
  return index == 0 ? "" : "_" + std::to_string(index);
}

int SwapTermFiles(const std::string& path, bool isSplit) {
  const std::string mark = path + ".new";
  if (!WriteMark(mark + "_", isSplit ? kSplitMark : kOneIndexMark) || !RenameIfThere(mark)) {
    ::unlink((mark + "_").c_str());
    return kNoInvertedFile;
  }
  return FinishTermSwap(path);
}

int FinishTermSwap(const std::string& path) {
  const TermSwap swap = ReadTermSwap(path);
  if (swap == TermSwap::kNone) return kOk;
  const bool isSplit = swap == TermSwap::kToSplit;
  bool isDone = RenameIndex(path, 0);
  for (int index = 1; index <= kMaxTermIndexes; ++index) {
    if (isSplit) {
      isDone &= RenameIndex(path, index);
    } else {
      RemoveIndex(path, index);
    }
  }
  if (isSplit) {
    isDone &= RenameIfThere(path + ".inv");
  } else {
    ::unlink((path + ".inv").c_str());
  }
  return isDone && ::unlink((path + ".new").c_str()) == 0 ? kOk : kNoInvertedFile;
}

TermSwap ReadTermSwap(const std::string& path) {
  const std::string mark = path + ".new";
  if (::access(mark.c_str(), F_OK) != 0) return TermSwap::kNone;
  std::int64_t size = 0;
  char* const text = backup::OpenTerm_x(mark.c_str(), &size);
  const TermSwap swap = text == nullptr       ? TermSwap::kNone
                        : *text == kSplitMark ? TermSwap::kToSplit
                                              : TermSwap::kToOneIndex;
  backup::CloseTerm_x(text);
  return swap;
}

std::string TermFileInUse(TermSwap swap, const std::string& file) {
  const std::string newFile = file + "_";
  return swap != TermSwap::kNone && ::access(newFile.c_str(), F_OK) == 0 ? newFile : file;
}

}  // namespace velor_32
