#pragma once

#include <cstdint>
#include <iosfwd>
#include <memory>
#include <string>
#include <string_view>

#include "utils/int_list.h"

// The record selection of a command line: -r, -mf, -mt, -l, and in some tools -se and -sc.

namespace tool {

/// The words of the selection as the scanner leaves them. The options of a tool with a selection inherit
/// these.
struct SelectionOptions {
  std::string range = {};     ///< -r
  std::int32_t mfnFrom = 0;   ///< -mf
  std::int32_t mfnTo = 0;     ///< -mt
  std::string listFile = {};  ///< -l
  std::string search = {};    ///< -se
  std::string scan = {};      ///< -sc
};

/// What the procedures get.
struct MfnSelection {
  static constexpr std::int32_t kRange = 0;
  static constexpr std::int32_t kList = 1;
  static constexpr std::int32_t kSearch = 2;

  std::int32_t mode = kRange;
  std::int32_t mfnFrom = 0;                  ///< below 1: from the first record
  std::int32_t mfnTo = 0;                    ///< below 1: to the last record
  std::unique_ptr<velor_01::TIntList> list;  ///< with kList
  std::string search;                        ///< UTF-8
  std::string scan;                          ///< UTF-8
};

/// Copies a selection into the context record of a procedure, which names its fields alike. The list stays
/// with `selection`, which must outlive the procedure.
template <typename Context>
void FillSelection(const MfnSelection& selection, Context* context) {
  context->mode = selection.mode;
  context->mfnFrom = selection.mfnFrom;
  context->mfnTo = selection.mfnTo;
  context->mfnList = selection.list.get();
  context->search = selection.search;
  context->scan = selection.scan;
}

/// Settles the selection of export, global, ftcache and format; loads the list file. -sc goes with every
/// selection. False when the run ends here, after a message or the usage text of the tool `word` went to
/// `out`.
bool SelectRecords(std::string_view word, const SelectionOptions& options, MfnSelection* selection,
                   std::ostream& out);

/// Settles the selection of actualif and unlockmfn: the list file must exist, the procedure loads it. Without
/// a selection `allText` is written. The resulting range goes to mfnFrom and mfnTo of `options`. False when
/// the run ends here, as above.
bool SelectByNumber(std::string_view word, std::string_view allText, SelectionOptions* options,
                    std::ostream& out);

}  // namespace tool
