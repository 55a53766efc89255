#include "utils/mem_ini_file.h"

#include <algorithm>
#include <cstdio>
#include <utility>

#include "utils/path_util.h"
#include "utils/string_utils.h"
#include "utils/text_util.h"

namespace IniFiles {

using utils::StringUtils;
using velor_01::TStringList;

struct TStringHash::Entry {
  std::string key;
  std::int32_t value;
  std::unique_ptr<Entry> next;
};

TStringHash::TStringHash(int size) : buckets(static_cast<std::size_t>(size < 1 ? 1 : size)) {}

TStringHash::~TStringHash() {
  Clear();
}

std::uint32_t TStringHash::HashOf(std::string_view key) {
  std::uint32_t hash = 0;
  for (const char c : key) {
    const auto signedShift = static_cast<std::uint32_t>(static_cast<std::int32_t>(hash) >> 30);
    hash = static_cast<unsigned char>(c) ^ ((hash << 2) | signedShift);
  }
  return hash;
}

// Chains are freed one by one: left to itself the head would destroy a long one by recursion.
void TStringHash::Clear() {
  for (auto& bucket : buckets) {
    while (bucket != nullptr) bucket = std::move(bucket->next);
  }
}

void TStringHash::Add(std::string_view key, std::int32_t value) {
  auto& bucket = buckets[HashOf(key) % buckets.size()];
  bucket = std::make_unique<Entry>(Entry{std::string(key), value, std::move(bucket)});
}

// The link that holds the entry of a key, or the null link at the end of its chain.
std::unique_ptr<TStringHash::Entry>* TStringHash::FindLink(std::string_view key) {
  auto* link = &buckets[HashOf(key) % buckets.size()];
  while (*link != nullptr && (*link)->key != key) link = &(*link)->next;
  return link;
}

std::int32_t* TStringHash::Find(std::string_view key) {
  Entry* entry = FindLink(key)->get();
  return entry == nullptr ? nullptr : &entry->value;
}

const std::int32_t* TStringHash::Find(std::string_view key) const {
  return const_cast<TStringHash*>(this)->Find(key);
}

bool TStringHash::Modify(std::string_view key, std::int32_t value) {
  std::int32_t* found = Find(key);
  if (found == nullptr) return false;
  *found = value;
  return true;
}

void TStringHash::Remove(std::string_view key) {
  auto* link = FindLink(key);
  if (*link != nullptr) *link = std::move((*link)->next);
}

std::int32_t TStringHash::ValueOf(std::string_view key) const {
  const std::int32_t* found = Find(key);
  return found == nullptr ? -1 : *found;
}

THashedStringList::THashedStringList() {
  SetChanged(true);
}

void THashedStringList::Changed() noexcept {
  valueHashValid = false;
  nameHashValid = false;
}

// Both hashes are filled from the last item to the first: of equal texts the one added last, the first item,
// answers.
void THashedStringList::BuildValueHash() const {
  valueHash = std::make_unique<TStringHash>();
  for (int i = GetCount() - 1; i >= 0; --i) valueHash->Add(StringUtils::ToUpper(Get(i)), i);
  valueHashValid = true;
}

void THashedStringList::BuildNameHash() const {
  nameHash = std::make_unique<TStringHash>();
  for (int i = GetCount() - 1; i >= 0; --i) {
    const std::string_view line = Get(i);
    const std::size_t equals = line.find('=');
    if (equals != std::string_view::npos) nameHash->Add(StringUtils::ToUpper(line.substr(0, equals)), i);
  }
  nameHashValid = true;
}

int THashedStringList::IndexOf(std::string_view text) const {
  if (!valueHashValid) BuildValueHash();
  return valueHash->ValueOf(StringUtils::ToUpper(text));
}

int THashedStringList::IndexOfName(std::string_view name) const {
  if (!nameHashValid) BuildNameHash();
  return nameHash->ValueOf(StringUtils::ToUpper(name));
}

TMemIniFile::TMemIniFile() = default;

TMemIniFile::TMemIniFile(std::string_view path) : fileName(path) {
  LoadValues();
}

TMemIniFile::~TMemIniFile() {
  Clear();
}

THashedStringList* TMemIniFile::SectionAt(int i) const {
  return static_cast<THashedStringList*>(sections.GetObject(i));
}

THashedStringList* TMemIniFile::FindSection(std::string_view name) const {
  return SectionAt(sections.IndexOf(name));
}

THashedStringList* TMemIniFile::AddSection(std::string_view name) {
  auto lines = std::make_unique<THashedStringList>();
  return sections.AddObject(name, lines.get()) ? lines.release() : nullptr;
}

void TMemIniFile::Clear() {
  for (int i = 0; i < sections.GetCount(); ++i) delete SectionAt(i);
  sections.Clear();
}

void TMemIniFile::LoadValues() {
  TStringList list;
  if (!fileName.empty() && utils::PathUtil::IsFile(fileName)) list.LoadFromFile(fileName);
  SetStrings(list);
}

void TMemIniFile::SetStrings(const TStringList& list) {
  Clear();
  THashedStringList* open = nullptr;
  for (const velor_01::TStringItem& item : list.Items()) {
    const std::string_view line = item.text;
    if (line.empty() || line.front() == ';') continue;
    if (line.front() == '[' && line.back() == ']') {
      // A new list has room for many lines; what a short section leaves unused goes back before the next one
      // opens.
      if (open != nullptr) open->SetCapacity(std::max(1, open->GetCount()));
      open = AddSection(line.substr(1, line.size() - 2));
    } else if (open != nullptr) {
      open->Add(line);
    }
  }
}

void TMemIniFile::GetStrings(TStringList* list) const {
  for (int i = 0; i < sections.GetCount(); ++i) {
    list->Add('[' + std::string(sections.Get(i)) + ']');
    list->Append(*SectionAt(i));
    list->Add("");
  }
}

bool TMemIniFile::UpdateFile() const {
  TStringList list;
  GetStrings(&list);
  return list.SaveToFile(fileName);
}

void TMemIniFile::ReadSection(std::string_view section, TStringList* keys) const {
  keys->Clear();
  const THashedStringList* lines = FindSection(section);
  if (lines == nullptr) return;
  for (const velor_01::TStringItem& item : lines->Items()) {
    const std::string_view line = item.text;
    const std::size_t equals = line.find('=');
    if (equals != std::string_view::npos) keys->Add(line.substr(0, equals));
  }
}

void TMemIniFile::ReadSections(TStringList* names) const {
  names->Clear();
  for (const velor_01::TStringItem& item : sections.Items()) names->Add(item.text);
}

void TMemIniFile::ReadSectionValues(std::string_view section, TStringList* lines) const {
  lines->Clear();
  if (const THashedStringList* found = FindSection(section)) lines->Append(*found);
}

bool TMemIniFile::SectionExists(std::string_view section) const {
  return FindSection(section) != nullptr;
}

bool TMemIniFile::ValueExists(std::string_view section, std::string_view key) const {
  const THashedStringList* lines = FindSection(section);
  return lines != nullptr && lines->IndexOfName(key) >= 0;
}

std::string TMemIniFile::ReadString(std::string_view section, std::string_view key,
                                    std::string_view def) const {
  const THashedStringList* lines = FindSection(section);
  const int i = lines == nullptr ? -1 : lines->IndexOfName(key);
  if (i < 0) return std::string(def);
  const std::string_view line = lines->Get(i);
  return std::string(line.substr(line.find('=') + 1));
}

long TMemIniFile::ReadInteger(std::string_view section, std::string_view key, long def) const {
  return utils::TextUtil::Int64ParseExact(ReadString(section, key, ""), def);
}

bool TMemIniFile::ReadBool(std::string_view section, std::string_view key, bool def) const {
  return ReadInteger(section, key, def ? 1 : 0) != 0;
}

void TMemIniFile::WriteString(std::string_view section, std::string_view key, std::string_view value) {
  THashedStringList* lines = FindSection(section);
  if (lines == nullptr) lines = AddSection(section);
  if (lines == nullptr) return;

  const std::string line = std::string(key).append("=").append(value);
  const int i = lines->IndexOfName(key);
  if (i >= 0)
    lines->Put(i, line);
  else
    lines->Add(line);
}

void TMemIniFile::WriteInteger(std::string_view section, std::string_view key, long value) {
  char text[24];
  std::snprintf(text, sizeof text, "%ld", value);
  WriteString(section, key, text);
}

void TMemIniFile::WriteBool(std::string_view section, std::string_view key, bool value) {
  WriteString(section, key, value ? "1" : "0");
}

void TMemIniFile::EraseSection(std::string_view section) {
  const int i = sections.IndexOf(section);
  if (i < 0) return;
  delete SectionAt(i);
  sections.Delete(i);
}

void TMemIniFile::DeleteKey(std::string_view section, std::string_view key) {
  if (THashedStringList* lines = FindSection(section)) lines->Delete(lines->IndexOfName(key));
}

}  // namespace IniFiles
