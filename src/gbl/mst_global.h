#pragma once

#include <memory>
#include <string>
#include <unordered_map>
#include <vector>

#include "storage/velor_space.h"

/// Spaces that a correction opens beside that of the current record.
namespace global {

/// Opens the record files at `path`, without extension, with one shelf, or with three for classic formats,
/// which read alternate records into them. Result -100 without space or application, otherwise that of
/// Velorinitmst.
int VelorInitMstGlobal(velor_01::TVelorSpace* space, const char* path);

/// Where the files of a database lie: paths without extension.
struct BlockDatabase {
  std::string path;
  std::string termPath;
};

/// The databases that blocks name and the spaces opened on them. A space that a block is done with waits for
/// the next record of its database, as long as the files it has open are still those of their names. One pool
/// may serve a run over many records.
class BlockSpaces {
 public:
  BlockSpaces() = default;
  BlockSpaces(const BlockSpaces&) = delete;
  BlockSpaces& operator=(const BlockSpaces&) = delete;

  /// Reads the parameter file of `name`, once. Null, and -5555 in `result`, when it has none.
  [[nodiscard]] std::shared_ptr<const BlockDatabase> Find(const app::VelorAppContext* app,
                                                          const std::string& name, int* result);

  /// Records and dictionary of a database, with an empty record in slot 0. Without its table: that is loaded
  /// when the index of a record is to follow. Null with the code in `result`.
  [[nodiscard]] velor_32::SpacePointer Open(app::VelorAppContext* app, const BlockDatabase& database,
                                            bool deflex, int* result);

  /// Takes a space that is no longer needed.
  void Close(velor_32::SpacePointer space);

 private:
  static constexpr std::size_t kMaxIdle = 4;

  [[nodiscard]] velor_32::SpacePointer TakeIdle(const std::string& path);

  std::unordered_map<std::string, std::shared_ptr<const BlockDatabase>> databases_;  // by name
  std::vector<velor_32::SpacePointer> idle_;
};

}  // namespace global
