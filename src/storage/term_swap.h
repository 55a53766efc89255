#pragma once

#include <string>

#include "storage/velor_space.h"

/// How the files of a dictionary take the place of others, all at one moment.
///
/// A build makes its files beside those in use, each with a "_" behind its name. When they are whole, the
/// file
/// `<path>.new` appears, and from that moment on they are the dictionary: whoever opens it while that file
/// stands takes each file with the "_" where there is one. Then the files are renamed one by one, and the
/// `.new` file goes. A crash in between changes nothing for readers; the next build does the rest.
namespace velor_32 {

/// "", or "_<k>" for additional index k.
[[nodiscard]] std::string IndexSuffix(int index);

/// Makes the new files the dictionary.
///   isSplit  they are ten additional indexes with their separators and an empty main one; else only a main
///            one
/// Result 0; -401 when that cannot be said on the disk, the old dictionary then stays. The caller holds the
/// lock of the database.
int SwapTermFiles(const std::string& path, bool isSplit);

/// Ends a swap that was cut off; does nothing where there is none. Result 0 or -401.
int FinishTermSwap(const std::string& path);

/// The state of a swap, as a reader must know it.
enum class TermSwap { kNone, kToOneIndex, kToSplit };
[[nodiscard]] TermSwap ReadTermSwap(const std::string& path);

/// The name under which a file is to be opened now.
[[nodiscard]] std::string TermFileInUse(TermSwap swap, const std::string& file);

}  // namespace velor_32
