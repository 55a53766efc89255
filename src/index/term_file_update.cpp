// Applying a file of terms to the dictionary.

#include <unistd.h>

#include <algorithm>
#include <charconv>
#include <memory>
#include <string_view>

#include "index/rec_terms.h"
#include "index/record_index.h"
#include "index/term_difference.h"
#include "index/words.h"
#include "storage/codes.h"
#include "storage/database_lock.h"
#include "storage/database_mutex.h"
#include "storage/edge.h"
#include "storage/master_file.h"
#include "storage/term_update.h"
#include "utils/file_layer.h"

namespace recif {

namespace {

using velor_32::kOk;

constexpr int kMostItems = 99999;         // that wait to be applied
constexpr std::size_t kMostBytes = 4096;  // of a line that are looked at: numbers and the longest term fit
constexpr int kNumbers = 8;

/// Reads the lines of a file, each up to kMostBytes.
class LineReader {
 public:
  explicit LineReader(int file) : file_(file) {}

  /// False at the end. The line ends before LF or CR LF.
  bool Next(std::string* line) {
    line->clear();
    bool hasAny = false;
    while (Fill()) {
      hasAny = true;
      const std::string_view rest(block_ + at_, static_cast<std::size_t>(end_ - at_));
      const std::size_t lineEnd = rest.find('\n');
      const std::string_view part = rest.substr(0, lineEnd);
      line->append(part.substr(0, kMostBytes - std::min(kMostBytes, line->size())));
      at_ += static_cast<int>(part.size());
      if (lineEnd == rest.npos) continue;
      ++at_;
      break;
    }
    if (!line->empty() && line->back() == '\r') line->pop_back();
    return hasAny;
  }

 private:
  bool Fill() {
    if (at_ < end_) return true;
    at_ = 0;
    end_ = backup::_lread(file_, block_, sizeof block_);
    return end_ > 0;
  }

  int file_;
  char block_[65536];
  int at_ = 0;
  int end_ = 0;
};

/// Takes a decimal number and the blank behind it off the front of a line.
bool TakeNumber(std::string_view* line, std::int32_t* number) {
  const char* end = line->data() + line->size();
  const auto [stop, error] = std::from_chars(line->data(), end, *number);
  if (error != std::errc() || stop == end || *stop != ' ') return false;
  line->remove_prefix(static_cast<std::size_t>(stop - line->data()) + 1);
  return true;
}

/// False for a line that is none. `term` receives the rest of the line.
bool ParseLine(std::string_view line, TifpItemPosting* posting, std::string_view* term) {
  std::int32_t numbers[kNumbers];
  for (std::int32_t& number : numbers)
    if (!TakeNumber(&line, &number)) return false;
  *posting = {numbers[0], numbers[1], numbers[2], numbers[3], numbers[4], numbers[5], numbers[6], numbers[7]};
  *term = backup::CutUtf8(line, kMaxTermBytes);
  return !term->empty();
}

/// The items of a file that wait, and what came of those before.
class Batch {
 public:
  Batch(TVelorSpace* space, bool toDelete) : space_(space), toDelete_(toDelete) {}

  void Take(std::string_view line) {
    TifpItemPosting posting;
    std::string_view term;
    if (!ParseLine(line, &posting, &term)) return;
    if (!postings_.Add(posting) || !terms_.AddObject(term, postings_.GetCount() - 1))
      result_ = velor_32::kNoMemory;
    if (terms_.GetCount() > kMostItems) Apply();
  }

  void Apply() {
    const int rc = toDelete_ ? DeleteAll() : InsertTerms(space_, terms_, postings_);
    if (rc != kOk) result_ = rc;
    terms_.Clear();
    postings_.Clear();
  }

  [[nodiscard]] int result() const { return result_; }

 private:
  /// One that fails does not keep the others: the file is gone afterwards.
  int DeleteAll() {
    int result = kOk;
    for (const velor_01::TStringItem& item : terms_.Items())
      if (int rc = velor_32::DeleteTerm(space_, item.text, postings_.Get(item.numObject)); rc != kOk)
        result = rc;
    return result;
  }

  TVelorSpace* space_;
  bool toDelete_;
  TStringList terms_;
  TIfpPostingList postings_;
  int result_ = kOk;
};

int ApplyFile(TVelorSpace* space, const char* path, bool toDelete) {
  const int file = backup::_lopen(path, velor_32::kOpenRead);
  if (file < 0) return velor_32::kNotFound;
  Batch batch(space, toDelete);
  const auto reader = std::make_unique<LineReader>(file);
  for (std::string line; reader->Next(&line);) batch.Take(line);
  backup::_lclose(file);
  batch.Apply();
  ::unlink(path);  // behind the work, which can be done again after a crash
  return batch.result();
}

}  // namespace

int VelorRecIfUpdateFullText(TVelorSpace* space, const char* path, bool toDelete) {
  if (!velor_32::IsOpen(space) || !path) return velor_32::kNoSpace;
  return velor_32::AtEdge([&] {
    std::shared_ptr<RecIfContext> context = IfUpdateGetMem_new(space);
    if (!context) return velor_32::kLockedByCaller;
    const int locked = velor_32::VelorIsDBLocked(space);
    if (locked != kOk && locked != velor_32::kLockedByCaller) return locked;
    return ApplyFile(context->space.get(), path, toDelete);
  });
}

}  // namespace recif

namespace velor_32 {

int VelorRecIfUpdateFullTextTime(TVelorSpace* space, int timeoutSeconds, const char* path, bool toDelete) {
  return UnderDatabaseMutex(space, timeoutSeconds,
                            [&] { return recif::VelorRecIfUpdateFullText(space, path, toDelete); });
}

}  // namespace velor_32
