#pragma once

#include <sys/types.h>

#include <csignal>
#include <string>
#include <string_view>
#include <utility>

// State and helpers of the whole process: the stop flag, the prefix of shared names, children, collation.

namespace app {

/// Set to 1 by a stop signal and never cleared; see CheckStopProcess. Read everywhere without a lock.
extern volatile std::sig_atomic_t StopProcess;
static_assert(sizeof(StopProcess) == 4);

/// The text that every named mutex begins with, so that two installations on one machine keep apart.
/// At most 9 bytes; there is no zero behind a text of 9. Read it through AppPrefixText.
extern char AppPrefix[9];

/// The text in AppPrefix. The view lives as long as the process and follows later changes.
std::string_view AppPrefixText();
/// Stores the first 9 bytes of `prefix` in AppPrefix.
void SetAppPrefix(std::string_view prefix);

/// Waits for a child process, passing a stop request on to it as SIGINT.
/// Gives the child's exit status, 0 to 255, or the negated number of the signal that ended it. When the child
/// cannot be waited for, the result is 127, as of a shell whose command was not found.
int WaitProcess(pid_t pid);

/// Collating less-than by the process locale (LC_COLLATE). A zero byte ends a text for the comparison.
bool LocaleLessThanA(const std::string& left, const std::string& right);
bool LocaleLessThanW(const std::wstring& left, const std::wstring& right);

/// LocaleLessThanW on the second member of pairs.
template <typename First>
bool LocaleLessThanPairSecondW(const std::pair<First, std::wstring>& left,
                               const std::pair<First, std::wstring>& right) {
  return LocaleLessThanW(left.second, right.second);
}

}  // namespace app
