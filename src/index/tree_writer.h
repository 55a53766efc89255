#pragma once

#include <cstdint>
#include <string>
#include <string_view>
#include <vector>

#include "index/build_files.h"
#include "storage/term_format.h"

namespace velora {

/// A block in the making: keys come in order and are never moved.
class BlockFill {
 public:
  [[nodiscard]] bool HasRoom(std::string_view key) const;
  void Add(std::string_view key, std::int32_t low, std::int32_t high);
  [[nodiscard]] bool isEmpty() const { return block_.count == 0; }
  [[nodiscard]] std::string_view firstKey() const { return block_.key(1); }

  /// Appends the block to a file and begins a new one.
  void WriteTo(BuildFile* file, std::int32_t number, std::int32_t prev, std::int32_t next);

 private:
  velor_01::TTermBlock block_;
};

/// Writes the tree of a dictionary in one pass: the terms come in ascending order, each block is filled
/// before the next is begun, and no block is written twice.
///
/// The leaves and the inner nodes right above them are written as they fill up. What goes above those, a key
/// for about every six thousand terms, is kept until the end and written then, level behind level.
class TreeWriter {
 public:
  /// Creates the two files. False when one does not open; `failed` is then its path.
  [[nodiscard]] bool Create(const std::string& l01, const std::string& n01, std::string* failed);

  /// Adds a term of 1 to 255 bytes, greater than the one before. `offset` is that of its first segment.
  void Add(std::string_view term, std::int64_t offset);

  /// Writes what is left, and the root. False when anything was not written.
  [[nodiscard]] bool Finish();

  [[nodiscard]] std::int32_t leafCount() const { return leaves_; }
  [[nodiscard]] std::int32_t nodeCount() const { return nodes_; }

 private:
  struct Child {
    std::string firstKey;
    std::int32_t number;
  };

  void FlushLeaf(bool isLast);
  void FlushNode(std::int32_t prev, bool isLast, std::vector<Child>* above);
  void WriteUpperLevels();

  BuildFile l01_;
  BuildFile n01_;
  BlockFill leaf_;
  BlockFill node_;
  std::int32_t leaves_ = 0;  // blocks written
  std::int32_t nodes_ = 0;
  std::vector<Child> upper_;  // the nodes right above the leaves
};

}  // namespace velora
