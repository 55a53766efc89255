#pragma once

#include <iosfwd>
#include <string>

#include "storage/app_context.h"
#include "storage/velor_space.h"
#include "utils/int_list.h"

namespace velora {

/// Compares the sizes of the record files with what their control records say, and looks at the
/// cross-reference entries of a range of records.
///   from, to  record numbers; below 1 means from the first, or to the last
///   bad       receives the records whose entry cannot be: its offset lies outside the master file, or the
///             leader there is that of another record; a physically deleted one has an offset or other flags
///   message   receives "Not valid mst file size - Size in cnt= <a> Size of mst= <b>" for each file that does
///             not fit, a line each: bytes for a master file, entries for a cross-reference file. The zero
///             bytes that files are lengthened with are in order, a file that is too short is not, nor are
///             entries behind the last number, nor a fragment that has lost a file. "Process stop" comes last
///             after a stop request: what is behind was not looked at.
/// Takes no lock; other processes may write meanwhile. Result 0, -100, or -400 without record files.
int isisdiagmfn(velor_01::TVelorSpace* space, int from, int to, velor_01::TIntList* bad,
                std::string* message);

}  // namespace velora

namespace velor_server_proc {

/// The tool `diagmfn`: what it finds goes to `out` and to "<name>_protocol_<process>.txt" in the work
/// directory, which is made only when there is something. Result 0, -100, the code of the opening, or -400
/// when the protocol cannot be created.
int VelorDiagMfn(app::VelorAppContext* ctx, const std::string& db, int from, int to, std::ostream& out);

}  // namespace velor_server_proc
