// Cutting of a file that is too large for the memory into pieces by ranges of terms.

#include <algorithm>
#include <random>
#include <string>
#include <unordered_set>

#include "index/build_files.h"
#include "index/dict_load.h"
#include "index/progress.h"
#include "index/term_line.h"
#include "index/term_sort.h"
#include "storage/codes.h"
#include "storage/master_file.h"
#include "storage/term_format.h"
#include "utils/file_layer.h"
#include "utils/path_util.h"
#include "utils/string_list.h"
#include "utils/utf8_order.h"

namespace velora {

using velor_32::kNoRecordFiles;
using velor_32::kOk;

namespace {

constexpr int kMorePieces = 5;  // than the memory asks for, since pieces differ in size
constexpr int kMostPieces = 30;
constexpr int kSamples = 10000;
constexpr std::size_t kSampleBytes = 5120;
constexpr std::size_t kEnoughTerms = 5000;
constexpr int kCheckLines = 65536;  // between two looks at the stop flag

/// Distinct terms, each once, in the order in which they were found.
class TermSample {
 public:
  void Add(std::string_view term) {
    if (term.size() < velor_01::kLongestTerm && seen_.emplace(term).second) list_.Add(term);
  }
  [[nodiscard]] bool isEnough() const { return seen_.size() > kEnoughTerms; }
  [[nodiscard]] velor_01::TStringList& list() { return list_; }

 private:
  std::unordered_set<std::string> seen_;
  velor_01::TStringList list_;
};

/// Takes the terms of the whole lines in a block that was cut out of a file.
void TakeTerms(std::string_view block, int numbers, TermSample* sample) {
  const char* at = FindLineEnd(block.data(), block.data() + block.size());
  const char* const end = block.data() + block.size();
  while (at < end && !sample->isEnough()) {
    const char* const first = at + 1;
    at = FindLineEnd(first, end);
    TermLine parsed;
    const std::string_view line(first, static_cast<std::size_t>(at - first));
    if (at < end && ParseTermLine(line, numbers, &parsed) == LineFault::kNone) sample->Add(parsed.term);
  }
}

/// What stands behind the numbers, without a look at them; empty when there are too few.
std::string_view TermPart(std::string_view line, int numbers) {
  std::size_t at = 0;
  for (int i = 0; i < numbers; ++i) {
    while (at < line.size() && line[at] != ' ') ++at;
    if (at == line.size()) return {};
    ++at;
  }
  return line.substr(at);
}

}  // namespace

int TTerms::InitAvarage() {
  const int handle = backup::_lopen(path_.c_str(), velor_32::kOpenRead);
  if (handle < 0) return kNoRecordFiles;
  std::mt19937 random;
  TermSample sample;
  char block[kSampleBytes];
  for (int i = 0; i < kSamples && !sample.isEnough(); ++i) {
    const std::uint64_t high = random();
    const auto offset =
        static_cast<std::int64_t>((high << 32 | random()) % static_cast<std::uint64_t>(size_));
    const std::int64_t got = utils::ReadSomeAt(handle, offset, block, sizeof block);
    if (got > 0) TakeTerms({block, static_cast<std::size_t>(got)}, numbers_, &sample);
  }
  backup::_lclose(handle);

  velor_01::TStringList& terms = sample.list();
  terms.SortUtf8();
  pieceCount_ = static_cast<int>(std::min<std::int64_t>(size_ / memoryLimit_ + kMorePieces, kMostPieces));
  bounds_.clear();
  boundPrefixes_.clear();
  for (int i = 0; i < pieceCount_ - 1 && terms.GetCount() > 0; ++i) {
    const std::string bound =
        terms.Get(static_cast<int>(std::int64_t{i} * terms.GetCount() / (pieceCount_ - 1)));
    if (!IsPlainTerm(bound) || (!bounds_.empty() && bounds_.back() == bound)) continue;
    bounds_.push_back(bound);
    boundPrefixes_.push_back(TermPrefix(bound));
  }
  return kOk;
}

/// Most terms are told from the bounds by their first bytes, as numbers.
std::size_t TTerms::PieceOf(std::string_view line) const {
  const std::string_view term = TermPart(line, numbers_);
  const std::uint64_t prefix = TermPrefix(term);
  std::size_t piece = 0;
  while (piece < bounds_.size() && boundPrefixes_[piece] < prefix) ++piece;
  const bool isTold = piece == bounds_.size() || boundPrefixes_[piece] != prefix;
  if (isTold && IsPlainTerm(term)) return piece;
  const auto isBelow = [](std::string_view text, const std::string& bound) {
    return utils::CompareUtf8(text, bound) < 0;
  };
  return static_cast<std::size_t>(std::upper_bound(bounds_.begin(), bounds_.end(), term, isBelow) -
                                  bounds_.begin());
}

int TTerms::DevideInputFile(const std::string& directory, std::vector<std::string>* pieces) {
  LineReader reader;
  if (!reader.Open(path_)) return kNoRecordFiles;
  const std::string stem = utils::PathUtil::GetFileNameWithoutExtension(path_);
  std::vector<BuildFile> files(bounds_.size() + 1);
  for (BuildFile& file : files) {
    std::string path = directory;
    path.append(std::to_string(pieces->size() + 1)).append(stem).append("_.srt");
    pieces->push_back(std::move(path));
    if (!file.Create(pieces->back())) return kWriteFailed;
  }

  std::string_view line;
  for (std::int64_t count = 0; reader.Next(&line); ++count) {
    if (count % kCheckLines == 0) {
      if (app::CheckStopProcess(ctx_->app)) return kStopped;
      VelorReportProgress(ctx_, AdmOperation::kSplitFiles, reader.percent());
    }
    BuildFile& file = files[PieceOf(line)];
    file.AppendLine(line);
  }
  for (BuildFile& file : files)
    if (!file.Close()) return kWriteFailed;
  VelorReportProgress(ctx_, AdmOperation::kSplitFiles, 100);
  return reader.hasFailed() ? kNoRecordFiles : kOk;
}

}  // namespace velora
