#pragma once

#include <cstdint>
#include <ostream>
#include <string>
#include <vector>

#include "maint/diagnosis.h"
#include "maint/master_scan.h"
#include "storage/bulk_writer.h"

namespace velora {

/// Where the findings go: to the tool's output and to the report.
class Findings {
 public:
  Findings(std::ostream& out, DiagReport& report) : out_(out), report_(report) {}

  /// A line about the progress, or about something that is in order.
  void Tell(const std::string& line) {
    out_ << line << '\n';
    report_.Line(line);
  }
  /// A line about damage.
  void Fault(const std::string& line) {
    hasFaults_ = true;
    Tell(line);
  }
  [[nodiscard]] bool hasFaults() const { return hasFaults_; }

 private:
  std::ostream& out_;
  DiagReport& report_;
  bool hasFaults_ = false;
};

/// One master file against its cross-reference file.
///
/// Entries are changed in place, each by one write, and not in a new file that takes the place of the old
/// one: a server keeps the file open that it reads entries from, and would go on reading the old one for
/// good. The order is safe at every moment. Only an entry is changed that leads nowhere, or to an image that
/// is not the last, and what it is turned to has been in the master file all along; a repair that is cut off
/// leaves entries of both kinds, each as good as before or better, and the next one finds the rest.
class FragmentCheck {
 public:
  FragmentCheck(velor_01::TVelorSpace* space, int fragment, bool repair, Findings& findings);

  /// False when it was asked to stop.
  bool Run();

 private:
  struct Suspect {
    std::int64_t offset;  // of an image that would replace one that can be read
    int mfn;
  };
  template <class Visit>
  bool VisitEntries(Visit&& visit);

  bool Open();
  bool PrepareTable();
  bool ScanMaster();
  void ReportProgress(std::int64_t offset, std::int64_t size);
  void TakeImage(const MasterScan::Piece& piece);
  [[nodiscard]] bool IsBeingWritten(const MasterScan::Piece& piece) const;
  void ReportDamage(const MasterScan::Piece& piece, std::int64_t size);
  void ShortenImage(std::int64_t offset, std::int64_t end);
  void LengthenXrf();
  void SetAsideForeignImages();
  void Relabel(std::int64_t offset, int foundMfn, int mfn);
  void AwaitLastEntry(velor_01::TNew_Xrf* entry) const;
  void CompareEntry(int mfn, velor_01::TNew_Xrf entry);
  velor_01::TNew_Xrf TurnedTo(int mfn, const velor_01::TNew_Xrf& entry);
  void ClearStrayEntries();
  void WriteWord(std::int64_t offset, std::int32_t word);
  void SetMarks(std::int64_t offset, std::int32_t status);
  void CheckControl();
  [[nodiscard]] bool IsReadable(int mfn) const;
  [[nodiscard]] std::int64_t GlobalNumber(int mfn) const;
  [[nodiscard]] const char* Fixed(const char* words) const { return repair_ ? words : ""; }

  velor_01::TVelorSpace* space_;
  int fragment_;
  bool repair_;
  Findings& findings_;

  velor_32::UpdateFiles update_;  // open when repairing
  int mstFile_ = -1;
  int xrfFile_ = -1;
  velor_01::Tcntmst control_;
  int lastMfn_ = 0;                    // highest local number in use
  std::vector<std::int64_t> offsets_;  // of the last image of record i + 1; 0 for none
  std::int64_t endOfImages_ = velor_01::kControlSize;
  std::int64_t endOfData_ = velor_01::kControlSize;  // the same with damaged bytes
  int tenths_ = 0;                                   // of the file, as reported
};

}  // namespace velora
