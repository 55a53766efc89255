#include "index/dict_files.h"

#include <unistd.h>

#include <memory>
#include <vector>

#include "index/build_files.h"
#include "index/dict_load.h"
#include "index/term_line.h"
#include "storage/app_context.h"
#include "storage/codes.h"
#include "storage/term_format.h"
#include "storage/term_swap.h"
#include "utils/path_util.h"
#include "utils/utf8_order.h"

namespace velora {
namespace {

using velor_01::kMaxTermIndexes;
using velor_32::kNoRecordFiles;
using velor_32::kOk;

constexpr int kCheckLines = 4096;  // lines between two looks at the stop flag

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
    file_.AppendLine(line);
    return true;
  }

  bool Finish() {
    BuildFile inv;
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
  BuildFile file_;
};

}  // namespace

NewSet::NewSet(const std::string& termPath, int part)
    : ifp(termPath + ".ifp" + velor_32::IndexSuffix(part) + "_"),
      l01(termPath + ".l01" + velor_32::IndexSuffix(part) + "_"),
      n01(termPath + ".n01" + velor_32::IndexSuffix(part) + "_"),
      spill(termPath + ".pst" + velor_32::IndexSuffix(part) + "_") {}

std::string PartFile(const std::string& directory, const std::string& termPath, int part) {
  return directory + utils::PathUtil::GetFileName(termPath) + velor_32::IndexSuffix(part) + ".lk1";
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

bool MakeEmptySet(const std::string& termPath, int part) {
  const NewSet set(termPath, part);
  for (const std::string* path : {&set.n01, &set.l01, &set.ifp}) {
    BuildFile file;
    if (!file.Create(*path) || !file.Close()) return false;
  }
  return true;
}

void RemoveNewFiles(const std::string& termPath) {
  for (int part = kMainSet; part <= kMaxTermIndexes; ++part) {
    const NewSet set(termPath, part);
    for (const std::string* path : {&set.ifp, &set.l01, &set.n01, &set.spill}) ::unlink(path->c_str());
  }
  ::unlink((termPath + ".inv_").c_str());
}

}  // namespace velora
