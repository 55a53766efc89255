#pragma once

#include <sys/types.h>

#include <cstdint>
#include <memory>
#include <string>

#include "storage/master_file.h"
#include "storage/velor_space.h"
#include "utils/named_mutex.h"

/// Saves the opening of files and mutex in a long run of updates on one space.
///
/// The rules of a single update stay: the mutex is taken and released for each record, and nothing that
/// another process may change is remembered. What is kept are handles, and before each use it is made sure
/// that the names still lead to the files that they were opened on.
namespace recif {
struct RecIfContext;
}
namespace velor_32 {

/// The two files of one update, open for writing, and their sizes.
struct WriteFiles {
  int mstFile = -1;
  int xrfFile = -1;
  std::int64_t mstSize = 0;
  std::int64_t xrfSize = 0;
};

class BulkWriter {
 public:
  explicit BulkWriter(const TVelorSpace* space);
  ~BulkWriter();
  BulkWriter(const BulkWriter&) = delete;
  BulkWriter& operator=(const BulkWriter&) = delete;

  /// The open mutex of the database, or null when it cannot be opened. It is opened anew when its shared
  /// memory object was removed or replaced in the meantime.
  utils::NamedMutex* Mutex();

  /// The files of a fragment. To be called under the mutex. Result 0 or -400.
  int Open(const TVelorSpace* space, int fragment, WriteFiles* files);

  /// Lower bound, from 1, of the numbers at which a physically deleted record can still lie in this run.
  std::int32_t firstPhysicallyDeleted = 1;

  /// What the index update has open, kept from one record to the next. Null before the first.
  std::shared_ptr<recif::RecIfContext> indexUpdate;

 private:
  int Reopen(const TVelorSpace* space, int fragment);
  void CloseFiles();

  std::string mutexName_;
  utils::NamedMutex mutex_;
  int fragment_ = -1;
  std::string mstPath_;
  int mstFile_ = -1;
  int xrfFile_ = -1;
  dev_t device_ = 0;  // of the master file
  ino_t node_ = 0;
};

/// Starts and ends a bulk run. The space works as before, only faster. -100 without an open space.
int VelorBulkStart(TVelorSpace* space);
void VelorBulkStop(TVelorSpace* space);

/// The files of one update: those of the bulk run, or a pair that is closed at the end of the scope.
class UpdateFiles {
 public:
  UpdateFiles() = default;
  ~UpdateFiles();
  UpdateFiles(const UpdateFiles&) = delete;
  UpdateFiles& operator=(const UpdateFiles&) = delete;

  /// Result 0 or -400.
  int Open(TVelorSpace* space, int fragment);

  WriteFiles files;

 private:
  bool own_ = false;
};

}  // namespace velor_32
