#include "storage/term_files.h"

#include <sys/stat.h>

#include <algorithm>
#include <cstring>

#include "storage/codes.h"
#include "storage/edge.h"
#include "storage/master_file.h"
#include "storage/record_format.h"
#include "storage/term_swap.h"
#include "utils/file_layer.h"
#include "utils/path_util.h"
#include "utils/string_list.h"
#include "utils/utf8_order.h"

namespace velor_32 {

using velor_01::kBlockHeadSize;
using velor_01::kKeyItemSize;
using velor_01::kTermBlockSize;
using velor_01::TifpHeader;
using velor_01::TifpItemPosting;
using velor_01::TifpSpecial;
using velor_01::TSpaceTrm;
using velor_01::TTermBlock;

namespace {

constexpr int kSeparators = velor_01::kMaxTermIndexes - 1;
constexpr int kMostTries = 3;  // to open files that belong together

/// Null when a file does not open.
TSpaceTrm* OpenOne(const std::string& path, const std::string& suffix, TermSwap swap, int mode) {
  TSpaceTrm* index = new TSpaceTrm;
  index->path = path;
  index->suffix = suffix;
  const auto open = [&](const char* extension) {
    const std::string file = path + extension + suffix;
    const int handle = backup::_lopen(TermFileInUse(swap, file).c_str(), mode);
    return handle >= 0 ? handle : backup::_lopen(file.c_str(), mode);  // renamed in between
  };
  index->n01 = open(".n01");
  index->l01 = open(".l01");
  index->ifp = open(".ifp");
  if (index->n01 < 0 || index->l01 < 0 || index->ifp < 0) CloseTermIndex(index);
  return index;
}

/// The separators of additional indexes; null when there are none, or not nine.
std::unique_ptr<velor_01::TStringList> LoadSeparators(const std::string& path, TermSwap swap) {
  const std::string file = TermFileInUse(swap, path + ".inv");
  if (swap == TermSwap::kToOneIndex || !utils::PathUtil::IsFile(file)) return nullptr;
  auto list = std::make_unique<velor_01::TStringList>();
  if (!list->LoadFromFile(file) || list->GetCount() != kSeparators) return nullptr;
  return list;
}

bool OpenAll(TVelorSpace* space, int mode) {
  const std::string& path = space->termPath;
  const TermSwap swap = ReadTermSwap(path);
  space->trmMain = OpenOne(path, "", swap, mode);
  if (!space->trmMain) return false;
  space->termSeparators = LoadSeparators(path, swap);
  if (!space->termSeparators) return true;
  for (int k = 0; k < velor_01::kMaxTermIndexes; ++k) {
    space->trmIndex[k] = OpenOne(path, IndexSuffix(k + 1), swap, mode);
    if (!space->trmIndex[k]) return false;
  }
  return true;
}

bool IsFileOf(int handle, const std::string& path) {
  struct stat opened;
  struct stat named;
  return ::fstat(handle, &opened) == 0 && ::stat(path.c_str(), &named) == 0 &&
         opened.st_ino == named.st_ino && opened.st_dev == named.st_dev;
}

/// Whether the files that were opened are still those that the names lead to: new ones may have taken their
/// place while they were opened one by one.
bool AreFilesCurrent(const TVelorSpace* space) {
  const TermSwap swap = ReadTermSwap(space->termPath);
  const auto isCurrent = [&](const TSpaceTrm* index) {
    const auto name = [&](const char* extension) {
      return TermFileInUse(swap, index->path + extension + index->suffix);
    };
    return IsFileOf(index->n01, name(".n01")) && IsFileOf(index->l01, name(".l01")) &&
           IsFileOf(index->ifp, name(".ifp"));
  };
  if (HasAdditionalIndexes(space) != (LoadSeparators(space->termPath, swap) != nullptr)) return false;
  return isCurrent(space->trmMain) &&
         (!HasAdditionalIndexes(space) ||
          std::all_of(std::begin(space->trmIndex), std::end(space->trmIndex), isCurrent));
}

int OpenIndex(TVelorSpace* space, const char* path, int mode) {
  if (!space || !path) return kNoSpace;
  return AtEdge([&] {
    const std::string own = path;
    Velorcloseterm(space);
    space->termPath = own;
    for (int tries = 0; tries < kMostTries; ++tries) {
      if (OpenAll(space, mode) && AreFilesCurrent(space)) return kOk;
      CloseTermFiles(space);
    }
    return kNoInvertedFile;
  });
}

/// The keys lie in the block, behind the items, and have room there side by side: so any part of them fits
/// into an empty block. The last is not below the first: so a walk to blocks of ever higher keys has an end.
bool HasSoundKeys(const TTermBlock& block) {
  const int itemsEnd = kBlockHeadSize + kKeyItemSize * block.count;
  if (itemsEnd > kTermBlockSize) return false;
  int keyBytes = 0;
  for (int i = 1; i <= block.count; ++i) {
    const velor_01::TKeyItem& item = block.item(i);
    if (item.len < 1 || item.len > velor_01::kLongestTerm) return false;
    if (item.pos < itemsEnd || item.pos + item.len > kTermBlockSize) return false;
    keyBytes += item.len;
  }
  return itemsEnd + keyBytes <= kTermBlockSize &&
         (block.count < 2 || utils::CompareUtf8(block.key(1), block.key(block.count)) < 0);
}

std::int64_t BlockOffset(std::int32_t number) {
  return (std::int64_t{number} - 1) * kTermBlockSize;
}

}  // namespace

int Velorinitterm(TVelorSpace* space, const char* path) {
  return OpenIndex(space, path, kOpenRead);
}

int Velorinitterm_write(TVelorSpace* space, const char* path) {
  return OpenIndex(space, path, kOpenWrite);
}

void CloseTermIndex(TSpaceTrm*& index) {
  if (!index) return;
  for (const int handle : {index->n01, index->l01, index->ifp})
    if (handle >= 0) backup::_lclose(handle);
  delete index;
  index = nullptr;
}

void CloseTermFiles(TVelorSpace* space) {
  if (!space) return;
  CloseTermIndex(space->trmMain);
  for (TSpaceTrm*& index : space->trmIndex) CloseTermIndex(index);
  space->termSeparators.reset();
  space->termIndex = 0;
}

void Velorcloseterm(TVelorSpace* space) {
  if (!space) return;
  CloseTermFiles(space);
  space->termPath.clear();
  space->lazyTerm = false;
}

bool HasAdditionalIndexes(const TVelorSpace* space) {
  return space && space->termSeparators != nullptr;
}

int VelorGetTermInvIndex(TVelorSpace* space, std::string_view term) {
  if (!space) return 0;
  space->termIndex = 0;
  if (!HasAdditionalIndexes(space)) return 0;
  int place = 0;
  space->termSeparators->FindUTF8(std::string(term).c_str(), &place);
  space->termIndex = place + 1;
  return space->termIndex;
}

TSpaceTrm* CurrentIndex(const TVelorSpace* space) {
  if (!space) return nullptr;
  return space->termIndex == 0 ? space->trmMain : space->trmIndex[space->termIndex - 1];
}

bool ReadTermBlock(int file, std::int32_t number, bool isInner, TTermBlock* block) {
  if (number < 1 || !utils::ReadAt(file, BlockOffset(number), block, sizeof *block)) return false;
  if (!backup::ntoh_velor_struct(block, backup::kBlockStruct) || !HasSoundKeys(*block)) return false;
  return block->number == number || (isInner && number == 1);
}

bool WriteTermBlock(int file, std::int32_t number, const TTermBlock& block) {
  TTermBlock image = block;
  backup::hton_velor_struct(&image, backup::kBlockStruct);
  return utils::WriteAt(file, BlockOffset(number), &image, sizeof image);
}

bool ReadSegmentHead(int file, std::int64_t offset, TifpHeader* head) {
  return utils::ReadAt(file, offset, head, sizeof *head) &&
         backup::ntoh_velor_struct(head, backup::kSegmentHeadStruct);
}

bool WriteSegmentHead(int file, std::int64_t offset, const TifpHeader& head) {
  TifpHeader image = head;
  backup::hton_velor_struct(&image, backup::kSegmentHeadStruct);
  return utils::WriteAt(file, offset, &image, sizeof image);
}

bool DecodePosting(const char* from, bool isFullText, TifpItemPosting* posting) {
  *posting = {};
  std::memcpy(posting, from, static_cast<std::size_t>(velor_01::PostingSize(isFullText)));
  return backup::ntoh_velor_struct(posting, isFullText ? backup::kLongPostingStruct : backup::kPostingStruct);
}

void EncodePosting(const TifpItemPosting& posting, bool isFullText, char* to) {
  TifpItemPosting image = posting;
  backup::hton_velor_struct(&image, isFullText ? backup::kLongPostingStruct : backup::kPostingStruct);
  std::memcpy(to, &image, static_cast<std::size_t>(velor_01::PostingSize(isFullText)));
}

bool DecodeSpecial(const char* from, bool isFullText, TifpSpecial* special) {
  const int size = velor_01::PostingSize(isFullText);
  if (!DecodePosting(from, isFullText, &special->posting)) return false;
  std::uint32_t words[2];
  std::memcpy(words, from + size, sizeof words);
  backup::ntoh_words(words, 2);
  special->offset = backup::MakeInt64(words[0], words[1]);
  return true;
}

void EncodeSpecial(const TifpSpecial& special, bool isFullText, char* to) {
  EncodePosting(special.posting, isFullText, to);
  std::uint32_t words[2];
  backup::MakeFromInt64(special.offset, &words[0], &words[1]);
  backup::ntoh_words(words, 2);
  std::memcpy(to + velor_01::PostingSize(isFullText), words, sizeof words);
}

}  // namespace velor_32
