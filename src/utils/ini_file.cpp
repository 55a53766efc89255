#include "utils/ini_file.h"

#include <algorithm>
#include <unordered_set>

#include "utils/ini_line.h"
#include "utils/path_util.h"
#include "utils/string_utils.h"
#include "utils/text_util.h"

namespace utils {

namespace {

constexpr int kDeepestInclude = 32;
constexpr std::size_t kMostIncludes = 1000;  // a reader may invent new names for ever

std::vector<std::string> LinesOf(std::string_view text) {
  text.remove_prefix(static_cast<std::size_t>(TextUtil::CheckUTF8Bom(text)));
  const auto views = StringUtils::SplitLines(text);
  return {views.begin(), views.end()};
}

std::string IncludeFileName(std::string_view name) {
  std::string fileName = FoldIniName(name);
  if (!fileName.ends_with(".ini")) fileName += ".ini";
  return fileName;
}

}  // namespace

// Finds the includes of one parse. It reads each name once, so neither a cycle nor a net of files that
// include each other costs more than the files themselves.
class IniFile::Loader {
 public:
  using PathOf = std::function<std::string(const std::string& includeName)>;
  Loader(PathOf pathOf, Reader reader) : pathOf_(std::move(pathOf)), reader_(std::move(reader)) {}

  std::shared_ptr<IniFile> Load(const std::string& includeName) {
    auto file = std::make_shared<IniFile>();
    file->fileName = pathOf_(includeName);
    if (depth_ >= kDeepestInclude || seen_.size() >= kMostIncludes) return file;
    if (!seen_.insert(includeName).second) return file;

    std::string text;
    if (!reader_ || !reader_(includeName, &text)) return file;
    ++depth_;
    file->ReadLines(LinesOf(text), *this);
    --depth_;
    return file;
  }

 private:
  PathOf pathOf_;
  Reader reader_;
  std::unordered_set<std::string> seen_;
  int depth_ = 0;
};

const IniSection::Item* IniSection::Find(const std::string& foldedKey) const {
  const auto hit = items.find(foldedKey);
  return hit == items.end() ? nullptr : &hit->second;
}

std::string IniSection::Get(std::string_view key, std::string_view def) const {
  const Item* item = Find(FoldIniName(key));
  return item == nullptr ? std::string(def) : item->value;
}

bool IniSection::Contains(std::string_view key) const {
  return Find(FoldIniName(key)) != nullptr;
}

void IniSection::IncLine(int fromLine, int lineCount) {
  for (auto& [key, item] : items) {
    if (item.line >= fromLine) item.line += lineCount;
  }
}

void IniSection::Store(std::string_view key, std::string_view value, int line) {
  Item& item = items.try_emplace(FoldIniName(key), Item{{}, line}).first->second;
  item.value = value;
}

IniFile::IniFile() {
  Clear();
}

void IniFile::Clear() {
  lines.clear();
  includes.clear();
  sections.clear();
  sections.try_emplace("", SectionEntry{IniSection(""), -1});
}

void IniFile::ReadLines(std::vector<std::string> newLines, Loader& loader) {
  lines = std::move(newLines);
  IniSection* current = &sections.at("").section;
  std::unordered_set<std::string> included;  // a file may have as many include lines as other lines
  for (int i = 0; i < static_cast<int>(lines.size()); ++i) {
    const IniLine line = ReadIniLine(lines[i]);
    switch (line.kind) {
      case IniLine::Kind::kNothing:
        break;
      case IniLine::Kind::kKey:
        current->Store(line.name, line.value, i);
        break;
      case IniLine::Kind::kSection:
        current = &OpenSection(line.name, i);
        break;
      case IniLine::Kind::kInclude:
        if (const auto [name, isNew] = included.insert(IncludeFileName(line.name)); isNew)
          includes.push_back({*name, loader.Load(*name), i});
        break;
    }
  }
}

// The section of a head line: a new one, or the old one emptied, for the later head replaces the earlier.
IniSection& IniFile::OpenSection(std::string_view name, int headLine) {
  std::string folded = FoldIniName(name);
  SectionEntry& entry =
      sections.try_emplace(folded, SectionEntry{IniSection(folded), headLine}).first->second;
  entry.section.Clear();
  entry.headLine = headLine;
  return entry.section;
}

std::shared_ptr<IniFile> IniFile::Parse(std::vector<std::string> lines, std::string_view fileName,
                                        std::string_view includeBase) {
  const auto pathOf = [base = std::string(includeBase)](const std::string& name) {
    return PathUtil::Combine(base, name);
  };
  Loader loader(pathOf, [&](const std::string& name, std::string* text) {
    return TextUtil::FileReadAllBytes(pathOf(name), *text);
  });
  auto file = std::make_shared<IniFile>();
  file->fileName = fileName;
  file->ReadLines(std::move(lines), loader);
  return file;
}

std::shared_ptr<IniFile> IniFile::Parse(std::string_view text, std::string_view fileName,
                                        const Reader& reader) {
  Loader loader([](const std::string& name) { return name; }, reader);
  auto file = std::make_shared<IniFile>();
  file->fileName = fileName;
  file->ReadLines(LinesOf(text), loader);
  return file;
}

std::shared_ptr<IniFile> IniFile::ParseFile(const std::string& path, std::string_view includeBase) {
  std::string text;
  const bool isThere = TextUtil::FileReadAllBytes(path, text);
  return Parse(isThere ? LinesOf(text) : std::vector<std::string>(), path, includeBase);
}

const std::string* IniFile::FindValue(const std::string& foldedSection, const std::string& foldedKey) const {
  if (const auto hit = sections.find(foldedSection); hit != sections.end()) {
    if (const IniSection::Item* item = hit->second.section.Find(foldedKey)) return &item->value;
  }
  for (const Include& include : includes) {
    if (const std::string* value = include.file->FindValue(foldedSection, foldedKey)) return value;
  }
  return nullptr;
}

std::string IniFile::Get(std::string_view section, std::string_view key, std::string_view def,
                         bool* found) const {
  const std::string* value = FindValue(FoldIniName(section), FoldIniName(key));
  if (found != nullptr) *found = value != nullptr;
  return value != nullptr ? *value : std::string(def);
}

std::string IniFile::Get(std::string_view section, std::string_view key, std::string_view def) const {
  return Get(section, key, def, nullptr);
}

const IniSection* IniFile::GetSection(std::string_view name, int* line) const {
  const auto hit = sections.find(FoldIniName(name));
  if (hit == sections.end()) return nullptr;
  if (line != nullptr) *line = hit->second.headLine;
  return &hit->second.section;
}

int IniFile::SectionEnd(const SectionEntry& entry) const {
  int i = entry.headLine + 1;
  while (i < static_cast<int>(lines.size()) && ReadIniLine(lines[i]).kind != IniLine::Kind::kSection) ++i;
  return i;
}

bool IniFile::GetSection(std::string_view name, std::vector<std::string>* sectionLines) const {
  sectionLines->clear();
  if (const auto hit = sections.find(FoldIniName(name)); hit != sections.end()) {
    const SectionEntry& entry = hit->second;
    sectionLines->assign(lines.begin() + entry.headLine + 1, lines.begin() + SectionEnd(entry));
    return true;
  }
  return std::ranges::any_of(
      includes, [&](const Include& include) { return include.file->GetSection(name, sectionLines); });
}

std::shared_ptr<IniFile> IniFile::FlattenFile() const {
  std::vector<std::string> ownLines;
  std::ranges::copy_if(lines, std::back_inserter(ownLines), [](const std::string& line) {
    return ReadIniLine(line).kind != IniLine::Kind::kInclude;
  });
  auto flat = Parse(std::move(ownLines), fileName, "");
  for (const Include& include : includes) flat->Merge(*include.file, false);
  return flat;
}

std::string IniFile::ToText(bool flatten) const {
  if (flatten) return FlattenFile()->ToText(false);
  std::string text;
  for (const std::string& line : lines) {
    if (&line != &lines.front()) text += "\r\n";
    text += line;
  }
  return text;
}

bool IniFile::Save() const {
  return TextUtil::FileWriteAllBytes(fileName, ToText());
}

}  // namespace utils
