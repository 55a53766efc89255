#include "maint/master_scan.h"

#include <algorithm>
#include <cstring>

#include "utils/endian.h"

namespace velora {

using velor_01::kEntrySize;
using velor_01::kLeaderSize;
using velor_01::Tlider;

namespace {

constexpr std::int64_t kBlockBytes = std::int64_t{1} << 20;
constexpr std::int64_t kWord = 4;

std::int32_t WordAt(const char* bytes) {
  return static_cast<std::int32_t>(utils::LoadBe32(bytes));
}

/// What can be said of a leader without a look at its directory.
bool IsPlausible(const Tlider& leader, std::int64_t room) {
  return leader.nvf >= 0 && leader.length >= kLeaderSize && leader.length <= room &&
         leader.base == kLeaderSize + std::int64_t{kEntrySize} * leader.nvf && leader.base <= leader.length;
}

}  // namespace

MasterScan::MasterScan(int mstFile, std::int64_t size)
    : window_(mstFile, size, kBlockBytes), at_(velor_01::kControlSize) {}

bool MasterScan::ReadLeader(std::int64_t offset, Tlider* leader) {
  const char* bytes = window_.At(offset, kLeaderSize);
  if (bytes == nullptr) return false;
  std::memcpy(leader, bytes, kLeaderSize);
  backup::ntoh_velor_struct(leader, backup::kLeaderStruct);
  return true;
}

bool MasterScan::AddsUp(std::int64_t offset, const Tlider& leader) {
  return IsPlausible(leader, window_.size() - offset) && DirectoryFills(offset, leader);
}

bool MasterScan::IsCutOff(const Piece& piece) {
  return piece.leader.length > window_.size() - piece.offset &&
         IsPlausible(piece.leader, piece.leader.length) && DirectoryFills(piece.offset, piece.leader);
}

/// Reads the directory entry by entry: a wild number of fields costs time up to the end of the file at most,
/// and no memory.
bool MasterScan::DirectoryFills(std::int64_t offset, const Tlider& leader) {
  std::int64_t total = leader.base;
  for (std::int32_t i = 0; i < leader.nvf; ++i) {
    const char* entry = window_.At(offset + kLeaderSize + std::int64_t{kEntrySize} * i, kEntrySize);
    if (entry == nullptr) return false;
    const std::int32_t length = WordAt(entry + 2 * kWord);
    total += length;
    if (length < 0 || total > leader.length) return false;
  }
  return total == leader.length || (total % 2 != 0 && total + 1 == leader.length);
}

/// Has a number, and fields that a reader accepts.
bool MasterScan::IsReadable(std::int64_t offset, const Tlider& leader) {
  if (leader.mfn < 1 || !IsPlausible(leader, window_.size() - offset)) return false;
  const std::int64_t room = std::int64_t{leader.length} - leader.base;
  std::int64_t total = 0;
  for (std::int32_t i = 0; i < leader.nvf; ++i) {
    const char* entry = window_.At(offset + kLeaderSize + std::int64_t{kEntrySize} * i, kEntrySize);
    if (entry == nullptr) return false;
    const std::int32_t tag = WordAt(entry);
    const std::int64_t position = WordAt(entry + kWord);
    const std::int64_t length = WordAt(entry + 2 * kWord);
    total += length;
    if (tag <= 0 || position < 0 || length < 0 || position + length > room || total > room) return false;
  }
  return true;
}

/// An image may end here.
bool MasterScan::IsBoundary(std::int64_t offset) {
  const std::int64_t length = std::min<std::int64_t>(kLeaderSize, window_.size() - offset);
  const char* bytes = window_.At(offset, length);
  if (bytes == nullptr) return false;
  if (std::all_of(bytes, bytes + length, [](char c) { return c == 0; })) return true;
  Tlider leader;
  return ReadLeader(offset, &leader) && leader.mfn >= 1 && IsPlausible(leader, window_.size() - offset);
}

/// The first image at or behind `offset`, or the end of the file. An image begins with its number, of which a
/// small one has zero bytes in front: so a run of zero bytes may lead up to three bytes into a leader.
std::int64_t MasterScan::FindImage(std::int64_t offset) {
  while (offset < window_.size()) {
    const char* word = window_.At(offset, kWord);
    if (word == nullptr) break;
    if (WordAt(word) == 0) {
      const std::int64_t end = window_.EndOfZeros(offset);
      if (end == window_.size()) return end;
      offset = std::max(end - kWord + 1, offset + 1);
      continue;
    }
    endOfData_ = offset + kWord;
    Tlider leader;
    if (ReadLeader(offset, &leader) && AddsUp(offset, leader)) return offset;
    ++offset;
  }
  endOfData_ = window_.size();  // up to three bytes are left, which are no word
  return window_.size();
}

void MasterScan::FindNextImage() {
  if (nextImage_ > at_) return;
  endOfData_ = at_;
  nextImage_ = FindImage(std::max(at_ + 1, window_.EndOfZeros(at_) - kWord + 1));
}

MasterScan::Piece MasterScan::PassOver() {
  Piece piece{Kind::kEmptyEnd, at_, 0, {}};
  const std::int64_t endOfZeros = window_.EndOfZeros(at_);
  if (endOfZeros == window_.size()) {
    piece.length = endOfZeros - at_;
    return piece;
  }
  FindNextImage();
  if (nextImage_ <= endOfZeros || endOfZeros - at_ >= kLeaderSize) {
    piece.kind = Kind::kEmpty;
    piece.length = std::min(nextImage_, endOfZeros) - at_;
    return piece;
  }
  piece.kind = Kind::kDamaged;
  ReadLeader(at_, &piece.leader);
  piece.length = (nextImage_ == window_.size() ? std::min(endOfData_, nextImage_) : nextImage_) - at_;
  piece.length = std::max<std::int64_t>(piece.length, endOfZeros + 1 - at_);
  return piece;
}

MasterScan::Piece MasterScan::Next() {
  if (at_ >= window_.size()) return {};
  Piece piece{Kind::kImage, at_, 0, {}};
  const bool hasLeader = ReadLeader(at_, &piece.leader);
  bool isImage = hasLeader && AddsUp(at_, piece.leader);
  if (!isImage && hasLeader && IsReadable(at_, piece.leader) && IsBoundary(at_ + piece.leader.length)) {
    FindNextImage();
    isImage = nextImage_ >= at_ + piece.leader.length;
  }
  if (isImage) {
    piece.length = piece.leader.length;
  } else {
    piece = PassOver();
  }
  at_ += piece.length;
  return piece;
}

}  // namespace velora
