#include <benchmark/benchmark.h>

#include <cstdlib>
#include <string>

#include "build_info.h"
#include "exchange/iso_record.h"
#include "exchange/text_record.h"
#include "storage/app_context.h"
#include "storage/fields.h"
#include "storage/shelf.h"

namespace {

using namespace velor_32;

/// A record of about 1 kB with 25 fields in a space without files.
class Record {
 public:
  Record() : context_(app::velor_app_init()), space_(Velorinit(context_)) {
    VelorInitSpaceDummy(space_.get());
    for (int i = 0; i < 25; ++i) Velorfldadd(space_.get(), 0, 200 + i, 0, "^aНазвание книги^bpart 2");
  }
  ~Record() {
    space_.reset();
    app::velor_app_close(context_);
    std::free(buffer);
  }
  Record(const Record&) = delete;
  Record& operator=(const Record&) = delete;
  [[nodiscard]] TVelorSpace* space() const { return space_.get(); }

  char* buffer = static_cast<char*>(std::malloc(32001));
  unsigned long size = 32000;

 private:
  app::VelorAppContext* context_;
  SpacePointer space_;
};

void WriteIso(benchmark::State& state) {
  Record record;
  velora::TextEncoder encoder(static_cast<std::int32_t>(state.range(0)));
  for (auto _ : state)
    velora::WriteIsoRecord(record.space(), 0, record.buffer, record.size, '\x1D', '\x1E', encoder);
  state.SetBytesProcessed(state.iterations() *
                          static_cast<std::int64_t>(velora::IsoNumber({record.buffer, 5})));
}
BENCHMARK(WriteIso)->ArgName("encoding")->Arg(1)->Arg(2);

void ReadIso(benchmark::State& state) {
  Record record;
  velora::TextEncoder encoder(static_cast<std::int32_t>(state.range(0)));
  velora::WriteIsoRecord(record.space(), 0, record.buffer, record.size, '\x1D', '\x1E', encoder);
  const std::string iso(record.buffer, velora::IsoNumber({record.buffer, 5}));
  velora::IsoLosses losses;
  for (auto _ : state) velora::ReadIsoRecord(record.space(), 0, iso, encoder, &losses);
  state.SetBytesProcessed(state.iterations() * static_cast<std::int64_t>(iso.size()));
}
BENCHMARK(ReadIso)->ArgName("encoding")->Arg(1)->Arg(2);

void WriteText(benchmark::State& state) {
  Record record;
  velora::TextEncoder encoder(static_cast<std::int32_t>(state.range(0)));
  std::string text;
  for (auto _ : state) {
    text.clear();
    velora::AppendTextRecord(record.space(), 0, true, false, encoder, &text);
  }
  state.SetBytesProcessed(state.iterations() * static_cast<std::int64_t>(text.size()));
}
BENCHMARK(WriteText)->ArgName("encoding")->Arg(1)->Arg(2);

}  // namespace

VELORA_BENCHMARK_MAIN()
