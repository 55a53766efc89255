#pragma once

#include <array>
#include <cstdint>
#include <memory>
#include <string>
#include <unordered_map>

#include "utils/bit_list.h"
#include "utils/ext_list.h"
#include "utils/ini_file.h"
#include "utils/library_cache.h"
#include "utils/mfn_tag_list.h"
#include "utils/string_list.h"

// The application context: everything that one run of a tool shares.
//
// A run makes one context, hands it to one procedure and closes it. The context holds the parsed main INI
// file, the resolved directories, the character tables, the caches of the upper folders and, in client mode,
// the connection. One thread uses it. Where to read next: app_paths.h (directories), char_tables.h (the two
// byte tables), process.h (stop flag, prefix, children), maintenance_context.h (the small context of the
// maintenance procedures).

namespace client {
class VelorClient;
}
namespace trmcache {
struct TrmCache;
}
namespace velor_01 {
struct TVelorSpace;
}
namespace velor_32 {
struct StorageHooks;
}
namespace xpft {
class Record;
class Velor64Cache;
}  // namespace xpft

namespace app {

/// How the format language reads a record's fields: the number of the command-line words -xpft0, -xpft1 and
/// -xpft2.
struct RecordCacheOpt {
  enum Type : std::int32_t { kOption0 = 0, kOption1 = 1, kOption2 = 2 };
};

/// The parts of a context whose types live in upper folders, as functions that this folder calls.
/// The program fills DefaultContextParts() at start; velor_app_init copies the record into each new context.
/// A null function means that the part is not linked in: its object is then never made and its accessors do
/// nothing.
struct ContextParts {
  xpft::Velor64Cache* (*createFormatCache)() = nullptr;
  void (*destroyFormatCache)(xpft::Velor64Cache*) = nullptr;
  void (*clearFormatCache)(xpft::Velor64Cache*) = nullptr;
  void (*setFormatCacheFileCheck)(xpft::Velor64Cache*, bool check) = nullptr;
  void (*destroyScratchRecord)(xpft::Record*) = nullptr;
  void (*destroyTermCache)(trmcache::TrmCache*) = nullptr;
  /// Closes the spaces that one object of VelorAppContext::globalVarLists holds, and frees the object.
  void (*destroyVariables)(void* object) = nullptr;
  /// Logs out when logged in, and destroys the connection.
  void (*closeClient)(client::VelorClient*) = nullptr;
  std::int32_t (*getClientRequestNumber)(const client::VelorClient*) = nullptr;
  void (*setClientRequestNumber)(client::VelorClient*, std::int32_t number) = nullptr;
};

/// The record that velor_app_init copies. Written before the first context is made, not later.
ContextParts& DefaultContextParts();

/// A scratch buffer of 32001 bytes at first: capacity counts the bytes before the zero end.
struct WorkBuffer {
  std::unique_ptr<char[]> text;
  std::int32_t capacity = 0;
};

constexpr std::int32_t kWorkBufferCapacity = 32000;
constexpr std::int32_t kDefaultMaxRepeat = 5000;
constexpr std::int32_t kDefaultMaxDocSearch = 1000;

/// The state of one run. Made by velor_app_init, freed by velor_app_close; never copied.
/// Directory texts are UTF-8, end in "/", and are empty while unset.
struct VelorAppContext {
  VelorAppContext() = default;
  VelorAppContext(const VelorAppContext&) = delete;
  VelorAppContext& operator=(const VelorAppContext&) = delete;

  bool ignoreIfs = false;       ///< field selection tables are not loaded, spaces get no lists for them
  bool isClient = false;        ///< storage operations go to `client`
  std::int16_t guidOption = 0;  ///< GUID_OPTION; 1: ordinary databases keep record GUIDs too
  client::VelorClient* client = nullptr;             ///< owned; null for local work
  const volatile unsigned char* stopFlag = nullptr;  ///< an outside stop flag, not owned; null in the tools
  RecordCacheOpt::Type recordCacheOpt = RecordCacheOpt::kOption2;
  std::unique_ptr<velor_01::TStringList>
      globalVarLists;  ///< sorted; objects belong to ContextParts::destroyVariables
  std::unique_ptr<velor_01::TStringList> globalVarNames;  ///< sorted
  xpft::Record* xpftRecord = nullptr;                     ///< owned scratch record of the format language
  std::unordered_map<std::int32_t, long double>
      numericVariables;  ///< by variable number, kept for the whole run
  std::unordered_map<std::int32_t, std::string> stringVariables;  ///< the same for texts, UTF-8

  /// acTable[c - 1] is 1 when the character with code c is alphabetic.
  std::array<unsigned char, 256> acTable{};
  /// The alphabetic codes in the order of the table file; acTableLength of them count.
  std::array<unsigned char, 256> acCodes{};
  std::int32_t acTableLength = 0;
  /// ucTable[c] is the upper-case form of the character with code c, 0 where the table file gives none.
  std::array<unsigned char, 256> ucTable{};
  std::int32_t ucTableLength = 0;
  /// A further table of the form of ucTable.
  std::array<unsigned char, 256> altUcTable{};
  std::int32_t altUcTableLength = 0;

  std::int32_t maxDocSearch = kDefaultMaxDocSearch;  ///< MAXDOCSEARCH, in records
  std::shared_ptr<utils::IniFile> mainIni;           ///< null until velor_MainIni_Init succeeds
  std::int32_t maxRepeat = kDefaultMaxRepeat;        ///< MAXREPEAT or MAXCYCLE, in passes
  velor_01::TVelorSpace* globalSpace = nullptr;      ///< owned dummy space, made by velor_app_global_space
  std::unique_ptr<LibraryCache> libraryCache;
  std::string execDir;      ///< the system directory
  std::string dataPath;     ///< root of the database directories
  std::string depositPath;  ///< shared system files
  std::array<WorkBuffer, 3> workBuffers;
  /// General lists. The third is sorted and owns its objects, which are plain malloc blocks.
  std::array<std::unique_ptr<velor_01::TStringList>, 4> stringLists;
  bool decompiledFormats = false;  ///< FORMAT_DECOMPILED is "1"
  bool xpftEnabled = true;         ///< the extended format language is on
  bool xpftUpdateEnabled = false;  ///< its record-changing commands are allowed
  bool finishesFormats = false;    ///< a stop request does not end a format: what it prints must be whole
  /// Postings of terms that were read, made by search on first use; owned. It never forgets, and does not see
  /// later changes of the dictionary.
  trmcache::TrmCache* termCache = nullptr;
  bool useTermCache = false;
  /// What a full-text search gathers while `collectsPages` is set: pairs (record, tag), and (record, page),
  /// duplicates among them. When `pageFilter` has bits, only records whose bit is set count.
  bool collectsPages = false;
  std::unique_ptr<ExtList::TMfnTagList> addMfnTag;
  std::unique_ptr<ExtList::TMfnTagList> mfnPageList;
  std::unique_ptr<Bitarr::TBitList> pageFilter;
  std::unique_ptr<ExtList::TExtList> extList;   ///< scores
  velor_01::TVelorSpace* morphSpace = nullptr;  ///< the open morphology database, owned; null for none
  std::string morphName;                        ///< under which name it was opened
  std::string morphPrefix;                      ///< of the word forms in the dictionary, "K="
  char emptyText[1] = {
      '\0'};  ///< the empty string, for callers that need an address that lives as long as the run
  bool reusePhysDel = false;  ///< REUSE_PHYS_DEL is positive
  void* progressArg = nullptr;
  bool (*progressCallback)(void* arg, int done, int total) = nullptr;
  xpft::Velor64Cache* formatCache = nullptr;  ///< owned
  bool allUtf8 = false;                       ///< ALLUTF8 is positive: every database holds UTF-8
  bool lazyBool = false;                      ///< LAZY_BOOL is positive: lazy Boolean evaluation

  const velor_32::StorageHooks* hooks =
      nullptr;  ///< what storage calls upward; not owned, outlives the context
  ContextParts parts;
};

/// Makes a context with the defaults above, its buffers and lists allocated. The caller closes it with
/// velor_app_close. Null when memory is short.
VelorAppContext* velor_app_init();

/// Closes the connection, destroys everything the context owns in a fixed order, and frees it. Null is
/// ignored.
void velor_app_close(VelorAppContext* ctx);

/// The space in which format language code runs without a database; made on first use. It stays the
/// context's. Null without a context or when memory is short.
velor_01::TVelorSpace* velor_app_global_space(VelorAppContext* ctx);

void velor_app_ignore_ifs(VelorAppContext* ctx, bool ignore);
/// Whether the format cache compares a cached format with the date of its file.
void velor_app_xpft_cachefilecheck(VelorAppContext* ctx, bool check);
void velor_app_xpft_clearcache(VelorAppContext* ctx);
/// The callback gets `arg`, the work done and the total, and returns false to ask for an end. Null removes
/// it.
void velor_app_adm_setprogresscallback(VelorAppContext* ctx, void* arg, bool (*callback)(void*, int, int));
/// The number of the next request on the connection; 0 outside client mode.
std::int32_t velor_app_client_get_reqnum(const VelorAppContext* ctx);
/// Sets that number; does nothing outside client mode.
void velor_app_client_set_reqnum(VelorAppContext* ctx, std::int32_t number);

/// True when a signal asked the process to stop, or when the context's outside flag is set. `ctx` may be
/// null.
bool CheckStopProcess(const VelorAppContext* ctx);

}  // namespace app
