#pragma once

#include <unistd.h>

#include <clocale>
#include <set>
#include <sstream>
#include <string>

#include "index/actual_if.h"
#include "index/inv_context.h"
#include "index/record_index.h"
#include "storage/database_open.h"
#include "storage/process.h"
#include "storage/record_read.h"
#include "storage/record_status.h"
#include "storage/record_update.h"
#include "storage/shelf.h"
#include "storage/term_read.h"
#include "support/format_installation.h"
#include "support/open_space.h"

namespace test {

/// What a dictionary holds: "TERM mfn tag occ pos" for each posting.
inline std::set<std::string> ReadDictionary(velor_32::TVelorSpace* space) {
  std::set<std::string> all;
  char term[velor_01::kTermBufferSize] = "!";
  int rc = velor_32::Velorfind(space, term);
  for (rc = rc == -202 ? 0 : rc; rc == 0 && term[0] != '\0'; rc = velor_32::Velornxtterm(space, term)) {
    EXPECT_EQ(velor_32::Velorinitpost(space), 0) << term;
    while (velor_32::Velornxtpost(space) == 0) {
      std::string line = term;
      for (int i = 1; i <= 4; ++i) line += " " + std::to_string(velor_32::Velorposting(space, i));
      EXPECT_TRUE(all.insert(line).second) << "twice: " << line;
    }
  }
  EXPECT_TRUE(rc == 0 || rc == -203) << rc;
  return all;
}

/// The database "blank" of an installation, with its inverted file kept by record updates.
class IndexedDatabase : public FormatInstallation {
 public:
  IndexedDatabase() {
    EXPECT_NE(std::setlocale(LC_ALL, "C.UTF-8"), nullptr);
    indexing::InstallInvContext();
    recif::InstallRecordIndex();
    app::SetAppPrefix("x" + std::to_string(getpid()));
  }
  ~IndexedDatabase() {
    unlink(("/dev/shm/" + std::string(app::AppPrefixText()) + "VELOR64_MUTEXBLANK").c_str());
    app::SetAppPrefix("");
  }

  /// Opens the database anew, with its table.
  velor_32::SpacePointer Open() const {
    std::ostringstream ignored;
    int result = 0;
    velor_32::SpacePointer space(velor_server_proc::VelorOpenDb(ctx(), "blank", ignored, &result));
    EXPECT_EQ(result, 0);
    return space;
  }
  [[nodiscard]] std::string DatabasePath() const { return File("datai/blank/blank"); }

  /// Stores the record of shelf 0; with `andIndex` the dictionary follows.
  static void Store(velor_32::TVelorSpace* space, bool andIndex = false) {
    int result = 0;
    int ifResult = 0;
    EXPECT_EQ(velor_32::VelorRecUpdateTime(space, 0, false, andIndex, 5, &result, &ifResult), 0);
    EXPECT_EQ(result, 0);
    EXPECT_EQ(ifResult, 0);
  }
  static void Add(velor_32::TVelorSpace* space, const Fields& fields) {
    velor_32::Velornewrec(space, 0);
    SetFields(space, 0, fields);
    Store(space);
  }
  static void Change(velor_32::TVelorSpace* space, int mfn, const Fields& fields) {
    velor_32::VelorRecord(space, 0, mfn);
    SetFields(space, 0, fields);
    Store(space);
  }
  static void Delete(velor_32::TVelorSpace* space, int mfn) {
    velor_32::VelorRecord(space, 0, mfn);
    velor_32::Velorrecdel(space, 0);
    Store(space);
  }

  /// Runs the tool; gives what it prints behind the line about the opening.
  std::string Actualize(int from = 0, int to = 0, const std::string& list = "") const {
    std::ostringstream out;
    velor_server_proc::VelorActualIf(ctx(), "Blank", from, to, list, out);
    const std::string opening = "ActualIf\nOpenDB blank - Done\n";
    EXPECT_EQ(out.str().substr(0, opening.size()), opening);
    return out.str().substr(std::min(opening.size(), out.str().size()));
  }
  std::set<std::string> Dictionary() const { return ReadDictionary(Open().get()); }
};

}  // namespace test
