#include "storage/record_guid.h"

#include <cstring>
#include <string>

#include "storage/app_context.h"
#include "storage/codes.h"
#include "storage/edge.h"
#include "storage/fields.h"
#include "storage/shelf.h"
#include "utils/guid_util.h"

namespace velor_32 {

using velor_01::kGuidLength;
using velor_01::kGuidTag;
using velor_01::TRecordShelf;

namespace {

bool IsGuidText(std::string_view text) {
  return text.size() == kGuidLength && text[0] == '{';
}

void SetGuid(TRecordShelf& record, std::string_view text) {
  std::memcpy(record.guid, text.data(), kGuidLength);
  record.guid[kGuidLength] = '\0';
}

}  // namespace

bool VelorIsGuid(const char* text) {
  // 38 bytes are enough to decide: a longer text has no zero behind them.
  return text && ::strnlen(text, kGuidLength + 1) == kGuidLength && text[0] == '{';
}

const char* VelorGetGuid(const TVelorSpace* space, int shelf) {
  const TRecordShelf* record = FindShelf(space, shelf);
  return record && KeepsGuids(space) && VelorIsGuid(record->guid) ? record->guid : nullptr;
}

int VelorSetGuid(TVelorSpace* space, int shelf, const char* text) {
  if (int rc = CheckShelf(space, shelf); rc != kOk) return rc;
  if (!KeepsGuids(space)) return kNotFound;
  if (!VelorIsGuid(text)) return kBadGuid;
  SetGuid(*FindShelf(space, shelf), {text, kGuidLength});
  return kOk;
}

void RemoveGuidFields(TVelorSpace* space, int shelf) {
  for (int i = Velornfields(space, shelf); i >= 1; --i)
    if (Velorfldtag(space, shelf, i) == kGuidTag) Velorfldrep(space, shelf, i, nullptr, 0);
}

int VelorRecordCheckGuid(TVelorSpace* space, int shelf) {
  if (int rc = CheckShelf(space, shelf); rc != kOk) return rc;
  if (!space->app || space->app->guidOption != 1) return kOk;
  TRecordShelf& record = *FindShelf(space, shelf);
  record.guid[0] = '\0';
  for (int i = 1; i <= Velornfields(space, shelf); ++i) {
    if (Velorfldtag(space, shelf, i) != kGuidTag) continue;
    const std::string_view text = FieldText(space, shelf, i);
    if (IsGuidText(text)) SetGuid(record, text);
    Velorfldrep(space, shelf, i, nullptr, 0);
    break;
  }
  if (!VelorIsGuid(record.guid)) SetGuid(record, utils::GuidUtil::CreateGuid());
  return 1;
}

int VelorFldAddGUID(TVelorSpace* space, int shelf, const char* text) {
  if (int rc = CheckShelf(space, shelf); rc != kOk) return rc;
  if (!VelorIsGuid(text)) return kBadGuid;
  return AtEdge([&] {
    const std::string own(text, kGuidLength);  // the text may be that of a field which goes now
    RemoveGuidFields(space, shelf);
    return Velorfldadd(space, shelf, kGuidTag, 1, own.data(), kGuidLength) == kOk ? kOk : kGuidMemory;
  });
}

int TakeGuidField(TVelorSpace* space, int shelf) {
  TRecordShelf& record = *FindShelf(space, shelf);
  int tag = 0;
  const std::string_view text = FieldText(space, shelf, 1, &tag);
  if (tag != kGuidTag || !IsGuidText(text)) {
    Velorfldempty(space, shelf);
    return kBadGuid;
  }
  SetGuid(record, text);
  Velorfldrep(space, shelf, 1, nullptr, 0);
  return kOk;
}

}  // namespace velor_32
