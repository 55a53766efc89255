#include "utils/ini_file.h"

#include <algorithm>
#include <unordered_set>

#include "utils/ini_line.h"
#include "utils/string_utils.h"

// The changing half of IniFile: whatever moves raw lines moves the line numbers with them.
namespace utils {

namespace {

constexpr std::string_view kLineBreaks("\r\n");

bool IsSectionName(std::string_view name) {
  if (name.empty()) return true;
  const std::string head = '[' + std::string(name) + ']';
  const IniLine line = ReadIniLine(head);
  return line.kind == IniLine::Kind::kSection && line.name == name &&
         name.find_first_of(kLineBreaks) == std::string_view::npos;
}

// The raw line of a key. A blank in front keeps a name from being read as a comment or a head.
std::string KeyLine(std::string_view key, std::string_view value) {
  std::string line = std::string(key).append("=").append(value);
  return ReadIniLine(line).kind == IniLine::Kind::kKey ? line : ' ' + line;
}

std::string OneLine(std::string_view value) {
  std::string line(value);
  std::ranges::replace_if(
      line, [](char c) { return kLineBreaks.find(c) != std::string_view::npos; }, ' ');
  return std::string(StringUtils::Trim(line));
}

}  // namespace

// Keeps all line numbers right when lines come in before line `from`, or go away there (a count below 0).
void IniFile::ShiftLines(int from, int lineCount) {
  for (auto& [name, entry] : sections) {
    if (lineCount > 0) entry.section.IncLine(from, lineCount);
    if (lineCount < 0) entry.section.DecLine(from, -lineCount);
    if (entry.headLine >= from) entry.headLine += lineCount;
  }
  for (Include& include : includes) {
    if (include.line >= from) include.line += lineCount;
  }
}

IniFile::SectionEntry& IniFile::SectionForWriting(std::string_view name) {
  const std::string folded = FoldIniName(name);
  if (const auto hit = sections.find(folded); hit != sections.end()) return hit->second;
  lines.push_back('[' + std::string(name) + ']');
  const int headLine = static_cast<int>(lines.size()) - 1;
  return sections.try_emplace(folded, SectionEntry{IniSection(folded), headLine}).first->second;
}

// Changes the raw line of an item and the later lines of the same key, which would win when the file is read
// again.
void IniFile::ReplaceValue(const SectionEntry& entry, const std::string& foldedKey,
                           const std::string& value) {
  const int end = SectionEnd(entry);
  for (int i = entry.section.Find(foldedKey)->line; i < end; ++i) {
    const IniLine line = ReadIniLine(lines[i]);
    if (line.kind == IniLine::Kind::kKey && FoldIniName(line.name) == foldedKey)
      lines[i].replace(lines[i].find('=') + 1, std::string::npos, value);
  }
}

// Inserts lines of keys that the section does not have yet, behind its last item.
void IniFile::InsertKeyLines(SectionEntry& entry, const std::vector<std::string>& keyLines) {
  int at = entry.headLine + 1;
  for (const auto& [key, item] : entry.section.items) at = std::max(at, item.line + 1);
  lines.insert(lines.begin() + at, keyLines.begin(), keyLines.end());
  ShiftLines(at, static_cast<int>(keyLines.size()));
  IndexKeys(entry.section, at, at + static_cast<int>(keyLines.size()));
}

void IniFile::IndexKeys(IniSection& section, int from, int end) {
  for (int i = from; i < end; ++i) {
    const IniLine line = ReadIniLine(lines[i]);
    if (line.kind == IniLine::Kind::kKey) section.Store(line.name, line.value, i);
  }
}

bool IniFile::Put(std::string_view section, std::string_view key, std::string_view value) {
  const std::string_view trimmedKey = StringUtils::Trim(key);
  if (!IsSectionName(section) || trimmedKey.find_first_of("=\r\n") != std::string_view::npos) return false;

  const std::string folded = FoldIniName(trimmedKey);
  const std::string oneLine = OneLine(value);
  SectionEntry& entry = SectionForWriting(section);
  if (!entry.section.items.contains(folded)) {
    InsertKeyLines(entry, {KeyLine(trimmedKey, oneLine)});
    return true;
  }
  ReplaceValue(entry, folded, oneLine);
  entry.section.items[folded].value = oneLine;
  return true;
}

bool IniFile::PutSection(std::string_view name, const std::vector<std::string>& sectionLines) {
  if (!IsSectionName(name)) return false;
  SectionEntry& entry = SectionForWriting(name);
  const int begin = entry.headLine + 1;
  const int end = SectionEnd(entry);

  std::vector<std::string> newLines;
  for (const std::string& given : sectionLines) {
    for (const std::string_view line : StringUtils::SplitLines(given)) {
      if (!line.starts_with('[')) newLines.emplace_back(line);
    }
  }
  // Include lines are no part of a section, they only happen to stand among its lines: they stay, behind the
  // new ones.
  std::vector<Include*> kept;
  for (Include& include : includes) {
    if (include.line < begin || include.line >= end) continue;
    kept.push_back(&include);
    newLines.push_back(lines[include.line]);
  }
  const int newEnd = begin + static_cast<int>(newLines.size());

  entry.section.Clear();
  lines.erase(lines.begin() + begin, lines.begin() + end);
  lines.insert(lines.begin() + begin, newLines.begin(), newLines.end());
  ShiftLines(end, newEnd - end);
  for (std::size_t i = 0; i < kept.size(); ++i) kept[i]->line = newEnd - static_cast<int>(kept.size() - i);
  IndexKeys(entry.section, begin, newEnd);
  return true;
}

// The key lines of a section in the order in which they stand, those of the includes behind the own ones,
// each key once.
void IniFile::CollectKeys(const std::string& foldedSection, std::unordered_set<std::string>& seen,
                          std::vector<IniLine>& keys) const {
  if (const auto hit = sections.find(foldedSection); hit != sections.end()) {
    std::vector<std::pair<int, std::string_view>> own;
    for (const auto& [key, item] : hit->second.section.items) {
      if (seen.insert(key).second) own.emplace_back(item.line, item.value);
    }
    std::ranges::sort(own, {}, &std::pair<int, std::string_view>::first);
    for (const auto& [line, value] : own)
      keys.push_back({IniLine::Kind::kKey, ReadIniLine(lines[line]).name, value});
  }
  for (const Include& include : includes) include.file->CollectKeys(foldedSection, seen, keys);
}

void IniFile::MergeSection(const IniFile& other, std::string_view name, bool overwrite) {
  if (this == &other || !IsSectionName(name)) return;
  const std::string folded = FoldIniName(name);
  std::unordered_set<std::string> seen;
  std::vector<IniLine> keys;
  other.CollectKeys(folded, seen, keys);

  std::vector<std::string> newLines;
  for (const IniLine& line : keys) {
    const std::string key = FoldIniName(line.name);
    const auto own = sections.find(folded);
    if (own != sections.end() && own->second.section.items.contains(key)) {
      if (overwrite) Put(name, line.name, line.value);
    } else if (overwrite || FindValue(folded, key) == nullptr) {
      newLines.push_back(KeyLine(line.name, line.value));
    }
  }
  if (!newLines.empty()) InsertKeyLines(SectionForWriting(name), newLines);
}

// The names of all sections as their heads write them, each once.
void IniFile::CollectSections(std::unordered_set<std::string>& seen,
                              std::vector<std::string_view>& names) const {
  std::vector<int> heads;
  for (const auto& [name, entry] : sections) {
    if (seen.insert(name).second) heads.push_back(entry.headLine);
  }
  std::ranges::sort(heads);
  for (const int line : heads) names.push_back(line < 0 ? std::string_view() : ReadIniLine(lines[line]).name);
  for (const Include& include : includes) include.file->CollectSections(seen, names);
}

void IniFile::Merge(const IniFile& other, bool overwrite) {
  std::unordered_set<std::string> seen;
  std::vector<std::string_view> names;
  other.CollectSections(seen, names);
  for (const std::string_view name : names) MergeSection(other, name, overwrite);
}

}  // namespace utils
