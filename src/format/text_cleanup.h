#pragma once

#include <string>

/// What the final output of a format is cleaned of.
namespace xpft {

/// ". ." and the like: takes away the points and line ends that the joining of elements leaves. Works behind
/// the last marker "&&&&&". CleanupDoubleDots only makes ".." one point; "..." stays.
void CleanupText(std::string& text);
void CleanupDoubleDots(std::string& text);
/// Removes the control words of rich text.
void StripRichTextFormat(std::string& text);

}  // namespace xpft
