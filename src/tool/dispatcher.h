#pragma once

namespace tool {

/// Runs the tool that argv[1] names in any letter case and gives its exit status. An unknown word writes the
/// overview of the tools and gives 0. argc is at least 2.
int Dispatch(int argc, char** argv);

}  // namespace tool
