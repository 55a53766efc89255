#pragma once

#include <string_view>

#include "storage/velor_space.h"

/// Opening and closing of the record files, the spread of records over fragments, and lazy mode.
///
/// The base files are <path>.mst and <path>.xrf. In a fragmented database fragment k (from 1) has
/// <path>.mst<k> and <path>.xrf<k> with a control record of its own; records are dealt out by number,
/// fragmentSize to each file, the last file taking all the rest.
namespace velor_32 {

/// Access for reading while others write; for reading and writing; the same, alone.
constexpr int kOpenRead = 64;
constexpr int kOpenWrite = 34;
constexpr int kOpenExclusive = 18;

/// What the directory of a companion has behind the name of its database.
constexpr std::string_view kCompanionMark = "--text";

/// Opens a database with `shelfCount` shelves; below 1 makes none. `path` has no extension. A master file
/// without a control record counts as empty. For a full-text database the companion is opened too. Result 0,
/// -400 when a file does not open, -100 without memory, or the failure of the companion; on failure nothing
/// stays open.
int Velorinitmst(TVelorSpace* space, const char* path, int shelfCount);
int Velorinitmst_mode(TVelorSpace* space, const char* path, int shelfCount, int mode);

/// Opens fragment fragmentIndex + 1. Result 1 when it is open, and also when its control record is missing
/// (the handles are then closed: a fragment without records); 0 for an index of 32 or more, without an open
/// base file, or when a file does not open.
int VelorInitMSTXRF(TVelorSpace* space, int fragmentIndex, int mode);

/// Closes fragments, base files and companion, frees the shelves, clears the path.
void Velorclosemst(TVelorSpace* space);

/// Creates <path>.mst, .xrf, .l01, .n01 and .ifp, all empty. Result 1, or 0 after removing those made so far.
int VelorinitNewDB(const char* path);

/// Gives up the file handles of the records, of the terms, of both, and takes them back. Result 0, -400 or
/// -401.
int VelorLazyMst(TVelorSpace* space);
int VelorLazyTerm(TVelorSpace* space);
int VelorLazy(TVelorSpace* space);
int VelorUnlazyMst(TVelorSpace* space);
int VelorUnlazyTerm(TVelorSpace* space);
int VelorUnlazy(TVelorSpace* space);

/// Wakes the record files of an open space before they are read. Result 0 or -400.
int WakeRecordFiles(TVelorSpace* space);

/// One of the pairs of files of a database: 0 the base files, k fragment k.
struct FilePair {
  int mstFile = -1;
  int xrfFile = -1;
};
[[nodiscard]] FilePair ReadHandles(const TVelorSpace* space, int fragment);

/// "<path>.mst" + number, ".xrf" likewise; no number for fragment 0.
[[nodiscard]] std::string FragmentPath(const TVelorSpace* space, const char* extension, int fragment);

/// Number of the last file: fragmentCount - 1, or 0 when not fragmented.
[[nodiscard]] int LastFragment(const TVelorSpace* space);

/// Global number of a record in a fragment.
[[nodiscard]] std::int64_t GlobalMfn(const TVelorSpace* space, int fragment, int localMfn);

/// Reads the control record anew. False when the file has none.
[[nodiscard]] bool ReadControl(int mstFile, velor_01::Tcntmst* control);

/// The control record of a file that has none: nxtmfn 1, next offset 36.
[[nodiscard]] velor_01::Tcntmst DefaultControl();

}  // namespace velor_32

namespace backup {

/// Maps a record number to its file: `fragment` receives 0 or the number of the fragment, the result is the
/// number within it. -400 (fragment 0) without an open file or for a number below 1.
int VelorGetMfn(const velor_01::TVelorSpace* space, int mfn, int* fragment);

/// Name of the database: the file name of the path, for a companion the name of the main database. Bytes as
/// they are in the path.
std::string GetDbNameEK(const velor_01::TVelorSpace* space);

/// The name that opens the space itself: of a companion "<name>--text".
std::string GetOwnName(const velor_01::TVelorSpace* space);

}  // namespace backup
