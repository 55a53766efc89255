#pragma once

#include <cstdint>
#include <memory>
#include <string>
#include <string_view>
#include <vector>

#include "utils/string_list.h"

/// The reader and writer of the web profile files: a list of sections, each a list of lines, all in memory
/// and in their order. No includes, no raw comments; names are blind to case, texts are UTF-8.
namespace IniFiles {

/// A hash of texts with a 32-bit value each: an array of chains of fixed size. A text may be in it more than
/// once; the one added last answers.
class TStringHash {
 public:
  explicit TStringHash(int size = 256);
  ~TStringHash();
  TStringHash(const TStringHash&) = delete;
  TStringHash& operator=(const TStringHash&) = delete;

  /// h = byte xor (h * 4 or h >> 30) over the bytes of the text, starting from 0; the shift keeps the sign.
  [[nodiscard]] static std::uint32_t HashOf(std::string_view key);

  void Add(std::string_view key, std::int32_t value);
  void Clear();
  /// The value of a key, for reading and changing; null when the key is not there.
  [[nodiscard]] std::int32_t* Find(std::string_view key);
  [[nodiscard]] const std::int32_t* Find(std::string_view key) const;
  /// Changes the value of a key; false when it is not there.
  bool Modify(std::string_view key, std::int32_t value);
  void Remove(std::string_view key);
  /// The value of a key, -1 when it is not there.
  [[nodiscard]] std::int32_t ValueOf(std::string_view key) const;

 private:
  struct Entry;
  std::unique_ptr<Entry>* FindLink(std::string_view key);

  std::vector<std::unique_ptr<Entry>> buckets;
};

/// A string list with two hashes, by whole text and by name, the part of "name=value" before the first "=".
/// They are built when first asked for and thrown away by any change. Of equal texts or names the first in
/// the list answers.
class THashedStringList : public velor_01::TStringList {
 public:
  THashedStringList();
  void Changed() noexcept override;

  /// Index of a text, or of the line with a name, blind to case; -1 when there is none.
  [[nodiscard]] int IndexOf(std::string_view text) const;
  [[nodiscard]] int IndexOfName(std::string_view name) const;

 private:
  void BuildValueHash() const;
  void BuildNameHash() const;

  mutable std::unique_ptr<TStringHash> valueHash;
  mutable std::unique_ptr<TStringHash> nameHash;
  mutable bool valueHashValid = false;
  mutable bool nameHashValid = false;
};

/// Of two sections or lines with one name, the first is read and changed; both are kept and written.
class TMemIniFile {
 public:
  TMemIniFile();
  /// Reads the file at once; see LoadValues.
  explicit TMemIniFile(std::string_view path);
  ~TMemIniFile();
  TMemIniFile(const TMemIniFile&) = delete;
  TMemIniFile& operator=(const TMemIniFile&) = delete;

  [[nodiscard]] const std::string& GetFileName() const { return fileName; }

  /// Reads the file anew; without a name or a file there is nothing.
  void LoadValues();
  void LoadValuesFromList(const velor_01::TStringList& list) { SetStrings(list); }
  /// Replaces the contents by lines: "[name]" opens a section, other lines belong to the open one. Lines that
  /// begin with ";", empty lines and lines before the first section are dropped.
  void SetStrings(const velor_01::TStringList& list);
  /// Adds to `list` each section: its head, its lines, an empty line.
  void GetStrings(velor_01::TStringList* list) const;
  /// Writes the file. False when that fails.
  bool UpdateFile() const;

  /// Fill the list anew: with the key names of a section, the names of all sections, the lines of a section.
  void ReadSection(std::string_view section, velor_01::TStringList* keys) const;
  void ReadSections(velor_01::TStringList* names) const;
  void ReadSectionValues(std::string_view section, velor_01::TStringList* lines) const;

  [[nodiscard]] bool SectionExists(std::string_view section) const;
  [[nodiscard]] bool ValueExists(std::string_view section, std::string_view key) const;

  /// The value behind the first "=", as it stands; `def` when the section or key is missing.
  [[nodiscard]] std::string ReadString(std::string_view section, std::string_view key,
                                       std::string_view def) const;
  /// `def` also when the value is no decimal number.
  [[nodiscard]] long ReadInteger(std::string_view section, std::string_view key, long def) const;
  /// False for 0, true for any other integer, `def` when the value is no integer.
  [[nodiscard]] bool ReadBool(std::string_view section, std::string_view key, bool def) const;

  /// Replace the line of a key or add it at the end of the section, which is made when missing.
  void WriteString(std::string_view section, std::string_view key, std::string_view value);
  void WriteInteger(std::string_view section, std::string_view key, long value);
  void WriteBool(std::string_view section, std::string_view key, bool value);

  void EraseSection(std::string_view section);
  void DeleteKey(std::string_view section, std::string_view key);
  void Clear();
  [[nodiscard]] bool Empty() const { return sections.GetCount() == 0; }

 private:
  THashedStringList* SectionAt(int i) const;
  THashedStringList* FindSection(std::string_view name) const;
  THashedStringList* AddSection(std::string_view name);

  std::string fileName;
  THashedStringList sections;  // names; the object of each is its THashedStringList of lines, owned here
};

}  // namespace IniFiles
