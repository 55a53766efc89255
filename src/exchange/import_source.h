#pragma once

#include <fstream>
#include <memory>
#include <string>

#include "exchange/import_context.h"
#include "exchange/iso_file.h"
#include "exchange/iso_record.h"
#include "exchange/text_record.h"
#include "storage/velor_space.h"

namespace velora {

/// The records of an import file, one after the other.
class ImportSource {
 public:
  /// What came.
  enum class Outcome { kRecord, kSkipped, kEnd, kNoMemory };

  virtual ~ImportSource() = default;

  /// Reads the next record into an emptied slot. kSkipped: the file has a record here that cannot be taken.
  virtual Outcome Next(int slot) = 0;

  /// True when the end that was met is not that of the file: it could not be read any further.
  [[nodiscard]] virtual bool HasFailed() const = 0;

  /// About the last record: fields that it lost, those among them whose text was no UTF-8, and what was wrong
  /// with the record as a whole (empty: nothing).
  int lostFields = 0;
  int badTexts = 0;
  std::string remark;
};

/// Opens the file; null when it cannot be opened. `marcMode` is for ISO files.
std::unique_ptr<ImportSource> OpenImportSource(velor_01::TVelorSpace* space, const std::string& file,
                                               bool marcMode,
                                               const velor_server_proc::VelorImportContext& params);

}  // namespace velora
