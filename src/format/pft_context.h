#pragma once

#include <ctime>
#include <memory>
#include <string>
#include <string_view>
#include <vector>

#include "format/field_value.h"

/// The state of a run of the format language, as the nodes of a tree see it: the output with its line and
/// column, the mode, the repeat group, the record, the variables, the databases that a run opens, errors.
/// Velor64Context (velor64_context.h) is the one implementation. A context belongs to one thread.
///
/// Texts are UTF-8. Occurrences and passes count from 0 here, subfield and field ranges from 1 as written.
namespace xpft::ast {
class FieldFragment;
class FieldIndent;
class FieldRepeat;
class SubfieldCmd;
class SubfieldRepeat;
struct FieldAssignSpec;
}  // namespace xpft::ast

namespace xpft {

class XpftFormatter;
using Occurrences = std::vector<std::string_view>;

/// Most bytes that one output may have; a longer one is an error of the run.
constexpr std::size_t kMaxOutputBytes = 100'000'000;

/// How a term is searched.
enum class QueryType { kDefault = 0, kPrefix = 1, kExact = 2 };

/// Where a named file is looked for.
enum class VelorPath {
  kNone = -1,         // the name is a path
  kDatabase = 0,      // the formats and tables of the database, and the shared files
  kDatabaseFile = 1,  // the same
  kSystem = 2,        // system directory
  kWork = 3,          // work directory
  kData = 4,          // root of the database directories
  kDeposit = 5,       // shared files
  kTexts = 11,        // the texts of the database
};

class IPftContext {
 public:
  virtual ~IPftContext() = default;

  // ---- shelves: the record slots of the space ----
  [[nodiscard]] virtual int GetCurrShelf() const = 0;
  virtual void SetCurrShelf(int shelf) = 0;
  [[nodiscard]] virtual int GetAltShelf() const = 0;
  virtual void SetAltShelf(int shelf) = 0;

  // ---- output ----
  /// Empties the output.
  virtual void Start() = 0;
  /// Margins of what is printed next; not owned, null for none.
  virtual void SetFieldIndent(const ast::FieldIndent* indent) = 0;
  virtual void SetMargin(int first, int next) = 0;
  [[nodiscard]] virtual int GetLine() const = 0;
  virtual void SetLine(int line) = 0;
  [[nodiscard]] virtual int GetCol() const = 0;
  virtual void SetCol(int column) = 0;
  virtual void Print(std::string_view text) = 0;
  virtual void Print(const char* text, int length) = 0;
  /// Prints; in a group it asks for one more pass.
  virtual void PrintWithRepeatIncrement(std::string_view text) = 0;
  virtual void PrintWithRepeatIncrement(const char* text, int length) = 0;
  virtual void InsertSpaces(int count) = 0;
  virtual void SetPrintPosition(int column) = 0;
  virtual void NewLine() = 0;
  virtual void UnconditionalBlankLine() = 0;
  virtual void SuppressBlanks() = 0;
  virtual void GetText(std::string& text) const = 0;
  [[nodiscard]] virtual const char* GetBuffer(int& length) const = 0;
  /// 'p', 'h' or 'd'.
  [[nodiscard]] virtual int GetModeType() const = 0;
  virtual void SetModeType(int mode) = 0;
  [[nodiscard]] virtual bool GetIsUpperCase() const = 0;
  virtual void SetIsUpperCase(bool upper) = 0;

  /// Back to the state before a run; called before each record. `clearCache` drops what was read of the
  /// record.
  virtual void Clear(bool clearCache) = 0;
  void Clear() { Clear(true); }
  virtual void ClearFieldCache() = 0;

  // ---- the record ----
  [[nodiscard]] virtual bool ExistsRecord() = 0;
  [[nodiscard]] virtual bool ExistsField(int tag, const ast::FieldRepeat* repeat,
                                         const ast::SubfieldCmd* subfield, const ast::FieldFragment* fragment,
                                         bool hasRepeat, bool includeEmpty) = 0;
  /// Appends the selected values to `list`; in a group those of the current pass, and the group takes note.
  virtual void GetValues(int tag, const ast::FieldRepeat* repeat, const ast::SubfieldCmd* subfield,
                         const ast::FieldFragment* fragment, FieldSelectValues& list, bool includeEmpty) = 0;
  virtual void GetValues(const Occurrences& occurrences, int tag, const ast::FieldRepeat* repeat,
                         const ast::SubfieldCmd* subfield, const ast::FieldFragment* fragment,
                         FieldSelectValues& list) = 0;
  [[nodiscard]] virtual int GetRepeatCount(int tag, const ast::FieldRepeat* repeat,
                                           const ast::SubfieldCmd* subfield,
                                           const ast::FieldFragment* fragment, bool includeEmpty) = 0;
  /// All occurrences as they lie in the record; good until it changes.
  virtual void GetRecordField(int tag, Occurrences& occurrences) = 0;
  /// All fields of the record as "#tag: text"; in a group the one of the current pass.
  virtual void GetRecord(FieldSelectValues& list) = 0;
  [[nodiscard]] virtual int GetFieldCount() const = 0;
  [[nodiscard]] virtual int GetMfn() const = 0;
  [[nodiscard]] virtual int GetVersion() const = 0;
  /// One above the highest record number.
  [[nodiscard]] virtual int GetMaxMfn() const = 0;
  [[nodiscard]] virtual std::string GetDbName() const = 0;
  [[nodiscard]] virtual int GetSubfieldRepeatCount(std::string_view text, char code) const = 0;
  /// The same over the field that was read last.
  [[nodiscard]] virtual int GetSubfieldRepeatCount(char code) = 0;

  /// Set the target to one value; an empty value removes what it replaces.
  virtual void SetRecordFieldValue(int tag, const ast::FieldRepeat* repeat, const ast::SubfieldCmd* subfield,
                                   const ast::FieldFragment* fragment, const std::string& value) = 0;
  /// Copy whole occurrences into the target.
  virtual void SetRecordFieldValue(const Occurrences& occurrences, const ast::FieldAssignSpec& target) = 0;
  virtual void AddRecordField(int tag, const std::string& text) = 0;
  virtual void RemoveRecordField(int tag) = 0;
  /// `occurrence` counts from 1.
  virtual void RemoveRecordField(int tag, int occurrence) = 0;
  virtual void RemoveRecordFields() = 0;

  // ---- global variables: fields of a record that the application keeps ----
  [[nodiscard]] virtual bool ExistsGlobalVar() = 0;
  [[nodiscard]] virtual bool ExistsGlobalVar(int tag, const ast::FieldRepeat* repeat,
                                             const ast::SubfieldCmd* subfield,
                                             const ast::FieldFragment* fragment, bool hasRepeat,
                                             bool includeEmpty) = 0;
  virtual void GetGlobalVarValues(int tag, const ast::FieldRepeat* repeat, const ast::SubfieldCmd* subfield,
                                  const ast::FieldFragment* fragment, FieldSelectValues& list,
                                  bool includeEmpty) = 0;
  [[nodiscard]] virtual int GetGlobalVarRepeatCount(int tag, const ast::FieldRepeat* repeat,
                                                    const ast::SubfieldCmd* subfield,
                                                    const ast::FieldFragment* fragment,
                                                    bool includeEmpty) = 0;
  virtual void GetGlobalVarField(int tag, Occurrences& occurrences) = 0;
  virtual void GetGlobalVar(FieldSelectValues& list) = 0;
  virtual void SetGlobalVarValue(int tag, const ast::FieldRepeat* repeat, const ast::SubfieldCmd* subfield,
                                 const ast::FieldFragment* fragment, const std::string& value) = 0;
  virtual void SetGlobalVarValue(const Occurrences& occurrences, const ast::FieldAssignSpec& target) = 0;

  // ---- variables, kept for the whole run of the program ----
  [[nodiscard]] virtual long double GetNumVar(int number) const = 0;
  virtual void SetNumVar(int number, long double value) = 0;
  [[nodiscard]] virtual const std::string& GetStrVar(int number) const = 0;
  virtual void SetStrVar(int number, const std::string& value) = 0;

  // ---- repeat group ----
  [[nodiscard]] virtual bool GetIsRepGroupContext() const = 0;
  virtual void BeginRepGroup() = 0;
  virtual void EndRepGroup() = 0;
  /// The start of a pass.
  virtual void StartRepGroup() = 0;
  /// The end of a pass. Result: the number of the next.
  virtual int NextRepGroup() = 0;
  [[nodiscard]] virtual bool GetHasMoreOccurrence() const = 0;
  /// False ends the group after this pass, whatever is read in the rest of it.
  virtual void SetHasMoreOccurrence(bool more) = 0;
  /// The pass, from 1 and from 0.
  [[nodiscard]] virtual int GetStringOccurrence() const = 0;
  [[nodiscard]] virtual int GetCurrentOccurrence() const = 0;
  [[nodiscard]] virtual int GetRepGrpMaxOccNumber() const = 0;
  /// The tag read last in this pass.
  [[nodiscard]] virtual int GetTag() const = 0;
  virtual void PushRepGrpState() = 0;
  virtual void PopRepGrpState() = 0;
  /// True in the group that a node opens around one test.
  [[nodiscard]] virtual bool IsPrivateGroup() const = 0;
  virtual void SetPrivateGroup(bool isPrivate) = 0;
  /// Most passes of a group or a loop, 0 for no limit, and what the output then says about it.
  [[nodiscard]] virtual int GetGroupMaxOccurrence() const = 0;
  [[nodiscard]] virtual std::string GetRepGroupError() const = 0;

  // ---- control ----
  [[nodiscard]] virtual bool GetBreak() const = 0;
  virtual void SetBreak(bool on) = 0;
  [[nodiscard]] virtual bool GetIfThenElse() const = 0;
  virtual void SetIfThenElse(bool on) = 0;
  [[nodiscard]] virtual bool GetWhile() const = 0;
  virtual void SetWhile(bool on) = 0;
  [[nodiscard]] virtual bool GetContinue() const = 0;
  virtual void SetContinue(bool on) = 0;
  [[nodiscard]] virtual bool GetExit() const = 0;
  virtual void SetExit(bool on) = 0;
  [[nodiscard]] virtual int GetUniCount() const = 0;
  virtual void SetUniCount(int count) = 0;
  /// False when the run must end: a stop was asked for, or the calls are nested so deep that the stack would
  /// not last (then the error is reported too). Loops and lists ask before they go on.
  [[nodiscard]] virtual bool MayGoOn() = 0;

  // ---- output states ----
  /// Directs the output to a new text, or to the caller's, until PopState.
  virtual void PushState() = 0;
  virtual void PushState(std::string* target) = 0;
  /// Detaches the text, so that what is printed before PopState is lost.
  virtual void ResetBuffer() = 0;
  virtual void PopState() = 0;

  // ---- included formats and functions ----
  [[nodiscard]] virtual bool GetExtFmt() const = 0;
  virtual void SetExtFmt(bool on) = 0;
  /// A compiled format by its text, or by "@" and the name of its file. Null after an error.
  [[nodiscard]] virtual std::shared_ptr<XpftFormatter> GetPrintFormat(const std::string& name,
                                                                      bool quiet) = 0;
  [[nodiscard]] virtual const std::vector<std::string>* GetArgs() const = 0;
  virtual void SetArgs(const std::vector<std::string>* args) = 0;
  /// Calls a function from outside the language, which prints. Sets the error code when there is none of that
  /// name (without "&").
  virtual void ExtFunc(std::string_view name, const std::string& args) = 0;
  /// Record numbers of the window of a search: `from` counts from 0, `count` 0 means all.
  virtual void SearchMfn(const std::string& db, const std::string& query, int from, int count,
                         QueryType queryType, std::vector<int>& result) = 0;
  /// Postings of a term.
  [[nodiscard]] virtual int CountPostings(const std::string& db, const std::string& query,
                                          QueryType queryType) = 0;
  virtual void ExecuteShellCommand(const std::string& command) = 0;
  [[nodiscard]] virtual bool CheckDummyClientMode() const = 0;
  [[nodiscard]] virtual std::string GetAppPrefix() const = 0;
  /// True when fields are read at the first use.
  [[nodiscard]] virtual bool GetLazyBool() const = 0;

  // ---- other records and databases ----
  /// Replaces the space by one of another database. False when it cannot be opened.
  virtual bool OpenDb(const std::string& name) = 0;
  /// The same with the former space kept for CloseAltDb.
  virtual bool OpenAltDb(const std::string& name) = 0;
  virtual void CloseAltDb() = 0;
  /// Reads into the current shelf, or into the alternate one, which then is the current one until
  /// CloseAltRecord. A logically deleted or a locked record counts as read.
  virtual bool LoadRecord(int mfn) = 0;
  virtual bool LoadAltRecord(int mfn) = 0;
  virtual void CloseAltRecord() = 0;
  /// The same with a new, empty record.
  virtual bool NewRecord() = 0;
  virtual bool NewAltRecord() = 0;
  /// Result 0 or a storage code, -403 where formats may not write.
  virtual int DeleteRecord(bool updateIndex) = 0;
  virtual int WriteRecord(bool updateMaster, bool updateIndex) = 0;

  // ---- files ----
  /// Full path of a file, "" when there is none. `useDatabase` false: only the shared places.
  [[nodiscard]] virtual std::string LookupFile(VelorPath kind, const std::string& database,
                                               const std::string& name, bool useDatabase) = 0;
  [[nodiscard]] virtual bool ReadFile(VelorPath kind, const std::string& name, bool useDatabase,
                                      std::string& content) = 0;
  [[nodiscard]] virtual bool ReadFileDate(VelorPath kind, const std::string& name, bool useDatabase,
                                          std::time_t& date) = 0;
  /// MD5 in lower-case hex, "" without the file.
  [[nodiscard]] virtual std::string FileMd5(VelorPath kind, const std::string& name, bool useDatabase) = 0;

  // ---- errors: the first one ends the run ----
  [[nodiscard]] virtual int GetErrorCode() const = 0;
  virtual void SetErrorCode(int code) = 0;
  [[nodiscard]] virtual const std::string& GetErrorText() const = 0;
  virtual void SetErrorText(const std::string& text) = 0;
  [[nodiscard]] virtual bool GetNoErrorLog() const = 0;
  virtual void SetNoErrorLog(bool on) = 0;

  // ---- scratch memory of the nodes ----
  [[nodiscard]] std::unique_ptr<std::string> TakeText() { return Take(texts_); }
  void GiveText(std::unique_ptr<std::string> text) { texts_.push_back(std::move(text)); }
  [[nodiscard]] std::unique_ptr<FieldSelectValues> TakeValues() { return Take(values_); }
  void GiveValues(std::unique_ptr<FieldSelectValues> values) { values_.push_back(std::move(values)); }

 private:
  template <class T>
  static std::unique_ptr<T> Take(std::vector<std::unique_ptr<T>>& pool) {
    if (pool.empty()) return std::make_unique<T>();
    std::unique_ptr<T> item = std::move(pool.back());
    pool.pop_back();
    return item;
  }
  std::vector<std::unique_ptr<std::string>> texts_;
  std::vector<std::unique_ptr<FieldSelectValues>> values_;
};

/// A text, or a list of values, that a node needs for the time of one call. The context keeps the memory, so
/// that a run in its steady state allocates nothing.
class ScratchText {
 public:
  explicit ScratchText(IPftContext* ctx) : ctx_(ctx), text_(ctx->TakeText()) { text_->clear(); }
  ~ScratchText() { ctx_->GiveText(std::move(text_)); }
  ScratchText(const ScratchText&) = delete;
  ScratchText& operator=(const ScratchText&) = delete;
  std::string& operator*() { return *text_; }
  std::string* operator->() { return text_.get(); }

 private:
  IPftContext* ctx_;
  std::unique_ptr<std::string> text_;
};

class ScratchValues {
 public:
  explicit ScratchValues(IPftContext* ctx) : ctx_(ctx), values_(ctx->TakeValues()) { values_->Clear(); }
  ~ScratchValues() { ctx_->GiveValues(std::move(values_)); }
  ScratchValues(const ScratchValues&) = delete;
  ScratchValues& operator=(const ScratchValues&) = delete;
  FieldSelectValues& operator*() { return *values_; }

 private:
  IPftContext* ctx_;
  std::unique_ptr<FieldSelectValues> values_;
};

}  // namespace xpft
