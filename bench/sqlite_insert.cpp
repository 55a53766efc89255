// A peer for the import: inserts each record of an ISO 2709 file into a SQLite table, one transaction each,
// with the journal in WAL mode and synchronous=OFF:
//   sqlite_insert <database> <file>

#include <sqlite3.h>

#include <cstdio>
#include <cstdlib>
#include <fstream>
#include <string>

namespace {

void Check(int rc, sqlite3* database) {
  if (rc == SQLITE_OK || rc == SQLITE_DONE) return;
  std::fprintf(stderr, "%s\n", sqlite3_errmsg(database));
  std::exit(1);
}

}  // namespace

int main(int argc, char** argv) {
  if (argc < 3) {
    std::fprintf(stderr, "usage: %s <database> <file>\n", argv[0]);
    return 2;
  }
  sqlite3* database = nullptr;
  Check(sqlite3_open(argv[1], &database), database);
  Check(sqlite3_exec(database,
                     "PRAGMA journal_mode=WAL; PRAGMA synchronous=OFF;"
                     "CREATE TABLE records(mfn INTEGER PRIMARY KEY, data BLOB)",
                     nullptr, nullptr, nullptr),
        database);
  sqlite3_stmt* insert = nullptr;
  Check(sqlite3_prepare_v2(database, "INSERT INTO records(data) VALUES(?)", -1, &insert, nullptr), database);

  std::ifstream file(argv[2], std::ios::binary);
  std::string record;
  while (std::getline(file, record, '\x1D')) {
    record += '\x1D';
    sqlite3_bind_blob(insert, 1, record.data(), static_cast<int>(record.size()), SQLITE_STATIC);
    Check(sqlite3_step(insert), database);
    Check(sqlite3_reset(insert), database);
  }
  sqlite3_finalize(insert);
  Check(sqlite3_close(database), database);
  return 0;
}
