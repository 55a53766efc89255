#pragma once

#include <cstdint>
#include <string>

#include "exchange/encoding_option.h"

namespace velor_server_proc {

/// What an import is to do. Texts are as given on the command line.
struct VelorImportContext {
  /// Values of `format`.
  static constexpr std::int32_t kIso = 0;  ///< ISO 2709
  static constexpr std::int32_t kText = 1;
  static constexpr std::int32_t kCsv = 4;
  /// Values of `mergeMode`.
  static constexpr std::int32_t kNoMerge = 0;
  static constexpr std::int32_t kMergeByFormat = 1;
  static constexpr std::int32_t kMergeByCorrection = 2;

  std::int32_t format = kText;
  std::string fst = {};  ///< -t: table that rebuilds each record; empty: none
  std::int32_t mergeMode = kNoMerge;
  std::string merge = {};      ///< -p or -g: format text or name, or name of the correction task
  bool flc = false;            ///< -c: formal logic control
  bool autoin = false;         ///< -a: automatic input on new records
  bool checkEncoding = false;  ///< -k: refuse records with text that is not UTF-8
  bool guid = false;           ///< -guid: take the GUID pseudo field
  bool proto = false;          ///< -proto: write a protocol file
  bool header = false;         ///< -hdr: take the header line, keeping record numbers
  bool reuseMfn = false;       ///< -pdel: new records take the numbers of physically deleted ones
  std::int32_t encoding = velora::EncodingOption::kUtf8;  ///< an EncodingOption::Type; -win: kWindows
  std::string filter = {};  ///< -flt: format that gives "1" for the records to take; empty: all
};

}  // namespace velor_server_proc
