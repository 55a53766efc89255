#pragma once

#include <iosfwd>
#include <string>

#include "storage/app_context.h"
#include "storage/velor_space.h"
#include "utils/string_list.h"

namespace velora {

/// Compares catalogue records with their page records in the companion database.
///
/// A record of the range with a link to a PDF (PDF_FileName_Tag, PDF_FileName_Tag_Subfield of the main ini)
/// should have as many page records as its link field says in kPageCountSubfield: as many postings has its
/// term PDF_GUID_PREFIX + GUID. Page records whose GUID is that of no record any more, deleted ones counting
/// as there, are deleted by ordinary updates, whatever the range. When a record cannot be read its pages are
/// not known, and when isisdiagmfn finds something there may be more records than can be seen: nothing is
/// deleted then. Nor is a page that names another record than the term it was found under, nor one of a
/// record that is added meanwhile. `report` receives a line for each finding. Result 0, -100, or -404 without
/// a companion.
constexpr char kPageCountSubfield = 'N';
int VelorDiagRecordsFT(velor_01::TVelorSpace* space, int from, int to, velor_01::TStringList* report);

}  // namespace velora

namespace velor_server_proc {

/// The tool `diagrecft`: the report goes to `out` and to "<name>_ft_protocol.txt" in the work directory.
/// Result 0, the code of the opening, -100, or -400 when the protocol cannot be created.
int VelorDiagRecFT(app::VelorAppContext* ctx, const std::string& db, int from, int to, std::ostream& out);

}  // namespace velor_server_proc
