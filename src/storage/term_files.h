#pragma once

#include <cstdint>
#include <string>

#include "storage/velor_space.h"

/// The files of the inverted file: <path>.n01 (inner nodes), .l01 (leaves), .ifp (postings).
namespace velor_01 {

/// An open term index.
struct TSpaceTrm {
  int n01 = -1;
  int l01 = -1;
  int ifp = -1;
  std::string path;
};

}  // namespace velor_01

namespace velor_32 {

/// Opens the main index for reading, or for reading and writing. Result 0, -100, or -401 when a file does not
/// open.
int Velorinitterm(TVelorSpace* space, const char* path);
int Velorinitterm_write(TVelorSpace* space, const char* path);

/// Closes the term files and forgets their path.
void Velorcloseterm(TVelorSpace* space);

/// Closes one index and clears the pointer.
void CloseTermIndex(velor_01::TSpaceTrm*& index);

/// Closes the term files; the path stays, for a later return from lazy mode.
void CloseTermFiles(TVelorSpace* space);

}  // namespace velor_32
