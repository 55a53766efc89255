#pragma once

#include "storage/velor_space.h"

/// The entry points through which the rest of the program runs formats: prepare a format on a space once,
/// then run it over records in the shelves of the space.
namespace xpft {

class Velor64Context;

/// Prepares a format. `text` of `length` bytes is cp1251, or UTF-8 where the application keeps all texts so;
/// a first byte "!" is dropped and says that the rest is UTF-8, a first byte "@" that it names a file.
/// Result: the error code of the context, 0 when all is well; -1 where the application keeps no formats, -100
/// without a space or memory.
int Velor_InitXPFT(velor_01::TVelorSpace* space, const char* text, int length);

/// Runs the prepared format over the record in `shelf`; alternate records are read into the shelves from
/// `mfn` on. The output waits in a buffer of the space (Velor_FormatResult). Result: 0, an error code of the
/// run (the output up to the error is there), -1 when nothing is prepared, -100 without memory.
int Velor_FormatXPFT(velor_01::TVelorSpace* space, int shelf, int mfn, int maxLength);

/// The output of the last run, zero-terminated, lines ending in CR; good until the next run. "" before the
/// first, null without a space.
[[nodiscard]] const char* Velor_FormatResult(velor_01::TVelorSpace* space, int* length = nullptr);

/// Drops what the context of the space has read of its record, and with `disable` stops it from keeping
/// fields until it is called without.
void Velor_ClearXPFTFieldCache(velor_01::TVelorSpace* space, bool disable);

/// The context of the space, made on first use; null without memory.
[[nodiscard]] Velor64Context* SpaceContext(velor_01::TVelorSpace* space);

}  // namespace xpft

namespace fmt_64 {

/// The same with the engine that the application chose. -100 without a space, -102 for a bad shelf.
/// `occurrence` and `text` are for the classic interpreter.
int Velor_InitPFT(velor_01::TVelorSpace* space, const char* text, int length);
int Velor_Format(velor_01::TVelorSpace* space, int shelf, int mfn, int maxLength, int occurrence,
                 const char* text);

}  // namespace fmt_64
