#include "maint/posting_check.h"

#include <cstring>

namespace velora {

using velor_01::TifpHeader;
using velor_01::TifpSpecial;

namespace {

constexpr std::int64_t kWindowBytes = std::int64_t{1} << 18;
constexpr std::int64_t kSpecialBytes = std::int64_t{1} << 14;
constexpr std::int64_t kHeadSize = sizeof(TifpHeader);
constexpr std::int64_t kControlBytes = sizeof(velor_01::Tifp_MaxFileSize);

}  // namespace

PostingCheck::PostingCheck(int ifp, std::int64_t end, bool isFullText)
    : window_(ifp, end, kWindowBytes),
      specials_(ifp, end, kSpecialBytes),
      room_(end),
      isFullText_(isFullText) {}

bool PostingCheck::ReadHead(std::int64_t offset, TifpHeader* head) {
  const char* bytes = offset < kControlBytes ? nullptr : window_.At(offset, kHeadSize);
  if (bytes == nullptr) return false;
  std::memcpy(head, bytes, sizeof *head);
  return backup::ntoh_velor_struct(head, backup::kSegmentHeadStruct);
}

bool PostingCheck::TakeSpace(std::int64_t offset, const TifpHeader& head, int slotSize) {
  const std::int64_t space = kHeadSize + std::int64_t{head.capacity} * slotSize;
  if (space > window_.size() - offset || space > room_) return false;
  room_ -= space;
  return true;
}

/// Words are big-endian in the file, so that bytes compare as postings do.
bool PostingCheck::CheckPostings(std::int64_t offset, const TifpHeader& head) {
  const int size = velor_01::PostingSize(isFullText_);
  velor_01::TifpItemPosting posting;
  for (std::int32_t i = 0; i < head.used; ++i) {
    const char* bytes = window_.At(offset + kHeadSize + std::int64_t{i} * size, size);
    if (bytes == nullptr || !velor_32::DecodePosting(bytes, isFullText_, &posting)) return false;
    if (!last_.empty() && std::memcmp(last_.data(), bytes, static_cast<std::size_t>(size)) > 0) return false;
    last_.assign(bytes, static_cast<std::size_t>(size));
  }
  return true;
}

bool PostingCheck::CheckChain(std::int64_t offset, std::int64_t total) {
  std::int64_t count = 0;
  for (bool isFirst = true;; isFirst = false) {
    TifpHeader head;
    if (!ReadHead(offset, &head) || head.nextHigh == velor_01::kSpecialMark) return false;
    if (!isFirst && head.total != head.used) return false;
    if (!TakeSpace(offset, head, velor_01::PostingSize(isFullText_)) || !CheckPostings(offset, head))
      return false;
    count += head.used;
    if (count > total) return false;
    if (head.nextHigh == velor_01::kLastSegment) return count == total;
    offset = velor_32::NextSegment(head);
  }
}

bool PostingCheck::ReadSpecial(std::int64_t block, std::int32_t number, TifpSpecial* special) {
  const int size = velor_01::SpecialSize(isFullText_);
  const char* bytes = specials_.At(block + kHeadSize + std::int64_t{number} * size, size);
  return bytes != nullptr && velor_32::DecodeSpecial(bytes, isFullText_, special);
}

/// The block names the segments of the chain, one after the other. What it says of their first postings may
/// be older than they are.
bool PostingCheck::CheckSpecialBlock(std::int64_t offset, const TifpHeader& head) {
  if (head.used < 1 || !TakeSpace(offset, head, velor_01::SpecialSize(isFullText_))) return false;
  TifpSpecial special;
  if (!ReadSpecial(offset, 0, &special)) return false;
  const std::int64_t first = special.offset;
  std::int64_t next = first;
  for (std::int32_t i = 0; i < head.used; ++i) {
    TifpHeader segment;
    if (!ReadSpecial(offset, i, &special) || special.offset != next || !ReadHead(next, &segment))
      return false;
    const bool isLast = segment.nextHigh == velor_01::kLastSegment;
    if (isLast != (i + 1 == head.used)) return false;
    next = velor_32::NextSegment(segment);
  }
  return CheckChain(first, head.total);
}

bool PostingCheck::IsSound(std::int64_t offset) {
  last_.clear();
  TifpHeader head;
  if (!ReadHead(offset, &head)) return false;
  const std::int64_t before = room_;
  const bool isSpecial = head.nextHigh == velor_01::kSpecialMark;
  const bool isSound = isSpecial ? CheckSpecialBlock(offset, head) : CheckChain(offset, head.total);
  if (isSound) return true;
  wasted_ += before - room_;
  room_ = before;  // it may have gone through the space of others
  return false;
}

}  // namespace velora
