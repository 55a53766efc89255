#pragma once

#include <string>
#include <string_view>

#include "storage/app_context.h"

/// The files that make a database.
///
/// A database is filled, and taken away, under the name ".<name>.<process>" beside the others, and gets its
/// name, or loses it, by one rename: whatever happens in between, the name leads to a whole database or to
/// none.
namespace velor_server_proc {

/// Copies all files of a mask into a directory, over files of their name. The copies can be written by their
/// owner, also where the originals cannot. True when none failed, also when there was none; the one that
/// failed is told to the log.
///   source       "<directory>/<mask>", the mask in any letter case
///   destination  an existing directory
bool MyCopyFile(const std::string& source, const std::string& destination);

/// The directory of a template: the one of that name in the data directory, else the one that its parameter
/// file names; "" when there is neither. It ends in "/".
[[nodiscard]] std::string TemplateDirectory(const app::VelorAppContext* ctx, const std::string& name);

/// What a new database is made from. Directories end in "/".
struct DatabaseSource {
  std::string blank;              ///< name of the empty database
  std::string blankDirectory;     ///< has the record files
  std::string templateDb;         ///< name of the template
  std::string templateDirectory;  ///< has the other files; "" for a database without them
};

/// The template or the empty database has page texts, so the new one does.
[[nodiscard]] bool MakesFullText(const DatabaseSource& source);

/// Whether the template has a file of this name beside its own of the same extension, which would be copied
/// over it: "card" for a template with oryx.fst and card.fst.
[[nodiscard]] bool IsNameOfTemplateFile(const DatabaseSource& source, const std::string& name);

/// Whether files of a template with this extension, the dot included, that bear its name get the name of the
/// database: they are looked for under it.
[[nodiscard]] bool IsNamedExtension(std::string_view extension);

/// Fills a directory with the files of a new database `name`. Result 0, -400 when one cannot be made.
int MakeDatabaseFiles(app::VelorAppContext* ctx, const DatabaseSource& source, const std::string& directory,
                      const std::string& name);

/// A name in the data directory that no database has, for this process, without "/" at its end. Removes what
/// dead processes left under such names for the same database.
[[nodiscard]] std::string HiddenDirectory(const app::VelorAppContext* ctx, const std::string& name);

}  // namespace velor_server_proc
