#include <benchmark/benchmark.h>
#include <stdlib.h>

#include <filesystem>
#include <memory>
#include <random>
#include <string>

#include "build_info.h"
#include "storage/app_context.h"
#include "storage/bulk_writer.h"
#include "storage/database_lock.h"
#include "storage/fields.h"
#include "storage/process.h"
#include "storage/record_read.h"
#include "storage/record_update.h"
#include "storage/shelf.h"
#include "storage/term_files.h"
#include "storage/term_update.h"

namespace {

using namespace velor_32;

/// A database of records of about 1 kB with 25 fields, in a directory that goes in the end.
class Database {
 public:
  Database() : context_(app::velor_app_init()) {
    app::SetAppPrefix("vbench");
    std::string pattern = (std::filesystem::temp_directory_path() / "velora_bench_XXXXXX").string();
    folder_ = ::mkdtemp(pattern.data());
    VelorinitNewDB((folder_ + "/db").c_str());
    space_.reset(Velorinit(context_));
    Velorinitmst(space_.get(), (folder_ + "/db").c_str(), 2);
    space_->termPath = folder_ + "/db";
    VelorDBEmptyTime(space_.get(), 1);
  }
  ~Database() {
    space_.reset();
    app::velor_app_close(context_);
    std::filesystem::remove_all(folder_);
  }
  Database(const Database&) = delete;
  Database& operator=(const Database&) = delete;

  void Fill(int shelf) {
    Velornewrec(space_.get(), shelf);
    for (int i = 0; i < 25; ++i)
      Velorfldadd(space_.get(), shelf, 200 + i, 0, "^aA title of a book^bof some length", 26);
  }
  bool Add() {
    int result = 0;
    int ifResult = 0;
    Fill(0);
    VelorRecUpdateTime(space_.get(), 0, false, false, 5, &result, &ifResult);
    return result == 0;
  }
  [[nodiscard]] TVelorSpace* space() const { return space_.get(); }

 private:
  app::VelorAppContext* context_;
  std::string folder_;
  SpacePointer space_;
};

/// Reads records all over a database that lies in the page cache.
void ReadRecord(benchmark::State& state) {
  Database database;
  const int count = static_cast<int>(state.range(0));
  VelorBulkStart(database.space());
  for (int i = 0; i < count; ++i) database.Add();
  VelorBulkStop(database.space());
  std::minstd_rand random(1);
  for (auto _ : state) {
    const int mfn = 1 + static_cast<int>(random() % static_cast<unsigned>(count));
    if (VelorRecord(database.space(), 0, mfn) != 0) state.SkipWithError("read failed");
  }
  state.SetItemsProcessed(state.iterations());
  state.SetBytesProcessed(state.iterations() * FindShelf(database.space(), 0)->leader->length);
}
BENCHMARK(ReadRecord)->Arg(1000)->Arg(100000);

/// Adds records, one update each: with files and mutex opened for each, and in a bulk run.
void AddRecord(benchmark::State& state) {
  Database database;
  if (state.range(0)) VelorBulkStart(database.space());
  for (auto _ : state)
    if (!database.Add()) state.SkipWithError("update failed");
  state.SetItemsProcessed(state.iterations());
}
BENCHMARK(AddRecord)->ArgName("bulk")->Arg(0)->Arg(1)->Iterations(50000);

/// One new posting of a random term in a dictionary of so many terms.
void InsertPosting(benchmark::State& state) {
  const Database database;
  Velorcloseterm(database.space());
  if (Velorinitterm_write(database.space(), database.space()->path.c_str()) != 0)
    state.SkipWithError("no files");
  std::mt19937 random(1);
  const auto term = [&] { return "T=" + std::to_string(random() % static_cast<unsigned>(state.range(0))); };
  for (int i = 0; i < state.range(0); ++i)
    InsertTerm(database.space(), ("T=" + std::to_string(i)).c_str(), {i + 1, 1, 1, 1});
  int mfn = 10000000;
  for (auto _ : state) {
    const int rc = InsertTerm(database.space(), term().c_str(), {++mfn, 1, 1, 1});
    if (rc != 0) state.SkipWithError("not inserted");
  }
  state.SetItemsProcessed(state.iterations());
}
BENCHMARK(InsertPosting)->Arg(100000)->Arg(1000000)->Iterations(100000);

}  // namespace

VELORA_BENCHMARK_MAIN()
