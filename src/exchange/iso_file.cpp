#include "exchange/iso_file.h"

#include <algorithm>
#include <cstring>
#include <new>

#include "exchange/iso_record.h"
#include "utils/file_layer.h"

namespace velora {

namespace {

constexpr int kReadShared = 64;
constexpr std::size_t kReadSize = std::size_t{1} << 18;

bool IsFiller(char c) {
  return c == '\r' || c == '\n' || c == '\0';
}

/// Whether a record seems to begin here: its length and base address are numbers.
bool LooksLikeLeader(std::string_view text) {
  return text.size() >= kIsoLeaderSize && IsoNumber(text.substr(0, 5)) > kIsoLeaderSize &&
         IsoNumber(text.substr(12, 5)) > kIsoLeaderSize;
}

/// Length of the first record within `text`, which ends in a terminator, if another one begins inside it: a
/// length that is too long must not swallow its neighbours. 0 when there is none.
std::size_t FindInnerEnd(std::string_view text) {
  for (std::size_t at = text.find(kRecordTerminator); at != std::string_view::npos && at + 1 < text.size();
       at = text.find(kRecordTerminator, at + 1))
    if (LooksLikeLeader(text.substr(at + 1))) return at + 1;
  return 0;
}

}  // namespace

IsoFileReader::~IsoFileReader() {
  if (file_ >= 0) backup::_lclose(file_);
}

bool IsoFileReader::Open(const std::string& path) {
  file_ = backup::_lopen(path.c_str(), kReadShared);
  return file_ >= 0;
}

/// Reads on until `wanted` bytes are there. False when the file or the memory ends before.
bool IsoFileReader::Fill(std::size_t wanted) {
  while (available() < wanted && !atEnd_) {
    if (start_ > 0) {
      std::memmove(buffer_.data(), buffer_.data() + start_, available());
      end_ -= start_;
      start_ = 0;
    }
    const std::size_t room = std::max(wanted, end_ + kReadSize);
    try {
      if (buffer_.size() < room) buffer_.resize(room);
    } catch (const std::bad_alloc&) {
      return false;
    }
    if (app::CheckStopProcess(ctx_)) {
      atEnd_ = true;
      return false;
    }
    const int got = backup::_lread(file_, buffer_.data() + end_, static_cast<int>(buffer_.size() - end_));
    if (got <= 0) atEnd_ = true;
    if (got < 0) hasFailed_ = true;
    end_ += static_cast<std::size_t>(std::max(got, 0));
  }
  return available() >= wanted;
}

/// False at the end of the file.
bool IsoFileReader::SkipFiller() {
  while (Fill(1)) {
    while (start_ < end_ && IsFiller(buffer_[start_])) ++start_;
    if (start_ < end_) return true;
  }
  return false;
}

/// Whether another record seems to begin `distance` bytes behind start_.
bool IsoFileReader::RecordBeginsAt(std::size_t distance) {
  return Fill(distance + kIsoLeaderSize) &&
         LooksLikeLeader({buffer_.data() + start_ + distance, kIsoLeaderSize});
}

/// Finds how long the record at start_ is.
IsoFileReader::Outcome IsoFileReader::FindEnd(std::size_t* length) {
  Fill(kIsoLeaderSize);
  const std::size_t claimed = available() >= 5 ? IsoNumber({buffer_.data() + start_, 5}) : 0;
  const bool fits = claimed > kIsoLeaderSize && Fill(claimed);
  lengthWasWrong_ = !fits || (buffer_[start_ + claimed - 1] != kRecordTerminator && !RecordBeginsAt(claimed));
  *length = claimed;
  if (!lengthWasWrong_) {
    if (const std::size_t inner = FindInnerEnd({buffer_.data() + start_, claimed}); inner > 0) {
      lengthWasWrong_ = true;
      *length = inner;
    }
    return Outcome::kRecord;
  }

  for (std::size_t searched = 0;;) {
    const void* found =
        std::memchr(buffer_.data() + start_ + searched, kRecordTerminator, available() - searched);
    if (found) {
      *length = static_cast<std::size_t>(static_cast<const char*>(found) - (buffer_.data() + start_)) + 1;
      return Outcome::kRecord;
    }
    searched = available();
    if (searched > kLongestRecord) return Outcome::kTooLong;
    if (Fill(searched + 1)) continue;
    if (!atEnd_) return Outcome::kTooLong;
    // The last record may lack its terminator; with the length it claims it is whole.
    *length = claimed;
    return fits ? Outcome::kRecord : Outcome::kTruncated;
  }
}

void IsoFileReader::SkipToTerminator() {
  do {
    const void* found = std::memchr(buffer_.data() + start_, kRecordTerminator, available());
    start_ = found ? static_cast<std::size_t>(static_cast<const char*>(found) - buffer_.data()) + 1 : end_;
    if (found) return;
  } while (Fill(1));
}

IsoFileReader::Outcome IsoFileReader::Next(char** record, std::size_t* length) {
  if (!SkipFiller()) return Outcome::kEnd;
  const Outcome outcome = FindEnd(length);
  if (outcome == Outcome::kTooLong) SkipToTerminator();
  if (outcome == Outcome::kTruncated) start_ = end_;
  if (outcome != Outcome::kRecord) return outcome;

  *record = buffer_.data() + start_;
  start_ += *length;
  if (std::memchr(*record, '\0', *length)) std::replace(*record, *record + *length, '\0', ' ');
  return Outcome::kRecord;
}

}  // namespace velora
