#pragma once

#include <cstdint>
#include <string>

#include "storage/maintenance_context.h"

namespace velora {

/// The long operations that report their progress.
struct AdmOperation {
  enum Type : std::int32_t { kTerms = 0, kSplitFiles = 1, kSort = 2, kLoadDict = 3 };
};

/// Reports a whole percentage of an operation; a percentage equal to the one before is passed over. With
/// REPORT_PROGRESS a line "Terms: 50" and so on goes to the standard output; a progress callback of the
/// context is called in its place.
/// Where the standard error is a terminal and the standard output is not, or progress is reported, one live
/// line is kept on the standard error: operation, percentage, records a second, and the time left. Workers
/// print the lines, but all of them keep only one live line.
///   done  records recorded so far, for the speed; 0 where that says nothing
void VelorReportProgress(VelorAContext* ctx, AdmOperation::Type operation, int percent,
                         std::int64_t done = 0);

/// Tells a failure on the standard error and in the log.
void ReportBuildError(const std::string& message);

}  // namespace velora
