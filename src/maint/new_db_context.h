#pragma once

#include <string>

namespace velor_server_proc {

/// How a new database is made and listed.
struct VelorNewDBContext {
  std::string fullName = {};    ///< -f: name shown in the database lists
  std::string templateDb = {};  ///< -t: the database whose files are copied; empty: the reference database
  bool isFree = false;          ///< -fr: no files of a template, only the database itself and brief.pft
  bool isReader = false;        ///< -r: into the list of the reader
  bool isReaderWeb = false;     ///< -w: into the list of the reader's web access
};

}  // namespace velor_server_proc
