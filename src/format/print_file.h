#pragma once

#include <iosfwd>
#include <string>

namespace xpft {

/// Reads a format file and writes it back in a regular form: on one line, or with `pretty` one command a
/// line with indentation. Comments stay. Without an `output` path the text goes to `stream`, as do the
/// messages: of a file that is not there or cannot be written, and of a format that is wrong.
/// Result: whether the text was written.
bool XpftPrintFile(const std::string& input, const std::string& output, bool pretty, std::ostream& stream);

}  // namespace xpft
