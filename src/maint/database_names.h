#pragma once

#include <iosfwd>
#include <string>
#include <string_view>

#include "storage/app_context.h"
#include "utils/string_list.h"

/// Names of databases: which ones may be given, which ones exist.
namespace velor_server_proc {

/// A name becomes a directory, the beginning of file names, a line of a list and the head of an INI section:
/// it must not lead anywhere else, and it must not be taken for a mask or the end of a list.
[[nodiscard]] bool IsUsableName(std::string_view name);

/// A usable name that a new database may have: one with a dot could be taken for a file of another database,
/// one with a leading "@" in the head of an INI section for an include.
[[nodiscard]] bool IsNewName(std::string_view name);

/// A name of the catalogue system itself (templates, help, authority files ...), in any letter case. The
/// menus do not show these as databases of the users.
[[nodiscard]] bool IsReservedName(std::string_view name);

/// The databases that new ones are copied from, in lower case: the reference database with formats and
/// tables, and the one with empty files.
[[nodiscard]] std::string TemplateName(const app::VelorAppContext* ctx);
[[nodiscard]] std::string BlankName(const app::VelorAppContext* ctx);

/// Whether a name is usable and the database may go: without those two no other could be made.
[[nodiscard]] bool IsRemovableName(const app::VelorAppContext* ctx, const std::string& name);

/// Whether the record files of a database are there and open. What is wrong goes to `out` and the log.
[[nodiscard]] bool CheckMstAvailable(app::VelorAppContext* ctx, const std::string& dbName, std::ostream& out);

/// Full path of the record files without extension, as the parameter file has it; "" without one.
[[nodiscard]] std::string RecordPath(const app::VelorAppContext* ctx, const std::string& dbName);

/// Whether the control record of the master file <path>.mst says that a database has page texts; not
/// for the path "".
[[nodiscard]] bool HasFullText(const std::string& path);

/// The databases that `source` names: names and masks ("*", "?") between commas, in any letter case. A mask
/// stands for all directories of the data directory that have a parameter file, except the one of the shared
/// files; a plain name is taken whether it exists or not. `names` receives them in lower case, each once, in
/// the order of `source`, those of a mask in ascending order.
void VelorDbList(const app::VelorAppContext* ctx, const std::string& source, velor_01::TStringList* names);

/// Writes a line to `out` and to the log.
void Say(std::ostream& out, const std::string& text);

}  // namespace velor_server_proc
