#include "exchange/record_merger.h"

#include <filesystem>
#include <system_error>

#include "exchange/merge_records.h"
#include "format/record_filter.h"
#include "index/rec_terms.h"
#include "index/words.h"
#include "storage/codes.h"
#include "storage/record_read.h"
#include "storage/record_status.h"
#include "storage/term_format.h"
#include "storage/term_read.h"
#include "utils/string_list.h"
#include "utils/string_utils.h"
#include "utils/text_util.h"

namespace velora {

using velor_32::kNoInvertedFile;
using velor_32::kOk;

namespace {

constexpr std::size_t kKeyBytes = 254;
static_assert(kKeyBytes < velor_01::kTermBufferSize);

/// A new database has three empty files. Where only some of them are, terms would not be found that are
/// there.
bool IsTornIndex(const std::string& path) {
  int empty = 0;
  for (const char* extension : {".n01", ".l01", ".ifp"}) {
    std::error_code missing;
    const auto size = std::filesystem::file_size(path + extension, missing);
    if (!missing && size == 0) ++empty;
  }
  return empty == 1 || empty == 2;
}

std::string_view FirstLine(std::string_view text) {
  return utils::StringUtils::Trim(text.substr(0, text.find_first_of("\r\n")));
}

}  // namespace

int RecordMerger::Prepare(const std::string& words) {
  velor_01::TStringList rows;
  LoadFieldTable(space_, &rows);
  fieldTable_ = FieldTable(rows);
  if (IsTornIndex(space_->termPath)) return kNoInvertedFile;
  if (words.starts_with('@')) {
    literal_ = utils::TextUtil::ReadAllTextUtf8(std::string_view(words).substr(1));
    return kOk;
  }
  const std::string format = LookupFormat(space_, words);
  return format.empty() ? velor_32::kNotFound : print_.Prepare(format);
}

RecordMerger::Outcome RecordMerger::Merge(int slot) {
  mfn_ = error_ = 0;
  keyFailed_ = false;
  const int partner = FindPartner(KeyOf(slot));
  if (partner < 0) {
    error_ = partner;
    return Outcome::kFailed;
  }
  if (partner == 0) return Outcome::kNoPartner;
  mfn_ = partner;
  const int target = slot + 1;
  error_ = velor_32::VelorRecord(space_, target, partner);
  // Of a physically deleted or damaged partner there is nothing to merge with, and what went into a logically
  // deleted one would be out of sight: as a new record the fields are lost in no case.
  if (error_ != kOk) return Outcome::kNoPartner;
  velor_32::Velorrecunlock(space_, target);
  return MergeRecords(space_, slot, target, fieldTable_) ? Outcome::kMerged : Outcome::kUnchanged;
}

std::string_view RecordMerger::KeyOf(int slot) {
  if (!print_.isPrepared()) return FirstLine(literal_);
  std::string_view output;
  keyFailed_ = !print_.Run(slot, &output);
  return keyFailed_ ? std::string_view() : FirstLine(output);
}

/// A number of a record, 0 when there is none, or an error.
int RecordMerger::FindPartner(std::string_view key) {
  if (key.empty()) return 0;
  int mfn = 0;
  if (key.starts_with('@') && utils::TextUtil::Int32ParseExact(key.substr(1), &mfn)) return mfn < 0 ? 0 : mfn;
  // What another process is writing at this moment cannot be read; to take a record for a new one because of
  // that would double it.
  constexpr int kMostTries = 10;
  int result = kNoInvertedFile;
  for (int tries = 0; tries < kMostTries && result == kNoInvertedFile; ++tries) result = FindByTerm(key);
  return result;
}

int RecordMerger::FindByTerm(std::string_view key) {
  char term[velor_01::kTermBufferSize] = {};
  backup::CutUtf8(key, kKeyBytes).copy(term, kKeyBytes);
  backup::Translate(term, sizeof term, space_->uctab);
  term[backup::CutUtf8(term, recif::kMaxTermBytes).size()] = '\0';  // as the index cut the term
  const int found = velor_32::Velorfind(space_, term);
  if (found == kNoInvertedFile) return found;
  if (found != kOk || velor_32::Velornposts(space_) < 1) return 0;
  if (int rc = velor_32::Velornxtpost(space_); rc != kOk) return rc;
  return velor_32::Velorposting(space_, 1);
}

}  // namespace velora
