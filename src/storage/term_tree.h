#pragma once

#include <string>
#include <string_view>

#include "storage/term_files.h"

/// Changing the blocks of the dictionary tree, and giving out space in its files. The caller holds the
/// database mutex. A block is written to its place only when what it leads to is in the files, so that a
/// reader, or a run after a crash, finds every term that was there.
namespace velor_01 {

/// Copies the head of a block, emptied of keys; copies one key with its item, at the end of the key area.
void MoveHeaderBlock(const TTermBlock& from, TTermBlock* to);
void MoveKey(const TTermBlock& from, int index, TTermBlock* to, int toIndex);

}  // namespace velor_01

namespace velor_32 {

/// What a key leads to: an offset in the posting file, or a child.
struct KeyValue {
  std::int32_t low = 0;
  std::int32_t high = 0;
};

[[nodiscard]] bool IsPlace_In_Block(const velor_01::TTermBlock& block, std::string_view key);

/// Inserts a key at position `index`, from 1, of a block with room for it. `write` puts the block to its
/// place in the file; the result is false when that fails.
bool Insert_Term_In_Block(int file, velor_01::TTermBlock* block, std::int32_t blockNumber,
                          std::string_view key, KeyValue value, int index, bool write);

/// Divides a full block in two while a key is inserted: its upper half goes to `newBlock`, number
/// `newNumber`. Both are written, the new one first. `key` receives the first key of the new block, the
/// separator for the level above. False when the key does not fit, or on a read or write failure.
bool Divide_Block(int file, velor_01::TTermBlock* block, velor_01::TTermBlock* newBlock,
                  std::int32_t blockNumber, std::int32_t newNumber, std::string* key, KeyValue value,
                  int index);

/// Writes a new root over two children, divided by `key`, and turns the file to it.
bool InitN0(int file, velor_01::TTermBlock* block, std::int32_t number, std::string_view key,
            std::int32_t child0, std::int32_t child1);

/// Writes the first blocks of a tree that holds one term.
bool InitN_Base(velor_01::TSpaceTrm* trm, int l01, int n01, std::string_view key, std::int64_t offset);
bool InitN(velor_01::TSpaceTrm* trm, std::string_view key, std::int64_t offset);

}  // namespace velor_32

namespace backup {

/// The next free offset of the posting file.
std::int64_t GetIfpMaxFileSize(int handle, const velor_01::Tifp_MaxFileSize& control);

/// Writes to the posting file. A negative offset, or one at the end of what is in use, appends: the file
/// grows in steps of a million bytes, and the size in `control` rises. A write that would cross that end is
/// refused. True when the bytes are written.
bool _write_ifp(int handle, velor_01::Tifp_MaxFileSize* control, const void* buffer, std::int64_t offset,
                int length);

/// Make room for `blocks` blocks, 1000 at a time, and note their number.
bool _expand_l01(int handle, velor_01::Tifp_MaxFileSize* control, std::int32_t blocks);
bool _expand_n01(int handle, velor_01::Tifp_MaxFileSize* control, std::int32_t blocks);

/// Reads the control record; false when the file is too short to have one.
bool ReadIfpControl(int handle, velor_01::Tifp_MaxFileSize* control);
bool WriteIfpControl(int handle, const velor_01::Tifp_MaxFileSize& control);

}  // namespace backup
