// A peer for the bulk build of the dictionary: a contentless full-text table of SQLite over the words of an
// ISO 2709 file, one column for each field, all in one transaction:
//   fts5_index <database> <file>

#include <sqlite3.h>

#include <cstdio>
#include <cstdlib>
#include <string>

#include "peer_records.h"

namespace {

void Check(int rc, sqlite3* database) {
  if (rc == SQLITE_OK || rc == SQLITE_DONE) return;
  std::fprintf(stderr, "%s\n", sqlite3_errmsg(database));
  std::exit(1);
}

void Run(sqlite3* database, const char* statement) {
  Check(sqlite3_exec(database, statement, nullptr, nullptr, nullptr), database);
}

}  // namespace

int main(int argc, char** argv) {
  if (argc < 3) {
    std::fprintf(stderr, "usage: %s <database> <file>\n", argv[0]);
    return 2;
  }
  std::remove(argv[1]);
  sqlite3* database = nullptr;
  Check(sqlite3_open(argv[1], &database), database);
  Run(database,
      "PRAGMA journal_mode=OFF; PRAGMA synchronous=OFF; PRAGMA cache_size=-65536;"
      "CREATE VIRTUAL TABLE words USING fts5(a,b,c,d,e,f,g,tokenize='unicode61 remove_diacritics "
      "0',content='');"
      "BEGIN");
  sqlite3_stmt* insert = nullptr;
  Check(sqlite3_prepare_v2(database, "INSERT INTO words VALUES(?,?,?,?,?,?,?)", -1, &insert, nullptr),
        database);
  bench::PeerFile file(argv[2]);
  for (bench::Texts texts; file.Next(&texts);) {
    for (std::size_t i = 0; i < texts.size(); ++i)
      sqlite3_bind_text(insert, static_cast<int>(i + 1), texts[i].data(), static_cast<int>(texts[i].size()),
                        SQLITE_STATIC);
    Check(sqlite3_step(insert), database);
    Check(sqlite3_reset(insert), database);
  }
  sqlite3_finalize(insert);
  Run(database, "COMMIT");
  Check(sqlite3_close(database), database);
  return 0;
}
