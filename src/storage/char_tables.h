#pragma once

#include <array>
#include <cstdint>
#include <string>
#include <string_view>

#include "storage/app_context.h"

// The character tables of a context: which single-byte codes are letters, and their upper-case forms.
// A table file `<path>.tab` is a list of decimal numbers, with anything that is no digit between them.

namespace fmt_64 {

constexpr int kTableSize = 256;
using TableNumbers = std::array<std::int32_t, kTableSize>;

/// Reads the numbers of `path` + ".tab" in file order, at most 256; the rest of `table` becomes 0.
/// A number too big for 32 bits is read as the biggest. Gives the count of numbers, 0 when there is no such
/// file.
int parse_tab(const std::string& path, TableNumbers& table);

/// Fills the tables of the context and stores the two directories.
///   ucPath     upper-case table, without ".tab". No usable number (1 to 255) in it: toupper of each code
///   altUcPath  a second table of that kind; "" gives the default
///   acPath     alphabet: the codes of the letters, 1 to 255. No such file: the letters of the single-byte
///   Windows code page,
///              that is A to Z, a to z and every code from 128 on
///   execDir, dataPath  as for velor_init_ExecDir and velor_init_DataPath
void velor_uatab_init(app::VelorAppContext* ctx, const std::string& ucPath, const std::string& altUcPath,
                      const std::string& acPath, std::string_view execDir, std::string_view dataPath);

}  // namespace fmt_64
