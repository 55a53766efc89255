#pragma once

#include <cstdint>
#include <memory>
#include <string>

#include "storage/record_format.h"

/// A database space: the handle on one open database, and the record slots ("shelves") into which records are
/// read.
///
/// A space belongs to one thread. `mst` null means that no database is open. The files are opened for
/// reading; each update opens them anew for writing (record_update.h). Read on in master_file.h (opening),
/// record_read.h (reading), shelf.h and fields.h (records in memory).
namespace app {
struct VelorAppContext;
}
namespace recif {
class TermMaker;
}
namespace velor_32 {
class BulkWriter;
}
namespace xpft {
class XpftFst;
struct FormatState;
}  // namespace xpft

namespace velor_01 {

class TStringList;
class TIntList;
class TList;
struct TSpaceTrm;

constexpr std::int32_t kDefaultCapacity = 32000;  // of a shelf area or buffer, in bytes; also the growth step
constexpr int kMaxTermIndexes = 10;

/// One record in memory. A single allocation of 3 * capacity + 2 bytes holds three areas: leader and
/// directory at byte 0, field bytes at capacity + 1, a scratch area for one field at 2 * capacity + 1. The
/// record is the image of the file in host order: directory positions count from `data`, `base` and `length`
/// stay true to the file form. Field bytes stand in order of arrival, the directory defines the field order.
/// `data` is zero-terminated.
struct TRecordShelf {
  Tlider* leader = nullptr;
  char* data = nullptr;
  char* work = nullptr;
  std::int64_t offset = 0;     // master file offset from the cross-reference entry
  std::int32_t xrfStatus = 0;  // status word of the cross-reference entry
  std::int32_t capacity = 0;   // size of each of the three areas
  char guid[kGuidLength + 1] = {};

  [[nodiscard]] TDirEntry* directory() const { return reinterpret_cast<TDirEntry*>(leader + 1); }
};

/// The base files of an open database and its shelves.
struct TMstHandle {
  int mstFile = -1;
  int xrfFile = -1;
  Tcntmst control;  // host order, as read at opening
  TRecordShelf* shelves = nullptr;
};

struct TMstFragment {
  int mstFile = -1;
  int xrfFile = -1;
  Tcntmst control;
};

struct TVelorSpace {
  TMstHandle* mst = nullptr;
  TMstFragment fragments[kFragmentSlots];

  TSpaceTrm* trmMain = nullptr;
  TSpaceTrm* trmIndex[kMaxTermIndexes] = {};
  std::unique_ptr<TStringList> termSeparators;  // the nine lines of the .inv file; null without one
  int termIndex = 0;  // the one that the last search chose: 0 the main one, k additional index k
  bool termListOpen = false;
  std::unique_ptr<TStringList> termNames;
  std::unique_ptr<TStringList> termPrefixes;
  std::unique_ptr<TIntList> termIds;

  // The field selection table, see index/inv_context.h. The six lists are null when the context ignores such
  // tables; fstLines and fstMethods, and fstDependTags and fstDependLines, have the same indexes.
  std::unique_ptr<TStringList> fstLines;     // formats; the number of an item is its search tag
  std::unique_ptr<TIntList> fstMethods;      // indexing method of each line
  std::unique_ptr<TStringList> fstAllLines;  // the whole table, to restore fstLines from after a narrowing
  std::unique_ptr<TIntList> fstAllMethods;
  std::unique_ptr<TIntList> fstDependTags;  // fields that lines depend on, in order of first appearance
  std::unique_ptr<TList> fstDependLines;    // for each of them the line indexes: TIntList, owned
  std::unique_ptr<TStringList> stopWords;   // UTF-8, sorted
  unsigned char uctab[256] = {};            // upper-case table and alphabet of the application
  unsigned char actab[256] = {};
  bool deflex = false;  // word methods stem their words
  std::string fstName;  // under which table and stop words were loaded
  std::string stwName;
  std::shared_ptr<xpft::XpftFst> xpftFst;  // the compiled table, made on first use
  // What the making of terms keeps, made on first use from the alphabet and the stop words: whoever changes
  // these drops it.
  std::shared_ptr<recif::TermMaker> termMaker;

  // What the format language keeps for the space: its context and the last output, see format/format_run.h.
  // It looks into the shelves, so Velorclose destroys it, and the compiled table, before them.
  std::shared_ptr<xpft::FormatState> formatState;

  std::string path;      // of the record files, without extension
  std::string termPath;  // of the term files, without extension; kept over a lazy close
  int lastError = 0;     // -300 when the database was found locked

  char* readBuf = nullptr;  // record as read: leader, directory and data in file order
  std::int32_t readCapacity = 0;
  std::int32_t readLength = 0;  // of the record in readBuf
  std::int64_t xrfOffset = 0;   // from the last cross-reference entry read
  std::int32_t xrfFlags = 0;

  std::int32_t shelfCount = 0;
  char* fieldBuf = nullptr;  // scratch for callers
  std::int32_t fieldCapacity = 0;
  char* subfieldBuf = nullptr;
  std::int32_t subfieldCapacity = 0;

  app::VelorAppContext* app = nullptr;  // not owned
  TVelorSpace* textSpace = nullptr;     // companion with the page texts, owned
  TVelorSpace* parentSpace = nullptr;   // in a companion: the space it belongs to
  bool isTextSpace = false;
  bool isFullText = false;
  bool lazyMst = false;
  bool lazyTerm = false;

  std::unique_ptr<velor_32::BulkWriter> bulk;  // open while a bulk run lasts, see bulk_writer.h

  TVelorSpace();
  ~TVelorSpace();
  TVelorSpace(const TVelorSpace&) = delete;
  TVelorSpace& operator=(const TVelorSpace&) = delete;
};

}  // namespace velor_01

namespace velor_32 {

using velor_01::TVelorSpace;

/// A new space without a database, or null when there is no memory. `app` stays the caller's and must outlive
/// it.
[[nodiscard]] TVelorSpace* Velorinit(app::VelorAppContext* app);

/// Makes a space without files that can hold records in memory: one empty shelf, all handles -1, an empty
/// path. File operations on it fail. Closes what was open. Result 0 or -100.
int VelorInitSpaceDummy(TVelorSpace* space);

/// Closes the files, frees shelves, lists and buffers, the companion and the space. Null is ignored.
void Velorclose(TVelorSpace* space);

/// Closes a space at the end of a scope.
struct SpaceCloser {
  void operator()(TVelorSpace* space) const { Velorclose(space); }
};
using SpacePointer = std::unique_ptr<TVelorSpace, SpaceCloser>;

/// True when the space has a database (or a dummy) open.
[[nodiscard]] inline bool IsOpen(const TVelorSpace* space) {
  return space != nullptr && space->mst != nullptr;
}

/// True when the records are those of a server (client mode).
[[nodiscard]] bool IsRemote(const TVelorSpace* space);

/// True when the space keeps a GUID for each record: a full-text database, or GUIDs switched on in the
/// context.
[[nodiscard]] bool KeepsGuids(const TVelorSpace* space);

}  // namespace velor_32
