#pragma once

#include <functional>
#include <memory>
#include <string>
#include <string_view>
#include <unordered_map>
#include <unordered_set>
#include <utility>
#include <vector>

namespace utils {

struct IniLine;

/// The keys of one section: value and raw line of each. Line numbers are indexes into the lines of the
/// IniFile, from 0.
class IniSection {
 public:
  struct Item {
    std::string value;
    int line = 0;
  };

  explicit IniSection(std::string foldedName) : name(std::move(foldedName)) {}

  [[nodiscard]] const std::string& GetName() const { return name; }
  /// The item of a lower-cased key, null when there is none.
  [[nodiscard]] const Item* Find(const std::string& foldedKey) const;
  /// Value of a key in any case; `def` when there is none.
  [[nodiscard]] std::string Get(std::string_view key, std::string_view def) const;
  [[nodiscard]] bool Contains(std::string_view key) const;
  void Clear() { items.clear(); }

  /// Keeps the line numbers right when `lineCount` raw lines come in before line `fromLine`, or go away
  /// there.
  void IncLine(int fromLine, int lineCount = 1);
  void DecLine(int fromLine, int lineCount = 1) { IncLine(fromLine, -lineCount); }

 private:
  friend class IniFile;

  /// Keeps a value; a key that is here already keeps its line.
  void Store(std::string_view key, std::string_view value, int line);

  std::string name;                             // lower-cased
  std::unordered_map<std::string, Item> items;  // by lower-cased key
};

/// The reader of the main INI file and of database-level INI files. It keeps the raw lines, so that a changed
/// file is written back with its comments and its order, and it has includes.
///
/// Text form, line by line; section and key names are blind to case, values are taken as they are:
///   # ... and /* ...  a comment: that one line
///   [name]            a section; a section that comes twice is emptied when it comes again
///   [@name]           an include: the file name.ini, lower-cased, under the include base
///   key = value       blanks around both go; of a key given twice the last value wins
/// What comes before the first head belongs to the section "", which always exists. Nothing is quoted or
/// escaped, and what cannot be understood is kept as a raw line and otherwise passed over: there are no
/// syntax errors.
///
/// A key is looked for in the file itself and then in its includes, in the order of their lines, depth first;
/// so the file's own value beats its includes wherever the [@name] line stands. Within one parse an include
/// is read once: when it is named again, in a cycle for instance, it stands there empty, which changes no
/// answer. Includes nest 32 deep at most.
///
/// Texts are bytes; names fold as UTF-8, or in ASCII only where the bytes are no UTF-8. Held by shared
/// pointer; not locked.
class IniFile {
 public:
  /// Gives the text of an include by its lower-cased file name ("common.ini"), false when there is no such
  /// include.
  using Reader = std::function<bool(const std::string& includeName, std::string* text)>;

  IniFile();
  IniFile(const IniFile&) = delete;
  IniFile& operator=(const IniFile&) = delete;

  /// Parses lines; includes are files under `includeBase`.
  [[nodiscard]] static std::shared_ptr<IniFile> Parse(std::vector<std::string> lines,
                                                      std::string_view fileName,
                                                      std::string_view includeBase);
  /// Parses a text without its UTF-8 byte-order mark; includes come from `reader`, none do when it is empty.
  [[nodiscard]] static std::shared_ptr<IniFile> Parse(std::string_view text, std::string_view fileName,
                                                      const Reader& reader);
  /// Parses a file without its UTF-8 byte-order mark. A missing file gives an object without keys, never
  /// null.
  [[nodiscard]] static std::shared_ptr<IniFile> ParseFile(const std::string& path,
                                                          std::string_view includeBase);

  /// The value of a key, or `def`. A value that exists and is empty counts as found. `found` may be null.
  [[nodiscard]] std::string Get(std::string_view section, std::string_view key, std::string_view def) const;
  [[nodiscard]] std::string Get(std::string_view section, std::string_view key, std::string_view def,
                                bool* found) const;

  /// The section of this file, without includes, and the number of its head line (-1 for the section "").
  /// Null when there is none; `line` may be null. Good until the file is changed.
  [[nodiscard]] const IniSection* GetSection(std::string_view name, int* line = nullptr) const;
  /// The raw lines behind the head of a section up to the next head. The first of the file and its includes
  /// that has the section gives them; false and no lines when none has.
  bool GetSection(std::string_view name, std::vector<std::string>* sectionLines) const;

  /// Sets a value. The raw line of an existing key keeps its place and its text before the "="; every later
  /// line of the same key in the section is set too, so that the written file reads back alike. A new key
  /// becomes the line "key=value" behind the last item of the section; a missing section gets a head line at
  /// the end of the file first. False and no change when the names would not read back: a key with "=" or a
  /// line break in it, a section name that brackets would change. Line breaks in the value become blanks.
  bool Put(std::string_view section, std::string_view key, std::string_view value);

  /// Replaces the raw lines of a section, comments among them, making the section when it is missing. Lines
  /// that begin with "[" are dropped, for they would end the section. False when the name would not read
  /// back.
  bool PutSection(std::string_view name, const std::vector<std::string>& sectionLines);

  /// Takes over the keys of a section of `other`, or of all sections, as `other` answers them, includes
  /// included. A key that is here already is replaced with `overwrite` and kept without.
  void MergeSection(const IniFile& other, std::string_view name, bool overwrite);
  void Merge(const IniFile& other, bool overwrite);

  /// A file without includes that answers every Get as this one does: the own lines, and the keys of the
  /// includes behind those of their sections.
  [[nodiscard]] std::shared_ptr<IniFile> FlattenFile() const;

  /// Writes ToText() to the file's name. False when that fails.
  bool Save() const;
  /// The raw lines joined with CR LF; with `flatten` those of FlattenFile().
  [[nodiscard]] std::string ToText(bool flatten = false) const;

  /// Forgets all lines, sections and includes; the name stays.
  void Clear();
  [[nodiscard]] const std::string& GetFileName() const { return fileName; }

 private:
  class Loader;
  struct SectionEntry {
    IniSection section;
    int headLine = -1;
  };
  struct Include {
    std::string name;  // lower-cased file name
    std::shared_ptr<IniFile> file;
    int line = 0;
  };

  void ReadLines(std::vector<std::string> newLines, Loader& loader);
  IniSection& OpenSection(std::string_view name, int headLine);
  void IndexKeys(IniSection& section, int from, int end);
  [[nodiscard]] const std::string* FindValue(const std::string& foldedSection,
                                             const std::string& foldedKey) const;
  [[nodiscard]] int SectionEnd(const SectionEntry& entry) const;

  SectionEntry& SectionForWriting(std::string_view name);
  void InsertKeyLines(SectionEntry& entry, const std::vector<std::string>& keyLines);
  void ReplaceValue(const SectionEntry& entry, const std::string& foldedKey, const std::string& value);
  void ShiftLines(int from, int lineCount);

  void CollectKeys(const std::string& foldedSection, std::unordered_set<std::string>& seen,
                   std::vector<IniLine>& keys) const;
  void CollectSections(std::unordered_set<std::string>& seen, std::vector<std::string_view>& names) const;

  std::unordered_map<std::string, SectionEntry> sections;  // by lower-cased name
  std::vector<Include> includes;                           // in the order of their lines
  std::vector<std::string> lines;                          // as read, without line ends
  std::string fileName;
};

}  // namespace utils
