#include "storage/term_read.h"

#include <algorithm>
#include <cstring>

#include "storage/codes.h"
#include "storage/edge.h"
#include "storage/master_file.h"
#include "utils/endian.h"
#include "utils/file_layer.h"
#include "utils/utf8_order.h"

namespace velor_32 {

using velor_01::TifpHeader;
using velor_01::TifpItemPosting;
using velor_01::TSpaceTrm;
using velor_01::TTermBlock;

namespace {

constexpr int kDeepestTree = 32;  // levels; a deeper one is a loop

void CopyTerm(std::string_view key, char* term) {
  std::memcpy(term, key.data(), key.size());
  term[key.size()] = '\0';
}

void ForgetPostings(TSpaceTrm& index) {
  index.postIndex = -1;
  index.postCount = 0;
}

/// The last entry of the trail is the position in the leaf, the one before it the leaf.
int Position(const TSpaceTrm& index) {
  return index.trail.Get(index.trail.GetCount() - 1);
}
void SetPosition(TSpaceTrm& index, int position) {
  index.trail.Put(index.trail.GetCount() - 1, position);
}
void SetLeaf(TSpaceTrm& index, int block, int position) {
  index.trail.Put(index.trail.GetCount() - 2, block);
  SetPosition(index, position);
}

/// Gives the key at the current position, and makes its postings ready; where they are damaged, the term is
/// still found and has none.
int TakeTerm(TVelorSpace* space, TSpaceTrm& index, char* term) {
  const int position = Position(index);
  if (position < 1 || position > index.leafBlock.count) return kNoInvertedFile;
  CopyTerm(index.leafBlock.key(position), term);
  static_cast<void>(Velorinitpost(space));
  return kOk;
}

/// Bytes of the root number that could be read; `root` is 0 for a file without it.
int ReadRoot(TSpaceTrm& index) {
  unsigned char word[4];
  const std::int64_t got = utils::ReadSomeAt(index.n01, 0, word, sizeof word);
  index.root = got == sizeof word ? static_cast<std::int32_t>(utils::LoadBe32(word)) : 0;
  return static_cast<int>(got);
}

/// Goes on to the block behind, while that begins at or below the key. A block is divided before the level
/// above knows of its new half: until then, or for good after a crash in between, this is the way there.
/// Each block begins above the one before it, so that the walk ends in damaged files, too.
void MoveRight(int file, bool isInner, std::string_view key, TTermBlock* block, std::int32_t* number) {
  TTermBlock next;
  while (block->next > 0 && ReadTermBlock(file, block->next, isInner, &next) && next.count > 0 &&
         utils::CompareUtf8(next.key(1), key) <= 0 &&
         utils::CompareUtf8(next.key(1), block->key(block->count)) > 0) {
    *number = block->next;
    *block = next;
  }
}

/// Walks from the root to a leaf, which is read into leafBlock; leaves the trail before the position in it.
bool Descend(TSpaceTrm& index, std::string_view key) {
  index.trail.Clear();
  index.trail.Add(index.root);
  std::int32_t child = index.root;
  for (int level = 0; child > 0; ++level) {
    if (level == kDeepestTree || !ReadTermBlock(index.n01, child, true, &index.nodeBlock)) return false;
    int place = 0;
    int order = findterm_in_block(index.nodeBlock, key, &place);
    if (order <= 0 && place == index.nodeBlock.count && place > 0) {
      MoveRight(index.n01, true, key, &index.nodeBlock, &child);
      index.trail.Put(index.trail.GetCount() - 1, child);
      order = findterm_in_block(index.nodeBlock, key, &place);
    }
    if (order > 0) --place;
    if (place < 1) return false;
    child = index.nodeBlock.item(place).low;
    if (child == index.root) return false;  // a loop
    index.trail.Add(place);
    index.trail.Add(child);
  }
  std::int32_t leaf = -child;
  if (leaf == 0 || !ReadTermBlock(index.l01, leaf, false, &index.leafBlock)) return false;
  const int last = index.leafBlock.count;
  if (last > 0 && utils::CompareUtf8(index.leafBlock.key(last), key) < 0) {
    MoveRight(index.l01, false, key, &index.leafBlock, &leaf);
    index.trail.Put(index.trail.GetCount() - 1, -leaf);
  }
  return true;
}

/// The search key lies behind all keys of the leaf.
int FindBehindLeaf(TVelorSpace* space, TSpaceTrm& index, int place, bool followNext, char* term) {
  if (index.leafBlock.next < 0) {
    index.trail.Add(place);
    const int rc = TakeTerm(space, index, term);
    return rc == kOk ? kBehindLastTerm : rc;
  }
  index.trail.Add(place + 1);
  if (followNext) {
    const int rc = Velornxtterm(space, term);
    return rc == kOk ? kTermNotFound : rc;
  }
  TTermBlock next;
  if (!ReadTermBlock(index.l01, index.leafBlock.next, false, &next) || next.count < 1) return kNoInvertedFile;
  CopyTerm(next.key(1), term);
  return kTermNotFound;
}

/// The search key lies below the first term of the first additional index.
bool IsBelowFirst(const TVelorSpace* space, const TSpaceTrm& index, int place) {
  return space->termIndex == 1 && place == 1 && index.leafBlock.prev < 1;
}

int FindInIndex(TVelorSpace* space, TSpaceTrm& index, char* term, bool followNext) {
  const int rootBytes = ReadRoot(index);
  ForgetPostings(index);
  index.trail.Clear();
  if (rootBytes < 0 || (rootBytes > 0 && rootBytes < 4) || index.root < 0) return kNoInvertedFile;
  if (index.root == 0) {
    *term = '\0';
    return kTermNotFound;
  }
  const std::string_view key = term;
  if (!Descend(index, key)) {
    index.trail.Clear();
    return kNoInvertedFile;
  }
  int place = 0;
  const int order = findterm_in_block(index.leafBlock, key, &place);
  if (order < 0) return FindBehindLeaf(space, index, place, followNext, term);
  index.trail.Add(place);
  const int rc = TakeTerm(space, index, term);
  if (rc != kOk || order == 0) return rc;
  return IsBelowFirst(space, index, place) ? kBelowFirstTerm : kTermNotFound;
}

/// Searches the next additional index, or the one before, from its end that is met first.
int EnterIndex(TVelorSpace* space, int number, bool fromStart, char* term) {
  space->termIndex = number;
  TSpaceTrm* index = CurrentIndex(space);
  if (!index) return kNoInvertedFile;
  std::strcpy(term, fromStart ? "\x01" : "\xF4\x8F\xBF\xBF");  // below and above every term
  const int rc = FindInIndex(space, *index, term, false);
  if (rc == kTermNotFound || rc == kBehindLastTerm || rc == kBelowFirstTerm) return kOk;
  return rc;
}

int EndOfTerms(TSpaceTrm& index, int formerPosition, int result, char* term) {
  SetPosition(index, formerPosition);
  ForgetPostings(index);
  *term = '\0';
  return result;
}

int StepForward(TVelorSpace* space, TSpaceTrm& index, char* term) {
  const int position = Position(index);
  if (position + 1 <= index.leafBlock.count) {
    SetPosition(index, position + 1);
    return TakeTerm(space, index, term);
  }
  if (index.leafBlock.next < 1) {
    if (space->termIndex >= 1 && space->termIndex < velor_01::kMaxTermIndexes) {
      const int own = space->termIndex;
      for (int k = own + 1; k <= velor_01::kMaxTermIndexes; ++k)
        if (int rc = EnterIndex(space, k, true, term); rc != kOk || *term != '\0') return rc;
      space->termIndex = own;
    }
    return EndOfTerms(index, position, kBehindLastTerm, term);
  }
  const std::int32_t next = index.leafBlock.next;
  const std::string last(index.leafBlock.count > 0 ? index.leafBlock.key(index.leafBlock.count)
                                                   : std::string_view());
  // The keys ascend from block to block; where they do not, the chain runs in a circle.
  if (!ReadTermBlock(index.l01, next, false, &index.leafBlock) || index.leafBlock.count < 1 ||
      utils::CompareUtf8(index.leafBlock.key(1), last) <= 0) {
    index.trail.Clear();
    ForgetPostings(index);
    return kNoInvertedFile;
  }
  SetLeaf(index, -next, 1);
  return TakeTerm(space, index, term);
}

/// Goes on to the last block that ends below the key.
void MoveRightBelow(int file, std::string_view key, TTermBlock* block, std::int32_t* number) {
  TTermBlock next;
  while (block->next > 0 && ReadTermBlock(file, block->next, false, &next) && next.count > 0 &&
         utils::CompareUtf8(next.key(next.count), key) < 0 &&
         utils::CompareUtf8(next.key(1), block->key(block->count)) > 0) {
    *number = block->next;
    *block = next;
  }
}

int StepBack(TVelorSpace* space, TSpaceTrm& index, char* term) {
  const int position = Position(index);
  if (position > 1) {
    SetPosition(index, std::min<int>(position - 1, index.leafBlock.count));
    return TakeTerm(space, index, term);
  }
  if (index.leafBlock.prev < 1) {
    const int own = space->termIndex;
    for (int k = own - 1; k >= 1; --k)
      if (int rc = EnterIndex(space, k, false, term); rc != kOk || *term != '\0') return rc;
    space->termIndex = own;
    return EndOfTerms(index, position, kBelowFirstTerm, term);
  }
  std::int32_t prev = index.leafBlock.prev;
  const std::string first(index.leafBlock.count > 0 ? index.leafBlock.key(1) : std::string_view());
  if (!ReadTermBlock(index.l01, prev, false, &index.leafBlock) || index.leafBlock.count < 1 ||
      (!first.empty() && utils::CompareUtf8(index.leafBlock.key(index.leafBlock.count), first) >= 0)) {
    index.trail.Clear();
    ForgetPostings(index);
    return kNoInvertedFile;
  }
  // The back link is the last that a division sets: the new half may lie in between.
  if (!first.empty()) MoveRightBelow(index.l01, first, &index.leafBlock, &prev);
  SetLeaf(index, -prev, index.leafBlock.count);
  return TakeTerm(space, index, term);
}

using Step = int (*)(TVelorSpace*, TSpaceTrm&, char*);

/// A step of the current index, which must have been searched before.
int StepFrom(TVelorSpace* space, char* term, Step step) {
  if (!space || !term) return kNoSpace;
  return AtEdge([&] {
    TSpaceTrm* index = CurrentIndex(space);
    if (!index || index->trail.GetCount() < 2) return kNoInvertedFile;
    return step(space, *index, term);
  });
}

// ---- postings ----

bool IsLastSegment(const TifpHeader& head) {
  return head.nextHigh == velor_01::kLastSegment;
}

/// Reads the head at `offset`, and those behind it until one has postings. `result` for a chain that ends
/// without any.
int SkipEmptySegments(TSpaceTrm& index, std::int64_t offset, int result) {
  for (;;) {
    if (offset < 1) return kTermNotFound;
    if (!index.chain.Passes(offset)) return kNoInvertedFile;
    if (!ReadSegmentHead(index.ifp, offset, &index.segment)) return kNoInvertedFile;
    index.segmentOffset = offset;
    if (index.segment.used > 0 && index.segment.total > 0) return kOk;
    if (IsLastSegment(index.segment)) return result;
    offset = NextSegment(index.segment);
  }
}

bool LoadSegment(TSpaceTrm& index, bool isFullText) {
  const std::size_t size = static_cast<std::size_t>(index.segment.used) *
                           static_cast<std::size_t>(velor_01::PostingSize(isFullText));
  const std::int64_t fileSize = backup::_llseek(index.ifp, 0, SEEK_END);
  if (index.segmentOffset + static_cast<std::int64_t>(sizeof(TifpHeader) + size) > fileSize) return false;
  if (index.postings.size() < size) index.postings.resize(size);
  return utils::ReadAt(index.ifp, index.segmentOffset + static_cast<std::int64_t>(sizeof(TifpHeader)),
                       index.postings.data(), size);
}

int EndOfPostings(TSpaceTrm& index) {
  index.postIndex = -1;
  return kNoInvertedFile;
}

/// Moves to the next segment with postings.
bool NextPostings(TSpaceTrm& index, bool isFullText) {
  if (IsLastSegment(index.segment)) return false;
  if (SkipEmptySegments(index, NextSegment(index.segment), kNoInvertedFile) != kOk) return false;
  index.postIndex = 1;
  return LoadSegment(index, isFullText);
}

int TakePosting(TVelorSpace* space, TSpaceTrm& index) {
  if (index.postIndex < 0) return EndOfPostings(index);
  if (!index.isLoaded && !LoadSegment(index, space->isFullText)) return EndOfPostings(index);
  index.isLoaded = true;
  if (index.postIndex > index.segment.used && !NextPostings(index, space->isFullText))
    return EndOfPostings(index);
  const std::size_t place = static_cast<std::size_t>(index.postIndex - 1) *
                            static_cast<std::size_t>(velor_01::PostingSize(space->isFullText));
  if (!DecodePosting(index.postings.data() + place, space->isFullText, &index.posting))
    return EndOfPostings(index);
  ++index.postIndex;
  return kOk;
}

}  // namespace

// ---- terms ----

int findterm_in_block(const TTermBlock& block, std::string_view key, int* index) {
  int low = 1;
  int high = block.count;
  while (low <= high) {
    const int middle = (low + high) / 2;
    if (utils::CompareUtf8(block.key(middle), key) < 0) {
      low = middle + 1;
    } else {
      high = middle - 1;
    }
  }
  *index = std::min<int>(block.count, low);
  return *index < 1 ? -1 : utils::CompareUtf8(block.key(*index), key);
}

int Velorfind0(TVelorSpace* space, char* term, bool followNext) {
  if (!space || !term) return kNoSpace;
  return AtEdge([&] {
    if (space->lazyTerm)
      if (int rc = VelorUnlazyTerm(space); rc != kOk) return rc;
    VelorGetTermInvIndex(space, term);
    TSpaceTrm* index = CurrentIndex(space);
    return index ? FindInIndex(space, *index, term, followNext) : kNoInvertedFile;
  });
}

int Velorfind(TVelorSpace* space, char* term) {
  if (!space || !term) return kNoSpace;
  std::size_t length = strnlen(term, velor_01::kLongestTerm);
  while (length > 0 && static_cast<unsigned char>(term[length - 1]) < 33) --length;
  term[length] = '\0';
  return Velorfind0(space, term, true);
}

int Velornxtterm(TVelorSpace* space, char* term) {
  return StepFrom(space, term, StepForward);
}

int Velorprevterm(TVelorSpace* space, char* term) {
  return StepFrom(space, term, StepBack);
}

std::int64_t CurrentTermOffset(const TSpaceTrm& index) {
  const velor_01::TKeyItem& item = index.leafBlock.item(Position(index));
  return backup::MakeInt64(static_cast<std::uint32_t>(item.low), static_cast<std::uint32_t>(item.high));
}

// ---- postings ----

int Velorinitpost(TVelorSpace* space) {
  TSpaceTrm* index = CurrentIndex(space);
  if (!index) return kNoInvertedFile;
  ForgetPostings(*index);
  index->isLoaded = false;
  index->chain = {};
  index->posting = {};
  if (index->trail.GetCount() < 2 || Position(*index) < 1 || Position(*index) > index->leafBlock.count)
    return kNoInvertedFile;
  index->segmentOffset = CurrentTermOffset(*index);
  if (!ReadSegmentHead(index->ifp, index->segmentOffset, &index->segment)) return kNoInvertedFile;
  const std::int32_t total = index->segment.total;
  if (total == 0) return kOk;
  if (index->segment.nextHigh == velor_01::kSpecialMark) {
    char entry[velor_01::SpecialSize(true)];
    velor_01::TifpSpecial special;
    const auto size = static_cast<std::size_t>(velor_01::SpecialSize(space->isFullText));
    const std::int64_t place = index->segmentOffset + static_cast<std::int64_t>(sizeof(TifpHeader));
    if (!utils::ReadAt(index->ifp, place, entry, size) || !DecodeSpecial(entry, space->isFullText, &special))
      return kNoInvertedFile;
    if (int rc = SkipEmptySegments(*index, special.offset, kTermNotFound); rc != kOk) return rc;
  } else {
    static_cast<void>(index->chain.Passes(index->segmentOffset));
  }
  index->postCount = total;
  index->postIndex = 1;
  return kOk;
}

int Velornxtpost(TVelorSpace* space) {
  if (!space) return kNoSpace;
  return AtEdge([&] {
    TSpaceTrm* index = CurrentIndex(space);
    return index ? TakePosting(space, *index) : kNoInvertedFile;
  });
}

int Velorposting(const TVelorSpace* space, int n) {
  const TSpaceTrm* index = CurrentIndex(space);
  if (!index || index->postIndex < 1 || n < 1 || n > 8) return kNoInvertedFile;
  const TifpItemPosting& p = index->posting;
  const std::int32_t fields[] = {p.mfn, p.tag, p.occ, p.pos, p.wordsInPiece, p.reserved, p.page, p.pageWord};
  return fields[n - 1];
}

int Velornposts(const TVelorSpace* space) {
  const TSpaceTrm* index = CurrentIndex(space);
  return index ? index->postCount : 0;
}

}  // namespace velor_32
