#pragma once

#include <iosfwd>
#include <string>

#include "index/dict_option.h"
#include "storage/app_context.h"

/// The bulk build of a dictionary from nothing, as the tools run it: `terms`, `sort` and `loaddict` are its
/// stages, `dict` is all of them. A full-text database has a second dictionary, of its page texts; the option
/// chooses one of the two. Read on in term_recording.h, lnk_sort.h and dict_load.h.
///
/// All open the database by its name, say on `out` and in the log what they do, and give 0 or the code of the
/// first stage that failed: -300 when the database is locked by somebody else, which then changes nothing.
/// The dictionary in use stays whole until the new one takes its place.
namespace velor_server_proc {

/// The whole build under one lock. The term files are removed after success.
int VelorCreateDict(app::VelorAppContext* ctx, const std::string& db, DictOption::Type option,
                    std::ostream& out);

/// One stage. What it read and what it wrote stays.
int VelorRecTerms(app::VelorAppContext* ctx, const std::string& db, DictOption::Type option,
                  std::ostream& out);
int VelorSortTerms(app::VelorAppContext* ctx, const std::string& db, DictOption::Type option,
                   std::ostream& out);
int VelorLoadDict(app::VelorAppContext* ctx, const std::string& db, DictOption::Type option,
                  std::ostream& out);

}  // namespace velor_server_proc
