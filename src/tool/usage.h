#pragma once

#include <iosfwd>
#include <string_view>

// The usage texts: one overview of all tools, and one text per tool. They go out when a command line is
// incomplete or contradicts itself, and scripts compare them, so their wording is fixed, oddities included.

namespace tool {

/// Writes the overview: the tools, one a line. The internal tool multiload is not in it.
void usage(std::ostream& out);

/// Writes the text of one tool: its parameters and some examples. A word that has no text writes nothing.
void usage_tool(std::string_view word, std::ostream& out);

}  // namespace tool
