#include "index/dict_files.h"

#include <unistd.h>

#include <cstdio>
#include <memory>
#include <vector>

#include "index/build_files.h"
#include "index/dict_load.h"
#include "index/term_line.h"
#include "storage/app_context.h"
#include "storage/codes.h"
#include "storage/term_format.h"
#include "utils/path_util.h"
#include "utils/utf8_order.h"

namespace velora {
namespace {

using velor_01::kMaxTermIndexes;
using velor_32::kNoInvertedFile;
using velor_32::kNoRecordFiles;
using velor_32::kOk;

constexpr const char* kSetExtensions[] = {".ifp", ".l01", ".n01"};
constexpr int kCheckLines = 4096;  // lines between two looks at the stop flag

bool Rename(const std::string& from, const std::string& to) {
  return std::rename(from.c_str(), to.c_str()) == 0;
}

/// Makes a set of files without terms.
bool WriteEmptySet(const NewSet& set) {
  OutputFile file;
  for (const std::string* path : {&set.ifp, &set.l01, &set.n01})
    if (!file.Create(*path) || !file.Close()) return false;
  return true;
}

/// The file that the root is in goes last: a set is what its `.n01` says.
bool RenameSet(const std::string& termPath, int part) {
  for (const char* extension : kSetExtensions) {
    const std::string path = termPath + extension + SetSuffix(part);
    if (!Rename(path + "_", path)) return false;
  }
  return true;
}

/// Replaces the main set. For the moment in which its files do not belong together the root is that of an
/// empty dictionary.
bool ReplaceMainSet(const std::string& termPath) {
  const std::string n01 = termPath + ".n01";
  const std::string empty = n01 + "__";
  OutputFile file;
  return file.Create(empty) && file.Close() && Rename(empty, n01) && RenameSet(termPath, kMainSet);
}

bool EmptyMainSet(const std::string& termPath) {
  return WriteEmptySet(NewSet(termPath, kMainSet)) && RenameSet(termPath, kMainSet);
}

void RemoveAdditionalSets(const std::string& termPath) {
  for (int part = 1; part <= kMaxTermIndexes; ++part)
    for (const char* extension : kSetExtensions) ::unlink((termPath + extension + SetSuffix(part)).c_str());
}

/// While the separators stand, nobody looks at the main set.
bool PutMainSet(const std::string& termPath, bool wasSplit) {
  if (!wasSplit) return ReplaceMainSet(termPath);
  if (!RenameSet(termPath, kMainSet) || ::unlink((termPath + ".inv").c_str()) != 0) return false;
  RemoveAdditionalSets(termPath);
  return true;
}

/// The sets count from the moment the separators stand, and the main set until then: the old dictionary, or
/// an empty one where old sets are replaced.
bool PutSplitSets(const std::string& termPath, bool wasSplit) {
  const std::string inv = termPath + ".inv";
  if (wasSplit && (!EmptyMainSet(termPath) || ::unlink(inv.c_str()) != 0)) return false;
  for (int part = 1; part <= kMaxTermIndexes; ++part)
    if (!RenameSet(termPath, part)) return false;
  return Rename(inv + "_", inv) && (wasSplit || EmptyMainSet(termPath));
}

/// Gives each term of a sorted file, when it appears first, and all its lines to `visit(line, term, isNew)`
/// until that returns false. Lines that are none go with the term before. Result 0, -400 or -999.
template <class Visit>
int VisitLines(velor_01::TVelorSpace* space, const std::string& lk1, Visit&& visit) {
  LineReader reader;
  if (!reader.Open(lk1)) return kNoRecordFiles;
  const int numbers = NumbersInLine(space->isFullText);
  std::string previous;
  std::string_view line;
  TermLine parsed;
  for (std::int64_t count = 0; reader.Next(&line); ++count) {
    if (count % kCheckLines == 0 && app::CheckStopProcess(space->app)) return kStopped;
    const bool isSound = ParseTermLine(line, numbers, &parsed) == LineFault::kNone;
    const bool isNew = isSound && utils::CompareUtf8(previous, parsed.term) != 0;
    if (!visit(line, std::string_view(previous), isNew)) return kNoRecordFiles;
    if (isNew) previous = parsed.term;
  }
  return reader.hasFailed() ? kNoRecordFiles : kOk;
}

/// Writes the parts. A separator is the last term of its part: a term that equals it belongs there.
class PartWriter {
 public:
  PartWriter(const std::string& directory, const std::string& termPath, std::int64_t terms)
      : directory_(directory), termPath_(termPath), terms_(terms) {}

  bool Write(std::string_view line, std::string_view previous, bool isNew) {
    if (isNew && seen_++ == terms_ * part_ / kMaxTermIndexes && !NextPart(previous)) return false;
    if (!file_.isGood()) return false;
    file_.Append(line);
    file_.Append("\r\n");
    return true;
  }

  bool Finish() {
    OutputFile inv;
    if (!file_.Close() || !inv.Create(termPath_ + ".inv_")) return false;
    inv.Append(separators_);
    return inv.Close();
  }

 private:
  bool NextPart(std::string_view separator) {
    if (part_ > 0) {
      separators_.append(separator).append("\r\n");
      if (!file_.Close()) return false;
    }
    return file_.Create(PartFile(directory_, termPath_, ++part_));
  }

  const std::string& directory_;
  const std::string& termPath_;
  const std::int64_t terms_;
  std::int64_t seen_ = 0;
  int part_ = 0;
  std::string separators_;
  OutputFile file_;
};

}  // namespace

std::string SetSuffix(int part) {
  return part == kMainSet ? "" : "_" + std::to_string(part);
}

NewSet::NewSet(const std::string& termPath, int part)
    : ifp(termPath + ".ifp" + SetSuffix(part) + "_"),
      l01(termPath + ".l01" + SetSuffix(part) + "_"),
      n01(termPath + ".n01" + SetSuffix(part) + "_"),
      spill(termPath + ".pst" + SetSuffix(part) + "_") {}

std::string PartFile(const std::string& directory, const std::string& termPath, int part) {
  return directory + utils::PathUtil::GetFileName(termPath) + SetSuffix(part) + ".lk1";
}

int SplitLkFile(velor_01::TVelorSpace* space, const std::string& lk1, const std::string& directory) {
  std::int64_t terms = 0;
  const auto countTerm = [&](std::string_view, std::string_view, bool isNew) {
    terms += isNew ? 1 : 0;
    return true;
  };
  if (int rc = VisitLines(space, lk1, countTerm); rc != kOk) return rc;
  if (terms < kMaxTermIndexes) return 0;
  PartWriter writer(directory, space->termPath, terms);
  const int rc = VisitLines(space, lk1, [&](std::string_view line, std::string_view previous, bool isNew) {
    return writer.Write(line, previous, isNew);
  });
  if (rc != kOk) return rc;
  return writer.Finish() ? 1 : kNoRecordFiles;
}

int PutInPlace(const std::string& termPath, bool isSplit) {
  const bool wasSplit = utils::PathUtil::IsFile(termPath + ".inv");
  const bool isDone = isSplit ? PutSplitSets(termPath, wasSplit) : PutMainSet(termPath, wasSplit);
  return isDone ? kOk : kNoInvertedFile;
}

void RemoveNewFiles(const std::string& termPath) {
  for (int part = kMainSet; part <= kMaxTermIndexes; ++part) {
    const NewSet set(termPath, part);
    for (const std::string* path : {&set.ifp, &set.l01, &set.n01, &set.spill}) ::unlink(path->c_str());
  }
  ::unlink((termPath + ".inv_").c_str());
  ::unlink((termPath + ".n01__").c_str());
}

}  // namespace velora
