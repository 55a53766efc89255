#pragma once

#include <cstdint>
#include <string>

#include "storage/app_context.h"
#include "storage/velor_space.h"

namespace indexing {

/// What is wanted of an extraction.
struct ExtractionRequest {
  std::int32_t mfn = 0;         ///< the catalogue record
  std::int32_t deletedMfn = 0;  ///< a record whose pages are to go; 0 for none
  std::string fileName;         ///< as the record gives it: a path or an address
  std::string database;
  std::string guid;         ///< of the catalogue record
  bool actualizes = false;  ///< the words of the pages go into the dictionary at once
  std::int32_t extractMode = 0;
};

/// Calls that the index makes upward: the extraction of page texts from attached files. The full-text folder
/// fills this in at start. A null member means that it is not built.
struct FullTextHooks {
  int (*extract)(app::VelorAppContext* ctx, const ExtractionRequest& request) = nullptr;
  /// Whether the record in memory names another file than the stored one: its texts are to be extracted.
  bool (*linkedFileChanged)(velor_01::TVelorSpace* space, int slot) = nullptr;
};

FullTextHooks& DefaultFullTextHooks();

}  // namespace indexing
