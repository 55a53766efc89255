// Whole searches over a made-up inverted file: few terms stand in every record, many in a handful. Its first
// lines tell its size.

#include <benchmark/benchmark.h>

#include <algorithm>
#include <cstdlib>
#include <filesystem>
#include <memory>
#include <random>
#include <string>
#include <vector>

#include "build_info.h"
#include "index/posting_writer.h"
#include "index/tree_writer.h"
#include "search/search18.h"
#include "search/tokenizer.h"
#include "storage/app_context.h"
#include "storage/master_file.h"
#include "storage/term_files.h"
#include "utils/int_list.h"

namespace {

constexpr int kWordBits = 17;  // 131072 words
constexpr int kWordsInRecord = 75;

/// A word of letters that sorts as its number.
std::string Word(unsigned number) {
  std::string word = "K=";
  for (int shift = 16; shift >= 0; shift -= 4) word += static_cast<char>('A' + (number >> shift) % 16);
  return word;
}

/// Records that have word `number`, in the mean: its frequency falls with its length in bits.
double Frequency(unsigned number, int records) {
  int bits = 0;
  while ((number >> bits) != 0) ++bits;
  const double perRecord = kWordsInRecord / (kWordBits + 1.0) / std::max(1U, 1U << std::max(bits - 1, 0));
  return perRecord * records;
}

class Catalogue {
 public:
  explicit Catalogue(int records) : records_(records) {
    std::string pattern = (std::filesystem::temp_directory_path() / "velora_bench_XXXXXX").string();
    if (mkdtemp(pattern.data()) == nullptr) std::abort();
    directory_ = pattern;
    context_.reset(app::velor_app_init());
    space_.reset(velor_32::Velorinit(context_.get()));
    const std::string path = directory_ + "/bench";
    if (velor_32::VelorinitNewDB(path.c_str()) != 1) std::abort();
    WriteTerms(path);
    if (velor_32::Velorinitmst(space(), path.c_str(), 1) != 0) std::abort();
    if (velor_32::Velorinitterm(space(), path.c_str()) != 0) std::abort();
    std::printf("%d records, %.1f million postings\n", records, static_cast<double>(postings_) / 1e6);
  }
  ~Catalogue() { std::filesystem::remove_all(directory_); }
  Catalogue(const Catalogue&) = delete;
  Catalogue& operator=(const Catalogue&) = delete;

  [[nodiscard]] velor_32::TVelorSpace* space() const { return space_.get(); }
  [[nodiscard]] int records() const { return records_; }

 private:
  struct ContextCloser {
    void operator()(app::VelorAppContext* context) const { app::velor_app_close(context); }
  };

  void WriteTerms(const std::string& path) {
    velora::PostingWriter postings(false, path + ".spill");
    velora::TreeWriter tree;
    std::string failed;
    if (!postings.Create(path + ".ifp") || !tree.Create(path + ".l01", path + ".n01", &failed)) std::abort();
    std::mt19937 random(1);
    for (unsigned number = 0; number < 1U << kWordBits; ++number) {
      AddPostings(number, random, &postings);
      if (postings.hasPostings()) tree.Add(Word(number), postings.EndTerm());
    }
    if (!tree.Finish() || !postings.Finish(tree.nodeCount(), tree.leafCount())) std::abort();
  }

  void AddPostings(unsigned number, std::mt19937& random, velora::PostingWriter* postings) {
    const double step = records_ / Frequency(number, records_);
    const auto stepRange = static_cast<unsigned>(std::max(2 * step * 256, 1.0));
    std::int64_t place = random() % stepRange;  // in 1/256 of a record
    for (int pos = 1; place / 256 < records_; place += 1 + random() % stepRange, ++pos) {
      const int mfn = static_cast<int>(place / 256) + 1;
      static_cast<void>(postings->Add({mfn, 200 + 10 * (pos % 4), 1, pos}));
      ++postings_;
    }
  }

  int records_;
  std::int64_t postings_ = 0;
  std::string directory_;
  std::unique_ptr<app::VelorAppContext, ContextCloser> context_;
  velor_32::SpacePointer space_;
};

/// One catalogue of each size for all benchmarks.
const Catalogue& CatalogueOf(std::int64_t records) {
  static std::vector<std::unique_ptr<Catalogue>> all;
  for (const auto& one : all)
    if (one->records() == records) return *one;
  all.push_back(std::make_unique<Catalogue>(static_cast<int>(records)));
  return *all.back();
}

using Queries = std::vector<std::string>;

void RunQueries(benchmark::State& state, const Queries& queries) {
  velor_32::TVelorSpace* space = CatalogueOf(state.range(0)).space();
  velor_01::TIntList result;
  std::int64_t hits = 0;
  std::size_t next = 0;
  for (auto _ : state) {
    if (Search18::FreeVelorSearchNew(space, queries[next], &result) != 0) state.SkipWithError("no search");
    hits += result.GetCount();
    next = (next + 1) % queries.size();
  }
  state.SetItemsProcessed(state.iterations());
  state.counters["hits"] = benchmark::Counter(static_cast<double>(hits), benchmark::Counter::kAvgIterations);
}

/// Words that are in a record each, as the records themselves use them.
unsigned Draw(std::mt19937& random, int fewestBits) {
  const int bits =
      fewestBits + static_cast<int>(random() % static_cast<unsigned>(kWordBits + 1 - fewestBits));
  return static_cast<unsigned>(random()) & ((1U << bits) - 1);
}

/// AND of 1 to 3 words, `op` between them; words of fewer bits than `fewestBits` are frequent ones.
Queries MakeQueries(const char* op, int fewestBits, unsigned fewestWords) {
  std::mt19937 random(7);
  Queries queries;
  for (int i = 0; i < 1000; ++i) {
    std::string query = Word(Draw(random, fewestBits));
    for (unsigned n = fewestWords - 1 + static_cast<unsigned>(random() % (4 - fewestWords)); n > 0; --n)
      query += op + Word(Draw(random, fewestBits));
    queries.push_back(query);
  }
  return queries;
}

void AndQueries(benchmark::State& state) {
  RunQueries(state, MakeQueries(" * ", static_cast<int>(state.range(1)), 1));
}
BENCHMARK(AndQueries)->ArgNames({"records", "bits"})->ArgsProduct({{20000, 200000}, {0, 4, 8}});

void OccurrenceQueries(benchmark::State& state) {
  RunQueries(state, MakeQueries(" (F) ", 4, 2));
}
BENCHMARK(OccurrenceQueries)->ArgNames({"records"})->Arg(20000)->Arg(200000);

void Truncation3(benchmark::State& state) {
  std::mt19937 random(7);
  Queries queries;
  for (int i = 0; i < 100; ++i)
    queries.push_back(Word(static_cast<unsigned>(random()) % 256 << 8).substr(0, 5) + "$");
  RunQueries(state, queries);
}
BENCHMARK(Truncation3)->ArgNames({"records"})->Arg(20000)->Arg(200000)->Unit(benchmark::kMillisecond);

void Compile(benchmark::State& state) {
  velor_01::TStringList steps;
  for (auto _ : state) {
    tokenizer::UnpackSearchExpression("(\"K=RED\"/(200,210) + K=BLUE$) * K=ORYX ^ K=ROAN", &steps, 1);
    benchmark::DoNotOptimize(steps.GetCount());
  }
  state.SetItemsProcessed(state.iterations());
}
BENCHMARK(Compile);

}  // namespace

VELORA_BENCHMARK_MAIN()
