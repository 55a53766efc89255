#pragma once

#include <cstddef>
#include <cstdint>

/// The thin layer between the engine and the files of the system.
///
/// A handle is a file descriptor; -1 stands for "not open" and for failure. All handles are closed on exec,
/// so a worker process inherits none of them. Interrupted calls are taken up again, and a read or write that
/// the system splits is completed before the call returns.
namespace backup {

/// Opens an existing file.
///   path  file name, bytes as the file system has them; null gives -1
///   mode  bits 0-1: access, 0 read, 1 write, 2 read and write
///         bits 4-7: sharing; 0x10 takes a write lock on the whole file, values above 0x40 are refused,
///         all others take no lock
/// In use are 64 (read, shared), 34 (read and write) and 18 (read and write, exclusive: files being rebuilt).
/// Result: the handle, or -1 when the file is missing, the rights do not suffice, the mode is none of the
/// above, or another process holds the lock. The lock belongs to the process, not to the handle: closing any
/// other handle of the same file releases it.
[[nodiscard]] int _lopen(const char* path, int mode);

/// Creates a file, or empties an existing one, and opens it for reading and writing.
/// New files get the rights 0664, less the process mask. `attr` is a file attribute of other systems, without
/// effect.
[[nodiscard]] int _lcreat(const char* path, int attr);

/// Closes a handle. Result 0, or -1 when it was not open or the system reports a late write error.
int _lclose(int handle);

/// Moves the file position. `origin` is SEEK_SET, SEEK_CUR or SEEK_END. Result: the new position, or -1.
std::int64_t _llseek(int handle, std::int64_t offset, int origin);

/// Reads up to `len` bytes at the file position.
/// Result: the bytes read, fewer than `len` only at the end of the file or before an unreadable part; -1 when
/// an error came before the first byte, or `len` is negative.
int _lread(int handle, void* buf, int len);
std::int64_t _lread64(int handle, void* buf, std::int64_t len);

/// Writes `len` bytes at the file position.
/// Result: the bytes written, fewer than `len` when the file system took no more; -1 when it took none.
int _lwrite(int handle, const void* buf, int len);
std::int64_t _lwrite64(int handle, const void* buf, std::int64_t len);

/// Reads a whole file into one malloc block with a zero byte behind it.
///   size  may be null; receives the length without that byte
/// Result: the block, to be given back with `CloseTerm_x`; null when the file cannot be read or memory is
/// short.
[[nodiscard]] char* OpenTerm_x(const char* path, std::int64_t* size);

/// Frees a block of `OpenTerm_x`. Null does nothing.
void CloseTerm_x(char* buffer);

/// Joins and splits a 64-bit offset, which the files hold as two words, the low one first.
std::int64_t MakeInt64(std::uint32_t low, std::uint32_t high);
void MakeFromInt64(std::int64_t value, std::uint32_t* low, std::uint32_t* high);

}  // namespace backup

namespace utils {

/// Positional reads and writes: they neither use nor move the file position.
/// `ReadAt` and `WriteAt` are true only when all `len` bytes were moved.
[[nodiscard]] bool ReadAt(int handle, std::int64_t offset, void* buf, std::size_t len);
[[nodiscard]] bool WriteAt(int handle, std::int64_t offset, const void* buf, std::size_t len);

/// The bytes read, fewer than `len` only at the end of the file; -1 on an error or a negative offset.
std::int64_t ReadSomeAt(int handle, std::int64_t offset, void* buf, std::size_t len);

/// Bytes of an open file, -1 on an error. The file position does not count, and may move.
[[nodiscard]] std::int64_t FileSize(int handle);

}  // namespace utils
