#include "storage/posting_blocks.h"

#include <cstring>

#include "storage/record_format.h"
#include "storage/term_read.h"
#include "utils/endian.h"
#include "utils/file_layer.h"

namespace velor_32 {

using velor_01::TifpHeader;

namespace {

constexpr std::size_t kHeadSize = sizeof(TifpHeader);

bool IsLastSegment(const TifpHeader& head) {
  return head.nextHigh == velor_01::kLastSegment;
}

}  // namespace

const char* PostingBlocks::Bytes(std::int64_t offset, std::size_t len, std::vector<char>& copy) const {
  if (const char* mapped = index_->ifpMap.At(offset, len)) return mapped;
  // No map, or the file has grown since. A wild length must not become memory before the file is asked.
  if (offset < 0 || backup::_llseek(index_->ifp, 0, SEEK_END) - offset < static_cast<std::int64_t>(len))
    return nullptr;
  if (copy.size() < len) copy.resize(len);
  return utils::ReadAt(index_->ifp, offset, copy.data(), len) ? copy.data() : nullptr;
}

bool PostingBlocks::ReadHead(std::int64_t offset, TifpHeader* head) {
  const char* const bytes = Bytes(offset, kHeadSize, headCopy_);
  if (!bytes) return false;
  std::memcpy(head, bytes, kHeadSize);
  return backup::ntoh_velor_struct(head, backup::kSegmentHeadStruct);
}

std::int64_t PostingBlocks::EntryOffset(std::size_t i) const {
  const char* const offset = entries_ + i * entrySize_ + postingSize_;
  return backup::MakeInt64(utils::LoadBe32(offset), utils::LoadBe32(offset + 4));
}

int PostingBlocks::Start() {
  const velor_01::TSpaceTrm* const index = CurrentIndex(space_);
  const bool hasPostings = index && index->postCount > 0;
  return StartAt(hasPostings ? CurrentTermOffset(*index) : 0);
}

int PostingBlocks::StartAt(std::int64_t offset) {
  next_ = 0;
  entryCount_ = entry_ = 0;
  chain_ = {};
  std::memset(first_, 0, sizeof first_);
  index_ = CurrentIndex(space_);
  if (!index_ || offset < 1) return 0;
  postingSize_ = static_cast<std::size_t>(velor_01::PostingSize(space_->isFullText));
  entrySize_ = static_cast<std::size_t>(velor_01::SpecialSize(space_->isFullText));
  index_->ifpMap.Follow(index_->ifp);

  TifpHeader head;
  if (!ReadHead(offset, &head) || head.total < 1) return 0;
  next_ = offset;
  if (head.nextHigh != velor_01::kSpecialMark) return head.total;

  const std::size_t count = static_cast<std::size_t>(head.used);
  entries_ = Bytes(offset + static_cast<std::int64_t>(kHeadSize), count * entrySize_, entryCopy_);
  next_ = entries_ && count > 0 ? EntryOffset(0) : 0;
  entryCount_ = next_ > 0 ? count : 0;
  return next_ > 0 ? head.total : 0;
}

/// Moves to the segment of the last entry that begins below the record, unless the walk is there already.
void PostingBlocks::JumpTowards(std::int32_t mfn) {
  std::size_t low = entry_;
  std::size_t high = entryCount_;
  while (high - low > 1) {
    const std::size_t middle = low + (high - low) / 2;
    if (utils::LoadBe32(entries_ + middle * entrySize_) < static_cast<std::uint32_t>(mfn)) {
      low = middle;
    } else {
      high = middle;
    }
  }
  if (low == entry_) return;
  entry_ = low;
  next_ = EntryOffset(low);
}

/// Keeps the entry in step with a walk along the chain.
void PostingBlocks::FollowEntries() {
  if (entry_ + 1 < entryCount_ && EntryOffset(entry_ + 1) == next_) ++entry_;
}

/// Whether the segment to come begins below the record: all before it can then be passed over.
bool PostingBlocks::EndsBelow(std::int32_t mfn) {
  TifpHeader head;
  if (next_ < 1 || !ReadHead(next_, &head) || head.used < 1) return false;
  const char* const first = Bytes(next_ + static_cast<std::int64_t>(kHeadSize), postingSize_, headCopy_);
  return first != nullptr && utils::LoadBe32(first) < static_cast<std::uint32_t>(mfn);
}

/// The segments of a sound chain begin in ascending order, so that no walk can run in a circle.
bool PostingBlocks::Ascends(const char* postings) {
  if (std::memcmp(first_, postings, postingSize_) >= 0) return false;
  std::memcpy(first_, postings, postingSize_);
  return true;
}

std::span<const char> PostingBlocks::Next(std::int32_t mfn) {
  if (mfn > 0 && entryCount_ > 0 && next_ > 0) JumpTowards(mfn);
  while (next_ > 0) {
    TifpHeader head;
    const std::int64_t offset = next_;
    next_ = 0;  // for good, should anything be wrong
    if (!chain_.Passes(offset) || !ReadHead(offset, &head)) break;
    const std::int64_t behind = IsLastSegment(head) ? 0 : NextSegment(head);
    next_ = behind;
    FollowEntries();
    if (head.used < 1 || head.total < 1 || (mfn > 0 && EndsBelow(mfn))) continue;

    const std::size_t size = static_cast<std::size_t>(head.used) * postingSize_;
    const char* const postings = Bytes(offset + static_cast<std::int64_t>(kHeadSize), size, postingCopy_);
    if (postings && Ascends(postings)) return {postings, size};
    next_ = 0;
  }
  return {};
}

}  // namespace velor_32
