#pragma once

#include <cstdint>
#include <string>

#include "exchange/encoding_option.h"
#include "utils/int_list.h"

namespace velor_server_proc {

/// What an export is to write, and which records.
struct VelorExportContext {
  /// Values of `format`.
  static constexpr std::int32_t kIso = 0;  ///< ISO 2709
  static constexpr std::int32_t kText = 1;
  /// Values of `mode`.
  static constexpr std::int32_t kRange = 0;
  static constexpr std::int32_t kList = 1;
  static constexpr std::int32_t kSearch = 2;

  std::int32_t format = kText;
  char fieldEnd = 0;     ///< terminator byte of a field in the ISO form; 0 means 0x1E
  char recordEnd = 0;    ///< terminator byte of a record; 0 means 0x1D
  std::string fst = {};  ///< -t: table that rebuilds each record; empty: none
  std::int32_t encoding = velora::EncodingOption::kUtf8;  ///< an EncodingOption::Type; -win: kWindows
  std::int32_t mode = kRange;
  std::int32_t mfnFrom = 0;                     ///< below 1: from the first record
  std::int32_t mfnTo = 0;                       ///< below 1: to the last record
  const velor_01::TIntList* mfnList = nullptr;  ///< with kList: record numbers; not owned
  std::string search = {};                      ///< with kSearch: search expression, UTF-8
  std::string scan = {};    ///< sequential expression that filters the selection, UTF-8; empty: none
  bool header = false;      ///< -hdr: write the header line of the text form
  bool guid = false;        ///< write the GUID pseudo field
  std::string filter = {};  ///< -flt: format that gives "1" for the records to write; empty: all
};

}  // namespace velor_server_proc
