#include "index/rec_terms.h"

#include <algorithm>
#include <cstring>
#include <memory>
#include <string>
#include <utility>
#include <vector>

#include "format/format_run.h"
#include "format/xpft_fst.h"
#include "index/stop_words.h"
#include "index/word_scan.h"
#include "index/words.h"
#include "storage/app_context.h"
#include "storage/codes.h"
#include "storage/edge.h"
#include "storage/shelf.h"
#include "utils/int_list.h"
#include "utils/string_utils.h"
#include "utils/utf8_char.h"

namespace recif {

namespace {

constexpr char kOccurrenceEnd = '%';
constexpr int kClassicResultBytes = 32000;

enum Method { kLines = 0, kAngles = 2, kSlashes = 3, kWords = 4, kPage = 5, kFile = 9 };
constexpr int kWithPrefix = 4;  // between methods 2 to 4 and their forms with a prefix

/// Calls take(piece) for each occurrence. What follows the last "%" is one unless it is empty.
template <class Take>
void ForEachPiece(std::string_view text, Take&& take) {
  while (!text.empty()) {
    const std::size_t end = std::min(text.find(kOccurrenceEnd), text.size());
    take(text.substr(0, end));
    text.remove_prefix(std::min(end + 1, text.size()));
  }
}

template <class Take>
void ForEachLine(std::string_view text, Take&& take) {
  int number = 0;
  for (std::string_view line; utils::StringUtils::NextLine(text, line);) take(line, ++number);
}

/// Calls take(stretch, number) for what stands between two marks.
template <class Take>
void ForEachStretch(std::string_view text, char open, char close, Take&& take) {
  for (int number = 1;; ++number) {
    const std::size_t start = text.find(open);
    if (start == text.npos) return;
    const std::size_t end = text.find(close, start + 1);
    if (end == text.npos) return;
    take(text.substr(start + 1, end - start - 1), number);
    text.remove_prefix(end + 1);
  }
}

/// Appends to a list.
auto AddTo(TStringList* out) {
  return [out](std::string_view word, int number) { out->AddObject(word, number); };
}

/// Takes the prefix with its two delimiters off the front of a format result. False when there is none: the
/// line then yields nothing.
bool TakePrefix(std::string_view& text, std::string_view& prefix) {
  constexpr std::size_t kShortest = 3;  // characters
  if (text.size() < kShortest || utils::CountUtf8Chars(text) < kShortest) return false;
  int used;
  static_cast<void>(utils::ReadUtf8Char(text.data(), text.size(), &used));
  const auto length = static_cast<std::size_t>(used);
  const std::string_view delimiter = text.substr(0, length);
  const std::size_t end = text.find(delimiter, length);
  if (end == text.npos) return false;
  prefix = text.substr(length, end - length);
  text.remove_prefix(end + length);
  return true;
}

/// A term is one line in the files of a bulk build: the update of a record makes of it what those hold.
void ToOneLine(std::string* text) {
  for (char& letter : *text)
    if (letter == '\r' || letter == '\n') letter = ' ';
}

bool IsSelected(int method, std::int32_t select) {
  const bool isFullText = method == kPage || method == kFile;
  if (select == kCatalogLines) return !isFullText;
  return select != kFullTextLines || isFullText;
}

}  // namespace

/// Makes the terms of one record after the other, and keeps its buffers from one to the next.
class TermMaker {
 public:
  explicit TermMaker(TVelorSpace* space)
      : space_(space), alphabet_(space->actab), stopWords_(space->stopWords.get()) {}

  void MakeTerms(int shelf, const VeloraRecTermParams& params, TermSink& sink);

 private:
  struct PageWord {
    std::size_t start;  // in pageText_
    std::size_t length;
    int number;
  };

  void FormatRecord();
  std::string_view FormatLine(int line);
  void TakeLine(int line);
  bool SetPrefix(std::string_view prefix);
  void TakePiece(int method, std::string_view piece);
  void TakeWords(std::string_view piece);
  void TakePage(std::string_view piece);
  void AddRaw(std::string_view word, int position);
  void AddWord(std::size_t wordBytes, int position);
  bool AddPageWord(const PageWord& word);
  void PutWord(std::string_view upper);
  bool IsStopTerm(std::string_view term) const;
  bool Emit(std::string_view term, const TifpItemPosting& posting, bool fullText);

  TVelorSpace* space_;
  indexing::Alphabet alphabet_;
  indexing::StopWords stopWords_;

  // The record.
  int shelf_ = 0;
  VeloraRecTermParams params_;
  TermSink* sink_ = nullptr;
  TStringList results_;  // of the formats, one a line of the table
  int page_ = 0;
  int pageOffset_ = 0;  // word numbers of the pages before

  // The line.
  TifpItemPosting posting_;
  std::size_t stopWordStart_ =
      0;  // in a term: behind the prefix as given, though upper case may differ in length

  // Scratch.
  indexing::WordBuffer buffer_;  // the prefix in upper case, and the word at work behind it
  std::u16string letters_;
  std::string raw_;
  std::string pageText_;
  std::vector<PageWord> pageWords_;
};

void TermMaker::MakeTerms(int shelf, const VeloraRecTermParams& params, TermSink& sink) {
  shelf_ = shelf;
  params_ = params;
  sink_ = &sink;
  page_ = 0;
  pageOffset_ = 0;
  if (!space_->fstLines || !space_->fstMethods) return;
  if (space_->app->xpftEnabled) FormatRecord();
  posting_ = {};
  posting_.mfn = velor_32::Velormfn(space_, shelf);
  for (int line = 0; line < space_->fstLines->GetCount(); ++line) TakeLine(line);
}

/// Runs the compiled table over the record.
void TermMaker::FormatRecord() {
  results_.Clear();
  if (!space_->xpftFst)
    space_->xpftFst = std::make_shared<xpft::XpftFst>(space_, space_->fstLines.get(), false);
  const std::shared_ptr<xpft::XpftFst> table = space_->xpftFst;  // a format may reload the tables
  table->Format(space_, shelf_, shelf_ + 1, &results_);
}

/// Good until the next line.
std::string_view TermMaker::FormatLine(int line) {
  if (space_->app->xpftEnabled) return results_.Get(line);
  const std::string format = space_->fstLines->Get(line);
  if (fmt_64::Velor_InitPFT(space_, format.data(), static_cast<int>(format.size())) != velor_32::kOk)
    return {};
  fmt_64::Velor_Format(space_, shelf_, shelf_ + 1, kClassicResultBytes, 0, "");
  const char* result = xpft::Velor_FormatResult(space_);
  return result == nullptr ? std::string_view() : result;
}

void TermMaker::TakeLine(int line) {
  const int method = space_->fstMethods->Get(line);
  if (!IsSelected(method, params_.select)) return;
  std::string_view text = FormatLine(line);
  std::string_view prefix;
  if (method > kWords && !TakePrefix(text, prefix)) return;
  if (!SetPrefix(prefix)) return;

  posting_.tag = space_->fstLines->GetNumObject(line);
  posting_.occ = 0;
  ForEachPiece(text, [&](std::string_view piece) {
    ++posting_.occ;
    TakePiece(method, piece);
  });
}

/// False for a prefix that no term can have.
bool TermMaker::SetPrefix(std::string_view prefix) {
  stopWordStart_ = prefix.size();
  utils::StringUtils::ToUpper(prefix, raw_);
  ToOneLine(&raw_);
  buffer_.SetPrefix(raw_);
  return indexing::IsUtf8(prefix);
}

void TermMaker::TakePiece(int method, std::string_view piece) {
  const auto add = [this](std::string_view word, int number) { AddRaw(word, number); };
  switch (method) {
    case kLines:
      return ForEachLine(piece, add);
    case kAngles:
    case kAngles + kWithPrefix:
      return ForEachStretch(piece, '<', '>', add);
    case kSlashes:
    case kSlashes + kWithPrefix:
      return ForEachStretch(piece, '/', '/', add);
    case kWords:
    case kWords + kWithPrefix:
      return TakeWords(piece);
    case kPage:
      return TakePage(piece);
    default:  // method 1 is reserved; files give no words
      return;
  }
}

void TermMaker::TakeWords(std::string_view piece) {
  constexpr int kLongestWhole = 4;  // characters
  const bool deflex = space_->deflex;
  const auto take = [&](const indexing::ScannedWord& word) {
    const bool isStemmed = deflex && word.chars > kLongestWhole;
    const std::string_view text = isStemmed ? indexing::CutEnding(word.text, letters_) : word.text;
    if (!stopWords_.Contains(text)) AddWord(text.size(), word.number);
  };
  indexing::ScanWords(alphabet_, piece, true, buffer_, take);
}

void TermMaker::TakePage(std::string_view piece) {
  if (!space_->isFullText || params_.skipFullText) return;
  ++page_;
  if (!sink_->TakesFullText()) return;

  pageText_.clear();
  pageWords_.clear();
  indexing::ScanPage(alphabet_, piece, buffer_, [this](std::string_view word, int number) {
    if (stopWords_.Contains(word)) return false;
    pageWords_.push_back({pageText_.size(), word.size(), number});
    pageText_ += word;
    return true;
  });
  int last = 0;
  for (const PageWord& word : pageWords_)  // only now is their number known, which each posting tells
    if (AddPageWord(word)) last = word.number;
  pageOffset_ += last;
}

/// Adds a word that is as the format printed it.
void TermMaker::AddRaw(std::string_view word, int position) {
  if (word.empty() || !indexing::IsUtf8(word)) return;
  utils::StringUtils::ToUpper(word, raw_);
  ToOneLine(&raw_);
  PutWord(raw_);
  if (!IsStopTerm(buffer_.Term(raw_.size()))) AddWord(raw_.size(), position);
}

/// Adds the word in the buffer.
void TermMaker::AddWord(std::size_t wordBytes, int position) {
  posting_.pos = position;
  Emit(buffer_.Term(wordBytes), posting_, false);
}

bool TermMaker::AddPageWord(const PageWord& word) {
  TifpItemPosting posting = posting_;
  posting.occ = posting.mfn;
  posting.pos = word.number + pageOffset_;
  posting.wordsInPiece = static_cast<std::int32_t>(pageWords_.size());
  posting.page = page_;
  posting.pageWord = word.number;
  PutWord(std::string_view(pageText_).substr(word.start, word.length));
  return Emit(buffer_.Term(word.length), posting, true);
}

void TermMaker::PutWord(std::string_view upper) {
  std::memcpy(buffer_.Reserve(upper.size()), upper.data(), upper.size());
}

bool TermMaker::IsStopTerm(std::string_view term) const {
  return stopWords_.Contains(term.substr(std::min(stopWordStart_, term.size())));
}

/// False when nothing is left of the term.
bool TermMaker::Emit(std::string_view term, const TifpItemPosting& posting, bool fullText) {
  if (stopWordStart_ != buffer_.prefix().size() && IsStopTerm(term)) return false;
  term = utils::StringUtils::Trim(backup::CutUtf8(term, kMaxTermBytes));
  if (term.empty()) return false;
  sink_->Add(term, posting, fullText);
  return true;
}

namespace {

/// Collects terms in lists.
class ListSink final : public TermSink {
 public:
  struct Lists {
    TStringList* terms;
    TIfpPostingList* postings;
  };
  ListSink(Lists catalog, Lists fullText, bool toDelete)
      : catalog_(catalog), fullText_(fullText), object_(toDelete ? 1 : 0) {}

  void Add(std::string_view term, const TifpItemPosting& posting, bool fullText) override {
    const Lists& lists = fullText ? fullText_ : catalog_;
    const int index = lists.postings->GetCount();
    isComplete_ =
        isComplete_ && lists.postings->AddObject(posting, object_) && lists.terms->AddObject(term, index);
  }
  [[nodiscard]] bool TakesFullText() const override {
    return fullText_.terms != nullptr && fullText_.postings != nullptr;
  }
  [[nodiscard]] bool isComplete() const { return isComplete_; }

 private:
  Lists catalog_;
  Lists fullText_;
  std::int32_t object_;
  bool isComplete_ = true;
};

}  // namespace

int EmitRecTerms(TVelorSpace* space, int shelf, const VeloraRecTermParams* params, TermSink& sink) {
  if (int rc = velor_32::CheckShelf(space, shelf); rc != velor_32::kOk) return rc;
  if (space->app == nullptr) return velor_32::kNoSpace;
  return velor_32::AtEdge([&] {
    // Taken out of the space meanwhile: a format that updates a record of the same space gets another one.
    std::shared_ptr<TermMaker> maker = std::exchange(space->termMaker, nullptr);
    if (!maker) maker = std::make_shared<TermMaker>(space);
    maker->MakeTerms(shelf, params == nullptr ? VeloraRecTermParams() : *params, sink);
    space->termMaker = std::move(maker);
    return velor_32::kOk;
  });
}

int MyIsisRecTerm(TVelorSpace* space, int shelf, TStringList* terms, TStringList* ftTerms,
                  TIfpPostingList* postings, TIfpPostingList* ftPostings, bool toDelete,
                  const VeloraRecTermParams* params) {
  ListSink sink({terms, postings}, {ftTerms, ftPostings}, toDelete);
  if (int rc = EmitRecTerms(space, shelf, params, sink); rc != velor_32::kOk) return rc;
  return sink.isComplete() ? velor_32::kOk : velor_32::kNoMemory;
}

int MyIsisRecTerm(TVelorSpace* space, int shelf, TStringList* terms, TIfpPostingList* postings) {
  return MyIsisRecTerm(space, shelf, terms, nullptr, postings, nullptr, false, nullptr);
}

void StrToTerms0(const char* text, TStringList* out) {
  out->Clear();
  ForEachLine(text, AddTo(out));
}

void StrToTerms2(const char* text, TStringList* out) {
  out->Clear();
  ForEachStretch(text, '<', '>', AddTo(out));
}

void StrToTerms3(const char* text, TStringList* out) {
  out->Clear();
  ForEachStretch(text, '/', '/', AddTo(out));
}

}  // namespace recif
