#pragma once

#include <cstdint>
#include <iosfwd>
#include <map>
#include <string>
#include <string_view>
#include <unordered_map>

#include "utils/output_file.h"

namespace velora {

/// What an import did: counts by outcome for its end, and with -proto a line for each record.
class ImportReport {
 public:
  /// Opens the protocol. False when it cannot be created; the counts go on without it.
  [[nodiscard]] bool CreateProtocol(const std::string& path) { return protocol_.Create(path); }

  /// A record of the file comes.
  void NextRecord() { ++number_; }
  /// Its place in the file, from 1.
  [[nodiscard]] std::int64_t number() const { return number_; }

  /// A line of the protocol as it stands.
  void Note(std::string_view line);
  /// "<what>: NUMBER <place in the file> <remark>"; line ends in the remark become blanks.
  void NoteNumber(std::string_view what, std::string_view remark);
  /// "<what>: MFN <mfn>", and " COUNT <count>" behind it for a count above 0.
  void NoteMfn(std::string_view what, int mfn, std::int64_t count = 0);

  /// The record was not written, for this reason.
  void Skip(std::string_view reason);
  /// It has nothing new for record `mfn`.
  void Ignore(int mfn);
  /// It was written as record `mfn`, or not: the code of the write.
  void Stored(int result, int mfn, bool isNew);
  /// It went into record `mfn`, which was there before.
  void Merged(int mfn);

  /// Closes the protocol and writes the counts on `out`. False when the protocol is not complete.
  [[nodiscard]] bool Finish(std::ostream& out);
  [[nodiscard]] std::int64_t merged() const { return merged_; }

 private:
  OutputFile protocol_;
  std::int64_t number_ = 0;                           // in the file, from 1
  std::map<std::string, std::int64_t> counts_;        // by outcome
  std::unordered_map<int, std::int64_t> mergeCount_;  // by record number
  std::int64_t imported_ = 0;
  std::int64_t merged_ = 0;
};

}  // namespace velora
