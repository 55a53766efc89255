#pragma once

#include <ctime>
#include <string>
#include <string_view>

#include "format/pft_context.h"
#include "storage/app_context.h"
#include "utils/string_list.h"

/// Where the files that formats, tables and tools name are looked for.
///
/// A database is given by its name or by the path of its record files without extension, as a space holds it.
/// Its files lie in the directory of tables and formats that the parameter file names, or beside the records;
/// files shared by all databases lie in the deposit directory. The database comes first, unless the main ini
/// says DepositPriority=1. A name is tried as written, then in lower case; backslashes count as slashes.
///
/// The parameter file of a database is read once in a run of the program.
namespace xpft {

/// Full path of a file, "" when there is none.
///   database     may be empty, for no database
///   useDatabase  false: of a kind that belongs to a database, only the shared files are looked at
[[nodiscard]] std::string LookupFile(const app::VelorAppContext* ctx, VelorPath kind,
                                     const std::string& database, const std::string& name, bool useDatabase);

/// The bytes of such a file. False, and an empty content, when it is not there or cannot be read.
[[nodiscard]] bool ReadFile(const app::VelorAppContext* ctx, VelorPath kind, const std::string& database,
                            const std::string& name, bool useDatabase, std::string& content);

/// When such a file was written last; 0 when it is not there.
[[nodiscard]] std::time_t ReadFileDate(const app::VelorAppContext* ctx, VelorPath kind,
                                       const std::string& database, const std::string& name,
                                       bool useDatabase);

/// A reference to a format file, without its "@": "name", or "%n,name" where n is a VelorPath.
struct FormatReference {
  VelorPath kind = VelorPath::kDatabaseFile;
  std::string name;  // without extension

  [[nodiscard]] std::string FileName() const { return name + ".pft"; }
};

/// What is not of the second form is a name as a whole.
[[nodiscard]] FormatReference ParseFormatReference(const std::string& text);

/// The text of a file as UTF-8: without byte-order mark, converted from cp1251 unless it is UTF-8 already.
[[nodiscard]] std::string TextOfFile(std::string_view bytes);

/// The text of a format as UTF-8. A first byte "!" is dropped and says that the rest is UTF-8; any other text
/// is cp1251, or UTF-8 where the application keeps all texts so.
[[nodiscard]] std::string TextOfFormat(const app::VelorAppContext* ctx, std::string_view bytes);

/// Directory with the field selection tables of a database; "" when it has no parameter file.
[[nodiscard]] std::string TableDirectory(const app::VelorAppContext* ctx, const std::string& database);

}  // namespace xpft

namespace backup {

/// Replaces a list by the lines of the file `name` in `databaseDirectory` (with its closing slash; empty for
/// none) or the deposit directory, in the order described above. False, and an empty list, without the file.
bool LoadEmbededResourse(const app::VelorAppContext* ctx, const std::string& databaseDirectory,
                         const std::string& name, velor_01::TStringList* lines);

}  // namespace backup
