#include "maint/raw_record.h"

#include <algorithm>
#include <cstring>

#include "storage/codes.h"
#include "storage/fields.h"
#include "storage/master_file.h"
#include "storage/record_read.h"
#include "storage/shelf.h"
#include "utils/file_layer.h"

namespace velora {

using velor_01::kEntrySize;
using velor_01::kLeaderSize;
using velor_01::TDirEntry;
using velor_01::TVelorSpace;

namespace {

constexpr std::size_t kFirstRead = 2048;  // brings leader and directory of nearly all records
constexpr std::int32_t kLeastBase = kLeaderSize + kEntrySize;

void AppendOnce(const char* words, std::string* text) {
  if (text->find(words) == std::string::npos) *text += words;
}

bool HasLength(std::int64_t length, std::int64_t total) {
  return length == total || (total % 2 != 0 && length == total + 1);  // one filling byte
}

}  // namespace

std::int64_t RawRecord::dataStart() const {
  return kLeaderSize + std::int64_t{kEntrySize} * std::ssize(directory_);
}

int RawRecord::Read(TVelorSpace* space, int mfn) {
  *this = RawRecord{};
  mfn_ = mfn;
  velor_01::TNew_Xrf entry;
  if (int rc = velor_32::ReadXrfEntry(space, mfn, &entry); rc != velor_32::kOk) return velor_32::kDamaged;
  if (entry.flags & velor_01::kStatusPhysicallyDeleted) return velor_32::kPhysicallyDeleted;
  int fragment = 0;
  const int localMfn = backup::VelorGetMfn(space, mfn, &fragment);
  mstFile_ = velor_32::ReadHandles(space, fragment).mstFile;
  offset_ = backup::New_XrfToMstOffSet(entry);
  xrfStatus_ = entry.flags;
  if (offset_ < velor_01::kControlSize) return velor_32::kDamaged;

  head_.resize(kFirstRead);
  const std::int64_t got = utils::ReadSomeAt(mstFile_, offset_, head_.data(), head_.size());
  if (got < kLeaderSize) return velor_32::kDamaged;
  std::memcpy(&leader_, head_.data(), kLeaderSize);
  backup::ntoh_velor_struct(&leader_, backup::kLeaderStruct);
  if (leader_.mfn != localMfn) return velor_32::kDamaged;

  return ReadDirectory(got);
}

/// `got` bytes from the leader on are in memory.
int RawRecord::ReadDirectory(std::int64_t got) {
  const bool lacksLength = leader_.length < 1 && leader_.base >= 1 && leader_.nvf > 0;
  const std::int64_t room = backup::_llseek(mstFile_, 0, SEEK_END) - offset_;
  const std::int64_t end = kLeaderSize + std::int64_t{kEntrySize} * leader_.nvf;
  if (leader_.length > room) return velor_32::kDamaged;
  if (leader_.nvf <= 0 || end > (lacksLength ? room : leader_.length)) return velor_32::kOk;  // no directory
  if (end > got) {
    head_.resize(static_cast<std::size_t>(end));
    if (!utils::ReadAt(mstFile_, offset_, head_.data(), head_.size())) return velor_32::kDamaged;
  }
  directory_.resize(static_cast<std::size_t>(leader_.nvf));
  std::memcpy(directory_.data(), head_.data() + kLeaderSize, directory_.size() * sizeof(TDirEntry));
  backup::ntoh_words(directory_.data(), directory_.size() * sizeof(TDirEntry) / 4);
  positions_.resize(directory_.size());
  std::ranges::transform(directory_, positions_.begin(), &TDirEntry::pos);
  if (!lacksLength) return velor_32::kOk;

  std::int64_t length = dataStart();
  for (const TDirEntry& field : directory_) length += std::max(field.len, 0);
  if (length > room) return velor_32::kDamaged;
  leader_.length = static_cast<std::int32_t>(length);
  return velor_32::kOk;
}

void RawRecord::Judge(std::string* text) {
  const bool isBad = leader_.length <= kLeaderSize || leader_.base < kLeastBase || leader_.nvf <= 0 ||
                     leader_.version <= 0 || directory_.empty() || (leader_.base != dataStart() && !HasGap());
  if (isBad) {
    isFaulty_ = true;
    AppendOnce("Error in lider. ", text);
  }
  JudgeDirectory(text);
}

/// The data begins some bytes behind the directory, as the length bears out.
bool RawRecord::HasGap() const {
  std::int64_t end = leader_.base;
  for (const TDirEntry& field : directory_) end += std::max(field.len, 0);
  return leader_.base > dataStart() && HasLength(leader_.length, end);
}

void RawRecord::JudgeDirectory(std::string* text) {
  if (directory_.empty()) return;
  std::int64_t expected = 0;
  bool isFirst = true;
  for (TDirEntry& field : directory_) {
    const bool isWrong = field.tag <= 0 || field.pos < 0 || field.len <= 0;
    const bool isMisplaced = field.pos != expected;
    if (isWrong || (isMisplaced && !isFirst)) AppendOnce("Error in entry. ", text);
    if (isMisplaced) {
      field.pos = static_cast<std::int32_t>(expected);
      AppendOnce("Error in lider is corrected. ", text);
    }
    isFaulty_ |= isWrong || isMisplaced;
    expected += std::max(field.len, 0);
    isFirst = false;
  }
  if (HasLength(leader_.length, dataStart() + expected)) return;
  isMended_ = true;
  AppendOnce("Error in lider is corrected. ", text);
}

int RawRecord::Load(TVelorSpace* space, bool* isSalvaged) const {
  const int rc = velor_32::VelorRecord(space, 0, mfn_, true);
  *isSalvaged = rc == velor_32::kDamaged;
  return *isSalvaged ? Salvage(space) : rc == velor_32::kDeleted ? velor_32::kOk : rc;
}

/// Where a field begins, from the start of the image: where its entry says or, when that is outside, behind
/// the fields before it. -1 when it does not lie in the image either way.
std::int64_t RawRecord::FieldStart(std::size_t index) const {
  const TDirEntry& entry = directory_[index];
  const std::int64_t data = HasGap() ? leader_.base : dataStart();
  for (const std::int32_t position : {positions_[index], entry.pos}) {
    const std::int64_t start = data + position;
    if (position >= 0 && start + entry.len <= leader_.length) return start;
  }
  return -1;
}

int RawRecord::Salvage(TVelorSpace* space) const {
  if (int rc = velor_32::Velornewrec(space, 0); rc != velor_32::kOk) return rc;
  velor_01::TRecordShelf& shelf = *velor_32::FindShelf(space, 0);
  shelf.leader->mfn = mfn_;
  shelf.leader->version = leader_.version;
  shelf.leader->status = leader_.status;
  shelf.xrfStatus = xrfStatus_;
  shelf.offset = offset_;
  std::string field;
  std::int64_t room = leader_.length - dataStart();  // fields that overlap would multiply
  for (std::size_t i = 0; i < directory_.size(); ++i) {
    const TDirEntry& entry = directory_[i];
    if (entry.tag <= 0 || entry.tag == velor_01::kGuidTag || entry.len <= 0) continue;
    const std::int64_t start = FieldStart(i);
    if (start < 0 || entry.len > room) continue;
    room -= entry.len;
    field.resize(static_cast<std::size_t>(entry.len));
    if (!utils::ReadAt(mstFile_, offset_ + start, field.data(), field.size())) continue;
    velor_32::Velorfldadd(space, 0, entry.tag, 0, field.data(), entry.len);
  }
  return velor_32::kOk;
}

}  // namespace velora
