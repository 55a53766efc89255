#pragma once

#include <sys/types.h>

#include <string>
#include <vector>

#include "index/term_recording.h"
#include "storage/maintenance_context.h"

/// Bulk builds by several processes: terms are recorded by ranges of records, the pieces of a sort and the
/// sets of a split dictionary are worked on side by side.
///
/// A worker is this program, started as `<program> multiload "<file>"`. The file is its assignment: a copy of
/// the settings with these keys in section MULTILOAD. It lies in the work directory as velora_multi<n>.ini
/// until the run has succeeded; worker_numbers.h keeps the files of several runs apart.
///
///   CURDBN          name of the database
///   Mode            1 record terms, 2 sort, 3 load
///   FTMode          1: the file is that of the page texts
///   CatalogOnly, FullText  1 with the options -c and -f
///   CreateCells     1: cells are made
///   SortFileName    input of a sort
///   LKFileName      its output; input of a load
///   MULTINUMB       number of the process, from 1; of a load the number of the set
///   MFNFrom, MFNTo  range of records
///   RESULT          written by the worker at its end
///
/// The program is the running one, or CMDLINE of section MULTILOAD. The parent holds the lock of the database
/// and waits; a stop request is passed on to the workers.
namespace velora {

/// Whether the settings ask for more than one process.
[[nodiscard]] bool UsesWorkers(const VelorAContext& ctx);

/// Starts a program with execv: a command line in which blanks part the arguments, outside double quotes.
/// Gives the process number, -1 when the program does not run.
pid_t MyWinExec(const char* commandLine);

/// Records the terms by workers, each of which has the same number of records, the last also the rest; then
/// puts their files together. Result 0; -1 on a stop request or when a worker does not start; else what ended
/// a worker.
int Multi_VelorRecTerms(VelorAContext* ctx, velor_01::TVelorSpace* space, const RecordingJob& job);

/// Sorts pieces by workers and puts them one behind the other into `output`. Results as above.
int Multi_ProcessSortList(VelorAContext* ctx, const std::string& database,
                          const std::vector<std::string>& pieces, const std::string& output);

/// Loads the parts of a split file (dict_files.h) by workers. Results as above.
int Multi_LoadParts(VelorAContext* ctx, const velor_01::TVelorSpace* space,
                    const std::vector<std::string>& parts);

/// What a worker does: reads its assignment from the settings and carries it out. Gives its result.
int Multiload(app::VelorAppContext* app);

}  // namespace velora
