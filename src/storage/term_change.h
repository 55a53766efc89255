#pragma once

#include <cstdint>
#include <limits>
#include <string>
#include <vector>

#include "storage/term_files.h"
#include "storage/term_journal.h"
#include "storage/term_tree.h"

/// The insides of term_update.h: one change of one term. Segments are read and written in term_segments.cpp,
/// keys go into the tree in term_keys.cpp, the cases of a change are in term_update.cpp.
namespace velor_32 {

using velor_01::Tifp_MaxFileSize;
using velor_01::TifpHeader;
using velor_01::TifpItemPosting;
using velor_01::TifpSpecial;
using velor_01::TSpaceTrm;
using velor_01::TTermBlock;

constexpr int kHeadSize = sizeof(TifpHeader);
constexpr std::int32_t kMostPostings = std::numeric_limits<std::int32_t>::max();  // of a term
constexpr int kUsualSegment = 256;  // postings that one read brings along; a larger segment is divided
constexpr int kPrevPlace = 4;       // of the back link in a block
constexpr std::int64_t kPageSize = 4096;

constexpr TermJournal::Range kControlRange = {TermJournal::kIfp, 0, sizeof(Tifp_MaxFileSize)};

/// A segment in memory: its head in host order, its postings as in the file.
struct Segment {
  std::int64_t offset = 0;
  TifpHeader head;
  std::vector<char> slots;  // used * posting size bytes

  [[nodiscard]] bool IsLast() const { return head.nextHigh == velor_01::kLastSegment; }
};

/// A place in a chain of segments.
struct ChainPlace {
  Segment* segment = nullptr;
  int slot = 0;  // from 0
  bool isFound = false;
};

/// One change of one term.
class TermChange {
 public:
  TermChange(TVelorSpace* space, const char* term)
      : space_(space), size_(velor_01::PostingSize(space->isFullText)), term_(term) {
    if (term_.size() > velor_01::kLongestTerm) term_.resize(velor_01::kLongestTerm);
  }

  int Insert(const TifpItemPosting& posting) { return Finish(TryInsert(posting)); }
  int Delete(const TifpItemPosting& posting) { return Finish(TryDelete(posting)); }

 private:
  int TryInsert(const TifpItemPosting& posting);
  int TryDelete(const TifpItemPosting& posting);
  int Finish(int rc);
  [[nodiscard]] bool SaveSegment(const Segment& segment, int slots, std::int64_t countedAt);
  [[nodiscard]] bool SaveDivision(TermJournal::File file, std::int32_t number, std::int32_t newNumber,
                                  const TTermBlock& block);
  [[nodiscard]] int Find();
  [[nodiscard]] bool ReadControl();
  [[nodiscard]] bool ReadSegment(std::int64_t offset, Segment* segment) const;
  [[nodiscard]] bool WriteSegment(const Segment& segment, int capacitySlots) const;
  [[nodiscard]] std::int64_t Append(const std::vector<char>& bytes);
  [[nodiscard]] bool SetTermOffset(std::int64_t offset);
  [[nodiscard]] bool PassesLimit(std::int64_t bytes) const;
  int FindSlot(const Segment& segment, const TifpItemPosting& posting, bool* found) const;
  void InsertSlot(Segment* segment, int place, const TifpItemPosting& posting) const;
  [[nodiscard]] std::vector<char> Image(const Segment& segment, int capacitySlots) const;

  int InsertNewTerm(const TifpItemPosting& posting, int found);
  int InsertKey(std::int64_t offset, int position);
  int DivideUpwards(std::string key, std::int32_t child);
  int RaiseRoot(const std::string& key, std::int32_t child);
  [[nodiscard]] std::int32_t NextBlockNumber(bool isLeaf) const;
  [[nodiscard]] bool CountBlock(bool isLeaf, std::int32_t number);
  int FindInChain(Segment* first, Segment* other, const TifpItemPosting& posting, ChainPlace* place);
  int InsertInChain(Segment* first, const TifpItemPosting& posting);
  int InsertInSegment(Segment* first, Segment* segment, int place, const TifpItemPosting& posting);
  int MoveSegment(Segment* segment, int place, const TifpItemPosting& posting);
  int SplitSegment(Segment* segment, int place, const TifpItemPosting& posting, int newCapacity,
                   std::int64_t countedAt, TifpSpecial* entry);
  int InsertUnderSpecial(const TifpHeader& head, std::int64_t headOffset, const TifpItemPosting& posting);
  int MakeRoomForEntry(const TifpHeader& head, std::int64_t* headOffset);
  int insert_special(std::int64_t headOffset, const TifpSpecial& entry);
  int RemoveFrom(Segment* segment, int place, std::int64_t countedAt);
  int DeleteInChain(Segment* first, const TifpItemPosting& posting);
  int DeleteUnderSpecial(const TifpHeader& head, std::int64_t headOffset, const TifpItemPosting& posting);
  [[nodiscard]] bool AddToTotal(std::int64_t headOffset, int change);
  void SettleTotal(std::int64_t headOffset);

  TVelorSpace* space_;
  int size_;  // of a posting
  std::string term_;
  TSpaceTrm* index_ = nullptr;
  Tifp_MaxFileSize control_;
  TermJournal journal_;
};

inline TermJournal::Range BlockRange(TermJournal::File file, std::int32_t number) {
  return {file, (std::int64_t{number} - 1) * velor_01::kTermBlockSize, velor_01::kTermBlockSize};
}

}  // namespace velor_32
