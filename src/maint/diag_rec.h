#pragma once

#include <iosfwd>
#include <string>

#include "maint/diag_context.h"
#include "storage/app_context.h"
#include "storage/velor_space.h"

namespace velora {

/// Looks at the leader and the directory of each record of a range and, with `checkEncoding` or
/// `replaceInvalid`, at the bytes of its fields: they must be UTF-8 and hold no control characters. A
/// logically deleted record must be readable, no more: so a record that was removed is no finding any more.
///
/// The findings go to "<name>_protocol.txt" in the work directory, a line for each record: "<mfn>: " and what
/// is wrong with it. With `exportValid` the sound records go to "<name>_records.txt", with `exportInvalid`
/// the others to "<name>_wrong_records.txt", in text form with the header line.
///
/// Records are changed by ordinary updates, each under the rules of its locks: a record that somebody holds
/// is left alone, which its line tells. `replaceInvalid` puts blanks for bad characters, in records that a
/// reader accepts. `removeInvalid` deletes what is still invalid logically, and stores anew a record that is
/// whole and only badly packed. The exported text is that from before. Without these two nothing is changed.
/// Result: 0, whatever was found; -400 when a report cannot be created. `hasReport` receives whether anything
/// was found.
int VelorDiagRecords(velor_01::TVelorSpace* space, const VelorDiagContext& params, std::ostream& out,
                     bool* hasReport);

}  // namespace velora

namespace velor_server_proc {

/// The tool `diagrec`: the above for a database that is opened by name and for its companion, with the
/// verdicts on `out`. Result 0, the code of the opening, -100, or -400.
int VelorDiagRec(app::VelorAppContext* ctx, const std::string& db, const velora::VelorDiagContext& params,
                 std::ostream& out);

}  // namespace velor_server_proc
