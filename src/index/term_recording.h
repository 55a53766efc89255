#pragma once

#include <cstdint>
#include <string>

#include "index/rec_terms.h"
#include "storage/maintenance_context.h"

/// Recording: the first stage of a bulk build. The terms of every record go to a text file, record by record
/// (term_line.h).
namespace velora {

/// Which terms of which records go where.
struct RecordingJob {
  std::string stem;                        ///< of the file of the catalogue; empty: not wanted
  std::string textStem;                    ///< of the file of the page texts; empty: not wanted
  std::int32_t select = recif::kAllLines;  ///< recif::TermSelection
  std::int32_t mfnFrom = 1;
  std::int32_t mfnTo = INT32_MAX;  ///< cut to the last record
  std::int32_t processNo = 0;      ///< number of a worker, 0 for a run of one process
};

/// The files of a database: <term path>.ln1, and that of its companion when it has one. The options leave one
/// of them out.
[[nodiscard]] RecordingJob JobFor(const velor_01::TVelorSpace* space, bool isCatalogOnly,
                                  bool isFullTextOnly);

/// Path of a term file: <stem>.ln1, or <stem>_multi<n>.ln1 of worker n.
[[nodiscard]] std::string RecordingFile(const std::string& stem, int processNo);

/// Records the terms of a range of records. A deleted record has none. The file of a run of one process
/// appears when it is whole. The caller holds the lock of the database.
/// Result 0; -400 when a file is not made; -999 on a stop request, and when the disk is full, which counts as
/// one; else what ended the making of terms.
int VelorRecTerms_Base(VelorAContext* ctx, velor_01::TVelorSpace* space, int shelf, const RecordingJob& job);

/// The same by as many workers as the settings say (multiload.h), in one process when they are fewer than
/// two.
int RecordAllTerms(VelorAContext* ctx, velor_01::TVelorSpace* space, int shelf, const RecordingJob& job);

/// The same under the lock of the database, which it takes and releases. Also -300.
int VelorRecTerms(VelorAContext* ctx, velor_01::TVelorSpace* space, int shelf, const RecordingJob& job);

}  // namespace velora
