#pragma once

#include <string>

#include "storage/maintenance_context.h"
#include "storage/velor_space.h"

/// Loading: the last stage of a bulk build. A sorted term file becomes a packed dictionary, which then takes
/// the place of the old one (storage/term_swap.h).
namespace velora {

constexpr int kStopped = -999;   // a stop was asked for
constexpr int kBadOrder = -700;  // the term file is damaged or not sorted
constexpr int kWriteFailed = -516;

/// Loads a sorted file into the new files of one set (dict_files.h), in one pass; the dictionary in use is
/// not touched. Which form lines and postings have is told by the kind of the space.
///   lk1   path of the file
///   part  0 the main set, 1 to 10 an additional one
/// Result 0; -401 when a file is not made or written; -400 when the input is not read; -700 for a line that
/// is none, or a term or a posting below the one before; -999 on a stop request. Failures are told on the
/// standard error and in the log. Equal lines are stored once.
int VelorLnk_Load_Base(VelorAContext* ctx, velor_01::TVelorSpace* space, const std::string& lk1, int part);

/// Loads <stem>.lk1 and lets the new dictionary take the place of the old: ten sets with
/// CREATE_OLD_INVERTION_FILES 1 in section Main (the default) and enough terms, else one. The records count
/// as actualized from then on, the facet cells of a catalogue are renewed (facet_cells.h). Any failure leaves
/// the old dictionary whole. Takes and releases the lock of the database.
///   keepTermFile  false removes the file after success
///   forMerge      the records are not marked: their dictionary was put together from others
/// Result 0, a code of VelorLnk_Load_Base, or -300 when the database is locked.
int VelorLnk_Load(VelorAContext* ctx, velor_01::TVelorSpace* space, const std::string& stem,
                  bool keepTermFile, bool forMerge);
/// The same for a caller that holds the lock. The cells are the caller's to renew when it is free again.
int LoadDictionary(VelorAContext* ctx, velor_01::TVelorSpace* space, const std::string& stem,
                   bool keepTermFile, bool forMerge);

}  // namespace velora
