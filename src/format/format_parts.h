#pragma once

namespace xpft {

/// Gives the application contexts made from now on their parts of this folder: the cache of compiled formats
/// and the scratch record. Called once, at the start of the program.
void InstallFormatParts();

}  // namespace xpft
