#include "index/term_sort.h"

#include <signal.h>
#include <sys/prctl.h>
#include <unistd.h>

#include <algorithm>
#include <cstdlib>
#include <cstring>
#include <new>
#include <numeric>

#include "index/build_files.h"
#include "index/dict_load.h"
#include "index/multiload.h"
#include "index/progress.h"
#include "index/term_line.h"
#include "storage/codes.h"
#include "storage/master_file.h"
#include "storage/process.h"
#include "utils/endian.h"
#include "utils/file_layer.h"
#include "utils/text_util.h"
#include "utils/utf8_order.h"

namespace velora {

using velor_32::kNoRecordFiles;
using velor_32::kOk;

namespace {

constexpr std::int64_t kLeastLimit = 1000000;
constexpr std::int64_t kMostLimit = 858993459;               // offsets in the text are words of 32 bits
constexpr std::size_t kSpareMemory = std::size_t{40} << 20;  // beside the limit, for what goes with the text
constexpr std::uint32_t kNone = UINT32_MAX;
constexpr std::size_t kItemStep = 1 << 20;
constexpr std::size_t kFirstSlots = 1 << 16;
constexpr std::size_t kCheckLines = 65536;  // between two looks at the stop flag
constexpr std::size_t kLookAhead = 64;      // lines whose terms are looked up together
constexpr std::ptrdiff_t kPrefetch = 32;    // lines ahead
constexpr std::size_t kLineEndBytes = 2;
constexpr std::size_t kLinesForTwo = 200000;  // from which a second process is worth its start
constexpr std::uint32_t kPrefixBytes = sizeof(std::uint64_t);

std::uint32_t Hash(std::string_view term) {
  constexpr std::uint64_t kFactor = 0x9E3779B97F4A7C15;
  std::uint64_t hash = term.size() * kFactor;
  for (std::size_t i = 0; i < term.size(); i += kPrefixBytes) {
    std::uint64_t word = 0;
    std::memcpy(&word, term.data() + i, std::min<std::size_t>(kPrefixBytes, term.size() - i));
    hash = (hash ^ word) * kFactor;
    hash ^= hash >> 32;
  }
  return static_cast<std::uint32_t>(hash);
}

}  // namespace

std::uint64_t TermPrefix(std::string_view text) {
  char bytes[kPrefixBytes] = {};
  std::memcpy(bytes, text.data(), std::min<std::size_t>(kPrefixBytes, text.size()));
  return std::uint64_t{utils::LoadBe32(bytes)} << 32 | utils::LoadBe32(bytes + 4);
}

bool IsPlainTerm(std::string_view term) {
  return term.find('\0') == std::string_view::npos && utils::TextUtil::CheckUTF8(term);
}

std::int64_t TTerms::DefaultMemoryLimit() {
  const std::int64_t memory = std::int64_t{::sysconf(_SC_PHYS_PAGES)} * ::sysconf(_SC_PAGESIZE);
  return std::clamp(memory / 10, kLeastLimit, kMostLimit);
}

TTerms::TTerms(VelorAContext* ctx, int numbers, std::int64_t memoryLimit)
    : ctx_(ctx), numbers_(numbers), memoryLimit_(std::min(memoryLimit, kMostLimit)) {}

TTerms::~TTerms() = default;

int TTerms::LoadFromFile(const std::string& path) {
  const int handle = backup::_lopen(path.c_str(), velor_32::kOpenRead);
  if (handle < 0) return kNoRecordFiles;
  path_ = path;
  size_ = backup::_llseek(handle, 0, SEEK_END);
  isTooLarge_ = size_ > memoryLimit_;
  const bool isWanted = size_ > 0 && !isTooLarge_;
  if (isWanted && map_.Follow(handle)) text_ = map_.At(0, static_cast<std::size_t>(size_));
  backup::_lclose(handle);
  return size_ < 0 || (isWanted && text_ == nullptr) ? kNoRecordFiles : kOk;
}

void TTerms::FreeText() {
  text_ = nullptr;
  map_.Drop();
  items_.reset();
  count_ = capacity_ = 0;
  std::vector<Distinct>().swap(distinct_);
}

int TTerms::Sort() {
  slots_.assign(kFirstSlots, {0, kNone});
  const int rc = Parse();
  std::vector<Slot>().swap(slots_);
  if (rc != kOk || isTooLarge_) return rc;
  SpreadLines(OrderTerms());
  return kOk;
}

int TTerms::Parse() {
  const char* at = text_;
  const char* const end = at + size_;
  for (std::size_t lines = 0; at < end; ++lines) {
    if (lines % kCheckLines == 0 && app::CheckStopProcess(ctx_->app)) return kStopped;
    const char* const lineEnd = FindLineEnd(at, end);
    if (lineEnd > at) TakeLine({at, static_cast<std::size_t>(lineEnd - at)});
    at = lineEnd + 1;
    if (pending_.size() < kLookAhead && at < end) continue;
    if (!AddPending()) isTooLarge_ = true;
    if (isTooLarge_) return kOk;
  }
  return kOk;
}

void TTerms::TakeLine(std::string_view line) {
  TermLine parsed;
  const LineFault fault = ParseTermLine(line, numbers_, &parsed);
  const auto offset = static_cast<std::uint32_t>(line.data() - text_);
  if (fault == LineFault::kNone) {
    const auto bytes = static_cast<std::uint32_t>(line.size() + kLineEndBytes);
    pending_.push_back({offset, Hash(parsed.term), parsed.term, 0, bytes});
  } else if (fault != LineFault::kFieldCount) {
    ReportBuildError("sorting: incorrect term line at offset " + std::to_string(offset));
    ReportBuildError("sorting: incorrect term line " + std::string(line));
  }
}

/// False when memory does not suffice.
bool TTerms::AddPending() {
  if (count_ + kLookAhead > capacity_ && !GrowItems()) return false;
  if ((distinct_.size() + kLookAhead) * 2 > slots_.size() && !GrowTable()) return false;
  FetchTerms();
  for (const Pending& line : pending_) items_[count_++] = {line.offset, FindTerm(line)};
  pending_.clear();
  return true;
}

/// A term is found by way of slot, number and text, which lie all over the memory. For many lines at once the
/// way is gone step by step, so that the waiting for memory goes on side by side.
void TTerms::FetchTerms() {
  const std::size_t mask = slots_.size() - 1;
  for (Pending& line : pending_) {
    line.place = line.hash & mask;
    __builtin_prefetch(&slots_[line.place]);
  }
  for (Pending& line : pending_) {
    while (slots_[line.place].index != kNone && slots_[line.place].hash != line.hash)
      line.place = (line.place + 1) & mask;
    if (slots_[line.place].index != kNone) __builtin_prefetch(&distinct_[slots_[line.place].index]);
  }
  for (const Pending& line : pending_)
    if (slots_[line.place].index != kNone)
      __builtin_prefetch(text_ + distinct_[slots_[line.place].index].offset);
}

/// Whether text, lines and terms stay within the bounds, now and when the terms are sorted.
bool TTerms::Fits() const {
  const std::size_t now = capacity_ * sizeof(TTerm) + slots_.size() * sizeof(Slot);
  const std::size_t later =
      capacity_ * (sizeof(TTerm) + sizeof *order_.get()) + distinct_.size() * sizeof(Key);
  const std::size_t both = static_cast<std::size_t>(size_) + distinct_.capacity() * sizeof(Distinct);
  return both + std::max(now, later) <= static_cast<std::size_t>(memoryLimit_) + kSpareMemory;
}

bool TTerms::GrowItems() {
  capacity_ += kItemStep;
  if (!Fits()) return false;
  void* const larger = std::realloc(items_.get(), capacity_ * sizeof(TTerm));
  if (larger == nullptr) return false;
  static_cast<void>(items_.release());
  items_.reset(static_cast<TTerm*>(larger));
  return true;
}

bool TTerms::GrowTable() {
  const std::size_t size = slots_.size() * 2;
  std::vector<Slot>().swap(slots_);
  distinct_.reserve(size / 2 + 1);
  slots_.resize(size, {0, kNone});
  if (!Fits()) return false;
  for (std::uint32_t i = 0; i < distinct_.size(); ++i) {
    std::size_t place = distinct_[i].hash & (size - 1);
    while (slots_[place].index != kNone) place = (place + 1) & (size - 1);
    slots_[place] = {distinct_[i].hash, i};
  }
  return true;
}

/// The number of a term, which is counted.
std::uint32_t TTerms::FindTerm(const Pending& line) {
  const std::size_t mask = slots_.size() - 1;
  std::size_t place = line.place;  // no slot before it was free, and none has the hash
  for (; slots_[place].index != kNone; place = (place + 1) & mask) {
    if (slots_[place].hash != line.hash) continue;
    Distinct& known = distinct_[slots_[place].index];
    if (TermOf(known) != line.term) continue;
    ++known.count;
    known.bytes += line.bytes;
    return slots_[place].index;
  }
  const auto index = static_cast<std::uint32_t>(distinct_.size());
  slots_[place] = {line.hash, index};
  distinct_.push_back({static_cast<std::uint32_t>(line.term.data() - text_), line.hash, 1,
                       static_cast<std::uint32_t>(line.term.size()), line.bytes});
  hasOnlyValidTerms_ = hasOnlyValidTerms_ && IsPlainTerm(line.term);
  return index;
}

std::string_view TTerms::TermOf(const Distinct& distinct) const {
  return {text_ + distinct.offset, distinct.length};
}

/// The distinct terms in their order, which for valid UTF-8 is that of the bytes.
std::vector<std::uint32_t> TTerms::OrderTerms() const {
  std::vector<Key> keys(distinct_.size());
  for (std::uint32_t i = 0; i < keys.size(); ++i) keys[i] = {0, i, distinct_[i].length};
  if (hasOnlyValidTerms_) {
    SortKeys(keys.data(), keys.data() + keys.size(), 0);
  } else {
    std::stable_sort(keys.begin(), keys.end(), [this](const Key& a, const Key& b) {
      return utils::CompareUtf8(TermOf(distinct_[a.index]), TermOf(distinct_[b.index])) < 0;
    });
  }
  std::vector<std::uint32_t> sorted(keys.size());
  std::transform(keys.begin(), keys.end(), sorted.begin(), [](const Key& key) { return key.index; });
  return sorted;
}

/// The eight bytes from `depth` on, filled up with zeros: their order as numbers is that of the bytes.
void TTerms::LoadPrefixes(Key* first, Key* last, std::uint32_t depth) const {
  for (Key* key = first; key != last; ++key)
    key->prefix = TermPrefix(TermOf(distinct_[key->index]).substr(depth));
}

/// Sorts terms that are equal in the first `depth` bytes and longer than that: by the next eight bytes as one
/// number, then what is equal in these by the eight behind them.
void TTerms::SortKeys(Key* first, Key* last, std::uint32_t depth) const {
  LoadPrefixes(first, last, depth);
  std::sort(first, last, [](const Key& a, const Key& b) { return a.prefix < b.prefix; });
  for (Key* run = first; run != last;) {
    Key* end = run + 1;
    while (end != last && end->prefix == run->prefix) ++end;
    // At most one term ends here, since no term holds a zero byte; it is the smallest.
    const auto endsHere = [depth](const Key& key) { return key.length <= depth + kPrefixBytes; };
    if (Key* const longer = end - run > 1 ? std::partition(run, end, endsHere) : end; end - longer > 1)
      SortKeys(longer, end, depth + kPrefixBytes);
    run = end;
  }
}

void TTerms::SpreadLines(const std::vector<std::uint32_t>& sorted) {
  std::vector<std::uint32_t> next(distinct_.size());
  std::uint32_t place = 0;
  std::int64_t bytes = 0;
  const std::int64_t half =
      std::accumulate(distinct_.begin(), distinct_.end(), std::int64_t{0},
                      [](std::int64_t sum, const Distinct& distinct) { return sum + distinct.bytes; }) /
      2;
  for (std::size_t i = 0; i < sorted.size(); ++i) {
    const Distinct& distinct = distinct_[sorted[i]];
    // Texts that are no valid UTF-8 can differ and be one term.
    const bool isSameTerm = i > 0 && !hasOnlyValidTerms_ &&
                            utils::CompareUtf8(TermOf(distinct_[sorted[i - 1]]), TermOf(distinct)) == 0;
    if (isSameTerm) groupEnds_.pop_back();
    if (bytes <= half && !isSameTerm) {
      tailGroup_ = groupEnds_.size();
      tailOffset_ = bytes;
    }
    bytes += distinct.bytes;
    next[sorted[i]] = place;
    place += distinct.count;
    groupEnds_.push_back(place);
  }
  order_.reset(static_cast<std::uint32_t*>(std::malloc((count_ + 1) * sizeof(std::uint32_t))));
  if (!order_) throw std::bad_alloc();
  for (std::size_t i = 0; i < count_; ++i) order_[next[items_[i].term]++] = items_[i].offset;
  items_.reset();
}

std::string_view TTerms::LineAt(std::uint32_t offset) const {
  const char* const at = text_ + offset;
  return {at, static_cast<std::size_t>(FindLineEnd(at, text_ + size_) - at)};
}

bool TTerms::IsBefore(std::uint32_t a, std::uint32_t b) const {
  const int order = CompareLineNumbers(text_ + a, text_ + b, numbers_);
  return order != 0 ? order < 0 : LineAt(a) < LineAt(b);
}

/// The lines of one term. Those of a record can stand in another order than that of their numbers, the
/// records seldom do: a line is moved back to its place, as long as that does not become the rule.
void TTerms::SortGroup(std::uint32_t* first, std::uint32_t* last) const {
  std::ptrdiff_t moves = 8 * (last - first);
  for (std::uint32_t* line = first + 1; line < last; ++line) {
    if (last - line > kPrefetch) __builtin_prefetch(text_ + line[kPrefetch]);
    const std::uint32_t moved = *line;
    std::uint32_t* place = line;
    for (; place > first && IsBefore(moved, place[-1]) && moves > 0; --place, --moves) *place = place[-1];
    *place = moved;
    if (moves > 0) continue;
    std::sort(first, last, [this](std::uint32_t a, std::uint32_t b) { return IsBefore(a, b); });
    return;
  }
}

int TTerms::SaveToFile(const std::string& path, bool append) {
  BuildFile file;
  const bool isOpen = append ? file.OpenAtEnd(path) : file.Create(path);
  if (!isOpen) return kWriteFailed;
  const std::int64_t tailStart = file.position() + tailOffset_;
  const pid_t self = ::getpid();
  const pid_t helper = UsesWorkers(*ctx_) && count_ >= kLinesForTwo ? ::fork() : -1;
  if (helper == 0) {
    // A build that was killed and begun again must not find anybody writing.
    const bool hasParent = ::prctl(PR_SET_PDEATHSIG, SIGKILL) == 0 && ::getppid() == self;
    ::_exit(hasParent && SaveTail(path, tailStart) == kOk ? 0 : 1);
  }
  int rc = SaveGroups(0, helper > 0 ? tailGroup_ : groupEnds_.size(), &file);
  if (rc == kOk && map_.wasCut()) rc = kNoRecordFiles;
  if (!file.Close() && rc == kOk) rc = kWriteFailed;
  if (helper > 0 && app::WaitProcess(helper) != 0 && rc == kOk)
    rc = app::CheckStopProcess(ctx_->app) ? kStopped : kWriteFailed;
  return rc;
}

/// Runs in a process of its own, on the memory that it got from its parent.
int TTerms::SaveTail(const std::string& path, std::int64_t start) {
  BuildFile file;
  if (!file.OpenAt(path, start)) return kWriteFailed;
  int rc = SaveGroups(tailGroup_, groupEnds_.size(), &file);
  if (rc == kOk && map_.wasCut()) rc = kNoRecordFiles;
  return file.Close() || rc != kOk ? rc : kWriteFailed;
}

int TTerms::SaveGroups(std::size_t firstGroup, std::size_t endGroup, BuildFile* file) {
  std::uint32_t* first = order_.get() + (firstGroup == 0 ? 0 : groupEnds_[firstGroup - 1]);
  const std::uint32_t* const end = order_.get() + count_;
  const auto fetch = [&](const std::uint32_t* line) {
    if (line < end) __builtin_prefetch(text_ + *line);
  };
  for (std::size_t group = firstGroup; group < endGroup; ++group) {
    if ((group - firstGroup) % kCheckLines == 0 && app::CheckStopProcess(ctx_->app)) return kStopped;
    std::uint32_t* const last = order_.get() + groupEnds_[group];
    SortGroup(first, last);
    for (; first != last; ++first) {
      fetch(first + kPrefetch);
      file->AppendLine(LineAt(*first));
    }
  }
  return kOk;
}

int TTerms::CompareTerms(std::string_view lineA, std::string_view lineB, int numbers) {
  TermLine a;
  TermLine b;
  const bool isSoundA = ParseTermLine(lineA, numbers, &a) == LineFault::kNone;
  const bool isSoundB = ParseTermLine(lineB, numbers, &b) == LineFault::kNone;
  if (!isSoundA || !isSoundB) return isSoundA ? 1 : isSoundB ? -1 : lineA.compare(lineB);
  if (const int order = utils::CompareUtf8(a.term, b.term); order != 0) return order;
  const int order = CompareLineNumbers(lineA.data(), lineB.data(), numbers);
  return order != 0 ? order : lineA.compare(lineB);
}

}  // namespace velora
