#pragma once

#include <string>

#include "gbl/gbl_ctx.h"
#include "storage/velor_space.h"

/// Blocks whose database lies on another server: the name holds the alias of its address between two "%".
namespace global {

/// A database at the other end of an alias.
struct RemoteDatabase {
  std::string name;  ///< at the other end
  std::string address;
  std::string user;
  std::string password;
  int guidOption = -1;  ///< -1: that of the main ini
};

/// What this folder asks of the connection. The program fills DefaultRemoteBlocks() at start; while `run` is
/// null such a block reports an error.
struct RemoteBlocks {
  /// Runs a task, its lines ended by CR LF, on the record in `slot` at the other end. `protocol` and `errors`
  /// receive the texts that come back.
  void (*run)(velor_01::TVelorSpace* space, int slot, const RemoteDatabase& database, const std::string& task,
              std::string& protocol, std::string& errors) = nullptr;
};
RemoteBlocks& DefaultRemoteBlocks();

/// Runs the block that opens at line `start` for a database on another server. Result: the index of the line
/// behind the block; 0 when the name is that of a database here, or when its alias or the end of the block
/// cannot be found.
int RemoteGlobalBlock(velor_01::TVelorSpace* space, int slot, const TaskText& lines, int start,
                      const std::string& dbName, std::string& protocol, std::string& errors);

}  // namespace global
