#pragma once

#include <iosfwd>
#include <string>

#include "storage/app_context.h"
#include "utils/mem_ini_file.h"
#include "utils/string_list.h"

/// The databases that the web front end shows.
///
/// Key WEBVELOR of section MAIN names its directory; there an INI file (WEBVELOR_INI_NAME) holds a family of
/// sections for each database, and names the list of them. Databases with page texts have an INI file and a
/// list of their own, unless the key names one.
namespace velor_server_proc {

/// Copies every key of the section `sourceSection` + `name` to the section `destSection` + `name`, values as
/// they are. `lines` is working room.
void CopyWebVelorSection(IniFiles::TMemIniFile* ini, velor_01::TStringList* lines,
                         const std::string& sourceSection, const std::string& destSection,
                         const std::string& name);

struct WebEntry {
  std::string name;        ///< lower case
  std::string fullName;    ///< for the list; empty: the one that it has, or the name
  std::string templateDb;  ///< whose sections it gets; those of the reference database when that has none
  bool isFullText = false;
};

/// Enters a database in the web list and gives it its sections; without them it is not listed. Nothing is
/// changed, and `out` is told, when the INI file has a section of these names already though the list lacks
/// the database: it is somebody else's. A section that another database can claim by its name stays out of
/// it. An INI file or list that cannot be written is told to `out`. The CatalogueLock must be held. Result 0;
/// -404 when there is no web INI file, of which nothing is said; -200 for sections that exist; -400 after a
/// failed write.
int AddToWeb(const app::VelorAppContext* ctx, const WebEntry& entry, std::ostream& out);

/// Takes a database out of the web lists and erases the sections of one that was listed, in whichever of the
/// INI files they stand. The CatalogueLock must be held. Results as above.
int RemoveFromWeb(const app::VelorAppContext* ctx, const std::string& name, std::ostream& out);

/// The same as procedures of tools: the outcome goes to `out` and the log. Without a full name the database
/// keeps the one that a list has for it. They take the CatalogueLock. Results as above; -200 also for a name
/// that no database can have, for adding one of the system, for removing one that new databases are made
/// from; -404 also for adding one that does not open, which is told.
int VelorWebAddDB(app::VelorAppContext* ctx, const std::string& dbName, const std::string& fullName,
                  std::ostream& out);
int VelorWebDelDB(app::VelorAppContext* ctx, const std::string& dbName, std::ostream& out);

}  // namespace velor_server_proc
