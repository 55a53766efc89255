#pragma once

#include <cstdint>
#include <string>

#include "utils/int_list.h"

namespace velor_server_proc {

/// How a global correction runs, and on which records.
struct VelorGlobalContext {
  bool ifUpdate = false;                        ///< -u: bring the inverted file up to date with each record
  bool flc = false;                             ///< -c: formal logic control
  bool autoin = false;                          ///< -a: automatic input
  std::string logFile;                          ///< -lf: protocol file; empty: none
  std::int32_t mfnFrom = 0;                     ///< below 1: from the first record
  std::int32_t mfnTo = 0;                       ///< below 1: to the last record
  std::int32_t mode = 0;                        ///< 0 range, 1 list, 2 search
  const velor_01::TIntList* mfnList = nullptr;  ///< with mode 1: record numbers; not owned
  std::string search;                           ///< with mode 2: search expression, UTF-8
  std::string scan;  ///< sequential expression that filters the selection, UTF-8; empty: none
};

}  // namespace velor_server_proc
