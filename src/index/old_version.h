#pragma once

#include <cstdint>

#include "storage/record_format.h"
#include "storage/velor_space.h"

namespace recif {

/// Goes back over the images of a record, newest first, in a space that is open for writing, and changes
/// their marks "not actualized". Results -400 for what cannot be read or written, -141 for a chain that is
/// damaged.
class VersionWalk {
 public:
  /// Stands on the current image. -140 number out of range, -605 physically deleted.
  int Open(velor_01::TVelorSpace* exclusive, int mfn);

  /// Takes the marks of the entry, of the current image and of its copy in `shelf`, in this order.
  int ClearMarks(velor_01::TVelorSpace* space, int shelf);

  /// Goes to the version before; -201 when there is none.
  int StepBack();

  /// Marks the image that the walk stands on.
  int Mark();

  [[nodiscard]] bool isActualized() const;
  [[nodiscard]] bool isDeleted() const;
  [[nodiscard]] std::int64_t offset() const { return offset_; }

 private:
  [[nodiscard]] bool ReadLeader();

  int mstFile_ = -1;
  int xrfFile_ = -1;
  int localMfn_ = 0;
  velor_01::TNew_Xrf entry_;
  std::int64_t currentOffset_ = 0;
  velor_01::Tlider current_;
  std::int64_t offset_ = 0;
  velor_01::Tlider leader_;  // of the image at offset_
};

}  // namespace recif
