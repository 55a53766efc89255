#pragma once

#include <cstdint>

namespace velora {

/// What the diagnosis of records looks for, and what it does with what it finds.
struct VelorDiagContext {
  std::int32_t mfnFrom = 0;     ///< below 1: from the first record
  std::int32_t mfnTo = 0;       ///< below 1: to the last record
  bool checkEncoding = false;   ///< -k: fields must hold valid UTF-8
  bool replaceInvalid = false;  ///< -c: invalid characters are replaced
  bool removeInvalid = false;   ///< -r: invalid records are removed
  bool exportValid = false;     ///< -v
  bool exportInvalid = false;   ///< -e
};

}  // namespace velora
