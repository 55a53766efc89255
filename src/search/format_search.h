#pragma once

/// What L, LR and NPOST of the format language find. Without a sign the text is a term of the dictionary or,
/// where there is no such term, a search expression; "+" stands for all terms that begin with the text, "-"
/// for the very term. Lists ascend, and LR without a window gives MAXDOCSEARCH records at most.
namespace Search18 {

/// Lets formats search. Called once, at the start.
void InstallFormatSearch();

}  // namespace Search18
