#pragma once

#include <cstdint>
#include <string>
#include <string_view>
#include <vector>

#include "storage/app_context.h"

namespace velora {

/// Cuts a file into records of ISO 2709 form, through a buffer of its own.
///
/// The length in a leader is believed when a record terminator stands where it says, or when another record
/// begins there: the terminator of a file may be another byte. Otherwise the record is
/// taken up to the next terminator, so that one wrong length does not carry away the records behind it. Line
/// ends and zero bytes between records are passed over. The buffer grows to the longest record of the file
/// and no further than kLongestRecord.
class IsoFileReader {
 public:
  /// Longer records than the form allows exist (with a length that lies); what passes this is passed over.
  static constexpr std::size_t kLongestRecord = std::size_t{16} << 20;

  enum class Outcome {
    kRecord,     // a whole record
    kTooLong,    // passed over: no terminator within kLongestRecord, or no memory
    kTruncated,  // passed over: the file ends inside the record
    kEnd,        // no more records
  };

  /// A stop request that `ctx` knows of makes the file end.
  explicit IsoFileReader(const app::VelorAppContext* ctx = nullptr) : ctx_(ctx) {}
  ~IsoFileReader();
  IsoFileReader(const IsoFileReader&) = delete;
  IsoFileReader& operator=(const IsoFileReader&) = delete;

  /// False when the file cannot be opened.
  [[nodiscard]] bool Open(const std::string& path);

  /// The next record, terminator included, zero bytes in it replaced by blanks. It may be written to and is
  /// valid until the next call.
  Outcome Next(char** record, std::size_t* length);

  /// Whether the last record had a length that does not fit it.
  [[nodiscard]] bool lengthWasWrong() const { return lengthWasWrong_; }

  /// Whether a read failed; the file then seems to end there.
  [[nodiscard]] bool hasFailed() const { return hasFailed_; }

 private:
  [[nodiscard]] std::size_t available() const { return end_ - start_; }
  bool Fill(std::size_t wanted);
  bool SkipFiller();
  bool RecordBeginsAt(std::size_t distance);
  Outcome FindEnd(std::size_t* length);
  void SkipToTerminator();

  const app::VelorAppContext* ctx_;
  int file_ = -1;
  bool atEnd_ = false;
  bool lengthWasWrong_ = false;
  bool hasFailed_ = false;
  std::vector<char> buffer_;
  std::size_t start_ = 0;  // of what is not delivered yet
  std::size_t end_ = 0;    // of what was read
};

}  // namespace velora
