#pragma once

#include <cstdlib>
#include <memory>
#include <string>
#include <string_view>
#include <vector>

#include "format/ast_field.h"
#include "format/pft_context.h"
#include "format/record_cache.h"
#include "storage/velor_space.h"

namespace app {
struct VelorAppContext;
}

namespace xpft {

/// What the language calls upward. The upper folders fill DefaultFormatHooks() at start. A null function
/// means that nothing stands behind it: searches find nothing, the functions do not exist.
struct FormatHooks {
  /// In an open database.
  void (*searchMfn)(velor_01::TVelorSpace* space, const std::string& query, int from, int count,
                    QueryType queryType, std::vector<int>& result) = nullptr;
  int (*countPostings)(velor_01::TVelorSpace* space, const std::string& query, QueryType queryType) = nullptr;
  /// Runs a command of the shell and gives its status, -1 when it could not be run.
  int (*runShellCommand)(const char* command) = std::system;
};
FormatHooks& DefaultFormatHooks();

/// The context of a run over the shelves of one space. The output grows in steps of 32000 bytes, its lines
/// end in CR. What is read of the record is kept until the record changes or Clear is called.
class Velor64Context final : public IPftContext {
 public:
  /// A context on a space, which stays the caller's.
  explicit Velor64Context(velor_01::TVelorSpace* space);
  /// A context that opens a database itself; `isOpen` tells whether it could.
  Velor64Context(app::VelorAppContext* app, const std::string& database);
  ~Velor64Context() override;
  Velor64Context(const Velor64Context&) = delete;
  Velor64Context& operator=(const Velor64Context&) = delete;
  [[nodiscard]] bool isOpen() const { return space_ != nullptr; }
  [[nodiscard]] velor_01::TVelorSpace* space() const { return space_; }
  [[nodiscard]] app::VelorAppContext* app() const { return app_; }
  /// Stops the context from keeping fields, whatever the application says.
  void DisableFieldCache(bool disable);

  [[nodiscard]] int GetCurrShelf() const override { return currShelf_; }
  void SetCurrShelf(int shelf) override;
  [[nodiscard]] int GetAltShelf() const override { return altShelf_; }
  void SetAltShelf(int shelf) override { altShelf_ = shelf; }

  void Start() override;
  void SetKeepColumn(bool keep) { keepColumn_ = keep; }
  void SetFieldIndent(const ast::FieldIndent* indent) override;
  void SetMargin(int first, int next) override;
  [[nodiscard]] int GetLine() const override { return line_; }
  void SetLine(int line) override { line_ = line; }
  [[nodiscard]] int GetCol() const override { return column_; }
  void SetCol(int column) override { column_ = column; }
  void Print(std::string_view text) override;
  void Print(const char* text, int length) override;
  void PrintWithRepeatIncrement(std::string_view text) override;
  void PrintWithRepeatIncrement(const char* text, int length) override;
  /// Prints the final output of a format with the clean-up of its markup: doubled points, empty lines.
  void PrintWithPostProcessing(std::string_view text);
  void InsertSpaces(int count) override;
  void SetPrintPosition(int column) override;
  void NewLine() override;
  void UnconditionalBlankLine() override;
  void SuppressBlanks() override;
  void GetText(std::string& text) const override { text = *buffer_; }
  [[nodiscard]] const char* GetBuffer(int& length) const override;
  [[nodiscard]] std::string_view Output() const { return *buffer_; }
  [[nodiscard]] int GetModeType() const override { return mode_; }
  void SetModeType(int mode) override { mode_ = mode; }
  [[nodiscard]] bool GetIsUpperCase() const override { return upperCase_; }
  void SetIsUpperCase(bool upper) override { upperCase_ = upper; }

  using IPftContext::Clear;
  void Clear(bool clearCache) override;
  void ClearFieldCache() override;

  [[nodiscard]] bool ExistsRecord() override;
  [[nodiscard]] bool ExistsField(int tag, const ast::FieldRepeat* repeat, const ast::SubfieldCmd* subfield,
                                 const ast::FieldFragment* fragment, bool hasRepeat,
                                 bool includeEmpty) override;
  void GetValues(int tag, const ast::FieldRepeat* repeat, const ast::SubfieldCmd* subfield,
                 const ast::FieldFragment* fragment, FieldSelectValues& list, bool includeEmpty) override;
  void GetValues(const Occurrences& occurrences, int tag, const ast::FieldRepeat* repeat,
                 const ast::SubfieldCmd* subfield, const ast::FieldFragment* fragment,
                 FieldSelectValues& list) override;
  [[nodiscard]] int GetRepeatCount(int tag, const ast::FieldRepeat* repeat, const ast::SubfieldCmd* subfield,
                                   const ast::FieldFragment* fragment, bool includeEmpty) override;
  void GetRecordField(int tag, Occurrences& occurrences) override;
  void GetRecord(FieldSelectValues& list) override;
  [[nodiscard]] int GetFieldCount() const override;
  [[nodiscard]] int GetMfn() const override;
  [[nodiscard]] int GetVersion() const override;
  [[nodiscard]] int GetMaxMfn() const override;
  [[nodiscard]] std::string GetDbName() const override;
  [[nodiscard]] int GetSubfieldRepeatCount(std::string_view text, char code) const override;
  [[nodiscard]] int GetSubfieldRepeatCount(char code) override;
  void SetRecordFieldValue(int tag, const ast::FieldRepeat* repeat, const ast::SubfieldCmd* subfield,
                           const ast::FieldFragment* fragment, const std::string& value) override;
  void SetRecordFieldValue(const Occurrences& occurrences, const ast::FieldAssignSpec& target) override;
  void AddRecordField(int tag, const std::string& text) override;
  void RemoveRecordField(int tag) override;
  void RemoveRecordField(int tag, int occurrence) override;
  void RemoveRecordFields() override;

  [[nodiscard]] bool ExistsGlobalVar() override;
  [[nodiscard]] bool ExistsGlobalVar(int tag, const ast::FieldRepeat* repeat,
                                     const ast::SubfieldCmd* subfield, const ast::FieldFragment* fragment,
                                     bool hasRepeat, bool includeEmpty) override;
  void GetGlobalVarValues(int tag, const ast::FieldRepeat* repeat, const ast::SubfieldCmd* subfield,
                          const ast::FieldFragment* fragment, FieldSelectValues& list,
                          bool includeEmpty) override;
  [[nodiscard]] int GetGlobalVarRepeatCount(int tag, const ast::FieldRepeat* repeat,
                                            const ast::SubfieldCmd* subfield,
                                            const ast::FieldFragment* fragment, bool includeEmpty) override;
  void GetGlobalVarField(int tag, Occurrences& occurrences) override;
  void GetGlobalVar(FieldSelectValues& list) override;
  void SetGlobalVarValue(int tag, const ast::FieldRepeat* repeat, const ast::SubfieldCmd* subfield,
                         const ast::FieldFragment* fragment, const std::string& value) override;
  void SetGlobalVarValue(const Occurrences& occurrences, const ast::FieldAssignSpec& target) override;

  [[nodiscard]] long double GetNumVar(int number) const override;
  void SetNumVar(int number, long double value) override;
  [[nodiscard]] const std::string& GetStrVar(int number) const override;
  void SetStrVar(int number, const std::string& value) override;

  [[nodiscard]] bool GetIsRepGroupContext() const override { return group_.inGroup; }
  void BeginRepGroup() override;
  void EndRepGroup() override;
  void StartRepGroup() override;
  int NextRepGroup() override;
  [[nodiscard]] bool GetHasMoreOccurrence() const override { return group_.hasMore && !group_.isStopped; }
  void SetHasMoreOccurrence(bool more) override;
  [[nodiscard]] int GetStringOccurrence() const override { return group_.occurrence + 1; }
  [[nodiscard]] int GetCurrentOccurrence() const override { return group_.occurrence; }
  [[nodiscard]] int GetRepGrpMaxOccNumber() const override { return group_.maxNumber; }
  [[nodiscard]] int GetTag() const override { return group_.tag; }
  void PushRepGrpState() override { groupStack_.push_back(group_); }
  void PopRepGrpState() override;
  [[nodiscard]] bool IsPrivateGroup() const override { return group_.isPrivate; }
  void SetPrivateGroup(bool isPrivate) override { group_.isPrivate = isPrivate; }
  [[nodiscard]] int GetGroupMaxOccurrence() const override;
  [[nodiscard]] std::string GetRepGroupError() const override;

  [[nodiscard]] bool GetBreak() const override { return break_; }
  void SetBreak(bool on) override { break_ = on; }
  [[nodiscard]] bool GetIfThenElse() const override { return ifThenElse_; }
  void SetIfThenElse(bool on) override { ifThenElse_ = on; }
  [[nodiscard]] bool GetWhile() const override { return while_; }
  void SetWhile(bool on) override { while_ = on; }
  [[nodiscard]] bool GetContinue() const override { return continue_; }
  void SetContinue(bool on) override { continue_ = on; }
  [[nodiscard]] bool GetExit() const override { return exit_; }
  void SetExit(bool on) override { exit_ = on; }
  [[nodiscard]] int GetUniCount() const override { return uniCount_; }
  void SetUniCount(int count) override { uniCount_ = count; }
  [[nodiscard]] bool MayGoOn() override;

  void PushState() override;
  void PushState(std::string* target) override;
  void ResetBuffer() override;
  void PopState() override;

  [[nodiscard]] bool GetExtFmt() const override { return extFmt_; }
  void SetExtFmt(bool on) override { extFmt_ = on; }
  [[nodiscard]] std::shared_ptr<XpftFormatter> GetPrintFormat(const std::string& name, bool quiet) override;
  [[nodiscard]] const std::vector<std::string>* GetArgs() const override { return args_; }
  void SetArgs(const std::vector<std::string>* args) override { args_ = args; }
  void ExtFunc(std::string_view name, const std::string& args) override;
  void SearchMfn(const std::string& db, const std::string& query, int from, int count, QueryType queryType,
                 std::vector<int>& result) override;
  [[nodiscard]] int CountPostings(const std::string& db, const std::string& query,
                                  QueryType queryType) override;
  void ExecuteShellCommand(const std::string& command) override;
  [[nodiscard]] bool CheckDummyClientMode() const override;
  [[nodiscard]] std::string GetAppPrefix() const override;
  [[nodiscard]] bool GetLazyBool() const override;

  bool OpenDb(const std::string& name) override;
  bool OpenAltDb(const std::string& name) override;
  void CloseAltDb() override;
  bool LoadRecord(int mfn) override;
  bool LoadAltRecord(int mfn) override;
  void CloseAltRecord() override;
  bool NewRecord() override;
  bool NewAltRecord() override;
  int DeleteRecord(bool updateIndex) override;
  int WriteRecord(bool updateMaster, bool updateIndex) override;

  [[nodiscard]] std::string LookupFile(VelorPath kind, const std::string& database, const std::string& name,
                                       bool useDatabase) override;
  [[nodiscard]] bool ReadFile(VelorPath kind, const std::string& name, bool useDatabase,
                              std::string& content) override;
  [[nodiscard]] bool ReadFileDate(VelorPath kind, const std::string& name, bool useDatabase,
                                  std::time_t& date) override;
  [[nodiscard]] std::string FileMd5(VelorPath kind, const std::string& name, bool useDatabase) override;

  [[nodiscard]] int GetErrorCode() const override { return errorCode_; }
  void SetErrorCode(int code) override { errorCode_ = code; }
  [[nodiscard]] const std::string& GetErrorText() const override { return errorText_; }
  void SetErrorText(const std::string& text) override { errorText_ = text; }
  [[nodiscard]] bool GetNoErrorLog() const override { return noErrorLog_; }
  void SetNoErrorLog(bool on) override { noErrorLog_ = on; }

 private:
  struct GroupState {
    bool inGroup = false;
    bool hasMore = false;
    bool isStopped = false;  // a BREAK asked for the end
    bool isPrivate = false;
    int tag = 0;
    int occurrence = 0;  // the pass, from 0
    int maxNumber = 0;   // what GetRepGrpMaxOccNumber tells: one above the longest field of the pass
    int passes = 0;      // passes that the fields read in this one ask for
  };
  struct OutputState {
    std::string* buffer;
    std::unique_ptr<std::string> owned;  // what the output of PushState without a target goes to
    int line;
    int column;
    velor_01::TVelorSpace* space;
    int currShelf;
    int altShelf;
  };

  /// What a selection asks for, evaluated: an expression in it may read the record itself.
  struct Selection {
    Selection(IPftContext* ctx, const ast::FieldRepeat* repeat, const ast::SubfieldCmd* subfield,
              const ast::FieldFragment* fragment);
    ast::FieldBounds occurrences;
    bool hasSubfield = false;
    char code = 0;
    ast::FieldBounds subfields;
    const ast::FieldFragment* fragment = nullptr;
    int offset = 0;  // of the fragment, which moves from value to value
  };

  void AppendBuffer(std::string_view text);
  void AppendFill(int count, char c);
  void ReserveBuffer(std::size_t size);
  void MakeMargin();
  [[nodiscard]] bool KeepsFields() const;
  const Occurrences& OccurrencesOf(int tag, bool includeEmpty);
  const Occurrences& GlobalOccurrencesOf(int tag, bool includeEmpty);
  void SelectValues(const Occurrences& occurrences, int tag, Selection& selection, FieldSelectValues& list);
  void SelectInGroup(const Occurrences& occurrences, Selection& selection, FieldSelectValues& list);
  void AddValue(std::string_view text, int occurrence, Selection& selection, FieldSelectValues& list);
  void FillValue(std::string_view text, const Selection& selection, FieldSelectValue& value);
  static void JoinSubfields(std::string_view text, const Selection& selection, FieldSelectValue& value);
  static void CutFragment(Selection& selection, FieldSelectValue& value);
  void WholeRecord(const velor_01::TVelorSpace* space, int shelf, FieldSelectValues& list);
  bool TakeAltShelf();
  void UseSpace(velor_01::TVelorSpace* space, int currShelf, int altShelf);
  template <class Search>
  void SearchIn(const std::string& db, Search&& search);

  app::VelorAppContext* app_ = nullptr;
  velor_01::TVelorSpace* space_ = nullptr;
  velor_32::SpacePointer ownSpace_;
  struct AltSpace {
    std::string name;
    velor_32::SpacePointer space;
    velor_01::TVelorSpace* former;  // the one that it stands in for
    int formerShelf;
    int formerAltShelf;
  };
  std::vector<AltSpace> altSpaces_;   // opened by OpenAltDb and in use, the last one now
  std::vector<AltSpace> idleSpaces_;  // used before, kept open for the next call
  int currShelf_ = 0;
  int altShelf_ = 1;
  std::vector<int> formerShelves_;  // current shelves under those of LoadAltRecord and NewAltRecord
  int baseShelfCount_ = 0;

  Record record_;
  bool cacheIsDisabled_ = false;
  Occurrences scratchOccurrences_;

  std::string ownBuffer_;
  std::string detached_;  // takes what is printed between ResetBuffer and PopState
  std::string* buffer_ = &ownBuffer_;
  std::string upper_;  // scratch of Print
  bool keepColumn_ = false;
  int mode_ = 'p';
  bool upperCase_ = false;
  const ast::FieldIndent* indent_ = nullptr;
  int line_ = 0;
  int column_ = 0;
  int marginFirst_ = 0;
  int marginNext_ = 0;

  GroupState group_;
  std::vector<GroupState> groupStack_;
  std::vector<OutputState> stateStack_;

  int errorCode_ = 0;
  std::string errorText_;
  bool noErrorLog_ = false;
  bool extFmt_ = false;
  bool break_ = false;
  bool ifThenElse_ = false;
  bool while_ = false;
  bool continue_ = false;
  bool exit_ = false;
  int uniCount_ = 0;
  const std::vector<std::string>* args_ = nullptr;
  const char* stackBase_ = nullptr;  // where the stack stood when the run began
};

}  // namespace xpft
