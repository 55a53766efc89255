#pragma once

#include <sys/types.h>

#include <memory>
#include <string>
#include <vector>

#include "storage/velor_space.h"
#include "utils/posting_list.h"
#include "utils/string_list.h"

/// Bringing the inverted file up to date for one record.
///
/// Saving a record only marks it as not actualized, in its cross-reference entry and in the leader of the new
/// image. The update finds the last version that was actualized, makes the terms of both versions and applies
/// the difference. At any time one image at most in the chain of a record is without the mark: the one that
/// the dictionary knows.
///
/// Order on disk: the marks of entry and current image are cleared, the old version gets its mark, and only
/// then the dictionary changes. After a crash in between the record looks actualized and the dictionary has
/// the old terms; RepairRecordIndex0 puts that right, for the records that it is told (actual_if.h).
///
/// Where a table names the fields that its lines read (inv_context.h), an update runs only those lines that
/// read a field which changed. The table of the space stays so narrowed until the next update.
///
/// Everything here works under the database mutex, held by the caller, unless the name ends in Time.
namespace recif {

using velor_01::TIfpPostingList;
using velor_01::TStringList;
using velor_01::TVelorSpace;

/// A file as it was opened: tells whether its name still leads to it.
struct OpenedFile {
  std::string path;
  dev_t device = 0;
  ino_t node = 0;
};

/// What one update works with: a second handle on the database, for writing, and the terms.
struct RecIfContext {
  velor_32::SpacePointer space;  // master file and dictionary open for writing, no shelves
  TStringList newTerms;          // of the current record: catalogue, and page texts
  TStringList newFtTerms;
  TStringList oldTerms;  // of the last actualized version
  TStringList oldFtTerms;
  TIfpPostingList postings;  // of both versions; the object says insert (0) or delete (1)
  TIfpPostingList ftPostings;
  std::vector<OpenedFile> files;

  void ClearTerms();
};

/// A context with its exclusive space open, or null (-301 for the callers). In a bulk run of `space`
/// (storage/bulk_writer.h) the context stays open from record to record; it is opened anew when a file was
/// replaced meanwhile.
[[nodiscard]] std::shared_ptr<RecIfContext> IfUpdateGetMem_new(TVelorSpace* space);

/// Gives a context back; outside of a bulk run this closes it.
void IfUpdateFreeMem_new(std::shared_ptr<RecIfContext>& context);

/// Opens the exclusive space of a context. Result 0 or -301.
int IsisInitExclusive_new(TVelorSpace* space, RecIfContext* context);

/// Brings the dictionary up to date for record `mfn`, which is read into `shelf`. One shelf behind it is
/// used, or that one itself when there is none: it holds the old version afterwards. With a dependency index
/// two more shelves are used, and made when missing. Doing it again changes nothing.
/// Result 0; -102 no such shelf; -300 the database is locked; -301 the files do not open for writing; -605
/// the record is physically deleted or cannot be read; -141, -400, -609 of an old version that cannot be
/// read; and what failed in the dictionary. The record counts as actualized even then.
int VelorRecIfUpdate0(TVelorSpace* space, int shelf, int mfn);

/// The same without trust in the marks: the terms of all earlier versions that the record has no more are
/// deleted, all of its own inserted. The marks are set last, so that the work is done again after a crash. An
/// earlier version that cannot be read ends the walk back.
int RepairRecordIndex0(TVelorSpace* space, int shelf, int mfn);

/// Under the database mutex; -300 when it is not had in time, or on a stop request.
int RepairRecordIndexTime(TVelorSpace* space, int shelf, int mfn, int timeoutSeconds);

/// Narrows the table of the space to the lines that read a field in which the records of the two shelves
/// differ, and those with the same search tags. The table may be empty then.
void SpecialFSTModify_NEW(TVelorSpace* space, int shelf, int oldShelf);

/// Gives the space its whole table back.
void RestoreTable(TVelorSpace* space);

/// True when the table of the space says what fields its lines read.
[[nodiscard]] bool HasDependencyIndex(const TVelorSpace* space);

/// Applies a file of terms to the dictionary of `space`, and removes the file. Lines, ended by LF or CR LF:
///
///   mfn tag occ pos wordsInPiece reserved page pageWord term
///
/// eight decimal numbers and the rest of the line, with one blank between them. Other lines are passed over,
/// and a term is cut to 253 bytes. Result 0, -300, -301, -404 when there is no such file, or the last failure
/// in the dictionary.
int VelorRecIfUpdateFullText(TVelorSpace* space, const char* path, bool toDelete);

/// Makes updates of records reach the dictionary. Called once, at the start.
void InstallRecordIndex();

}  // namespace recif

namespace velor_32 {

/// VelorRecIfUpdateFullText under the database mutex; -300 when it is not had in time.
int VelorRecIfUpdateFullTextTime(TVelorSpace* space, int timeoutSeconds, const char* path, bool toDelete);

}  // namespace velor_32

/// Clears the marks of record `mfn`, which is in `shelf`, and reads its last actualized version into
/// `oldShelf`; that version is marked and is never taken again. `exclusive` is the space that writes.
/// `noOldVersion` receives true when that version was deleted: it has no terms, and is not read.
/// Result 0; -140 number out of range; -605 physically deleted; -201 no version was ever actualized; -141,
/// -400, -609, -100.
int CreateOldDump(velor_01::TVelorSpace* space, int shelf, int oldShelf, velor_01::TVelorSpace* exclusive,
                  int mfn, bool& noOldVersion);

/// Applies the difference of two lists of terms to the dictionary of `space`; what is in both is not touched.
/// `newTerms` receives the old ones too, and is sorted. All is tried; the result is the last failure, or 0.
int Insert_and_Delete_Terms(velor_01::TVelorSpace* space, velor_01::TStringList* newTerms,
                            velor_01::TStringList* oldTerms, velor_01::TIfpPostingList* postings);
