#include "storage/shelf.h"

#include <algorithm>
#include <cstdlib>
#include <cstring>
#include <limits>

#include "storage/app_context.h"
#include "storage/codes.h"
#include "utils/guid_util.h"

namespace velor_32 {

using velor_01::TRecordShelf;

namespace {

/// Points the areas of a shelf into a block of 3 * capacity + 2 bytes.
void PlaceAreas(TRecordShelf& shelf, char* block, std::int32_t capacity) {
  const std::size_t step = static_cast<std::size_t>(capacity);
  shelf.leader = reinterpret_cast<velor_01::Tlider*>(block);
  shelf.data = block + step + 1;
  shelf.work = block + 2 * step + 1;
  shelf.capacity = capacity;
}

char* AllocateBlock(std::int32_t capacity) {
  return static_cast<char*>(std::malloc(3 * static_cast<std::size_t>(capacity) + 2));
}

}  // namespace

FormerBlock::~FormerBlock() {
  std::free(block_);
}

void FormerBlock::Take(void* block) {
  std::free(block_);
  block_ = block;
}

TRecordShelf* FindShelf(const TVelorSpace* space, int shelf) {
  if (!IsOpen(space) || shelf < 0 || shelf >= space->shelfCount) return nullptr;
  return &space->mst->shelves[shelf];
}

int CheckShelf(const TVelorSpace* space, int shelf) {
  if (!IsOpen(space)) return kNoSpace;
  return FindShelf(space, shelf) ? kOk : kBadShelf;
}

void ResetShelf(TRecordShelf& shelf) {
  *shelf.leader = velor_01::Tlider{};
  shelf.leader->length = velor_01::kLeaderSize;
  shelf.leader->base = velor_01::kLeaderSize;
  shelf.leader->version = 1;
  shelf.leader->status = velor_01::kStatusLastVersion;
  shelf.offset = 0;
  shelf.xrfStatus = 0;
  shelf.data[0] = '\0';
  shelf.work[0] = '\0';
  shelf.guid[0] = '\0';
}

bool AllocateShelf(TRecordShelf& shelf, std::int32_t capacity) {
  char* block = AllocateBlock(capacity);
  if (!block) return false;
  PlaceAreas(shelf, block, capacity);
  ResetShelf(shelf);
  return true;
}

void FreeShelf(TRecordShelf& shelf) {
  std::free(shelf.leader);
  shelf = TRecordShelf{};
}

bool ResizeShelf(TRecordShelf& shelf, std::int64_t capacity, FormerBlock* former) {
  if (capacity > std::numeric_limits<std::int32_t>::max()) return false;
  char* block = AllocateBlock(static_cast<std::int32_t>(capacity));
  if (!block) return false;

  const TRecordShelf old = shelf;
  PlaceAreas(shelf, block, static_cast<std::int32_t>(capacity));
  std::memcpy(
      static_cast<void*>(shelf.leader), old.leader,
      static_cast<std::size_t>(velor_01::kLeaderSize) + 12 * static_cast<std::size_t>(old.leader->nvf));
  std::memcpy(shelf.data, old.data, static_cast<std::size_t>(UsedData(old)));
  shelf.data[UsedData(old)] = '\0';
  shelf.work[0] = '\0';
  former->Take(old.leader);
  return true;
}

int VelorInitAltShelf(TVelorSpace* space, int n) {
  if (!IsOpen(space)) return kNoSpace;
  n = std::max(n, 0);
  TRecordShelf*& shelves = space->mst->shelves;
  const std::int32_t capacity = space->shelfCount > 0 ? shelves[0].capacity : velor_01::kDefaultCapacity;

  while (space->shelfCount > n) FreeShelf(shelves[--space->shelfCount]);
  if (n == 0) {
    std::free(shelves);
    shelves = nullptr;
    return kOk;
  }
  void* grown = std::realloc(static_cast<void*>(shelves), static_cast<std::size_t>(n) * sizeof(TRecordShelf));
  if (!grown) return kNoMemory;
  shelves = static_cast<TRecordShelf*>(grown);
  while (space->shelfCount < n) {
    TRecordShelf* fresh = new (&shelves[space->shelfCount]) TRecordShelf;
    if (!AllocateShelf(*fresh, capacity)) return kNoMemory;
    ++space->shelfCount;
  }
  return kOk;
}

int Velornewrec(TVelorSpace* space, int shelf) {
  if (int rc = CheckShelf(space, shelf); rc != kOk) return rc;
  TRecordShelf& record = *FindShelf(space, shelf);
  ResetShelf(record);
  if (KeepsGuids(space)) {
    const std::string guid = utils::GuidUtil::CreateGuid();
    std::memcpy(record.guid, guid.c_str(), std::min(guid.size() + 1, sizeof(record.guid)));
    record.guid[velor_01::kGuidLength] = '\0';
  }
  return kOk;
}

int Velormfn(const TVelorSpace* space, int shelf) {
  if (int rc = CheckShelf(space, shelf); rc != kOk) return rc;
  return FindShelf(space, shelf)->leader->mfn;
}

int Velorversion(const TVelorSpace* space, int shelf) {
  if (int rc = CheckShelf(space, shelf); rc != kOk) return rc;
  return FindShelf(space, shelf)->leader->version;
}

int Velorchangemfn(TVelorSpace* space, int shelf, int mfn) {
  if (int rc = CheckShelf(space, shelf); rc != kOk) return rc;
  TRecordShelf& record = *FindShelf(space, shelf);
  record.leader->mfn = mfn;
  if (mfn == 0 && KeepsGuids(space)) record.guid[0] = '\0';
  return kOk;
}

int Velorchangeversion(TVelorSpace* space, int shelf, int version) {
  if (int rc = CheckShelf(space, shelf); rc != kOk) return rc;
  FindShelf(space, shelf)->leader->version = version;
  return kOk;
}

}  // namespace velor_32
