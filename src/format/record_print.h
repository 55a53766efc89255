#pragma once

#include <string>
#include <string_view>

#include "storage/velor_space.h"

namespace velora {

/// A format that is compiled once and printed for many records of a space, beside other formats of the same
/// space.
class RecordPrint {
 public:
  explicit RecordPrint(velor_01::TVelorSpace* space) : space_(space) {}

  /// Compiles a format, UTF-8 or "@name". Result 0 or the code of the compiler.
  int Prepare(const std::string& format);
  [[nodiscard]] bool isPrepared() const { return !format_.empty(); }

  /// Prints the record in `slot`; alternate records are read into the slots from `slot` + 1 on. `output` is
  /// good until the next format runs on the space. On an error false, and it is logged with the record's
  /// number.
  [[nodiscard]] bool Run(int slot, std::string_view* output);

 private:
  int Compile();

  velor_01::TVelorSpace* space_;
  std::string format_;  // as the compiler takes it
};

}  // namespace velora
