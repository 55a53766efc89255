#pragma once

#include <string>
#include <string_view>

#include "format/record_print.h"
#include "storage/velor_space.h"

/// Conditions on records: the filter and the sequential expression of the roads. A record passes when the
/// format of the condition prints a "1" first.
namespace velora {

/// The format of a sequential expression, UTF-8: without its leading marks, of which those in `marks` are cut
/// in their order, and around a bare condition "(IF ... then '1' FI)".
[[nodiscard]] std::string ScanFormat(std::string_view expression, std::string_view marks = "?!");

/// The format, as UTF-8, that the words of a command line name: "@name" or "@%n,name" for a file, also where
/// the text alone is the name of one that the database or the deposit directory has; any other text is the
/// format itself. "" for an "@name" that is not there.
[[nodiscard]] std::string LookupFormat(const velor_01::TVelorSpace* space, const std::string& words);

class RecordFilter {
 public:
  explicit RecordFilter(velor_01::TVelorSpace* space) : print_(space) {}

  /// Compiles a format, UTF-8 or "@name". Result 0 or the code of the compiler. Without a format every
  /// record passes.
  int Prepare(const std::string& format) { return print_.Prepare(format); }

  /// The record in `slot`; alternate records are read into the slots from `slot` + 1 on. An error of the
  /// format is logged with the record's number, and the record does not pass.
  [[nodiscard]] bool Passes(int slot);

 private:
  RecordPrint print_;
};

}  // namespace velora
