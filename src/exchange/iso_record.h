#pragma once

#include <cstddef>

#include "exchange/encoding.h"
#include "storage/velor_space.h"

/// One record in the exchange form of ISO 2709.
///
///   byte    size  holds
///      0       5  record length, terminators included
///     10       2  "22": indicator count and length of a subfield code
///     12       5  base address of the data: 24 + directory + its terminator
///     20       4  "4500": digits of field length and of starting position
///     24  12 each  directory: tag (3 digits), field length with its terminator (4), position from the base
///     (5)
///   then       1  field terminator
///   base          per field its bytes and a field terminator
///   last       1  record terminator
/// All numbers are decimal ASCII, filled with "0" from the left; the other bytes of the leader are "0" as
/// written. The form carries tags and texts only: no record number, status or GUID.
namespace velora {

constexpr char kFieldTerminator = '\x1E';
constexpr char kRecordTerminator = '\x1D';
constexpr std::size_t kIsoLeaderSize = 24;
constexpr std::size_t kIsoEntrySize = 12;
constexpr std::size_t kIsoLargestRecord = 99999;
constexpr std::size_t kIsoLargestText = 9998;  // of one field; a longer one is cut, at a whole character

/// Writes the record of a slot, with a zero behind it that is no part of the record.
///   buffer  malloc memory of the caller, of `size` usable bytes; replaced by a larger block when it must
///   grow
/// A tag above 999 becomes 998, its text beginning with the tag and ": ". Result: 0, or -1 when the record is
/// longer than the form allows or there is no memory.
int RecIsoWriteBuf(velor_01::TVelorSpace* space, int slot, char*& buffer, unsigned long& size, char recordEnd,
                   char fieldEnd, EncodingOption::Type encoding);

/// Replaces the fields of a slot by those of the record in `buffer`, whose length its leader tells; a zero is
/// put behind it. Fields with a tag below 1, with a place outside the record or with a text that is no UTF-8
/// are dropped; the result is their number, or a negative storage code.
int RecIsoReadBuf(velor_01::TVelorSpace* space, int slot, char* buffer, EncodingOption::Type encoding);

/// Fields that a record lost on the way in.
struct IsoLosses {
  int badEntry = 0;  // the directory entry names no tag, or a place outside the record
  int badText = 0;   // the text is no UTF-8
  [[nodiscard]] int total() const { return badEntry + badText; }
};

/// The same with the length known and the encoder kept by the caller. Result 0 or a negative storage code.
int ReadIsoRecord(velor_01::TVelorSpace* space, int slot, std::string_view record, TextEncoder& encoder,
                  IsoLosses* losses);

/// The same with the encoder kept by the caller.
int WriteIsoRecord(const velor_01::TVelorSpace* space, int slot, char*& buffer, unsigned long& size,
                   char recordEnd, char fieldEnd, TextEncoder& encoder);

/// Number in `text`: digits only, anything else is 0.
[[nodiscard]] std::size_t IsoNumber(std::string_view text);

}  // namespace velora
