#include "storage/record_status.h"

#include "storage/codes.h"
#include "storage/record_read.h"
#include "storage/shelf.h"

namespace velor_32 {

using velor_01::TRecordShelf;

namespace {

/// Which of the two status words of a shelf an operation changes.
enum class Words { kBoth, kEntryOnly };

int ChangeBit(TVelorSpace* space, int shelf, std::int32_t bit, bool on, Words words) {
  if (int rc = CheckShelf(space, shelf); rc != kOk) return rc;
  TRecordShelf& record = *FindShelf(space, shelf);
  const auto apply = [&](std::int32_t& status) { status = on ? status | bit : status & ~bit; };
  apply(record.xrfStatus);
  if (words == Words::kBoth) apply(record.leader->status);
  return kOk;
}

int ChangeFullTextBit(TVelorSpace* space, int shelf, bool on) {
  if (int rc = CheckShelf(space, shelf); rc != kOk) return rc;
  if (!space->isFullText) return kOk;
  return ChangeBit(space, shelf, velor_01::kStatusFullTextNotActualized, on, Words::kBoth);
}

}  // namespace

int Velorrecstatus(const TVelorSpace* space, int shelf, int which) {
  if (int rc = CheckShelf(space, shelf); rc != kOk) return rc;
  const TRecordShelf& record = *FindShelf(space, shelf);
  return which == 0 ? record.leader->status : record.xrfStatus;
}

int Velorrecdel(TVelorSpace* space, int shelf) {
  return ChangeBit(space, shelf, velor_01::kStatusDeleted, true, Words::kBoth);
}

int Velorrecundelete(TVelorSpace* space, int shelf) {
  return ChangeBit(space, shelf, velor_01::kStatusDeleted, false, Words::kBoth);
}

int Velorrecphysdel(TVelorSpace* space, int shelf) {
  if (int rc = CheckShelf(space, shelf); rc != kOk) return rc;
  TRecordShelf& record = *FindShelf(space, shelf);
  for (std::int32_t* status : {&record.leader->status, &record.xrfStatus})
    if (!(*status & velor_01::kStatusDeleted)) *status |= velor_01::kStatusPhysicallyDeleted;
  return kOk;
}

int Velorreclock(TVelorSpace* space, int shelf) {
  return ChangeBit(space, shelf, velor_01::kStatusLocked, true, Words::kEntryOnly);
}

int Velorrecunlock(TVelorSpace* space, int shelf) {
  return ChangeBit(space, shelf, velor_01::kStatusLocked, false, Words::kEntryOnly);
}

int Velorrecactualize(TVelorSpace* space, int shelf) {
  return ChangeBit(space, shelf, velor_01::kStatusNotActualized, false, Words::kBoth);
}

int Velorrecunactualize(TVelorSpace* space, int shelf) {
  return ChangeBit(space, shelf, velor_01::kStatusNotActualized, true, Words::kBoth);
}

int Velorrecftactualize(TVelorSpace* space, int shelf) {
  return ChangeFullTextBit(space, shelf, false);
}

int Velorrecftunactualize(TVelorSpace* space, int shelf) {
  return ChangeFullTextBit(space, shelf, true);
}

bool VelorIsDeleted(const TVelorSpace* space, int shelf) {
  const TRecordShelf* record = FindShelf(space, shelf);
  return record && (record->xrfStatus & velor_01::kStatusDeleted);
}

bool VelorIsLocked(const TVelorSpace* space, int shelf) {
  const TRecordShelf* record = FindShelf(space, shelf);
  return record && (record->xrfStatus & velor_01::kStatusLocked);
}

bool VelorIsActualized(const TVelorSpace* space, int shelf) {
  const TRecordShelf* record = FindShelf(space, shelf);
  return record && !(record->leader->status & velor_01::kStatusNotActualized);
}

bool VelorIsActualizedFT(const TVelorSpace* space, int shelf) {
  const TRecordShelf* record = FindShelf(space, shelf);
  return !record || !VelorIsRealyNotActualizedFT(space, record->leader->mfn);
}

bool VelorIsRealyActualized(const TVelorSpace* space, int mfn) {
  velor_01::TNew_Xrf entry;
  return ReadXrfEntry(space, mfn, &entry) == kOk && !(entry.flags & velor_01::kStatusNotActualized);
}

bool VelorIsRealyNotActualizedFT(const TVelorSpace* space, int mfn) {
  velor_01::TNew_Xrf entry;
  return ReadXrfEntry(space, mfn, &entry) == kOk && (entry.flags & velor_01::kStatusFullTextNotActualized);
}

int VelorIsRealyLocked(const TVelorSpace* space, int mfn) {
  velor_01::TNew_Xrf entry;
  if (ReadXrfEntry(space, mfn, &entry) != kOk) return kNoRecordFiles;
  return entry.flags & velor_01::kStatusLocked ? kRecordLocked : kOk;
}

}  // namespace velor_32
