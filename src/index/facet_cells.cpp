#include "index/facet_cells.h"

#include <dirent.h>
#include <unistd.h>

#include <algorithm>
#include <memory>
#include <vector>

#include "index/build_files.h"
#include "index/build_lock.h"
#include "index/dict_load.h"
#include "index/record_index.h"
#include "index/words.h"
#include "storage/codes.h"
#include "storage/database_open.h"
#include "storage/edge.h"
#include "storage/term_first.h"
#include "utils/mfn_tag_list.h"
#include "utils/path_util.h"
#include "utils/string_utils.h"

namespace velora {

using velor_01::TStringList;
using velor_01::TVelorSpace;
using velor_32::kOk;

namespace {

constexpr int kNotWritten = velor_32::kNotFound;
constexpr int kApplyTimeoutSeconds = 5;
constexpr std::size_t kLongestCellTerm = 253;  // bytes
constexpr char kCellPosting[] = "1 1 1 1 0 0 0 0 ";

using Terms = std::vector<std::string>;

int FailWithTerm(const char* title, int rc, const char* term) {
  velor_server_proc::LogTool(title + std::to_string(rc) + " term " + term);
  return rc;
}

/// Calls `visit` with each term that begins with `prefix`, as long as it gives 0.
template <class Visit>
int ForEachTerm(TVelorSpace* space, const std::string& prefix, Visit&& visit) {
  char term[velor_01::kTermBufferSize] = {};
  prefix.copy(term, sizeof term - 1);
  int rc = velor_32::FindFirstTerm(space, term);
  for (; rc == kOk; rc = velor_32::Velornxtterm(space, term)) {
    if (!std::string_view(term).starts_with(prefix)) return kOk;
    if (app::CheckStopProcess(space->app)) return kStopped;
    if (int failed = visit(term); failed != kOk) return failed;
  }
  return rc == velor_32::kBehindLastTerm ? kOk : FailWithTerm("Dictionary error ", rc, term);
}

/// Whether what stands behind "=<prefix>" is the number of a value and its text.
bool HasValueForm(std::string_view rest) {
  const std::size_t digits = std::min(rest.find_first_not_of("0123456789"), rest.size());
  return digits > 0 && digits < rest.size() && rest[digits] == '=';
}

/// The terms of values that the dictionary has now.
int CollectCellTerms(TVelorSpace* space, const TStringList& prefixes, Terms* terms) {
  for (const velor_01::TStringItem& item : prefixes.Items()) {
    const std::string head = std::string("=") + item.text;
    const int rc = ForEachTerm(space, head, [&](const char* term) {
      const bool isThere = velor_32::Velornposts(space) > 0;  // a deleted term may stand without postings
      if (isThere && HasValueForm(std::string_view(term).substr(head.size()))) terms->emplace_back(term);
      return kOk;
    });
    if (rc != kOk) return rc;
  }
  return kOk;
}

/// Applies terms to the dictionary by way of a term file, which the update removes.
int ApplyTerms(TVelorSpace* space, const Terms& terms, bool toDelete) {
  if (terms.empty()) return kOk;
  const std::string path = space->path + "_cell.trm";
  BuildFile file;
  bool isWritten = file.Create(path);
  for (const std::string& term : terms)
    if (isWritten) file.AppendLine(kCellPosting + term);
  isWritten = isWritten && file.Close();
  if (!isWritten) {
    ::unlink(path.c_str());
    velor_server_proc::LogTool("Cell file create failed " + path);
    return kNotWritten;
  }
  return velor_32::VelorRecIfUpdateFullTextTime(space, kApplyTimeoutSeconds, path.c_str(), toDelete);
}

/// Makes the cells of a space from its dictionary.
class CellBuilder {
 public:
  CellBuilder(const VelorAContext& ctx, TVelorSpace* space)
      : space_(space),
        fewestPostings_(MainNumber(*ctx.app, "MAX_POSTINGS_NUMBER_IN_CELL", 0)),
        shortestText_(MainNumber(*ctx.app, "MAX_LENGTH_CELL_TERM", 2)) {
    pairs_.SetDuplicate(true);
  }

  int Build(int cell, const std::string& prefix) {
    value_ = 0;
    pairs_.Clear();
    if (int rc = ForEachTerm(space_, prefix, [&](const char* term) { return Take(term, prefix); }); rc != kOk)
      return rc;
    pairs_.Sort();
    const std::string path = CellFile(space_, cell);
    if (pairs_.SaveToFileCellIndex0(path.c_str()) == ExtList::TMfnTagList::kOk) return kOk;
    velor_server_proc::LogTool("Cell file create failed " + path);
    return kNotWritten;
  }

  [[nodiscard]] Terms& terms() { return terms_; }

 private:
  int Take(const char* term, const std::string& prefix) {
    const int count = velor_32::Velornposts(space_);
    const std::string_view text = std::string_view(term).substr(prefix.size());
    if (count <= fewestPostings_ || !IsValue(text)) return kOk;
    ++value_;
    for (int i = 0; i < count; ++i) {
      if (int rc = velor_32::Velornxtpost(space_); rc != kOk)
        return FailWithTerm("Velornxtpost error ", rc, term);
      if (!pairs_.AddItem(velor_32::Velorposting(space_, 1), value_)) return velor_32::kNoMemory;
    }
    const std::string cellTerm = CellTermKey(prefix, value_).append(utils::StringUtils::TrimRight(text));
    terms_.emplace_back(backup::CutUtf8(cellTerm, kLongestCellTerm));
    return kOk;
  }

  [[nodiscard]] bool IsValue(std::string_view text) const {
    if (text.starts_with(' ')) return false;
    const std::string_view trimmed = utils::StringUtils::TrimRight(text);
    const auto isFirstByte = [](char byte) { return (static_cast<unsigned char>(byte) & 0xC0) != 0x80; };
    return std::count_if(trimmed.begin(), trimmed.end(), isFirstByte) > shortestText_;
  }

  TVelorSpace* space_;
  const int fewestPostings_;  // a value has more
  const int shortestText_;    // characters; a text has more
  int value_ = 0;
  ExtList::TMfnTagList pairs_;
  Terms terms_;  // of all cells
};

/// What is in the first list and not in the second; both get sorted.
Terms Difference(Terms& first, Terms& second) {
  std::sort(first.begin(), first.end());
  std::sort(second.begin(), second.end());
  Terms result;
  std::set_difference(first.begin(), first.end(), second.begin(), second.end(), std::back_inserter(result));
  return result;
}

/// True for "<stem><digits>.cell".
bool IsCellFile(std::string_view name, std::string_view stem) {
  constexpr std::string_view kExtension = ".cell";
  if (!name.starts_with(stem) || !name.ends_with(kExtension)) return false;
  if (name.size() <= stem.size() + kExtension.size()) return false;
  name.remove_suffix(kExtension.size());
  return name.substr(stem.size()).find_first_not_of("0123456789") == name.npos;
}

/// Whatever number of cells there was.
void RemoveCellFiles(const TVelorSpace* space) {
  const std::string directory = utils::PathUtil::GetDirectoryName(space->path);
  const std::string stem = utils::PathUtil::GetFileName(space->path);
  const std::unique_ptr<DIR, int (*)(DIR*)> entries(::opendir(directory.c_str()), ::closedir);
  if (entries == nullptr) return;
  while (const dirent* entry = ::readdir(entries.get()))
    if (IsCellFile(entry->d_name, stem)) ::unlink((directory + "/" + entry->d_name).c_str());
}

/// What a change of the cells means for the dictionary.
struct TermChange {
  Terms gone;
  Terms added;
};

int BuildFiles(VelorAContext* ctx, TVelorSpace* space, const TStringList& prefixes, TermChange* change) {
  RemoveCellFiles(space);
  CellBuilder builder(*ctx, space);
  for (int i = 0; i < prefixes.GetCount(); ++i)
    if (int rc = builder.Build(i + 1, prefixes.Get(i)); rc != kOk) return rc;
  Terms old;
  if (int rc = CollectCellTerms(space, prefixes, &old); rc != kOk) return rc;
  change->gone = Difference(old, builder.terms());
  change->added = Difference(builder.terms(), old);
  return kOk;
}

int RemoveFiles(VelorAContext* /*ctx*/, TVelorSpace* space, const TStringList& prefixes, TermChange* change) {
  RemoveCellFiles(space);
  return CollectCellTerms(space, prefixes, &change->gone);
}

/// Does the work on the files under the lock of the database. A locked database refuses term files, also from
/// the one that locked it, so these follow when it is free again.
int ChangeCells(VelorAContext* ctx, TVelorSpace* space, decltype(BuildFiles)* work) {
  if (ctx == nullptr || !velor_32::IsOpen(space)) return velor_32::kNoSpace;
  return velor_32::AtEdge([&] {
    TermChange change;
    {
      const BuildLock lock(space, ctx->relayRecTime);
      if (lock.result() != kOk) return lock.result();
      TStringList prefixes;
      LoadCellPrefixes(space, &prefixes);
      if (prefixes.GetCount() == 0) {
        velor_server_proc::LogTool("Empty cell list");
        return kOk;
      }
      if (int rc = work(ctx, space, prefixes, &change); rc != kOk) return rc;
    }
    if (int rc = ApplyTerms(space, change.gone, true); rc != kOk) return rc;
    return ApplyTerms(space, change.added, false);
  });
}

}  // namespace

void LoadCellPrefixes(const TVelorSpace* space, TStringList* prefixes) {
  TStringList lines;
  lines.LoadFromFile(space->path + ".cells");
  lines.EnsureUtf8();
  prefixes->Clear();
  for (const velor_01::TStringItem& line : lines.Items())
    if (line.text != nullptr && *line.text != '\0') prefixes->Add(line.text);
  prefixes->SortUtf8();
}

std::string CellFile(const TVelorSpace* space, int cell) {
  return space->path + std::to_string(cell) + ".cell";
}

std::string CellTermKey(std::string_view prefix, int value) {
  return std::string("=").append(prefix).append(std::to_string(value)).append("=");
}

int VelorCreateCells(VelorAContext* ctx, TVelorSpace* space) {
  return ChangeCells(ctx, space, BuildFiles);
}

int VelorDeleteCells(VelorAContext* ctx, TVelorSpace* space) {
  return ChangeCells(ctx, space, RemoveFiles);
}

int RenewCells(VelorAContext* ctx, TVelorSpace* space) {
  RemoveCellFiles(space);
  const bool isWanted = MainNumber(*ctx->app, "CREATE_CELLS_ON_IF_REORGANIZATION", 0) > 0;
  return isWanted ? VelorCreateCells(ctx, space) : kOk;
}

}  // namespace velora
