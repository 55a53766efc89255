#pragma once

#include <string>

#include "storage/velor_space.h"
#include "utils/int_list.h"
#include "utils/list.h"
#include "utils/string_list.h"

/// The index context of a space: its field selection table and stop words.
///
/// A table says which terms a record yields. Each line of a .fst file is "tag method format", tag from 1,
/// method 0 to 9; the format is run on the record, the method cuts what it prints into terms, the tag is
/// stored with each posting. A line that is none keeps its place as an empty format with tag and method 0.
/// An .ifs file is the same with "tag,field,field..." in front: the fields that the format reads, 0 where
/// they cannot be told. A line without fields depends on the one of its tag. From these an index of the lines
/// by field is made, so that an update need not run lines whose fields did not change. The .ifs file wins
/// over the .fst file; an empty one counts as absent.
///
/// TVelorSpace (storage/velor_space.h) holds what is loaded here.

/// Loads a table into lists, which are emptied first.
///   dbPath   directory of the table with its closing slash; the deposit directory is the other place
///   fstName  file name without extension
///   lines    receives the formats, the number of an item being its tag
///   allLines, allMethods, dependTags, dependLines  may be null together: then no dependency index is built
void FSTforInvContext(velor_01::TVelorSpace* space, const std::string& dbPath, const std::string& fstName,
                      velor_01::TStringList* lines, velor_01::TIntList* methods,
                      velor_01::TStringList* allLines, velor_01::TIntList* allMethods,
                      velor_01::TIntList* dependTags, velor_01::TList* dependLines);

/// Turns the lines of an .ifs file into those of a .fst file, and builds the index unless `dependTags` is
/// null: for each entry of `dependTags` (empty before) `dependLines` receives a TIntList of line indexes,
/// which is the caller's to delete. A line with a field 0 belongs to every list that the other fields make.
/// An index beyond measure is dropped: the table then counts as one without dependencies.
void FSTforInvContext_NEW(velor_01::TStringList* lines, velor_01::TIntList* dependTags,
                          velor_01::TList* dependLines);

namespace velor_32 {

/// Initialises the index context of an open space: character tables, table, stop words.
///   fstName, stwName  path without extension, or a name in the table directory of the database; null leaves
///                     that part alone
///   deflex            word methods stem their words
/// Result 0, or -100 without an open space or memory. A file that is missing or damaged is no error: its
/// lines yield no terms. In client mode the table is the server's, none is loaded.
int VelorInitInvContext(velor_01::TVelorSpace* space, const char* fstName, const char* stwName,
                        const char* unused1, const char* unused2, bool deflex);

}  // namespace velor_32

namespace indexing {

/// Lets each database that is opened from now on load its index context. Called once, at the start.
void InstallInvContext();

}  // namespace indexing
