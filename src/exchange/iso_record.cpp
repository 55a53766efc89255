#include "exchange/iso_record.h"

#include <algorithm>
#include <charconv>
#include <cstdlib>
#include <cstring>

#include "storage/codes.h"
#include "storage/fields.h"
#include "utils/text_util.h"

namespace velora {

namespace {

constexpr int kLargestTag = 999;
constexpr int kTagOfLargeTags = 998;

void PutNumber(char* place, int digits, std::size_t value) {
  for (char* p = place + digits; p != place; value /= 10) *--p = static_cast<char>('0' + value % 10);
}

/// Cuts a text to what a directory entry can tell. UTF-8 is cut between characters: half a character would
/// cost the whole field when the file is read again.
std::string_view CutText(std::string_view text, std::size_t room, bool isUtf8) {
  if (text.size() <= room) return text;
  if (isUtf8)
    while (room > 0 && (static_cast<unsigned char>(text[room]) & 0xC0) == 0x80) --room;
  return text.substr(0, room);
}

/// "1001: " for a tag of 1001, empty for one that has three digits.
class TagPrefix {
 public:
  explicit TagPrefix(int tag) {
    if (tag <= kLargestTag) return;
    char* end = std::to_chars(text_, text_ + sizeof text_, tag).ptr;
    *end++ = ':';
    *end++ = ' ';
    size_ = static_cast<std::size_t>(end - text_);
  }
  [[nodiscard]] std::string_view text() const { return {text_, size_}; }

 private:
  char text_[16] = {};
  std::size_t size_ = 0;
};

/// A record while it grows in its buffer: the directory and the data are written side by side, as the number
/// of fields tells where the data begins.
class IsoRecordWriter {
 public:
  IsoRecordWriter(char* buffer, int fieldCount, char fieldEnd, bool isUtf8)
      : buffer_(buffer),
        entry_(buffer + kIsoLeaderSize),
        base_(kIsoLeaderSize + kIsoEntrySize * static_cast<std::size_t>(fieldCount) + 1),
        fieldEnd_(fieldEnd),
        isUtf8_(isUtf8) {}

  /// False when the record leaves the limits of the form.
  bool AddField(int tag, std::string_view text) {
    textBytes_ += text.size();
    if (textBytes_ > kIsoLargestRecord) return false;
    const TagPrefix prefix(tag);
    text = CutText(text, kIsoLargestText - prefix.text().size(), isUtf8_);
    const std::size_t length = prefix.text().size() + text.size() + 1;
    if (base_ + dataBytes_ + length + 1 > kIsoLargestRecord) return false;

    PutNumber(entry_, 3, static_cast<std::size_t>(prefix.text().empty() ? tag : kTagOfLargeTags));
    PutNumber(entry_ + 3, 4, length);
    PutNumber(entry_ + 7, 5, dataBytes_);
    entry_ += kIsoEntrySize;
    char* place = buffer_ + base_ + dataBytes_;
    std::memcpy(place, prefix.text().data(), prefix.text().size());
    std::memcpy(place + prefix.text().size(), text.data(), text.size());
    place[length - 1] = fieldEnd_;
    dataBytes_ += length;
    return true;
  }

  void Finish(char recordEnd) {
    *entry_ = fieldEnd_;
    std::size_t total = base_ + dataBytes_;
    buffer_[total++] = recordEnd;
    buffer_[total] = '\0';
    std::memset(buffer_, '0', kIsoLeaderSize);
    buffer_[10] = buffer_[11] = '2';
    buffer_[20] = '4';
    buffer_[21] = '5';
    PutNumber(buffer_, 5, total);
    PutNumber(buffer_ + 12, 5, base_);
  }

 private:
  char* buffer_;
  char* entry_;
  std::size_t base_;
  char fieldEnd_;
  bool isUtf8_;
  std::size_t textBytes_ = 0;
  std::size_t dataBytes_ = 0;
};

/// No record passes the limit, so one growth is enough for all of them.
bool EnsureBuffer(char*& buffer, unsigned long& size, std::size_t needed) {
  if (needed < size) return true;
  const std::size_t grown = size + needed + 1;
  char* block = static_cast<char*>(std::realloc(buffer, grown));
  if (!block) return false;
  buffer = block;
  size = grown - 1;
  return true;
}

/// Bytes that the record can take at most, in an encoding that does not lengthen texts.
std::size_t UpperBound(const velor_01::TVelorSpace* space, int slot, int fieldCount) {
  std::size_t bytes = kIsoLeaderSize + 2;
  for (int i = 1; i <= fieldCount; ++i)
    bytes += kIsoEntrySize + 1 + 16 + velor_32::FieldText(space, slot, i).size();
  return std::min(bytes, kIsoLargestRecord + 1);
}

struct IsoEntry {
  int tag;
  std::size_t length;
  std::size_t position;
};

IsoEntry ParseEntry(std::string_view entry) {
  return {static_cast<int>(IsoNumber(entry.substr(0, 3))), IsoNumber(entry.substr(3, 4)),
          IsoNumber(entry.substr(7, 5))};
}

/// The text of a field, without its terminator. False when it does not lie within the record.
bool FindText(std::string_view record, std::size_t base, const IsoEntry& entry, std::string_view* text) {
  const std::size_t start = base + entry.position;
  if (entry.length < 1 || start > record.size() || entry.length - 1 > record.size() - start) return false;
  *text = record.substr(start, entry.length - 1);
  return true;
}

}  // namespace

std::size_t IsoNumber(std::string_view text) {
  std::size_t value = 0;
  for (const char c : text) {
    if (c < '0' || c > '9') return 0;
    value = value * 10 + static_cast<std::size_t>(c - '0');
  }
  return value;
}

int RecIsoWriteBuf(velor_01::TVelorSpace* space, int slot, char*& buffer, unsigned long& size, char recordEnd,
                   char fieldEnd, EncodingOption::Type encoding) {
  TextEncoder encoder(encoding);
  return WriteIsoRecord(space, slot, buffer, size, recordEnd, fieldEnd, encoder);
}

int WriteIsoRecord(const velor_01::TVelorSpace* space, int slot, char*& buffer, unsigned long& size,
                   char recordEnd, char fieldEnd, TextEncoder& encoder) {
  const int fieldCount = velor_32::Velornfields(space, slot);
  if (fieldCount < 0) return -1;
  if (kIsoLeaderSize + kIsoEntrySize * static_cast<std::size_t>(fieldCount) + 2 > kIsoLargestRecord)
    return -1;
  if (!EnsureBuffer(buffer, size, UpperBound(space, slot, fieldCount))) return -1;

  IsoRecordWriter writer(buffer, fieldCount, fieldEnd, encoder.isIdentity());
  for (int i = 1; i <= fieldCount; ++i) {
    int tag = 0;
    const std::string_view text = encoder.Encode(velor_32::FieldText(space, slot, i, &tag));
    if (!writer.AddField(tag, text)) return -1;
  }
  writer.Finish(recordEnd);
  return 0;
}

int RecIsoReadBuf(velor_01::TVelorSpace* space, int slot, char* buffer, EncodingOption::Type encoding) {
  const std::size_t length = IsoNumber({buffer, 5});
  buffer[length] = '\0';
  TextEncoder encoder(encoding);
  IsoLosses losses;
  const int rc = ReadIsoRecord(space, slot, {buffer, length}, encoder, &losses);
  return rc == velor_32::kOk ? losses.total() : rc;
}

int ReadIsoRecord(velor_01::TVelorSpace* space, int slot, std::string_view record, TextEncoder& encoder,
                  IsoLosses* losses) {
  *losses = {};
  if (int rc = velor_32::Velorfldempty(space, slot); rc != velor_32::kOk) return rc;
  const std::size_t base = record.size() < kIsoLeaderSize ? 0 : IsoNumber(record.substr(12, 5));
  if (base <= kIsoLeaderSize || base > record.size()) return velor_32::kOk;

  const std::size_t count = (base - 1 - kIsoLeaderSize) / kIsoEntrySize;
  for (std::size_t i = 0; i < count; ++i) {
    const IsoEntry entry = ParseEntry(record.substr(kIsoLeaderSize + kIsoEntrySize * i, kIsoEntrySize));
    std::string_view text;
    if (entry.tag < 1 || !FindText(record, base, entry, &text)) {
      ++losses->badEntry;
      continue;
    }
    text = encoder.Decode(text);
    if (text.empty()) continue;  // a field without text is no field here
    if (!utils::TextUtil::CheckUTF8(text.data(), text.size())) {
      ++losses->badText;
      continue;
    }
    const int length = static_cast<int>(text.size());
    if (int rc = velor_32::Velorfldadd(space, slot, entry.tag, 0, text.data(), length); rc != velor_32::kOk)
      return rc;
  }
  return velor_32::kOk;
}

}  // namespace velora
