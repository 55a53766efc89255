#include "index/inv_context.h"

#include <algorithm>
#include <cstring>
#include <memory>
#include <string_view>
#include <unordered_map>
#include <vector>

#include "format/format_files.h"
#include "storage/app_context.h"
#include "storage/codes.h"
#include "storage/edge.h"
#include "storage/storage_hooks.h"
#include "utils/path_util.h"
#include "utils/text_util.h"

using velor_01::TIntList;
using velor_01::TList;
using velor_01::TStringList;
using velor_01::TVelorSpace;

namespace {

constexpr int kLastMethod = 9;
constexpr int kLineListCapacity = 50;
constexpr std::size_t kMaxIndexEntries = 10'000'000;

int ReadNumber(std::string_view text, int def) {
  return utils::TextUtil::Int32ParseFast(text.data(), static_cast<int>(text.size()), def);
}

void DeleteLineLists(TList* dependLines) {
  for (void* lines : dependLines->Items()) delete static_cast<TIntList*>(lines);
  dependLines->Clear();
}

/// The lines by the fields that they depend on, while an .ifs file is read. Lines come in ascending order.
class DependencyIndex {
 public:
  void Add(int tag, int line) {
    const auto [place, isNew] = places_.try_emplace(tag, tags_.size());
    if (isNew) tags_.push_back({tag, {}});
    AddOnce(&tags_[place->second].lines, line);
  }
  void AddUniversal(int line) { AddOnce(&universal_, line); }

  void WriteTo(TIntList* dependTags, TList* dependLines) const {
    if (CountEntries() > kMaxIndexEntries) return;
    for (const Entry& entry : tags_) {
      auto lines = std::make_unique<TIntList>(kLineListCapacity);
      for (const int line : entry.lines) lines->Add(line);
      for (const int line : universal_)
        if (!std::binary_search(entry.lines.begin(), entry.lines.end(), line)) lines->Add(line);
      if (!dependLines->Add(lines.get())) return;  // no memory: the two lists stay of one length
      static_cast<void>(lines.release());
      dependTags->Add(entry.tag);
    }
  }

 private:
  using Lines = std::vector<int>;
  struct Entry {
    int tag;
    Lines lines;
  };

  static void AddOnce(Lines* lines, int line) {
    if (lines->empty() || lines->back() != line) lines->push_back(line);
  }
  /// An upper bound, with the room that each list takes at least.
  [[nodiscard]] std::size_t CountEntries() const {
    std::size_t count = tags_.size() * (universal_.size() + kLineListCapacity);
    for (const Entry& entry : tags_) count += entry.lines.size();
    return count;
  }

  std::vector<Entry> tags_;  // in order of first appearance
  std::unordered_map<int, std::size_t> places_;
  Lines universal_;
};

/// Enters the numbers of "field,field...".
void EnterFields(std::string_view fields, int line, DependencyIndex* index) {
  for (std::size_t start = 0; start <= fields.size();) {
    const std::size_t comma = std::min(fields.find(',', start), fields.size());
    const int tag = ReadNumber(fields.substr(start, comma - start), 0);
    if (tag != 0)
      index->Add(tag, line);
    else
      index->AddUniversal(line);
    start = comma + 1;
  }
}

/// Splits the line "tag method format" into its place in the lists.
void TakeTableLine(int i, TStringList* lines, TIntList* methods) {
  const std::string line = lines->Get(i);
  const std::string_view text = line;
  const std::size_t first = text.find(' ');
  const std::size_t second = first == text.npos ? text.npos : text.find(' ', first + 1);
  const int tag = ReadNumber(text.substr(0, first), 0);
  const int method = second == text.npos ? -1 : ReadNumber(text.substr(first + 1, second - first - 1), -1);
  const bool isLine = tag >= 1 && method >= 0 && method <= kLastMethod;
  lines->Put(i, isLine ? text.substr(second + 1) : std::string_view());
  lines->PutObject(i, isLine ? tag : 0);
  methods->Add(isLine ? method : 0);
}

}  // namespace

void FSTforInvContext(TVelorSpace* space, const std::string& dbPath, const std::string& fstName,
                      TStringList* lines, TIntList* methods, TStringList* allLines, TIntList* allMethods,
                      TIntList* dependTags, TList* dependLines) {
  lines->Clear();
  methods->Clear();
  if (allLines) allLines->Clear();
  if (allMethods) allMethods->Clear();
  if (dependTags) dependTags->Clear();
  if (dependLines) DeleteLineLists(dependLines);

  backup::LoadEmbededResourse(space->app, dbPath, fstName + ".ifs", lines);
  if (lines->GetCount() > 0)
    FSTforInvContext_NEW(lines, dependTags, dependLines);
  else
    backup::LoadEmbededResourse(space->app, dbPath, fstName + ".fst", lines);

  for (int i = 0; i < lines->GetCount(); ++i) TakeTableLine(i, lines, methods);
  if (allLines) allLines->Assign(*lines);
  if (allMethods) allMethods->Assign(*methods);
}

void FSTforInvContext_NEW(TStringList* lines, TIntList* dependTags, TList* dependLines) {
  DependencyIndex index;
  for (int i = 0; i < lines->GetCount(); ++i) {
    const std::string line = lines->Get(i);
    const std::string_view text = line;
    const std::size_t blank = text.find(' ');
    if (blank == text.npos) continue;
    const std::string_view head = text.substr(0, blank);
    const std::size_t comma = head.find(',');
    if (comma == head.npos) {
      if (const int tag = ReadNumber(head, 0); tag != 0) index.Add(tag, i);
      continue;
    }
    EnterFields(head.substr(comma + 1), i, &index);
    lines->Put(i, std::string(head.substr(0, comma)) + line.substr(blank));
  }
  if (dependTags && dependLines) index.WriteTo(dependTags, dependLines);
}

namespace velor_32 {

namespace {

/// Directory with its closing slash, and file name, of a path or of a name in the database.
struct Place {
  std::string directory;
  std::string name;
};

Place PlaceOf(const TVelorSpace* space, const char* name) {
  const std::string path = name;
  const std::size_t slash = path.rfind('/');
  if (slash == std::string::npos) return {xpft::TableDirectory(space->app, space->path), path};
  return {path.substr(0, slash + 1), path.substr(slash + 1)};
}

void LoadTable(TVelorSpace* space, const char* name) {
  if (space->fstLines) {
    const Place place = PlaceOf(space, name);
    FSTforInvContext(space, place.directory, place.name, space->fstLines.get(), space->fstMethods.get(),
                     space->fstAllLines.get(), space->fstAllMethods.get(), space->fstDependTags.get(),
                     space->fstDependLines.get());
  }
  space->fstName = name;
}

void LoadStopWords(TVelorSpace* space, const char* name) {
  const Place place = PlaceOf(space, name);
  TStringList* words = space->stopWords.get();
  backup::LoadEmbededResourse(space->app, place.directory, place.name + ".stw", words);
  words->EnsureUtf8();
  words->Sort();  // they are looked up by binary search
  space->stwName = name;
}

int InitFromPath(TVelorSpace* space, const char* path, bool) {
  const utils::IniFile* ini = space->app->mainIni.get();
  const bool deflex = ini != nullptr && ini->Get("MAIN", "DeflexKW", "0") == "1";
  return VelorInitInvContext(space, path, path, nullptr, nullptr, deflex);
}

}  // namespace

int VelorInitInvContext(TVelorSpace* space, const char* fstName, const char* stwName, const char*,
                        const char*, bool deflex) {
  if (!IsOpen(space) || space->app == nullptr) return kNoSpace;
  return AtEdge([&] {
    space->deflex = deflex;
    std::memcpy(space->uctab, space->app->ucTable.data(), sizeof space->uctab);
    std::memcpy(space->actab, space->app->acTable.data(), sizeof space->actab);
    if (!IsRemote(space)) {
      if (fstName != nullptr) LoadTable(space, fstName);
      if (stwName != nullptr) LoadStopWords(space, stwName);
    }
    space->xpftFst.reset();
    space->termMaker.reset();
    return kOk;
  });
}

}  // namespace velor_32

namespace indexing {

void InstallInvContext() {
  velor_32::DefaultStorageHooks().initInvContext = velor_32::InitFromPath;
}

}  // namespace indexing
