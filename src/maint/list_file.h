#pragma once

#include <string>
#include <string_view>
#include <vector>

/// Lists of databases, as the menus of the server show them.
///
/// A list is a text file of pairs of lines, name and description, blank lines between pairs left aside; a
/// line of five asterisks may end it. A file with the extension ".tre" is a tree instead: a line "<name> -
/// <description>" for each database, behind marks of the level. The file is in UTF-8 or in the code page
/// 1251, and stays as it was found: encoding, byte order mark, line ends, the asterisks and what follows
/// them.
namespace velor_server_proc {

/// Puts a file in the place of another, or makes it. The bytes go to a file beside it, which then takes its
/// name: whoever reads, and whatever happens in between, finds the old file or the new one. A link stays a
/// link, rights stay as they were. False when that fails or the old file must not be written.
[[nodiscard]] bool RewriteFile(const std::string& path, std::string_view bytes);

/// One list in memory. All texts are UTF-8, names are blind to case.
class ListFile {
 public:
  /// A file that is missing is an empty list.
  explicit ListFile(const std::string& path);

  [[nodiscard]] bool exists() const { return exists_; }

  /// Adds a database at the end; one that is listed gets the description instead, unless that is empty. A
  /// new one without description gets its name for it.
  void Add(const std::string& name, const std::string& description);

  /// Takes every mention of a database out. False when there was none.
  bool Remove(const std::string& name);

  [[nodiscard]] bool Has(const std::string& name) const { return Find(name) < lines_.size(); }

  /// "" when the database is not listed.
  [[nodiscard]] std::string DescriptionOf(const std::string& name) const;

  [[nodiscard]] bool Save() const;

 private:
  /// Index of the line that begins with, or is, the name; lines_.size() when there is none.
  [[nodiscard]] std::size_t Find(const std::string& name) const;
  [[nodiscard]] std::size_t End() const;

  std::string path_;
  bool exists_ = false;
  bool isTree_ = false;
  bool isAnsi_ = false;  // code page 1251
  std::string mark_;     // byte order mark
  std::string lineEnd_ = "\r\n";
  std::vector<std::string> lines_;
};

}  // namespace velor_server_proc
