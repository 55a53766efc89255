#pragma once

#include "storage/term_files.h"

/// Changing the postings of a term in place. The caller holds the database mutex, and the space is open with
/// Velorinitterm_write. Readers go on without a lock: new data goes to free space, is counted in the control
/// record, and only then is made reachable. A change of several writes is noted before (see term_journal.h):
/// when it is cut off or fails it is undone, by the caller or by the next that takes the mutex over.
namespace velor_32 {

/// Adds one posting; the term comes into being when it is not there. A posting that exists, or one with a
/// negative record number, changes nothing. Result 0; -100 without memory, or when a segment would pass
/// TRM_BLOCK_MAX_SIZE of section MAIN, in bytes; -401 for damage or a failed read or write.
int InsertTerm(TVelorSpace* space, const char* term, const velor_01::TifpItemPosting& posting);

/// Removes one posting. The term stays, without postings, when it was its last. Result 0, also when there was
/// no such term or posting; -203 when the term is behind the last of the dictionary; -401.
int DeleteTerm(TVelorSpace* space, const char* term, const velor_01::TifpItemPosting& posting);

}  // namespace velor_32
