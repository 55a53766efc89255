#pragma once

#include <iosfwd>
#include <string>

#include "maint/new_db_context.h"
#include "storage/app_context.h"

/// The database menus of the server: plain lists in the deposit directory, one for each kind of reader.
/// Whoever changes them must hold the CatalogueLock.
namespace velor_server_proc {

/// Enters a database in the list of its kind; with -r and -w in both of theirs. A list that cannot be written
/// is told to `out`: the database is there all the same.
void AddToDatabaseLists(const app::VelorAppContext* ctx, const std::string& name,
                        const VelorNewDBContext& params, std::ostream& out);

/// Takes a database out of all lists. Lists that are missing are passed over.
void RemoveFromDatabaseLists(const app::VelorAppContext* ctx, const std::string& name, std::ostream& out);

/// The description of a database in the first list that has it; "" when none has.
[[nodiscard]] std::string ListedDescription(const app::VelorAppContext* ctx, const std::string& name);

}  // namespace velor_server_proc
