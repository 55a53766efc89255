#pragma once

#include <fstream>
#include <string>
#include <string_view>

#include "exchange/encoding.h"
#include "storage/velor_space.h"

/// The readable exchange form: one field a line, "*****" behind each record, lines ending in CR LF.
///
///   #0: 17#64#1                  header: record number, then a flag for each state, or "#0" for none
///   #2147483647: {...}           GUID
///   #200: ^ATitle                one line per field
///   *****
/// Flags: 64 locked, 8 not actualized, 1 logically deleted, 256 page texts not actualized. On reading CR is
/// optional; a line that opens no field continues the text before it, without a separator.
namespace velora {

/// Whether a line opens a field: "#", a number of at least 0, ": ". Then `tag` and `text`, which points into
/// the line, are set.
[[nodiscard]] bool OpensField(std::string_view line, int* tag, std::string_view* text);

/// Appends one record to the open file `handle`. `header` and `guid` ask for the two lines above; the GUID is
/// written only where the space keeps one.
void RecTextWrite(velor_01::TVelorSpace* space, int slot, EncodingOption::Type encoding, bool header,
                  bool guid, int handle);

/// The same into a text, with the encoder kept by the caller.
void AppendTextRecord(const velor_01::TVelorSpace* space, int slot, bool header, bool guid,
                      TextEncoder& encoder, std::string* out);

/// Reads the next record into a slot. `header` takes the header line: number and states of the slot; `guid`
/// takes the GUID line. Result true when a record was obtained; false at the end of the input and on a stop
/// request, whatever the slot then holds. Texts that are no UTF-8 after conversion are dropped, except that
/// bad bytes in a field of the tag PDF_TAG become blanks.
bool RecTextRead(velor_01::TVelorSpace* space, int slot, EncodingOption::Type encoding, bool header,
                 bool guid, std::ifstream& stream);

/// Reads records one after the other, keeping its buffers, and counts what is dropped.
class TextRecordReader {
 public:
  TextRecordReader(velor_01::TVelorSpace* space, std::int32_t encoding, bool header, bool guid);

  bool Read(int slot, std::ifstream& stream);

  /// Fields of the last record that were not text, and so dropped.
  [[nodiscard]] int dropped() const { return dropped_; }

 private:
  void EndField(int slot);
  void TakeHeader(int slot, std::string_view text);

  velor_01::TVelorSpace* space_;
  TextEncoder encoder_;
  bool header_;
  bool guid_;
  int pdfTag_;
  std::string line_;
  std::string text_;  // of the field that is being read
  int tag_ = -1;      // its tag, -1 before the first
  bool sawGuid_ = false;
  int dropped_ = 0;
};

}  // namespace velora
