#pragma once

#include <cstdint>
#include <deque>
#include <string>
#include <string_view>
#include <vector>

#include "gbl/correction.h"
#include "gbl/space_table.h"
#include "gbl/task_text.h"
#include "storage/velor_space.h"

namespace global {

/// What one run of a task on one record keeps: it starts anew with each record.
///
/// Lists own what they hold. Depths count from 0, outermost.
struct GblCtx {
  std::string errorStream;  ///< error records, each ending in "@@@"
  std::int32_t abortFlag = 0;
  std::string dbName;                            ///< of the current record's database: what "*" stands for
  velor_32::SpacePointer defSpace;               ///< of DEFFLD: a blank record in slot 0
  std::int32_t targetIndex = SpaceTable::kNone;  ///< in `spaces`: the record that a CORREC block works on now
  std::int32_t hitPositioned = 0;                ///< 1: the next hit was taken
  SpaceTable spaces;                             ///< with their names, and the hits still to be worked
  std::int32_t inCorrec = 0;                     ///< 1 between CORREC and its END
  std::int32_t correcHits = 0;
  std::int32_t changeCount = 0;  ///< successful changes of the current record
  std::int32_t skipFlag = 0;     ///< 1 while a false IF is passed over
  std::int32_t ifDepth = 0;
  std::int32_t repeatDepth = 0;
  std::int32_t inNewRec = 0;        ///< 1 between NEWREC or NEWMFN and its END
  std::int32_t newRecReady = 0;     ///< 1 when that block's record exists
  std::int32_t newRecId = 0;        ///< of its entry in `spaces`
  std::int32_t correcLoopLine = 0;  ///< where END returns to while hits remain
  std::string fieldText;            ///< the two halves of the field line of the current operator
  std::string subfieldText;
  std::vector<std::string> workLines;            ///< working copy of the occurrences of one tag
  std::vector<std::string> toLines;              ///< second value of CHA
  std::vector<std::string> formatLines;          ///< output of the last format
  std::vector<std::string> keyLines;             ///< keys of CORREC
  std::vector<std::string> correcFieldLines;     ///< added as field 1001 to each hit
  std::vector<std::int32_t> ifStack = {0};       ///< 1: this IF raised skipFlag
  std::vector<std::int32_t> repeatActive = {0};  ///< 1 while the loop is open
  std::int32_t hitTag = 0;                       ///< of the posting of the current hit
  std::int32_t hitOcc = 0;
  std::deque<std::int32_t> hitTags;  ///< of hits still to be worked, paired with them by position
  std::deque<std::int32_t> hitOccs;
  std::string occText;  ///< operand lines 2, 3 and 4 of the current operator
  std::string valueText;
  std::string value2Text;
  const TaskText* lines = nullptr;              ///< the task
  std::vector<std::int32_t> repeatStart = {0};  ///< first line of the loop's body
  std::vector<std::int32_t> repeatCount = {0};  ///< rounds done
  std::int32_t caseSensitive = 0;               ///< 1 for CHAC
  std::int32_t defTag = 0;                      ///< tag of the scratch field; below 1: none
  std::string protocolStream;                   ///< protocol records
  std::int32_t openCount = 0;                   ///< spaces opened by NEWMFN and CORREC
  std::int32_t blockLine = 0;                   ///< line of the block opener that runs
  std::int32_t remoteEnd = 0;                   ///< line behind a block that another server has run
  bool lazyGlobal = false;                      ///< LAZY_GLOBAL: spaces not being worked give up their files
  RecordDone recordDone;
  BlockSpaces* pool = nullptr;  ///< opens the spaces of blocks and takes them back

  /// "<key>=<text>@@@" to the errors; the walk ends.
  void Fail(std::string_view key, std::string_view text);
  /// A FORMAT_ERROR: the code, and the first `shown` characters of the format.
  void FailFormat(int code, std::string_view format, std::size_t shown);
  void Protocol(std::string_view text);
};

/// A record that an operator works on; without a space there is none.
struct Target {
  velor_01::TVelorSpace* space = nullptr;
  int slot = 0;

  explicit operator bool() const { return space != nullptr; }
};

/// Which entry of `spaces` that is, for the count of changes; kNone for the current record.
struct CountedTarget : Target {
  int index = SpaceTable::kNone;
};

/// Entry i of `spaces`, woken when it sleeps. Its slot is 0, that of the current record its own.
[[nodiscard]] Target SpaceTarget(GblCtx* ctx, velor_01::TVelorSpace* space, int slot, int i);

/// Index in `spaces` of the record that the block of a new record builds; kNone when there is none.
[[nodiscard]] int NewRecordIndex(const GblCtx* ctx);

/// What the operators outside of blocks, and inside, evaluate on: in a CORREC block the hit, in a block of a
/// new record that record, otherwise the current one. `needsHits`: a CORREC block without hits has none.
[[nodiscard]] Target FindTarget(GblCtx* ctx, velor_01::TVelorSpace* space, int slot, bool needsHits);

/// Characters of a format that an error shows.
constexpr std::size_t kShownOfCondition = 50;
constexpr std::size_t kShownOfValue = 100;

/// Runs a format, UTF-8, on a record. False after an error, which is recorded; `output` is then empty.
[[nodiscard]] bool Evaluate(GblCtx* ctx, Target target, const std::string& format, std::size_t shown,
                            std::string* output);

/// The lines of an output.
void SplitLines(std::string_view output, std::vector<std::string>* lines);

/// Line i, from 0; empty when there is none.
[[nodiscard]] std::string_view LineAt(const std::vector<std::string>& lines, int i);

/// Path of the record files of the current database, without extension; empty when it has no parameter file.
[[nodiscard]] std::string MasterPath(GblCtx* ctx, const velor_01::TVelorSpace* space);

/// Runs the body of an operator; what it throws is logged under its name and gives `onFailure`.
int LogException(const char* name, const char* what, int onFailure);
template <class Body>
int Guarded(const char* name, int onFailure, Body&& body) {
  try {
    return body();
  } catch (const std::exception& e) {
    return LogException(name, e.what(), onFailure);
  } catch (...) {
    return LogException(name, nullptr, onFailure);
  }
}

}  // namespace global
