#include "storage/fields.h"

#include <algorithm>
#include <cstring>
#include <limits>
#include <string>

#include "storage/codes.h"
#include "storage/shelf.h"

namespace velor_32 {

using velor_01::kDefaultCapacity;
using velor_01::kEntrySize;
using velor_01::kLeaderSize;
using velor_01::TDirEntry;
using velor_01::TRecordShelf;

namespace {

bool HasField(const TRecordShelf& record, int index) {
  return index >= 1 && index <= record.leader->nvf;
}

std::string_view TextOf(const TRecordShelf& record, int index) {
  const TDirEntry& entry = record.directory()[index - 1];
  return {record.data + entry.pos, static_cast<std::size_t>(entry.len)};
}

/// Room for `dataBytes` of field data and `fields` directory entries. Data that reaches the capacity grows
/// the shelf, so that the zero behind it stays inside.
bool EnsureRoom(TRecordShelf& record, std::int64_t dataBytes, std::int64_t fields, std::int64_t added,
                FormerBlock* former) {
  const bool directoryFits = kLeaderSize + kEntrySize * fields <= record.capacity;
  if (directoryFits && dataBytes < record.capacity) return true;
  return ResizeShelf(record, std::int64_t{record.capacity} + added + kDefaultCapacity, former);
}

/// Opens a directory entry before `index`, or at the end, for a field that lies behind the data in use.
void InsertEntry(TRecordShelf& record, int tag, int index, std::int32_t length) {
  const std::int32_t used = UsedData(record);
  const int count = record.leader->nvf;
  const int place = HasField(record, index) ? index - 1 : count;
  TDirEntry* directory = record.directory();
  std::memmove(directory + place + 1, directory + place,
               sizeof(TDirEntry) * static_cast<std::size_t>(count - place));
  directory[place] = {tag, used, length};
  record.leader->nvf = count + 1;
  record.leader->base = kLeaderSize + kEntrySize * (count + 1);
  record.leader->length += kEntrySize + length;
}

/// Takes the bytes of a field out of the data and closes the gap; the entry keeps its place with length 0.
void RemoveBytes(TRecordShelf& record, int index) {
  TDirEntry& entry = record.directory()[index - 1];
  const std::int32_t end = entry.pos + entry.len;
  std::memmove(record.data + entry.pos, record.data + end, static_cast<std::size_t>(UsedData(record) - end));
  for (int i = 0; i < record.leader->nvf; ++i) {
    TDirEntry& other = record.directory()[i];
    if (&other != &entry && other.pos >= end) other.pos -= entry.len;
  }
  record.leader->length -= entry.len;
  entry.len = 0;
}

void DeleteField(TRecordShelf& record, int index) {
  RemoveBytes(record, index);
  const int count = record.leader->nvf;
  TDirEntry* entry = record.directory() + index - 1;
  std::memmove(entry, entry + 1, sizeof(TDirEntry) * static_cast<std::size_t>(count - index));
  record.leader->nvf = count - 1;
  record.leader->base -= kEntrySize;
  record.leader->length -= kEntrySize;
  record.data[UsedData(record)] = '\0';
}

void AppendBytes(TRecordShelf& record, TDirEntry& entry, std::string_view text) {
  entry.pos = UsedData(record);
  entry.len = static_cast<std::int32_t>(text.size());
  std::memcpy(record.data + entry.pos, text.data(), text.size());
  record.leader->length += entry.len;
  record.data[UsedData(record)] = '\0';
}

bool LiesIn(const TRecordShelf& record, const char* text) {
  return text >= record.data && text <= record.data + record.capacity;
}

int LengthOf(const char* text) {
  if (!text) return 0;
  return static_cast<int>(std::min<std::size_t>(std::strlen(text), std::numeric_limits<int>::max()));
}

char UpperAscii(char c) {
  return c >= 'a' && c <= 'z' ? static_cast<char>(c - 'a' + 'A') : c;
}
char LowerAscii(char c) {
  return c >= 'A' && c <= 'Z' ? static_cast<char>(c - 'A' + 'a') : c;
}

/// Position of "^" + code, or npos.
std::size_t FindMark(std::string_view field, char code) {
  const char mark[2] = {'^', code};
  return field.find(std::string_view(mark, 2));
}

/// Joins the values of the subfields of a list into `out`, which has room for the whole field.
std::size_t JoinSubfields(std::string_view field, std::string_view codes, char* out, std::size_t room) {
  if (codes == "^*") {
    const std::size_t length = std::min(field.find('^'), field.size());
    std::memcpy(out, field.data(), length);
    return length;
  }
  std::size_t length = 0;
  for (const char code : codes) {
    std::string_view value;
    if (code == '^' || getsubfield(field, &value, code) == 0) continue;
    const std::size_t take = std::min(value.size(), room - length);  // a code named twice may ask for more
    std::memcpy(out + length, value.data(), take);
    length += take;
  }
  return length;
}

}  // namespace

int Velornfields(const TVelorSpace* space, int shelf) {
  if (int rc = CheckShelf(space, shelf); rc != kOk) return rc;
  return FindShelf(space, shelf)->leader->nvf;
}

int Velorfldtag(const TVelorSpace* space, int shelf, int index) {
  if (int rc = CheckShelf(space, shelf); rc != kOk) return rc;
  const TRecordShelf& record = *FindShelf(space, shelf);
  return HasField(record, index) ? record.directory()[index - 1].tag : 0;
}

int Velornocc(const TVelorSpace* space, int shelf, int tag) {
  if (int rc = CheckShelf(space, shelf); rc != kOk) return rc;
  const TRecordShelf& record = *FindShelf(space, shelf);
  int count = 0;
  for (int i = 0; i < record.leader->nvf; ++i) count += record.directory()[i].tag == tag;
  return count;
}

int Velorfieldn(const TVelorSpace* space, int shelf, int tag, int occurrence) {
  if (int rc = CheckShelf(space, shelf); rc != kOk) return rc;
  const TRecordShelf& record = *FindShelf(space, shelf);
  if (record.leader->nvf == 0) return 1;  // kept: callers read it as the first free occurrence
  for (int i = 0; i < record.leader->nvf; ++i)
    if (record.directory()[i].tag == tag && --occurrence == 0) return i + 1;
  return 0;
}

const char* Velorfield(TVelorSpace* space, int shelf, int index, const char* subfields) {
  TRecordShelf* record = FindShelf(space, shelf);
  if (!record) return "";
  std::size_t length = 0;
  if (HasField(*record, index)) {
    const std::string_view text = TextOf(*record, index);
    if (subfields && *subfields) {
      length = JoinSubfields(text, subfields, record->work, static_cast<std::size_t>(record->capacity));
    } else {
      length = text.size();
      std::memcpy(record->work, text.data(), length);
    }
  }
  record->work[length] = '\0';
  return record->work;
}

const char* Velorfield(const TVelorSpace* space, int shelf, int index, int* tag, int* length) {
  const std::string_view text = FieldText(space, shelf, index, tag);
  *length = static_cast<int>(text.size());
  return text.data();
}

std::string_view FieldText(const TVelorSpace* space, int shelf, int index, int* tag) {
  const TRecordShelf* record = FindShelf(space, shelf);
  const bool found = record && HasField(*record, index);
  if (tag) *tag = found ? record->directory()[index - 1].tag : 0;
  return found ? TextOf(*record, index) : std::string_view("");
}

int Velorfldadd(TVelorSpace* space, int shelf, int tag, int index, const char* text, int length) {
  if (int rc = CheckShelf(space, shelf); rc != kOk) return rc;
  if (!text) return kBadArgument;
  if (tag < 1) return kOk;
  if (length < 1) return kBadArgument;

  TRecordShelf& record = *FindShelf(space, shelf);
  FormerBlock former;
  const std::int32_t used = UsedData(record);
  if (!EnsureRoom(record, std::int64_t{used} + length, std::int64_t{record.leader->nvf} + 1, length, &former))
    return kNoMemory;
  std::memmove(record.data + used, text, static_cast<std::size_t>(length));
  InsertEntry(record, tag, index, length);
  record.data[UsedData(record)] = '\0';
  return kOk;
}

int Velorfldadd(TVelorSpace* space, int shelf, int tag, int index, const char* text) {
  return Velorfldadd(space, shelf, tag, index, text, LengthOf(text));
}

int Velorfldaddempty(TVelorSpace* space, int shelf, int tag, int index) {
  if (int rc = CheckShelf(space, shelf); rc != kOk) return rc;
  if (tag < 1) return kOk;
  TRecordShelf& record = *FindShelf(space, shelf);
  FormerBlock former;
  if (!EnsureRoom(record, UsedData(record), std::int64_t{record.leader->nvf} + 1, 0, &former))
    return kNoMemory;
  InsertEntry(record, tag, index, 0);
  return kOk;
}

int Velorfldrep(TVelorSpace* space, int shelf, int index, const char* text, int length) {
  if (int rc = CheckShelf(space, shelf); rc != kOk) return rc;
  TRecordShelf& record = *FindShelf(space, shelf);
  if (!HasField(record, index) || length < 0) return kBadArgument;
  if (!text || length == 0) {
    DeleteField(record, index);
    return kOk;
  }

  TDirEntry* entry = &record.directory()[index - 1];
  const std::size_t size = static_cast<std::size_t>(length);
  if (entry->len == length) {
    std::memmove(record.data + entry->pos, text, size);
    return kOk;
  }
  std::string own;  // a text out of this record must be saved: its bytes move
  if (LiesIn(record, text)) {
    own.assign(text, size);
    text = own.data();
  }
  FormerBlock former;
  const std::int64_t needed = std::int64_t{UsedData(record)} - entry->len + length;
  if (!EnsureRoom(record, needed, record.leader->nvf, length, &former)) return kNoMemory;
  RemoveBytes(record, index);
  AppendBytes(record, record.directory()[index - 1], {text, size});
  return kOk;
}

int Velorfldrep(TVelorSpace* space, int shelf, int index, const char* text) {
  return Velorfldrep(space, shelf, index, text, LengthOf(text));
}

int Velorfldempty(TVelorSpace* space, int shelf) {
  if (int rc = CheckShelf(space, shelf); rc != kOk) return rc;
  TRecordShelf& record = *FindShelf(space, shelf);
  std::memset(record.data, 0, static_cast<std::size_t>(UsedData(record)));
  std::memset(static_cast<void*>(record.directory()), 0,
              sizeof(TDirEntry) * static_cast<std::size_t>(record.leader->nvf));
  record.leader->length = kLeaderSize;
  record.leader->base = kLeaderSize;
  record.leader->nvf = 0;
  return kOk;
}

int getsubfield(std::string_view field, std::string_view* value, char code) {
  if (code == '*') {
    const std::size_t end = field.find('^');
    if (end == std::string_view::npos) return 0;
    *value = field.substr(0, end);
    return 1;
  }
  std::size_t mark = FindMark(field, UpperAscii(code));
  if (mark == std::string_view::npos) mark = FindMark(field, LowerAscii(code));
  if (mark == std::string_view::npos) return 0;
  const std::string_view rest = field.substr(mark + 2);
  *value = rest.substr(0, rest.find('^'));
  return 1;
}

}  // namespace velor_32
