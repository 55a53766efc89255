#pragma once

#include <functional>
#include <iosfwd>
#include <string>
#include <string_view>

#include "storage/opened_database.h"
#include "utils/output_file.h"

// What the diagnostic tools share: the frame around them, and their reports.

namespace velora {

/// A report in the work directory, written line by line; a line may go to the tool's output too.
class DiagReport {
 public:
  /// "<work directory><file>". False, after a word on `out` and in the log, when it cannot be created.
  [[nodiscard]] bool Create(const app::VelorAppContext* ctx, const std::string& file, std::ostream& out);

  void Line(std::string_view text);
  void Text(std::string_view text);
  [[nodiscard]] bool isOpen() const { return file_.isOpen(); }
  [[nodiscard]] std::string& buffer() { return file_.buffer(); }
  void FlushIfLarge() { file_.FlushIfLarge(); }
  /// False when something of it could not be written so far.
  [[nodiscard]] bool Flush() { return !isOpen() || file_.Flush(); }

  /// Writes the rest. Result 0, or -400 after a word on `out` and in the log when the report is not complete.
  [[nodiscard]] int Close(std::ostream& out);

 private:
  std::string path_;
  OutputFile file_;
};

/// Makes a range of record numbers lie in the database: below 1 means from the first, or to the last. It ends
/// where the files have no room for further records, whatever the control record says.
struct MfnRange {
  int from;
  int to;
};
[[nodiscard]] MfnRange ClipRange(velor_01::TVelorSpace* space, int from, int to);

/// Another process may have claimed the last number and be about to write its image and its entry. Asks
/// `isThere` again for half a second at most, and gives its last answer.
bool AwaitLastRecord(const std::function<bool()>& isThere);

/// What stands in the place of a file pair of the database.
enum class FragmentState {
  kOpen,     // files with a control record, and open
  kUnused,   // no record was put in them yet: both are there, without a control record and without an entry
  kDamaged,  // what is left of a pair that has held records, or a file is missing
};
/// Opens fragment `fragment` where it is not open: another process may have begun it since the opening.
FragmentState OpenFragment(velor_01::TVelorSpace* space, int fragment);

/// What a tool tells that was asked to stop; it is a finding, for nothing is known of the rest.
constexpr char kStopped[] = "Process stop";

/// The verdict that closes a diagnosis.
void WriteVerdict(std::string_view subject, bool hasReport, std::ostream& out);

}  // namespace velora

namespace velor_server_proc {

/// Opens the database, writes and logs `title`, runs `work` and reports its code: 0 unless a report file
/// could not be created. What is wrong with the database is no failure of the tool.
/// Result: the code of the opening, or that of `work`.
int RunDiagnosis(app::VelorAppContext* ctx, const std::string& db, const char* title, std::ostream& out,
                 const std::function<int(const OpenedDatabase&)>& work);

}  // namespace velor_server_proc
