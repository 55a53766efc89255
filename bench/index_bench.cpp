// A field selection table over a record: the work that each record costs an index or an export; and the
// making of terms from it.

#include <benchmark/benchmark.h>

#include <clocale>
#include <string>

#include "build_info.h"
#include "format/format_parts.h"
#include "format/format_run.h"
#include "format/xpft_fst.h"
#include "index/rec_terms.h"
#include "storage/app_context.h"
#include "storage/fields.h"
#include "storage/shelf.h"
#include "utils/int_list.h"

namespace {

/// A space in memory with one record of 25 fields, about 1 kB.
class OneRecord {
 public:
  OneRecord() {
    xpft::InstallFormatParts();
    context_ = app::velor_app_init();
    space_.reset(velor_32::Velorinit(context_));
    velor_32::VelorInitSpaceDummy(space());
    velor_32::VelorInitAltShelf(space(), 2);
    velor_32::Velornewrec(space(), 0);
    for (int i = 0; i < 25; ++i)
      velor_32::Velorfldadd(space(), 0, 200 + i % 20, 0, "^aA title of a book^bof some length");
  }
  ~OneRecord() {
    space_.reset();
    app::velor_app_close(context_);
  }
  OneRecord(const OneRecord&) = delete;
  OneRecord& operator=(const OneRecord&) = delete;
  [[nodiscard]] velor_32::TVelorSpace* space() const { return space_.get(); }

 private:
  app::VelorAppContext* context_ = nullptr;
  velor_32::SpacePointer space_;
};

/// 30 lines of the kinds that tables are made of.
void FillTable(velor_01::TStringList* table) {
  for (int i = 0; i < 10; ++i) {
    const std::string tag = std::to_string(200 + 2 * i);
    table->AddObject("(v" + tag + "^a/)", 1 + i);
    table->AddObject("if p(v" + tag + "^b) then '/T=/',v" + tag + "^a,\" : \"v" + tag + "^b fi", 11 + i);
    table->AddObject("mhu,(|K=|v" + tag + "^a,|%|)", 21 + i);
  }
}

void Table30Lines(benchmark::State& state) {
  const OneRecord record;
  velor_01::TStringList table;
  FillTable(&table);
  xpft::XpftFst compiled(record.space(), &table, false);
  velor_01::TStringList out;
  for (auto _ : state) {
    out.Clear();
    compiled.Format(record.space(), 0, 1, &out);
    benchmark::DoNotOptimize(out.Get(0));
  }
  if (compiled.GetHaveErrors()) state.SkipWithError("a line of the table failed");
  state.SetItemsProcessed(state.iterations());
}
BENCHMARK(Table30Lines);

void OneSubfield(benchmark::State& state) {
  const OneRecord record;
  if (fmt_64::Velor_InitPFT(record.space(), "v200^a", 6) != 0) state.SkipWithError("not compiled");
  for (auto _ : state) {
    fmt_64::Velor_Format(record.space(), 0, 1, 0, 0, "");
    benchmark::DoNotOptimize(xpft::Velor_FormatResult(record.space()));
  }
  state.SetItemsProcessed(state.iterations());
}
BENCHMARK(OneSubfield);

/// Preparing a format that the cache has.
void Prepare(benchmark::State& state) {
  const OneRecord record;
  for (auto _ : state) benchmark::DoNotOptimize(fmt_64::Velor_InitPFT(record.space(), "v200^a", 6));
}
BENCHMARK(Prepare);

/// Counts what it is given.
class CountingSink final : public recif::TermSink {
 public:
  void Add(std::string_view term, const velor_01::TifpItemPosting& posting, bool) override {
    ++terms_;
    bytes_ += term.size();
    benchmark::DoNotOptimize(posting.pos);
  }
  [[nodiscard]] std::int64_t terms() const { return terms_; }
  [[nodiscard]] std::size_t bytes() const { return bytes_; }

 private:
  std::int64_t terms_ = 0;
  std::size_t bytes_ = 0;
};

constexpr const char* kText =
    "Исследование колебаний и волн в средах со сложной структурой: the measurement of small oscillations; ";

/// The words of one field of 1 or 16 kB, with and without stemming.
void RecordTerms(benchmark::State& state) {
  std::setlocale(LC_ALL, "C.UTF-8");
  const OneRecord record;
  velor_32::TVelorSpace* space = record.space();
  for (int code = 'A'; code <= 'z'; ++code) space->actab[code - 1] = code <= 'Z' || code >= 'a';
  for (const char* word : {"OF", "THE", "В", "И", "НА", "СО"}) space->stopWords->Add(word);
  space->deflex = state.range(1) != 0;

  std::string text;
  while (text.size() < static_cast<std::size_t>(state.range(0))) text += kText;
  velor_32::Velorfldadd(space, 0, 1, 0, text.c_str());
  space->fstLines->AddObject("v1", 1);
  space->fstMethods->Add(4);

  CountingSink sink;
  for (auto _ : state) {
    if (recif::EmitRecTerms(space, 0, nullptr, sink) != 0) state.SkipWithError("no terms");
  }
  state.SetItemsProcessed(sink.terms());
  state.SetBytesProcessed(static_cast<std::int64_t>(sink.bytes()));
}
BENCHMARK(RecordTerms)->ArgNames({"bytes", "stem"})->ArgsProduct({{1000, 16000}, {0, 1}});

}  // namespace

VELORA_BENCHMARK_MAIN()
