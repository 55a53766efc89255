#pragma once

#include <string>

#include "storage/velor_space.h"

/// Spaces that a correction opens beside that of the current record.
namespace global {

/// Opens the record files at `path`, without extension, with one shelf, or with three for classic formats,
/// which read alternate records into them. Result -100 without space or application, otherwise that of
/// Velorinitmst.
int VelorInitMstGlobal(velor_01::TVelorSpace* space, const char* path);

/// A database as a block names it, its parameter file being read once.
struct BlockDatabase {
  std::string name;  ///< lower case
  std::string path;  ///< of the record files, without extension
  std::string termPath;
};

/// Reads the parameter file of `name`. Result 0 or -5555.
int FindBlockDatabase(const app::VelorAppContext* app, const std::string& name, BlockDatabase* database);

/// Opens records and dictionary of such a database. Without its table: that is loaded when the index of a
/// record is to follow. Null with the code in `result`.
[[nodiscard]] velor_32::SpacePointer OpenBlockSpace(app::VelorAppContext* app, const BlockDatabase& database,
                                                    bool deflex, int* result);

}  // namespace global
